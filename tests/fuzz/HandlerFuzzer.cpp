#include "fuzz/FuzzChecks.h"
#include "handlers/CallHandler.h"
#include "handlers/File2Handler.h"
#include "handlers/FullAccessHandler.h"
#include "handlers/MessagingHandler.h"
#include "handlers/PermHandler.h"
#include "handlers/ProvisioningHandler.h"
#include "handlers/RadioHandler.h"
#include "handlers/StorageHandler.h"
#include "handlers/SupplementaryServicesHandler.h"
#include "handlers/TimeHandler.h"
#include "handlers/UserProfilesHandler.h"
#include "handlers/WAPConnHandler.h"
#include "handlers/calendar/CalendarHandler.h"
#include "handlers/pnd/PNDHandler.h"
#include "handlers/sms/SMSHandler.h"
#include "support/FailingNew.h"
#include "support/RecordShapes.h"
#include "zelapi/permissions.h"

#include <algorithm>
#include <host_control.h>
#include <iterator>
#include <memory>
#include <utility>

// The input: a request with the phone's answers to it, or an indication, and the faults to meet.
//
//     resource byte
//     operation                    low byte of the request's API message id; 0: an indication
//     allocation that fails        1 is the first one; 0: none
//     operator new that fails      likewise
//     send that fails              likewise
//     version of the service       0: the phone does not have it
//     time zone                    see ChooseZone
//     length of the seed, seed     what fills the caller's record
//     messages                     each one its id, the length of its body in two bytes, and the body, which may be
//                                  shorter; an indication is the first one

namespace
{

constexpr std::uint32_t kSendFailure = 0x80040155;
constexpr std::uint8_t kSmsTransport = 0x02;
constexpr std::uint8_t kSms = 0x14;

/// Time zones by number: without rules, northern, southern; any other number: not available.
void ChooseZone(std::uint8_t number)
{
    const SYSTEMTIME march = {0, 3, 0, 5, 2, 0, 0, 0};
    const SYSTEMTIME october = {0, 10, 0, 5, 3, 0, 0, 0};
    const SYSTEMTIME none = {};
    const TIME_ZONE_INFORMATION zones[] = {
        {-330, {}, none, 0, {}, none, 0},
        {-60, {}, october, 0, {}, march, -60},
        {-600, {}, march, 0, {}, october, -60},
    };
    if (number < std::size(zones))
        host::SetTimeZone(zones[number]);
    else
        host::FailTimeZone();
}

template <typename Handler>
std::unique_ptr<CContentHandler> New()
{
    return std::make_unique<Handler>();
}

/// Null for a service that does not exist.
std::unique_ptr<CContentHandler> NewHandler(std::uint8_t resource)
{
    static constexpr std::pair<std::uint8_t, std::unique_ptr<CContentHandler> (*)()> kServices[] = {
        {0x01, New<CCallHandler>},      {kSmsTransport, New<CSMSHandler>},
        {0x03, New<CPNDHandler>},       {0x06, New<CSupplementaryServicesHandler>},
        {0x13, New<CCalendarHandler>},  {kSms, New<CSMSHandler>},
        {0x19, New<CTimeHandler>},      {0x22, New<CProvisioningHandler>},
        {0x23, New<CPermHandler>},      {0x39, New<CUserProfilesHandler>},
        {0x3E, New<CRadioHandler>},     {0x3F, New<CWAPConnHandler>},
        {0x66, New<CMessagingHandler>}, {0x6D, New<CFile2Handler>},
        {0xAA, New<CStorageHandler>},   {0xFF, New<CFullAccessHandler>},
    };
    const auto* const service = std::ranges::find(kServices, resource, [](const auto& row) { return row.first; });
    if (service == std::end(kServices))
        return nullptr;
    auto handler = service->second();
    handler->SetResource(resource);
    return handler;
}

/// The input, and the phone that speaks from it.
class CFuzzCase : public CDataSender
{
  public:
    explicit CFuzzCase(CByteSource input)
        : m_input(input),
          m_resource(m_input.Byte()),
          m_operation(m_input.Byte()),
          m_failingAllocation(m_input.Byte()),
          m_failingNew(m_input.Byte()),
          m_failingSend(m_input.Byte()),
          m_version(m_input.Byte()),
          m_zone(m_input.Byte())
    {
        m_seed = Split(m_input.Byte());
    }

    void Run()
    {
        const auto handler = NewHandler(m_resource);
        if (!handler)
            return;
        ChooseZone(m_zone);
        const std::size_t before = host::LiveAllocations();
        if (m_operation == 0)
            Deliver(*handler);
        else
            Request(*handler, static_cast<std::uint32_t>(m_resource << 8 | m_operation));
        Require(host::LiveAllocations() == before, "every allocation is freed once");
    }

    std::uint32_t Send(CMessage& message, std::uint32_t timeoutMs) override
    {
        Require(message.GetResource() == m_resource || (m_resource == kSms && message.GetResource() == kSmsTransport),
                "a request names its service");
        Require(timeoutMs != 0, "a handler waits for the reply");
        if (SendFails() || m_input.left == 0)
            return kSendFailure;
        message = TakeMessage();
        return ZEL_OK;
    }

    std::uint32_t SendRaw(std::uint32_t length, const std::uint8_t* bytes) override
    {
        CMsgBase sent;
        sent.AppendBytes(length, bytes);
        return SendFails() ? kSendFailure : ZEL_OK;
    }

    std::uint32_t GetServiceVersion(std::uint8_t, std::uint8_t& major, std::uint8_t& minor) override
    {
        major = m_version;
        minor = 0;
        return m_version == 0 ? ZEL_E_FAIL : ZEL_OK;
    }

    std::uint32_t GetTimeServiceParameters(std::uint16_t& first, std::uint16_t& second) override
    {
        first = 0x0102;
        second = 0x0304;
        return ZEL_OK;
    }

  private:
    /// Runs an operation in which the allocations that the input names fail.
    template <typename Operation>
    std::uint32_t WithFaults(Operation operation)
    {
        host::FailAllocation(m_failingAllocation);
        host::FailNew(m_failingNew);
        const std::uint32_t result = operation();
        host::FailNew(0);
        host::FailAllocation(0);
        return result;
    }

    void Request(CContentHandler& handler, std::uint32_t messageId)
    {
        static constexpr Shape kNoRecord = {};
        const RecordShape* const known = RecordShapeOf(messageId);
        const bool isRequest = known != nullptr && !known->isIndication;
        CCallersRecord record(isRequest ? known->shape : kNoRecord, m_seed);
        // A read of 4 GiB makes four million exchanges.
        if (messageId == ZEL_PERMISSIONS_READ)
            static_cast<PermissionRecord*>(record.Get())->size %= 0x4000;
        const std::uint32_t result = WithFaults([&] { return handler.EncodeRequest(*this, messageId, record.Get()); });
        const RecordContents contents = record.Read();
        Require(isRequest || result == ZEL_NOT_HANDLED, "an unknown request is not handled");
        Require(contents.broken == nullptr, contents.broken);
        Require(result == ZEL_OK || !contents.hasNew, "a request that fails stores nothing");
    }

    void Deliver(CContentHandler& handler)
    {
        CMessage message = TakeMessage();
        std::uint32_t messageId = 0;
        void* record = nullptr;
        const std::uint32_t result = WithFaults([&] { return handler.DecodeMessage(message, messageId, record); });
        Require(result == ZEL_OK || record == nullptr, "a record comes with success only");
        if (messageId == 0)
            return Require(record == nullptr, "a record has a message id");
        const RecordShape* const shape = RecordShapeOf(messageId);
        Require(shape != nullptr && shape->isIndication, "an indication is known");
        if (record == nullptr)
            return;
        const RecordContents contents = ReadReceived(shape->shape, record);
        Require(contents.broken == nullptr, contents.broken);
        const CAllocations left = LeftToReceiver(*shape, record, contents);
        handler.FreeDecodedData(messageId, record);
        left.Free();
    }

    bool SendFails() { return m_failingSend != 0 && --m_failingSend == 0; }

    /// Takes up to `size` bytes from the input.
    CByteSource Split(std::size_t size)
    {
        const CByteSource front = {m_input.next, std::min(size, m_input.left)};
        m_input.next += front.left;
        m_input.left -= front.left;
        return front;
    }

    CMessage TakeMessage()
    {
        CMessage message;
        message.SetResource(m_resource);
        message.SetMessageId(m_input.Byte());
        const std::size_t high = m_input.Byte();
        const CByteSource body = Split(high << 8 | m_input.Byte());
        message.AppendBytes(body.left, body.next);
        return message;
    }

    CByteSource m_input;
    CByteSource m_seed = {};
    std::uint8_t m_resource;
    std::uint8_t m_operation;
    std::uint8_t m_failingAllocation;
    std::uint8_t m_failingNew;
    std::uint8_t m_failingSend;
    std::uint8_t m_version;
    std::uint8_t m_zone;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CFuzzCase({data, size}).Run();
    return 0;
}
