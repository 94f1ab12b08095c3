#include "fuzz/FuzzService.h"
#include "handlers/ProvisioningHandler.h"
#include "support/ReceivedRecords.h"

namespace
{

void ReadAll(CFuzzCase& fuzz)
{
    ProvisioningList list = {};
    fuzz.Request(&list);
    for (std::size_t i = 0; i < list.count; ++i)
        Require((list.sets[i].access == nullptr) == (list.sets[i].name == nullptr), "a set has all details or none");
    FreeReceived(list);
}

void WriteAll(CFuzzCase& fuzz)
{
    const std::uint8_t lengthA = fuzz.Byte();
    const std::uint8_t lengthC = fuzz.Byte();
    auto blockA = fuzz.Block(lengthA);
    auto blockC = fuzz.Block(lengthC);
    ProvisioningAccess access = {0, fuzz.Word(), fuzz.Word(), lengthA, 9, blockA.data(), lengthC, blockC.data()};
    const CBStrOwner text = fuzz.Text();
    ProvisioningName name = {0, fuzz.Byte(), fuzz.Byte(), text.get()};
    ProvisioningSet sets[2] = {{{}, fuzz.Byte(), &access, &name, 0, 0, nullptr},
                               {{}, 1, nullptr, nullptr, 0, 0, nullptr}};
    ProvisioningList list = {0, static_cast<std::uint8_t>(fuzz.Byte() % 3), sets, 0, 0, 0};
    fuzz.Request(&list);
}

void SetNumber(CFuzzCase& fuzz)
{
    ProvisioningNumber number = {0, fuzz.Byte()};
    fuzz.Request(&number);
}

const CFuzzService g_provisioning(0x22, NewHandler<CProvisioningHandler>, {ReadAll, WriteAll, SetNumber});

}  // namespace
