#include "zelapi/storage.h"

#include "fuzz/FuzzService.h"
#include "handlers/StorageHandler.h"

namespace
{

void ListAreas(CFuzzCase& fuzz)
{
    StorageAreaList list = {};
    fuzz.Request(&list);
    Require((list.areas == nullptr) == (list.count == 0), "an array comes with its count");
    for (std::uint8_t i = 0; i < list.count; ++i)
    {
        const StorageArea& area = list.areas[i];
        Require(SysStringLen(area.name) == area.name_length, "a name is as long as it says");
        for (std::uint8_t before = 0; before < i; ++before)
            Require(list.areas[before].number != area.number, "an area is listed once");
        TakeText(area.name);
    }
    CoTaskMemFree(list.areas);
}

void ListIdentifiers(CFuzzCase& fuzz)
{
    StorageIdentifierList list = {};
    list.area = fuzz.Byte();
    fuzz.Request(&list);
    TakeBlock(list.identifiers, list.count * sizeof *list.identifiers);
}

void Command(CFuzzCase& fuzz)
{
    StorageThreeByteCommand record = {fuzz.Dword(), fuzz.Dword(), fuzz.Word(), fuzz.Word(), fuzz.Word()};
    fuzz.Request(&record);
}

void Deliver(std::uint32_t, void* record)
{
    const CTaskMemOwner<StorageEventRecord> event(static_cast<StorageEventRecord*>(record));
    Require(event->size == sizeof *event && event->reserved == 0 && event->event <= 0xFF, "an event's fields");
    for (const std::uint16_t value : {event->first, event->second, event->third})
        Require(value <= 0xFF || value == 0xFFFF, "an event's value is a byte, or none");
}

const CFuzzService g_storage(0xAA, NewHandler<CStorageHandler>, {Command, ListAreas, ListIdentifiers, Command},
                             Deliver);

}  // namespace
