#include "shell/Received.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <objbase.h>
#include <span>

namespace zelctl
{
namespace
{

using zelctl::Free;

struct TypeRange
{
    std::uint8_t first;
    std::uint8_t last;
};

constexpr TypeRange kPndTexts[] = {{7, 11}, {18, 18}, {44, 44}, {52, 54}, {56, 57}, {62, 63}, {70, 73}, {82, 86}};

void Free(CalendarField& field)
{
    if (HoldsText(field))
        SysFreeString(field.value.text);
}

void Free(PermissionChunk& chunk)
{
    CoTaskMemFree(chunk.bytes);
}

void Free(PndField& field)
{
    if (HoldsText(field))
        SysFreeString(field.value.text);
    for (BSTR text : field.texts)
        SysFreeString(text);
}

void Free(PndItem& item)
{
    SysFreeString(item.text);
}

void Free(ProfileSetting& setting)
{
    if (HoldsText(setting))
        SysFreeString(setting.value.text);
}

void Free(ProvisioningSet& set)
{
    if (set.access != nullptr)
    {
        CoTaskMemFree(set.access->block_a);
        CoTaskMemFree(set.access->block_c);
    }
    if (set.name != nullptr)
        SysFreeString(set.name->name);
    CoTaskMemFree(set.access);
    CoTaskMemFree(set.name);
    CoTaskMemFree(set.content);
}

void Free(RadioItem& item)
{
    SysFreeString(item.name);
    CoTaskMemFree(item.data);
}

void Free(SmsText& entry)
{
    SysFreeString(entry.text);
}

void Free(StorageArea& area)
{
    SysFreeString(area.name);
}

void Free(SupplementaryListEntry& entry)
{
    Free(entry.detail);
}

template <typename Element>
void FreeArray(Element* elements, std::size_t count)
{
    if (elements == nullptr)
        return;
    for (Element& element : std::span(elements, count))
        Free(element);
    CoTaskMemFree(elements);
}

}  // namespace

bool HoldsText(const CalendarField& field)
{
    constexpr std::uint16_t kTexts[] = {ZEL_CALENDAR_TEXT_1, ZEL_CALENDAR_TEXT_2, ZEL_CALENDAR_TEXT_3,
                                        ZEL_CALENDAR_TEXT_4};
    return std::find(std::begin(kTexts), std::end(kTexts), field.id) != std::end(kTexts);
}

bool HoldsText(const CallElement& element)
{
    return element.id == ZEL_CALL_FIRST_NUMBER || element.id == ZEL_CALL_NUMBER || element.id == ZEL_CALL_TEXT;
}

bool HoldsText(const PndField& field)
{
    return std::any_of(std::begin(kPndTexts), std::end(kPndTexts),
                       [&](const TypeRange& range) { return range.first <= field.type && field.type <= range.last; });
}

bool HoldsText(const ProfileSetting& setting)
{
    return setting.setting_id == ZEL_PROFILES_SETTING_TEXT;
}

void Free(CalendarEntryRecord& record)
{
    FreeArray(record.fields, static_cast<std::size_t>(record.count));
}

void Free(CalendarListRecord& record)
{
    CoTaskMemFree(record.locations);
}

void Free(CallElement& element)
{
    if (HoldsText(element))
        SysFreeString(element.value.text);
}

void Free(CallRecord& record)
{
    FreeArray(record.elements, record.returned);
}

void Free(FileLookupRecord& record)
{
    SysFreeString(record.name);
}

void Free(PermissionRecord& record)
{
    FreeArray(record.chunks, record.count);
}

void Free(PndEntry& entry)
{
    FreeArray(entry.fields, entry.field_count);
}

void Free(PndListRecord& record)
{
    FreeArray(record.items, record.count);
}

void Free(PndStore14Record& record)
{
    CoTaskMemFree(record.items);
}

void Free(ProfileRecord& record)
{
    FreeArray(record.settings, record.count);
}

void Free(ProvisioningList& list)
{
    FreeArray(list.sets, list.count);
}

void Free(RadioList& list)
{
    FreeArray(list.items, list.count);
}

void Free(RadioSetting& setting)
{
    SysFreeString(setting.text);
}

void Free(SmsAddresses& record)
{
    CoTaskMemFree(record.first_address);
    CoTaskMemFree(record.second_address);
    CoTaskMemFree(record.block);
}

void Free(SmsDetails& record)
{
    CoTaskMemFree(record.first_block);
    CoTaskMemFree(record.second_block);
    CoTaskMemFree(record.third_block);
    SysFreeString(record.text);
}

void Free(SmsList& list)
{
    CoTaskMemFree(list.values);
}

void Free(SmsStoredMessage& message)
{
    CoTaskMemFree(message.time);
    CoTaskMemFree(message.content.first_block);
    CoTaskMemFree(message.content.second_block);
    CoTaskMemFree(message.parameters.first_address);
    CoTaskMemFree(message.parameters.second_address);
    CoTaskMemFree(message.parameters.extra);
    CoTaskMemFree(message.parameters.user_data);
}

void Free(SmsTextList& list)
{
    FreeArray(list.entries, list.count);
}

void Free(StorageAreaList& list)
{
    FreeArray(list.areas, list.count);
}

void Free(StorageIdentifierList& list)
{
    CoTaskMemFree(list.identifiers);
}

void Free(SupplementaryDetail& detail)
{
    SysFreeString(detail.text);
    CoTaskMemFree(detail.data);
}

void Free(SupplementaryListRequest& request)
{
    FreeArray(request.list.entries, request.count);
}

void Free(WapConnection& connection)
{
    SysFreeString(connection.first_text);
    SysFreeString(connection.second_text);
}

void FreeCallStatus(void* record)
{
    const auto& call = *static_cast<const CallRecord*>(record);
    // The library frees the array itself.
    for (std::size_t i = 0; i < call.count_or_mode; ++i)
        Free(call.elements[i]);
}

void FreeRawMessage(void* record)
{
    CoTaskMemFree(static_cast<RawMessage*>(record)->bytes);
    CoTaskMemFree(record);
}

void FreeStorageEvent(void* record)
{
    CoTaskMemFree(record);
}

void FreeSupplementaryIndication(void* record)
{
    CoTaskMemFree(record);
}

}  // namespace zelctl
