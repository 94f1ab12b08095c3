#pragma once

#include <utility>
#include <zelapi/calendar.h>
#include <zelapi/call.h>
#include <zelapi/file.h>
#include <zelapi/full_access.h>
#include <zelapi/permissions.h>
#include <zelapi/pnd.h>
#include <zelapi/profiles.h>
#include <zelapi/provisioning.h>
#include <zelapi/radio.h>
#include <zelapi/sms.h>
#include <zelapi/storage.h>
#include <zelapi/supplementary.h>
#include <zelapi/wap.h>

namespace zelctl
{

/// Whether the value is a text, which then belongs to the record.
bool HoldsText(const CalendarField& field);
bool HoldsText(const CallElement& element);
bool HoldsText(const PndField& field);
bool HoldsText(const ProfileSetting& setting);

// What a request has stored in a record is freed; the record itself stays as it is.
void Free(CalendarEntryRecord& record);
void Free(CalendarListRecord& record);
void Free(CallElement& element);
void Free(CallRecord& record);  ///< As ZEL_CALL_STATUS_QUERY fills it.
void Free(FileLookupRecord& record);
void Free(PermissionRecord& record);
void Free(PndEntry& entry);
void Free(PndListRecord& record);
void Free(PndStore14Record& record);
void Free(ProfileRecord& record);
void Free(ProvisioningList& list);
void Free(RadioList& list);
void Free(RadioSetting& setting);
void Free(SmsAddresses& record);
void Free(SmsDetails& record);
void Free(SmsList& list);
void Free(SmsStoredMessage& message);
void Free(SmsTextList& list);
void Free(StorageAreaList& list);
void Free(StorageIdentifierList& list);
void Free(SupplementaryDetail& detail);
void Free(SupplementaryListRequest& request);
void Free(WapConnection& connection);

// What the library leaves to the receiver of an indication.
void FreeCallStatus(void* record);
void FreeRawMessage(void* record);
void FreeStorageEvent(void* record);
void FreeSupplementaryIndication(void* record);

/// A record with what a request has stored in it.
template <typename Record>
class CReceived
{
  public:
    CReceived() = default;
    /// Takes over what a record owns.
    explicit CReceived(const Record& filled) : record(filled) {}
    CReceived(CReceived&& other) noexcept : record(std::exchange(other.record, {})) {}
    CReceived& operator=(CReceived&&) = delete;
    ~CReceived() { Free(record); }

    Record record = {};
};

}  // namespace zelctl
