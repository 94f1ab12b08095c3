#include "fuzz/FuzzService.h"
#include "handlers/ProvisioningHandler.h"

namespace
{

void TakeSet(ProvisioningSet& set)
{
    Require((set.access == nullptr) == (set.name == nullptr), "a set has all details or none");
    if (set.access != nullptr)
    {
        Touch(set.access->block_a, set.access->length_a);
        Touch(set.access->block_c, set.access->length_c);
        CoTaskMemFree(set.access->block_a);
        CoTaskMemFree(set.access->block_c);
        TakeText(set.name->name);
    }
    CoTaskMemFree(set.access);
    CoTaskMemFree(set.name);
    Touch(set.content, set.content_size);
    CoTaskMemFree(set.content);
}

void ReadAll(CFuzzCase& fuzz)
{
    ProvisioningList list = {};
    fuzz.Request(&list);
    for (std::size_t i = 0; i < list.count; ++i)
        TakeSet(list.sets[i]);
    CoTaskMemFree(list.sets);
}

void WriteAll(CFuzzCase& fuzz)
{
    auto blockA = fuzz.Block(fuzz.Byte());
    auto blockC = fuzz.Block(fuzz.Byte());
    ProvisioningAccess access = {0,
                                 fuzz.Word(),
                                 fuzz.Word(),
                                 static_cast<std::uint8_t>(blockA.size()),
                                 fuzz.Byte(),
                                 blockA.data(),
                                 static_cast<std::uint8_t>(blockC.size()),
                                 blockC.data()};
    const CBStrOwner text = fuzz.Text();
    ProvisioningName name = {0, fuzz.Byte(), fuzz.Byte(), text.get()};
    ProvisioningSet sets[2] = {{{}, fuzz.Byte(), &access, &name, 0, 0, nullptr},
                               {{}, 1, nullptr, nullptr, 0, 0, nullptr}};
    ProvisioningList list = {0, static_cast<std::uint8_t>(fuzz.Byte() % 3), sets, 0, 0, 0};
    fuzz.Request(&list);
}

void Request(CFuzzCase& fuzz)
{
    if (fuzz.MessageId() == ZEL_PROVISIONING_READ_ALL)
        return ReadAll(fuzz);
    if (fuzz.MessageId() == ZEL_PROVISIONING_WRITE_ALL)
        return WriteAll(fuzz);
    ProvisioningNumber number = {0, fuzz.Byte()};
    fuzz.Request(&number);
}

const CFuzzService g_provisioning(0x22, NewHandler<CProvisioningHandler>, Request);

}  // namespace
