#include "support/RecordShapes.h"
#include "zelapi/calendar.h"
#include "zelapi/call.h"
#include "zelapi/file.h"
#include "zelapi/full_access.h"
#include "zelapi/messaging.h"
#include "zelapi/permissions.h"
#include "zelapi/pnd.h"
#include "zelapi/profiles.h"
#include "zelapi/provisioning.h"
#include "zelapi/radio.h"
#include "zelapi/sms.h"
#include "zelapi/storage.h"
#include "zelapi/supplementary.h"
#include "zelapi/time.h"
#include "zelapi/wap.h"

#include <algorithm>
#include <array>

#define AT(record, field) offsetof(record, field)
#define COUNT(record, field)                                                                                           \
    Count                                                                                                              \
    {                                                                                                                  \
        offsetof(record, field), sizeof(record::field), 0                                                              \
    }

namespace
{

using Way = Link::Way;
using Holds = bool (*)(const void*);

constexpr Way kGiven = Link::kGiven;
constexpr Way kReceived = Link::kReceived;

constexpr Count Fixed(std::size_t count)
{
    return {0, 0, count};
}

constexpr Link Text(Way way, std::size_t offset, Holds holds = nullptr)
{
    return {Link::kText, way, offset, Fixed(1), nullptr, holds};
}

constexpr Link Block(Way way, std::size_t offset, Count count, const Shape& element, Holds holds = nullptr)
{
    return {Link::kBlock, way, offset, count, &element, holds};
}

constexpr Link Inline(std::size_t offset, const Shape& element, std::size_t count = 1)
{
    return {Link::kInline, kGiven, offset, Fixed(count), &element, nullptr};
}

template <typename Record>
constexpr Shape Of(std::span<const Link> links = {})
{
    return {sizeof(Record), links};
}

/// A value that is there for records whose other fields say so.
template <typename Record, bool (*Test)(const Record&)>
bool If(const void* record)
{
    return Test(*static_cast<const Record*>(record));
}

constexpr Shape kNoRecord = {0, {}};
constexpr Shape kByte = Of<std::uint8_t>();
constexpr Shape kWord = Of<std::uint16_t>();
constexpr Shape kDword = Of<std::uint32_t>();

// ---- SMS

template <Way kWay>
constexpr Link kGroupLinks[] = {
    Block(kWay, AT(SmsParameterGroup, first_address), COUNT(SmsParameterGroup, first_address_length), kByte),
    Block(kWay, AT(SmsParameterGroup, second_address), COUNT(SmsParameterGroup, second_address_length), kByte),
    Block(kWay, AT(SmsParameterGroup, extra), COUNT(SmsParameterGroup, extra_length), kByte),
    Block(kWay, AT(SmsParameterGroup, user_data), COUNT(SmsParameterGroup, user_data_length), kByte),
};
template <Way kWay>
constexpr Shape kGroup = Of<SmsParameterGroup>(kGroupLinks<kWay>);

template <Way kWay>
constexpr Link kContentLinks[] = {
    Block(kWay, AT(SmsContent, first_block), Fixed(ZEL_SMS_BLOCK_LENGTH), kByte),
    Block(kWay, AT(SmsContent, second_block), Fixed(ZEL_SMS_BLOCK_LENGTH), kByte),
};
template <Way kWay>
constexpr Shape kContent = Of<SmsContent>(kContentLinks<kWay>);

constexpr Shape kSmsTime = Of<SmsTime>();
template <Way kWay>
constexpr Link kStoredLinks[] = {
    Inline(AT(SmsStoredMessage, content), kContent<kWay>),
    Block(kWay, AT(SmsStoredMessage, time), Fixed(1), kSmsTime),
    Inline(AT(SmsStoredMessage, parameters), kGroup<kWay>),
};
constexpr Link kReceivedMessageLinks[] = {
    Inline(AT(SmsReceivedMessage, parameters), kGroup<kReceived>),
    Inline(AT(SmsReceivedMessage, content), kContent<kReceived>),
    Block(kReceived, AT(SmsReceivedMessage, further), Fixed(1), kByte),
};
constexpr Link kSubmitLinks[] = {Inline(AT(SmsSubmit, parameters), kGroup<kGiven>)};
constexpr Link kSmsListLinks[] = {Block(kReceived, AT(SmsList, values), COUNT(SmsList, count), kWord)};
constexpr Link kDetailsLinks[] = {
    Block(kReceived, AT(SmsDetails, first_block), Fixed(ZEL_SMS_DETAIL_LENGTH), kByte),
    Block(kReceived, AT(SmsDetails, second_block), Fixed(ZEL_SMS_DETAIL_LENGTH), kByte),
    Block(kReceived, AT(SmsDetails, third_block), Fixed(ZEL_SMS_BLOCK_LENGTH), kByte),
    Text(kReceived, AT(SmsDetails, text)),
};
bool HasSecondAddress(const SmsAddresses& record)
{
    return record.second_address != nullptr;
}
constexpr Link kAddressesLinks[] = {
    Block(kReceived, AT(SmsAddresses, first_address), COUNT(SmsAddresses, first_address_length), kByte),
    Block(kReceived, AT(SmsAddresses, second_address), COUNT(SmsAddresses, second_address_length), kByte,
          If<SmsAddresses, HasSecondAddress>),
    Block(kReceived, AT(SmsAddresses, block), COUNT(SmsAddresses, block_length), kByte),
};
constexpr Link kSmsTextLinks[] = {Text(kReceived, AT(SmsText, text))};
constexpr Shape kSmsText = Of<SmsText>(kSmsTextLinks);
constexpr Link kSmsTextListLinks[] = {Block(kReceived, AT(SmsTextList, entries), COUNT(SmsTextList, count), kSmsText)};
constexpr Link kTextToWriteLinks[] = {Text(kGiven, AT(SmsTextToWrite, text))};

// ---- Calendar

bool HoldsText(const CalendarField& field)
{
    return field.id >= ZEL_CALENDAR_TEXT_1 && field.id <= ZEL_CALENDAR_TEXT_4;
}
template <Way kWay>
constexpr Link kCalendarFieldLinks[] = {Text(kWay, AT(CalendarField, value), If<CalendarField, HoldsText>)};
template <Way kWay>
constexpr Shape kCalendarField = Of<CalendarField>(kCalendarFieldLinks<kWay>);
template <Way kWay>
constexpr Link kCalendarEntryLinks[] = {
    Block(kWay, AT(CalendarEntryRecord, fields), COUNT(CalendarEntryRecord, count), kCalendarField<kWay>)};
constexpr Link kCalendarListLinks[] = {
    Block(kReceived, AT(CalendarListRecord, locations), COUNT(CalendarListRecord, count), kDword)};

// ---- Call

bool HoldsText(const CallElement& element)
{
    return element.id == ZEL_CALL_FIRST_NUMBER || element.id == ZEL_CALL_NUMBER || element.id == ZEL_CALL_TEXT;
}
template <Way kWay>
constexpr Link kElementLinks[] = {Text(kWay, AT(CallElement, value), If<CallElement, HoldsText>)};
template <Way kWay>
constexpr Shape kElement = Of<CallElement>(kElementLinks<kWay>);
constexpr Link kCreateLinks[] = {
    Block(kGiven, AT(CallRecord, elements), COUNT(CallRecord, count_or_mode), kElement<Link::kSwapped>)};
constexpr Link kStatusQueryLinks[] = {
    Block(kReceived, AT(CallRecord, elements), COUNT(CallRecord, returned), kElement<kReceived>)};
constexpr Link kStatusLinks[] = {
    Block(kReceived, AT(CallRecord, elements), COUNT(CallRecord, count_or_mode), kElement<kReceived>)};

// ---- PND

bool HoldsText(const PndField& field)
{
    constexpr std::uint8_t kOthers[] = {12, 25, 28, 30, 40, 51, 55, 64, 67, 69, 87};
    return std::ranges::find(kOthers, field.type) == std::end(kOthers);
}
bool IsGroup(const PndField& field)
{
    return field.type == 74;
}
template <Way kWay>
constexpr Link kPndFieldLinks[] = {
    Text(kWay, AT(PndField, value), If<PndField, HoldsText>),
    Text(kWay, AT(PndField, texts[0]), If<PndField, IsGroup>),
    Text(kWay, AT(PndField, texts[1]), If<PndField, IsGroup>),
    Text(kWay, AT(PndField, texts[2]), If<PndField, IsGroup>),
    Text(kWay, AT(PndField, texts[3]), If<PndField, IsGroup>),
    Text(kWay, AT(PndField, texts[4]), If<PndField, IsGroup>),
    Text(kWay, AT(PndField, texts[5]), If<PndField, IsGroup>),
};
template <Way kWay>
constexpr Shape kPndField = Of<PndField>(kPndFieldLinks<kWay>);
constexpr Link kPndEntryLinks[] = {
    Block(kReceived, AT(PndEntry, fields), COUNT(PndEntry, field_count), kPndField<kReceived>),
    // Looking for a text takes the first field, whatever the count is.
    Block(kGiven, AT(PndEntry, fields), Fixed(1), kPndField<kGiven>),
};
constexpr Shape kPndEntry = Of<PndEntry>(kPndEntryLinks);
constexpr Link kPndReadLinks[] = {Inline(AT(PndReadRecord, entry), kPndEntry)};
constexpr Link kPndRead16Links[] = {Inline(AT(PndReadStore16Record, entry), kPndEntry)};
constexpr Link kPndWriteLinks[] = {
    Block(kGiven, AT(PndWriteRecord, fields), COUNT(PndWriteRecord, field_count), kPndField<kGiven>)};
constexpr Link kPndItemLinks[] = {Text(kReceived, AT(PndItem, text))};
constexpr Shape kPndItem = Of<PndItem>(kPndItemLinks);
constexpr Link kPndListLinks[] = {Block(kReceived, AT(PndListRecord, items), COUNT(PndListRecord, count), kPndItem)};
constexpr Shape kStore14Item = Of<PndStore14Item>();
constexpr Link kReadStore14Links[] = {
    Block(kReceived, AT(PndStore14Record, items), COUNT(PndStore14Record, count), kStore14Item)};
constexpr Link kWriteStore14Links[] = {Block(kGiven, AT(PndStore14Record, items), Fixed(1), kStore14Item)};

// ---- Storage

constexpr Link kAreaLinks[] = {Text(kReceived, AT(StorageArea, name))};
constexpr Shape kArea = Of<StorageArea>(kAreaLinks);
constexpr Link kAreaListLinks[] = {Block(kReceived, AT(StorageAreaList, areas), COUNT(StorageAreaList, count), kArea)};
constexpr Link kIdentifierListLinks[] = {
    Block(kReceived, AT(StorageIdentifierList, identifiers), COUNT(StorageIdentifierList, count), kDword)};

// ---- Provisioning

template <Way kWay>
constexpr Link kAccessLinks[] = {
    Block(kWay, AT(ProvisioningAccess, block_a), COUNT(ProvisioningAccess, length_a), kByte),
    Block(kWay, AT(ProvisioningAccess, block_c), COUNT(ProvisioningAccess, length_c), kByte),
};
template <Way kWay>
constexpr Shape kAccess = Of<ProvisioningAccess>(kAccessLinks<kWay>);
template <Way kWay>
constexpr Link kNameLinks[] = {Text(kWay, AT(ProvisioningName, name))};
template <Way kWay>
constexpr Shape kName = Of<ProvisioningName>(kNameLinks<kWay>);
template <Way kWay>
constexpr Link kSetLinks[] = {
    Block(kWay, AT(ProvisioningSet, access), Fixed(1), kAccess<kWay>),
    Block(kWay, AT(ProvisioningSet, name), Fixed(1), kName<kWay>),
    Block(kWay, AT(ProvisioningSet, content), COUNT(ProvisioningSet, content_size), kByte),
};
template <Way kWay>
constexpr Shape kSet = Of<ProvisioningSet>(kSetLinks<kWay>);
template <Way kWay>
constexpr Link kProvisioningLinks[] = {
    Block(kWay, AT(ProvisioningList, sets), COUNT(ProvisioningList, count), kSet<kWay>)};

// ---- Radio

template <Way kWay>
constexpr Link kRadioItemLinks[] = {
    Text(kWay, AT(RadioItem, name)),
    Block(kWay, AT(RadioItem, data), COUNT(RadioItem, data_length), kByte),
};
template <Way kWay>
constexpr Shape kRadioItem = Of<RadioItem>(kRadioItemLinks<kWay>);
constexpr Link kRadioListLinks[] = {
    Block(kReceived, AT(RadioList, items), COUNT(RadioList, count), kRadioItem<kReceived>)};
constexpr Link kRadioWriteLinks[] = {Block(kGiven, AT(RadioItemRecord, item), Fixed(1), kRadioItem<kGiven>)};
template <Way kWay>
constexpr Link kSettingLinks[] = {Text(kWay, AT(RadioSetting, text))};

// ---- Profiles

bool HoldsText(const ProfileSetting& setting)
{
    return setting.setting_id == ZEL_PROFILES_SETTING_TEXT;
}
template <Way kWay>
constexpr Link kProfileSettingLinks[] = {Text(kWay, AT(ProfileSetting, value), If<ProfileSetting, HoldsText>)};
template <Way kWay>
constexpr Shape kProfileSetting = Of<ProfileSetting>(kProfileSettingLinks<kWay>);
constexpr Link kReadSettingsLinks[] = {
    Block(kGiven, AT(ProfileRecord, in), COUNT(ProfileRecord, p2), kByte),
    Block(kReceived, AT(ProfileRecord, settings), COUNT(ProfileRecord, count), kProfileSetting<kReceived>),
};
constexpr Link kWriteSettingsLinks[] = {
    Block(kGiven, AT(ProfileRecord, in), COUNT(ProfileRecord, p0), kProfileSetting<kGiven>)};

// ---- Supplementary services

constexpr Link kServiceDetailLinks[] = {
    Text(kReceived, AT(SupplementaryDetail, text)),
    // Its length is not told; it has a byte at least.
    Block(kReceived, AT(SupplementaryDetail, data), Fixed(1), kByte),
};
constexpr Shape kServiceDetail = Of<SupplementaryDetail>(kServiceDetailLinks);
constexpr Link kServiceEntryLinks[] = {Block(kGiven, AT(SupplementaryEntry, detail), Fixed(1), kServiceDetail)};
constexpr Shape kServiceEntry = Of<SupplementaryEntry>(kServiceEntryLinks);
constexpr Link kServiceRequestLinks[] = {
    Inline(AT(SupplementaryRequest, entries), kServiceEntry, ZEL_SUPPLEMENTARY_ENTRIES)};
constexpr Link kServiceListEntryLinks[] = {Inline(AT(SupplementaryListEntry, detail), kServiceDetail)};
constexpr Shape kServiceListEntry = Of<SupplementaryListEntry>(kServiceListEntryLinks);
constexpr Link kServiceTextLinks[] = {Text(kGiven, AT(SupplementaryText, text))};
constexpr Shape kServiceText = Of<SupplementaryText>(kServiceTextLinks);
bool SendsText(const SupplementaryListRequest& record)
{
    return record.operation == ZEL_SUPPLEMENTARY_OPERATION_TEXT;
}
constexpr Link kServiceListLinks[] = {
    Block(kReceived, AT(SupplementaryListRequest, list), COUNT(SupplementaryListRequest, count), kServiceListEntry),
    Block(kGiven, AT(SupplementaryListRequest, list), Fixed(1), kServiceText, If<SupplementaryListRequest, SendsText>),
};
constexpr Link kServiceIndicationLinks[] = {
    Block(kReceived, AT(SupplementaryIndication, detail), Fixed(1), kServiceDetail)};

// ---- The others

template <Way kWay>
constexpr Link kFileLinks[] = {Text(kWay, AT(FileLookupRecord, name))};
template <Way kWay>
constexpr Link kChunkLinks[] = {Block(kWay, AT(PermissionChunk, bytes), COUNT(PermissionChunk, length), kByte)};
template <Way kWay>
constexpr Shape kChunk = Of<PermissionChunk>(kChunkLinks<kWay>);
template <Way kWay>
constexpr Link kPermissionLinks[] = {
    Block(kWay, AT(PermissionRecord, chunks), COUNT(PermissionRecord, count), kChunk<kWay>)};
template <Way kWay>
constexpr Link kConnectionLinks[] = {
    Text(kWay, AT(WapConnection, first_text)),
    Text(kWay, AT(WapConnection, second_text)),
};
template <Way kWay>
constexpr Shape kConnection = Of<WapConnection>(kConnectionLinks<kWay>);
template <Way kWay>
constexpr Link kWapLinks[] = {Block(kGiven, AT(WapRequest, connection), Fixed(1), kConnection<kWay>)};
constexpr Link kRawRequestLinks[] = {Block(kGiven, AT(RawRequest, bytes), COUNT(RawRequest, length), kByte)};
constexpr Link kRawMessageLinks[] = {Block(kReceived, AT(RawMessage, bytes), COUNT(RawMessage, count), kByte)};

constexpr RecordShape Request(std::uint32_t messageId, const Shape& shape)
{
    return {messageId, shape, false, Left::kEverything};
}

constexpr RecordShape Indication(std::uint32_t messageId, const Shape& shape, Left left = Left::kNothing)
{
    return {messageId, shape, true, left};
}

const RecordShape kTable[] = {
    Request(ZEL_CALL_CREATE, Of<CallRecord>(kCreateLinks)),
    Request(ZEL_CALL_QUERY, Of<CallRecord>()),
    Request(ZEL_CALL_REQUEST_9, Of<CallRecord>()),
    Request(ZEL_CALL_STATUS_QUERY, Of<CallRecord>(kStatusQueryLinks)),
    Request(ZEL_CALL_CONTROL_4, Of<CallRecord>()),
    Request(ZEL_CALL_CONTROL_5, Of<CallRecord>()),
    Request(ZEL_CALL_CONTROL_1, Of<CallRecord>()),
    Request(ZEL_CALL_CONTROL_2, Of<CallRecord>()),
    Request(ZEL_CALL_CONTROL_3, Of<CallRecord>()),
    Request(ZEL_CALL_CONTROL_A1, Of<CallRecord>()),
    Request(ZEL_CALL_CREATE_VARIANT, Of<CallRecord>(kCreateLinks)),
    Indication(ZEL_CALL_STATUS, Of<CallRecord>(kStatusLinks), Left::kTexts),

    Indication(ZEL_SMS_RECEIVED, Of<SmsReceivedMessage>(kReceivedMessageLinks)),
    Request(ZEL_SMS_LIST, Of<SmsList>(kSmsListLinks)),
    Request(ZEL_SMS_SUBMIT, Of<SmsSubmit>(kSubmitLinks)),
    Request(ZEL_SMS_READ, Of<SmsStoredMessage>(kStoredLinks<kReceived>)),
    Request(ZEL_SMS_WRITE, Of<SmsStoredMessage>(kStoredLinks<kGiven>)),
    Request(ZEL_SMS_LOCATION_COMMAND, Of<SmsLocationCommand>()),
    Request(ZEL_SMS_READ_DETAILS, Of<SmsDetails>(kDetailsLinks)),
    Request(ZEL_SMS_READ_ADDRESSES, Of<SmsAddresses>(kAddressesLinks)),
    Request(ZEL_SMS_LIST_TEXTS, Of<SmsTextList>(kSmsTextListLinks)),
    Request(ZEL_SMS_WRITE_TEXT, Of<SmsTextToWrite>(kTextToWriteLinks)),
    Request(ZEL_SMS_COMMAND, Of<SmsCommand>()),
    Indication(ZEL_SMS_EVENT, Of<SmsEvent>()),
    Indication(ZEL_SMS_SIGNAL, kNoRecord),

    Request(ZEL_PND_COMMAND_21, Of<PndCommandRecord>()),
    Request(ZEL_PND_COMMAND_23, Of<PndCommandRecord>()),
    Request(ZEL_PND_READ_ENTRY, Of<PndReadRecord>(kPndReadLinks)),
    Request(ZEL_PND_WRITE_ENTRY, Of<PndWriteRecord>(kPndWriteLinks)),
    Request(ZEL_PND_READ_FIELDS, Of<PndReadRecord>(kPndReadLinks)),
    Request(ZEL_PND_WRITE_FIELDS, Of<PndWriteRecord>(kPndWriteLinks)),
    Request(ZEL_PND_COMMAND_28, Of<PndCommand28Record>()),
    Request(ZEL_PND_COMMAND_15, Of<PndCommand15Record>()),
    Request(ZEL_PND_LIST, Of<PndListRecord>(kPndListLinks)),
    Request(ZEL_PND_READ_STORE_14, Of<PndStore14Record>(kReadStore14Links)),
    Request(ZEL_PND_WRITE_STORE_14, Of<PndStore14Record>(kWriteStore14Links)),
    Request(ZEL_PND_READ_STORE_16, Of<PndReadStore16Record>(kPndRead16Links)),
    Request(ZEL_PND_WRITE_STORE_16, Of<PndWriteRecord>(kPndWriteLinks)),
    Request(ZEL_PND_STORE_STATE, Of<PndStoreStateRecord>()),
    Indication(ZEL_PND_EVENT, Of<PndEventRecord>()),

    Request(ZEL_SUPPLEMENTARY_QUERY, Of<SupplementaryRequest>(kServiceRequestLinks)),
    Request(ZEL_SUPPLEMENTARY_QUERY_43, Of<SupplementaryRequest>(kServiceRequestLinks)),
    Request(ZEL_SUPPLEMENTARY_REQUEST, Of<SupplementaryListRequest>(kServiceListLinks)),
    Request(ZEL_SUPPLEMENTARY_REQUEST_43, Of<SupplementaryRequest>(kServiceRequestLinks)),
    Indication(ZEL_SUPPLEMENTARY_INDICATION, Of<SupplementaryIndication>(kServiceIndicationLinks), Left::kEverything),

    Request(ZEL_CALENDAR_LIST, Of<CalendarListRecord>(kCalendarListLinks)),
    Request(ZEL_CALENDAR_READ, Of<CalendarEntryRecord>(kCalendarEntryLinks<kReceived>)),
    Request(ZEL_CALENDAR_WRITE, Of<CalendarEntryRecord>(kCalendarEntryLinks<kGiven>)),
    Request(ZEL_CALENDAR_QUERY, Of<CalendarLocationRecord>()),
    Request(ZEL_CALENDAR_KIND_OPERATION, Of<CalendarKindRecord>()),
    Request(ZEL_CALENDAR_SUMMARY, Of<CalendarSummaryRecord>()),

    Request(ZEL_TIME_READ, Of<TimeRecord>()),
    Request(ZEL_TIME_SET, Of<TimeRecord>()),
    Request(ZEL_TIME_READ_SETTINGS, Of<TimeSettings>()),

    Request(ZEL_PROVISIONING_READ_ALL, Of<ProvisioningList>(kProvisioningLinks<kReceived>)),
    Request(ZEL_PROVISIONING_WRITE_ALL, Of<ProvisioningList>(kProvisioningLinks<kGiven>)),
    Request(ZEL_PROVISIONING_SET_NUMBER, Of<ProvisioningNumber>()),

    Request(ZEL_PERMISSIONS_SIZE, Of<PermissionRecord>()),
    Request(ZEL_PERMISSIONS_READ, Of<PermissionRecord>(kPermissionLinks<kReceived>)),
    Request(ZEL_PERMISSIONS_WRITE, Of<PermissionRecord>(kPermissionLinks<kGiven>)),
    Request(ZEL_PERMISSIONS_SECOND_SIZE, Of<PermissionRecord>()),

    Request(ZEL_PROFILES_READ_SETTINGS, Of<ProfileRecord>(kReadSettingsLinks)),
    Request(ZEL_PROFILES_WRITE_SETTINGS, Of<ProfileRecord>(kWriteSettingsLinks)),
    Request(ZEL_PROFILES_OPERATION, kNoRecord),
    Request(ZEL_PROFILES_READ_BYTES, Of<ProfileRecord>()),
    Request(ZEL_PROFILES_WRITE_BYTES, Of<ProfileRecord>()),

    Request(ZEL_RADIO_LIST, Of<RadioList>(kRadioListLinks)),
    Request(ZEL_RADIO_WRITE_ITEM, Of<RadioItemRecord>(kRadioWriteLinks)),
    Request(ZEL_RADIO_READ_SETTING, Of<RadioSetting>(kSettingLinks<kReceived>)),
    Request(ZEL_RADIO_WRITE_SETTING, Of<RadioSetting>(kSettingLinks<kGiven>)),
    Request(ZEL_RADIO_REQUEST_3, Of<RadioSetting>()),

    Request(ZEL_WAP_READ_BYTE, Of<WapRequest>()),
    Request(ZEL_WAP_COMMAND, kNoRecord),
    Request(ZEL_WAP_READ_CONNECTION, Of<WapRequest>(kWapLinks<kReceived>)),
    Request(ZEL_WAP_WRITE_CONNECTION, Of<WapRequest>(kWapLinks<kGiven>)),
    Request(ZEL_WAP_CONNECTION_COMMAND, Of<WapRequest>()),

    Indication(ZEL_MESSAGING_EVENT, Of<MessagingEventRecord>()),

    Request(ZEL_FILE_NAME_OF_ID, Of<FileLookupRecord>(kFileLinks<kReceived>)),
    Request(ZEL_FILE_ID_OF_NAME, Of<FileLookupRecord>(kFileLinks<kGiven>)),

    Request(ZEL_STORAGE_AREA_COMMAND, Of<StorageAreaCommand>()),
    Request(ZEL_STORAGE_LIST_AREAS, Of<StorageAreaList>(kAreaListLinks)),
    Request(ZEL_STORAGE_LIST_IDENTIFIERS, Of<StorageIdentifierList>(kIdentifierListLinks)),
    Request(ZEL_STORAGE_IDENTIFIER_COMMAND, Of<StorageIdentifierCommand>()),
    Request(ZEL_STORAGE_COMMAND, kNoRecord),
    Indication(ZEL_STORAGE_EVENT, Of<StorageEventRecord>(), Left::kEverything),
    Request(ZEL_STORAGE_THREE_BYTE_COMMAND, Of<StorageThreeByteCommand>()),

    Request(ZEL_FULL_ACCESS_QUERY, Of<AccessRecord>()),
    Request(ZEL_RAW_SEND, Of<RawRequest>(kRawRequestLinks)),
    Indication(ZEL_RAW_MESSAGE, Of<RawMessage>(kRawMessageLinks), Left::kEverything),
};

}  // namespace

std::span<const RecordShape> AllRecordShapes()
{
    return kTable;
}

const RecordShape* RecordShapeOf(std::uint32_t messageId)
{
    const auto found = std::ranges::find(kTable, messageId, &RecordShape::messageId);
    return found == std::end(kTable) ? nullptr : found;
}
