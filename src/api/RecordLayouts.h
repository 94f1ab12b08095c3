/*
 * The size of every public record and the offset of each of its fields, checked in C and in C++. Records cross the
 * boundary between the library and applications that were built by other compilers.
 */
#ifndef ZELAPI_RECORD_LAYOUTS_H
#define ZELAPI_RECORD_LAYOUTS_H

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

#include <assert.h>
#include <stddef.h>

#define CHECK_SIZE(record, size) static_assert(sizeof(record) == (size), #record " has another size")
#define CHECK_OFFSET(record, field, offset)                                                                            \
    static_assert(offsetof(record, field) == (offset), #record "." #field " is elsewhere")

/* calendar.h */

CHECK_SIZE(CalendarListRecord, 24);
CHECK_OFFSET(CalendarListRecord, leading, 0);
CHECK_OFFSET(CalendarListRecord, selector, 4);
CHECK_OFFSET(CalendarListRecord, mode, 6);
CHECK_OFFSET(CalendarListRecord, count, 8);
CHECK_OFFSET(CalendarListRecord, locations, 16);
CHECK_SIZE(CalendarDate, 8);
CHECK_OFFSET(CalendarDate, year, 0);
CHECK_OFFSET(CalendarDate, month, 2);
CHECK_OFFSET(CalendarDate, day, 3);
CHECK_OFFSET(CalendarDate, hour, 4);
CHECK_OFFSET(CalendarDate, minute, 5);
CHECK_OFFSET(CalendarDate, second, 6);
CHECK_SIZE(CalendarValue, 8);
CHECK_OFFSET(CalendarValue, number, 0);
CHECK_OFFSET(CalendarValue, text, 0);
CHECK_OFFSET(CalendarValue, date, 0);
CHECK_SIZE(CalendarField, 24);
CHECK_OFFSET(CalendarField, leading, 0);
CHECK_OFFSET(CalendarField, id, 4);
CHECK_OFFSET(CalendarField, value, 8);
CHECK_OFFSET(CalendarField, base_offset, 16);
CHECK_OFFSET(CalendarField, extra_offset, 20);
CHECK_SIZE(CalendarEntryRecord, 24);
CHECK_OFFSET(CalendarEntryRecord, leading, 0);
CHECK_OFFSET(CalendarEntryRecord, location, 4);
CHECK_OFFSET(CalendarEntryRecord, count, 8);
CHECK_OFFSET(CalendarEntryRecord, fields, 16);
CHECK_SIZE(CalendarLocationRecord, 8);
CHECK_OFFSET(CalendarLocationRecord, leading, 0);
CHECK_OFFSET(CalendarLocationRecord, location, 4);
CHECK_SIZE(CalendarKindRecord, 8);
CHECK_OFFSET(CalendarKindRecord, leading, 0);
CHECK_OFFSET(CalendarKindRecord, kind, 4);
CHECK_OFFSET(CalendarKindRecord, unused, 5);
CHECK_SIZE(CalendarSummaryRecord, 28);
CHECK_OFFSET(CalendarSummaryRecord, leading, 0);
CHECK_OFFSET(CalendarSummaryRecord, group_1_counter_111, 4);
CHECK_OFFSET(CalendarSummaryRecord, group_1_counter_113, 8);
CHECK_OFFSET(CalendarSummaryRecord, group_1_counter_114, 12);
CHECK_OFFSET(CalendarSummaryRecord, group_1_counter_112, 16);
CHECK_OFFSET(CalendarSummaryRecord, group_2_counter_111, 20);
CHECK_OFFSET(CalendarSummaryRecord, group_3_counter_111, 24);

/* call.h */

CHECK_SIZE(CallElement, 24);
CHECK_OFFSET(CallElement, leading, 0);
CHECK_OFFSET(CallElement, id, 4);
CHECK_OFFSET(CallElement, word, 8);
CHECK_OFFSET(CallElement, p0, 12);
CHECK_OFFSET(CallElement, p1, 13);
CHECK_OFFSET(CallElement, p2, 14);
CHECK_OFFSET(CallElement, p3, 15);
CHECK_OFFSET(CallElement, value, 16);
CHECK_SIZE(CallRecord, 16);
CHECK_OFFSET(CallRecord, leading, 0);
CHECK_OFFSET(CallRecord, call_id, 4);
CHECK_OFFSET(CallRecord, count_or_mode, 5);
CHECK_OFFSET(CallRecord, returned, 6);
CHECK_OFFSET(CallRecord, elements, 8);

/* file.h */

CHECK_SIZE(FileLookupRecord, 24);
CHECK_OFFSET(FileLookupRecord, leading, 0);
CHECK_OFFSET(FileLookupRecord, file_id, 4);
CHECK_OFFSET(FileLookupRecord, name, 8);
CHECK_OFFSET(FileLookupRecord, found_id, 16);

/* full_access.h */

CHECK_SIZE(AccessRecord, 1);
CHECK_OFFSET(AccessRecord, access, 0);
CHECK_SIZE(RawRequest, 16);
CHECK_OFFSET(RawRequest, leading, 0);
CHECK_OFFSET(RawRequest, length, 4);
CHECK_OFFSET(RawRequest, bytes, 8);
CHECK_SIZE(RawMessage, 16);
CHECK_OFFSET(RawMessage, size, 0);
CHECK_OFFSET(RawMessage, count, 4);
CHECK_OFFSET(RawMessage, bytes, 8);

/* messaging.h */

CHECK_SIZE(MessagingEventRecord, 8);
CHECK_OFFSET(MessagingEventRecord, size, 0);
CHECK_OFFSET(MessagingEventRecord, event, 4);
CHECK_OFFSET(MessagingEventRecord, reserved, 6);

/* permissions.h */

CHECK_SIZE(PermissionChunk, 24);
CHECK_OFFSET(PermissionChunk, reserved, 0);
CHECK_OFFSET(PermissionChunk, offset, 4);
CHECK_OFFSET(PermissionChunk, length, 8);
CHECK_OFFSET(PermissionChunk, bytes, 16);
CHECK_SIZE(PermissionRecord, 24);
CHECK_OFFSET(PermissionRecord, leading, 0);
CHECK_OFFSET(PermissionRecord, key, 4);
CHECK_OFFSET(PermissionRecord, size, 8);
CHECK_OFFSET(PermissionRecord, count, 12);
CHECK_OFFSET(PermissionRecord, chunks, 16);

/* pnd.h */

CHECK_SIZE(PndCompound, 6);
CHECK_OFFSET(PndCompound, word, 0);
CHECK_OFFSET(PndCompound, bytes, 2);
CHECK_SIZE(PndValue, 8);
CHECK_OFFSET(PndValue, number, 0);
CHECK_OFFSET(PndValue, text, 0);
CHECK_OFFSET(PndValue, compound, 0);
CHECK_SIZE(PndField, 72);
CHECK_OFFSET(PndField, leading, 0);
CHECK_OFFSET(PndField, attribute, 4);
CHECK_OFFSET(PndField, unused, 5);
CHECK_OFFSET(PndField, sub_attribute, 8);
CHECK_OFFSET(PndField, type, 9);
CHECK_OFFSET(PndField, value, 16);
CHECK_OFFSET(PndField, texts, 24);
CHECK_SIZE(PndEntry, 24);
CHECK_OFFSET(PndEntry, location, 0);
CHECK_OFFSET(PndEntry, value, 4);
CHECK_OFFSET(PndEntry, field_count, 8);
CHECK_OFFSET(PndEntry, fields, 16);
CHECK_SIZE(PndReadRecord, 32);
CHECK_OFFSET(PndReadRecord, leading, 0);
CHECK_OFFSET(PndReadRecord, kind, 4);
CHECK_OFFSET(PndReadRecord, mode, 5);
CHECK_OFFSET(PndReadRecord, value_6, 6);
CHECK_OFFSET(PndReadRecord, store, 7);
CHECK_OFFSET(PndReadRecord, entry, 8);
CHECK_SIZE(PndReadStore16Record, 32);
CHECK_OFFSET(PndReadStore16Record, leading, 0);
CHECK_OFFSET(PndReadStore16Record, kind, 4);
CHECK_OFFSET(PndReadStore16Record, location, 6);
CHECK_OFFSET(PndReadStore16Record, entry, 8);
CHECK_SIZE(PndWriteRecord, 24);
CHECK_OFFSET(PndWriteRecord, leading, 0);
CHECK_OFFSET(PndWriteRecord, store, 4);
CHECK_OFFSET(PndWriteRecord, location, 6);
CHECK_OFFSET(PndWriteRecord, field_count, 8);
CHECK_OFFSET(PndWriteRecord, fields, 16);
CHECK_SIZE(PndCommandRecord, 8);
CHECK_OFFSET(PndCommandRecord, leading, 0);
CHECK_OFFSET(PndCommandRecord, value_4, 4);
CHECK_SIZE(PndCommand28Record, 12);
CHECK_OFFSET(PndCommand28Record, leading, 0);
CHECK_OFFSET(PndCommand28Record, location, 4);
CHECK_OFFSET(PndCommand28Record, store, 6);
CHECK_OFFSET(PndCommand28Record, value_7, 7);
CHECK_OFFSET(PndCommand28Record, value_8, 8);
CHECK_SIZE(PndCommand15Record, 8);
CHECK_OFFSET(PndCommand15Record, leading, 0);
CHECK_OFFSET(PndCommand15Record, location, 4);
CHECK_OFFSET(PndCommand15Record, store, 6);
CHECK_SIZE(PndItem, 24);
CHECK_OFFSET(PndItem, leading, 0);
CHECK_OFFSET(PndItem, value_4, 4);
CHECK_OFFSET(PndItem, value_5, 5);
CHECK_OFFSET(PndItem, value_6, 6);
CHECK_OFFSET(PndItem, value_8, 8);
CHECK_OFFSET(PndItem, text_length, 9);
CHECK_OFFSET(PndItem, text, 16);
CHECK_SIZE(PndListRecord, 16);
CHECK_OFFSET(PndListRecord, leading, 0);
CHECK_OFFSET(PndListRecord, value_4, 4);
CHECK_OFFSET(PndListRecord, count, 5);
CHECK_OFFSET(PndListRecord, items, 8);
CHECK_SIZE(PndStore14Item, 16);
CHECK_OFFSET(PndStore14Item, leading, 0);
CHECK_OFFSET(PndStore14Item, value_4, 4);
CHECK_OFFSET(PndStore14Item, value_5, 5);
CHECK_OFFSET(PndStore14Item, value_6, 6);
CHECK_OFFSET(PndStore14Item, value_8, 8);
CHECK_OFFSET(PndStore14Item, value_12, 12);
CHECK_OFFSET(PndStore14Item, value_13, 13);
CHECK_SIZE(PndStore14Record, 24);
CHECK_OFFSET(PndStore14Record, leading, 0);
CHECK_OFFSET(PndStore14Record, kind, 4);
CHECK_OFFSET(PndStore14Record, location, 6);
CHECK_OFFSET(PndStore14Record, value, 8);
CHECK_OFFSET(PndStore14Record, count, 12);
CHECK_OFFSET(PndStore14Record, items, 16);
CHECK_SIZE(PndStoreStateRecord, 20);
CHECK_OFFSET(PndStoreStateRecord, leading, 0);
CHECK_OFFSET(PndStoreStateRecord, store, 4);
CHECK_OFFSET(PndStoreStateRecord, value_8, 8);
CHECK_OFFSET(PndStoreStateRecord, value_12, 12);
CHECK_OFFSET(PndStoreStateRecord, value_14, 14);
CHECK_OFFSET(PndStoreStateRecord, value_16, 16);
CHECK_OFFSET(PndStoreStateRecord, value_17, 17);
CHECK_SIZE(PndEventRecord, 16);
CHECK_OFFSET(PndEventRecord, leading, 0);
CHECK_OFFSET(PndEventRecord, value_4, 4);
CHECK_OFFSET(PndEventRecord, value_8, 8);
CHECK_OFFSET(PndEventRecord, value_12, 12);
CHECK_OFFSET(PndEventRecord, kind, 14);
CHECK_OFFSET(PndEventRecord, value_15, 15);

/* profiles.h */

CHECK_SIZE(ProfileSetting, 24);
CHECK_OFFSET(ProfileSetting, leading, 0);
CHECK_OFFSET(ProfileSetting, profile, 4);
CHECK_OFFSET(ProfileSetting, second, 5);
CHECK_OFFSET(ProfileSetting, status, 8);
CHECK_OFFSET(ProfileSetting, type, 12);
CHECK_OFFSET(ProfileSetting, setting_id, 13);
CHECK_OFFSET(ProfileSetting, value, 16);
CHECK_SIZE(ProfileRecord, 32);
CHECK_OFFSET(ProfileRecord, leading, 0);
CHECK_OFFSET(ProfileRecord, p0, 4);
CHECK_OFFSET(ProfileRecord, p1, 5);
CHECK_OFFSET(ProfileRecord, p2, 6);
CHECK_OFFSET(ProfileRecord, p3, 7);
CHECK_OFFSET(ProfileRecord, in, 8);
CHECK_OFFSET(ProfileRecord, count, 16);
CHECK_OFFSET(ProfileRecord, settings, 24);

/* provisioning.h */

CHECK_SIZE(ProvisioningAccess, 40);
CHECK_OFFSET(ProvisioningAccess, leading, 0);
CHECK_OFFSET(ProvisioningAccess, value_4, 4);
CHECK_OFFSET(ProvisioningAccess, value_6, 6);
CHECK_OFFSET(ProvisioningAccess, length_a, 8);
CHECK_OFFSET(ProvisioningAccess, length_b, 9);
CHECK_OFFSET(ProvisioningAccess, block_a, 16);
CHECK_OFFSET(ProvisioningAccess, length_c, 24);
CHECK_OFFSET(ProvisioningAccess, block_c, 32);
CHECK_SIZE(ProvisioningName, 16);
CHECK_OFFSET(ProvisioningName, leading, 0);
CHECK_OFFSET(ProvisioningName, value_4, 4);
CHECK_OFFSET(ProvisioningName, name_length, 5);
CHECK_OFFSET(ProvisioningName, name, 8);
CHECK_SIZE(ProvisioningSet, 48);
CHECK_OFFSET(ProvisioningSet, unused_0, 0);
CHECK_OFFSET(ProvisioningSet, number, 12);
CHECK_OFFSET(ProvisioningSet, access, 16);
CHECK_OFFSET(ProvisioningSet, name, 24);
CHECK_OFFSET(ProvisioningSet, unused_32, 32);
CHECK_OFFSET(ProvisioningSet, content_size, 36);
CHECK_OFFSET(ProvisioningSet, content, 40);
CHECK_SIZE(ProvisioningList, 24);
CHECK_OFFSET(ProvisioningList, leading, 0);
CHECK_OFFSET(ProvisioningList, count, 4);
CHECK_OFFSET(ProvisioningList, sets, 8);
CHECK_OFFSET(ProvisioningList, value_16, 16);
CHECK_OFFSET(ProvisioningList, value_17, 17);
CHECK_OFFSET(ProvisioningList, value_18, 18);
CHECK_SIZE(ProvisioningNumber, 8);
CHECK_OFFSET(ProvisioningNumber, leading, 0);
CHECK_OFFSET(ProvisioningNumber, number, 4);

/* radio.h */

CHECK_SIZE(RadioItem, 32);
CHECK_OFFSET(RadioItem, leading, 0);
CHECK_OFFSET(RadioItem, value, 4);
CHECK_OFFSET(RadioItem, name, 8);
CHECK_OFFSET(RadioItem, data_length, 16);
CHECK_OFFSET(RadioItem, data, 24);
CHECK_SIZE(RadioList, 16);
CHECK_OFFSET(RadioList, leading, 0);
CHECK_OFFSET(RadioList, value, 4);
CHECK_OFFSET(RadioList, count, 5);
CHECK_OFFSET(RadioList, items, 8);
CHECK_SIZE(RadioItemRecord, 16);
CHECK_OFFSET(RadioItemRecord, leading, 0);
CHECK_OFFSET(RadioItemRecord, item, 8);
CHECK_SIZE(RadioSetting, 32);
CHECK_OFFSET(RadioSetting, leading, 0);
CHECK_OFFSET(RadioSetting, key, 4);
CHECK_OFFSET(RadioSetting, second_key, 5);
CHECK_OFFSET(RadioSetting, unused_6, 6);
CHECK_OFFSET(RadioSetting, value_12, 12);
CHECK_OFFSET(RadioSetting, value_13, 13);
CHECK_OFFSET(RadioSetting, value_14, 14);
CHECK_OFFSET(RadioSetting, value_15, 15);
CHECK_OFFSET(RadioSetting, value_16, 16);
CHECK_OFFSET(RadioSetting, text, 24);

/* sms.h */

CHECK_SIZE(SmsParameterGroup, 72);
CHECK_OFFSET(SmsParameterGroup, leading, 0);
CHECK_OFFSET(SmsParameterGroup, first_address_type, 4);
CHECK_OFFSET(SmsParameterGroup, first_address_length, 8);
CHECK_OFFSET(SmsParameterGroup, first_address, 16);
CHECK_OFFSET(SmsParameterGroup, second_address_type, 24);
CHECK_OFFSET(SmsParameterGroup, second_address_length, 28);
CHECK_OFFSET(SmsParameterGroup, second_address, 32);
CHECK_OFFSET(SmsParameterGroup, extra_length, 40);
CHECK_OFFSET(SmsParameterGroup, extra, 48);
CHECK_OFFSET(SmsParameterGroup, user_data_coding, 56);
CHECK_OFFSET(SmsParameterGroup, user_data_length, 60);
CHECK_OFFSET(SmsParameterGroup, user_data, 64);
CHECK_SIZE(SmsTime, 16);
CHECK_OFFSET(SmsTime, year, 0);
CHECK_OFFSET(SmsTime, month, 2);
CHECK_OFFSET(SmsTime, day, 3);
CHECK_OFFSET(SmsTime, hour, 4);
CHECK_OFFSET(SmsTime, minute, 5);
CHECK_OFFSET(SmsTime, second, 6);
CHECK_OFFSET(SmsTime, base_offset, 8);
CHECK_OFFSET(SmsTime, extra_offset, 12);
CHECK_SIZE(SmsContent, 40);
CHECK_OFFSET(SmsContent, unused, 0);
CHECK_OFFSET(SmsContent, kind, 4);
CHECK_OFFSET(SmsContent, value, 5);
CHECK_OFFSET(SmsContent, header, 6);
CHECK_OFFSET(SmsContent, first_block_length, 10);
CHECK_OFFSET(SmsContent, first_block, 16);
CHECK_OFFSET(SmsContent, second_block_length, 24);
CHECK_OFFSET(SmsContent, second_block, 32);
CHECK_SIZE(SmsList, 24);
CHECK_OFFSET(SmsList, leading, 0);
CHECK_OFFSET(SmsList, selector, 4);
CHECK_OFFSET(SmsList, count, 8);
CHECK_OFFSET(SmsList, values, 16);
CHECK_SIZE(SmsSubmit, 88);
CHECK_OFFSET(SmsSubmit, leading, 0);
CHECK_OFFSET(SmsSubmit, request, 4);
CHECK_OFFSET(SmsSubmit, kind, 8);
CHECK_OFFSET(SmsSubmit, header, 9);
CHECK_OFFSET(SmsSubmit, parameters, 16);
CHECK_SIZE(SmsStoredMessage, 136);
CHECK_OFFSET(SmsStoredMessage, leading, 0);
CHECK_OFFSET(SmsStoredMessage, location, 4);
CHECK_OFFSET(SmsStoredMessage, first_selector, 6);
CHECK_OFFSET(SmsStoredMessage, second_selector, 7);
CHECK_OFFSET(SmsStoredMessage, third_selector, 8);
CHECK_OFFSET(SmsStoredMessage, content, 16);
CHECK_OFFSET(SmsStoredMessage, time, 56);
CHECK_OFFSET(SmsStoredMessage, parameters, 64);
CHECK_SIZE(SmsLocationCommand, 8);
CHECK_OFFSET(SmsLocationCommand, leading, 0);
CHECK_OFFSET(SmsLocationCommand, selector, 4);
CHECK_OFFSET(SmsLocationCommand, location, 6);
CHECK_SIZE(SmsDetails, 56);
CHECK_OFFSET(SmsDetails, leading, 0);
CHECK_OFFSET(SmsDetails, selector, 4);
CHECK_OFFSET(SmsDetails, location, 6);
CHECK_OFFSET(SmsDetails, lead, 8);
CHECK_OFFSET(SmsDetails, values, 10);
CHECK_OFFSET(SmsDetails, text_length, 13);
CHECK_OFFSET(SmsDetails, first_block, 16);
CHECK_OFFSET(SmsDetails, second_block, 24);
CHECK_OFFSET(SmsDetails, third_block, 32);
CHECK_OFFSET(SmsDetails, text, 40);
CHECK_OFFSET(SmsDetails, trail, 48);
CHECK_OFFSET(SmsDetails, last_value, 50);
CHECK_SIZE(SmsAddresses, 64);
CHECK_OFFSET(SmsAddresses, leading, 0);
CHECK_OFFSET(SmsAddresses, request, 4);
CHECK_OFFSET(SmsAddresses, unused, 8);
CHECK_OFFSET(SmsAddresses, inverted, 12);
CHECK_OFFSET(SmsAddresses, values, 13);
CHECK_OFFSET(SmsAddresses, first_address_type, 16);
CHECK_OFFSET(SmsAddresses, first_address_length, 20);
CHECK_OFFSET(SmsAddresses, first_address, 24);
CHECK_OFFSET(SmsAddresses, second_address_type, 32);
CHECK_OFFSET(SmsAddresses, second_address_length, 36);
CHECK_OFFSET(SmsAddresses, second_address, 40);
CHECK_OFFSET(SmsAddresses, block_value, 48);
CHECK_OFFSET(SmsAddresses, block_length, 49);
CHECK_OFFSET(SmsAddresses, block, 56);
CHECK_SIZE(SmsText, 16);
CHECK_OFFSET(SmsText, leading, 0);
CHECK_OFFSET(SmsText, value, 4);
CHECK_OFFSET(SmsText, text_length, 5);
CHECK_OFFSET(SmsText, text, 8);
CHECK_SIZE(SmsTextList, 16);
CHECK_OFFSET(SmsTextList, leading, 0);
CHECK_OFFSET(SmsTextList, count, 4);
CHECK_OFFSET(SmsTextList, entries, 8);
CHECK_SIZE(SmsTextToWrite, 16);
CHECK_OFFSET(SmsTextToWrite, leading, 0);
CHECK_OFFSET(SmsTextToWrite, value, 4);
CHECK_OFFSET(SmsTextToWrite, text, 8);
CHECK_SIZE(SmsCommand, 8);
CHECK_OFFSET(SmsCommand, leading, 0);
CHECK_OFFSET(SmsCommand, value, 4);
CHECK_SIZE(SmsReceivedMessage, 128);
CHECK_OFFSET(SmsReceivedMessage, leading, 0);
CHECK_OFFSET(SmsReceivedMessage, value, 4);
CHECK_OFFSET(SmsReceivedMessage, location, 6);
CHECK_OFFSET(SmsReceivedMessage, parameters, 8);
CHECK_OFFSET(SmsReceivedMessage, content, 80);
CHECK_OFFSET(SmsReceivedMessage, further, 120);
CHECK_SIZE(SmsEvent, 8);
CHECK_OFFSET(SmsEvent, leading, 0);
CHECK_OFFSET(SmsEvent, first_value, 4);
CHECK_OFFSET(SmsEvent, second_value, 6);

/* storage.h */

CHECK_SIZE(StorageAreaCommand, 1);
CHECK_OFFSET(StorageAreaCommand, value, 0);
CHECK_SIZE(StorageArea, 16);
CHECK_OFFSET(StorageArea, size, 0);
CHECK_OFFSET(StorageArea, number, 4);
CHECK_OFFSET(StorageArea, name_length, 5);
CHECK_OFFSET(StorageArea, name, 8);
CHECK_SIZE(StorageAreaList, 16);
CHECK_OFFSET(StorageAreaList, leading, 0);
CHECK_OFFSET(StorageAreaList, count, 4);
CHECK_OFFSET(StorageAreaList, areas, 8);
CHECK_SIZE(StorageIdentifierList, 24);
CHECK_OFFSET(StorageIdentifierList, leading, 0);
CHECK_OFFSET(StorageIdentifierList, unused_4, 4);
CHECK_OFFSET(StorageIdentifierList, area, 5);
CHECK_OFFSET(StorageIdentifierList, unused_6, 6);
CHECK_OFFSET(StorageIdentifierList, unused_8, 8);
CHECK_OFFSET(StorageIdentifierList, count, 12);
CHECK_OFFSET(StorageIdentifierList, identifiers, 16);
CHECK_SIZE(StorageIdentifierCommand, 8);
CHECK_OFFSET(StorageIdentifierCommand, leading, 0);
CHECK_OFFSET(StorageIdentifierCommand, identifier, 4);
CHECK_SIZE(StorageThreeByteCommand, 16);
CHECK_OFFSET(StorageThreeByteCommand, leading, 0);
CHECK_OFFSET(StorageThreeByteCommand, identifier, 4);
CHECK_OFFSET(StorageThreeByteCommand, first, 8);
CHECK_OFFSET(StorageThreeByteCommand, second, 10);
CHECK_OFFSET(StorageThreeByteCommand, third, 12);
CHECK_SIZE(StorageEventRecord, 12);
CHECK_OFFSET(StorageEventRecord, size, 0);
CHECK_OFFSET(StorageEventRecord, reserved, 2);
CHECK_OFFSET(StorageEventRecord, event, 4);
CHECK_OFFSET(StorageEventRecord, first, 6);
CHECK_OFFSET(StorageEventRecord, second, 8);
CHECK_OFFSET(StorageEventRecord, third, 10);

/* supplementary.h */

CHECK_SIZE(SupplementaryDetail, 24);
CHECK_OFFSET(SupplementaryDetail, value_1, 0);
CHECK_OFFSET(SupplementaryDetail, value_2, 1);
CHECK_OFFSET(SupplementaryDetail, value_3, 2);
CHECK_OFFSET(SupplementaryDetail, value_4, 3);
CHECK_OFFSET(SupplementaryDetail, text, 8);
CHECK_OFFSET(SupplementaryDetail, data, 16);
CHECK_SIZE(SupplementaryEntry, 24);
CHECK_OFFSET(SupplementaryEntry, type, 0);
CHECK_OFFSET(SupplementaryEntry, detail, 8);
CHECK_OFFSET(SupplementaryEntry, unused, 16);
CHECK_SIZE(SupplementaryRequest, 6128);
CHECK_OFFSET(SupplementaryRequest, leading, 0);
CHECK_OFFSET(SupplementaryRequest, operation, 4);
CHECK_OFFSET(SupplementaryRequest, service_code, 5);
CHECK_OFFSET(SupplementaryRequest, value, 6);
CHECK_OFFSET(SupplementaryRequest, entries, 8);
CHECK_SIZE(SupplementaryText, 16);
CHECK_OFFSET(SupplementaryText, leading, 0);
CHECK_OFFSET(SupplementaryText, length, 4);
CHECK_OFFSET(SupplementaryText, text, 8);
CHECK_SIZE(SupplementaryListEntry, 32);
CHECK_OFFSET(SupplementaryListEntry, type, 0);
CHECK_OFFSET(SupplementaryListEntry, detail, 8);
CHECK_SIZE(SupplementaryListRequest, 24);
CHECK_OFFSET(SupplementaryListRequest, leading, 0);
CHECK_OFFSET(SupplementaryListRequest, operation, 4);
CHECK_OFFSET(SupplementaryListRequest, service_code, 5);
CHECK_OFFSET(SupplementaryListRequest, value, 6);
CHECK_OFFSET(SupplementaryListRequest, count, 8);
CHECK_OFFSET(SupplementaryListRequest, list, 16);
CHECK_SIZE(SupplementaryIndication, 24);
CHECK_OFFSET(SupplementaryIndication, leading, 0);
CHECK_OFFSET(SupplementaryIndication, first, 4);
CHECK_OFFSET(SupplementaryIndication, second, 6);
CHECK_OFFSET(SupplementaryIndication, block_id, 8);
CHECK_OFFSET(SupplementaryIndication, detail, 16);

/* time.h */

CHECK_SIZE(TimeToSet, 24);
CHECK_OFFSET(TimeToSet, leading, 0);
CHECK_OFFSET(TimeToSet, unused_a, 4);
CHECK_OFFSET(TimeToSet, unused_b, 6);
CHECK_OFFSET(TimeToSet, lead_0, 8);
CHECK_OFFSET(TimeToSet, lead_1, 9);
CHECK_OFFSET(TimeToSet, year, 10);
CHECK_OFFSET(TimeToSet, month, 12);
CHECK_OFFSET(TimeToSet, day, 13);
CHECK_OFFSET(TimeToSet, hour, 14);
CHECK_OFFSET(TimeToSet, minute, 15);
CHECK_OFFSET(TimeToSet, second, 16);
CHECK_OFFSET(TimeToSet, unused_g, 17);
CHECK_SIZE(TimeNow, 24);
CHECK_OFFSET(TimeNow, leading, 0);
CHECK_OFFSET(TimeNow, value_4, 4);
CHECK_OFFSET(TimeNow, unused_a, 5);
CHECK_OFFSET(TimeNow, unused_b, 6);
CHECK_OFFSET(TimeNow, unused_c, 8);
CHECK_OFFSET(TimeNow, unused_d, 10);
CHECK_OFFSET(TimeNow, lead_0, 12);
CHECK_OFFSET(TimeNow, lead_1, 13);
CHECK_OFFSET(TimeNow, year, 14);
CHECK_OFFSET(TimeNow, month, 16);
CHECK_OFFSET(TimeNow, day, 17);
CHECK_OFFSET(TimeNow, hour, 18);
CHECK_OFFSET(TimeNow, minute, 19);
CHECK_OFFSET(TimeNow, second, 20);
CHECK_SIZE(TimeSettings, 12);
CHECK_OFFSET(TimeSettings, leading, 0);
CHECK_OFFSET(TimeSettings, setting_10_first, 4);
CHECK_OFFSET(TimeSettings, setting_10_second, 6);
CHECK_OFFSET(TimeSettings, setting_11_first, 8);
CHECK_OFFSET(TimeSettings, setting_11_second, 10);
CHECK_SIZE(TimeRecord, 24);
CHECK_OFFSET(TimeRecord, now, 0);
CHECK_OFFSET(TimeRecord, set, 0);
CHECK_OFFSET(TimeRecord, settings, 0);
CHECK_OFFSET(TimeRecord, bytes, 0);

/* wap.h */

CHECK_SIZE(WapConnection, 24);
CHECK_OFFSET(WapConnection, identifier, 0);
CHECK_OFFSET(WapConnection, value, 2);
CHECK_OFFSET(WapConnection, flag, 3);
CHECK_OFFSET(WapConnection, first_text, 8);
CHECK_OFFSET(WapConnection, second_text, 16);
CHECK_SIZE(WapRequest, 16);
CHECK_OFFSET(WapRequest, leading, 0);
CHECK_OFFSET(WapRequest, key, 4);
CHECK_OFFSET(WapRequest, result, 6);
CHECK_OFFSET(WapRequest, connection, 8);

#undef CHECK_SIZE
#undef CHECK_OFFSET

#endif
