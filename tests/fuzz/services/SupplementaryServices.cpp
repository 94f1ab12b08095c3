#include "fuzz/FuzzService.h"
#include "handlers/SupplementaryServicesHandler.h"
#include "zelapi/supplementary.h"

namespace
{

void Take(const SupplementaryDetail& detail)
{
    TakeText(detail.text);
    TakeBlock(detail.data, detail.data == nullptr ? 0 : 1);
}

void List(CFuzzCase& fuzz)
{
    const SupplementaryText text = {0, fuzz.Byte(), fuzz.Text().release()};
    SupplementaryListRequest record = {0, fuzz.Byte(), fuzz.Byte(), fuzz.Word(), 0, {&text}};
    fuzz.Request(&record);
    SysFreeString(text.text);
    if (record.list.text == &text)
        return;
    for (std::uint8_t i = 0; i < record.count; ++i)
        Take(record.list.entries[i].detail);
    CoTaskMemFree(record.list.entries);
}

void Query(CFuzzCase& fuzz)
{
    // On the heap, so that an entry too many is seen.
    const auto record = std::make_unique<SupplementaryRequest>();
    record->operation = fuzz.Byte();
    std::vector<SupplementaryDetail> details(ZEL_SUPPLEMENTARY_ENTRIES);
    for (std::size_t i = 0; i < details.size(); ++i)
        record->entries[i].detail = fuzz.Byte() % 2 == 0 ? &details[i] : nullptr;
    fuzz.Request(record.get());
    for (const SupplementaryDetail& detail : details)
        Take(detail);
}

void Deliver(std::uint32_t, void* record)
{
    Require(static_cast<const SupplementaryIndication*>(record)->detail == nullptr, "there is no detail");
    CoTaskMemFree(record);
}

const CFuzzService g_supplementary(0x06, NewHandler<CSupplementaryServicesHandler>, {Query, Query, List, Query},
                                   Deliver);

}  // namespace
