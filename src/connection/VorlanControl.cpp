#include "connection/VorlanControl.h"

#include "connection/ByteArray.h"
#include "connection/HandleRegistry.h"
#include "handlers/base/Owners.h"
#include "runtime/Apartment.h"
#include "zelapi/time.h"

#include <cstring>
#include <memory>

namespace
{

constexpr std::uint32_t kLowDeviceIdBits = 0x0FFFFFFF;
constexpr std::uint32_t kSecondDeviceRange = 0x10000000;
constexpr std::uint32_t kBrokeredDeviceIdBits = 0xFFFF;

constexpr std::uint8_t kSubscriptionResource = 0x10;
constexpr std::uint8_t kSubscriptionMessage = 0x10;

constexpr std::uint8_t kRawResource = 0xFF;

constexpr std::uint32_t kReleaseWaitMs = 1000;

/// Where an indication keeps its message id and its body; the bytes before belong to the link.
constexpr std::size_t kIndicationIdAt = 3;
constexpr std::size_t kIndicationBodyAt = 4;

constexpr std::uint8_t kTimeResource = 25;
constexpr std::uint8_t kVersionMessage = 0xF0;
constexpr std::uint32_t kVersionReplyMs = 2000;
constexpr std::uint8_t kQueriedResources[] = {25, 57, 62, 34, 19, 20, 2, 3, 170, 1, 6};

std::uint8_t ResourceOf(std::uint32_t messageId)
{
    return static_cast<std::uint8_t>(ZEL_RESOURCE_OF(messageId));
}

/// How the link service names a medium.
struct MediumArguments
{
    ULONG index;
    ULONG flags;
};

MediumArguments ArgumentsOf(std::uint32_t medium)
{
    switch (medium)
    {
    case ZEL_MEDIUM_1:
        return {0, 0x101};
    case ZEL_MEDIUM_4:
        return {1, 1};
    case ZEL_MEDIUM_8:
        return {2, 1};
    case ZEL_MEDIUM_16:
        return {3, 1};
    default:
        return {0, 1};
    }
}

HRESULT FindPoint(IConnectionPointContainer& container, const IID& events, CComRef<IConnectionPoint>& point)
{
    const HRESULT result = container.FindConnectionPoint(events, point.Put());
    return SUCCEEDED(result) && !point ? E_NOINTERFACE : result;
}

HRESULT Advise(IConnectionPointContainer& container, const IID& events, IUnknown* sink, DWORD& cookie)
{
    CComRef<IConnectionPoint> point;
    const HRESULT result = FindPoint(container, events, point);
    return FAILED(result) ? result : point->Advise(sink, &cookie);
}

HRESULT Unadvise(IConnectionPointContainer& container, const IID& events, DWORD& cookie)
{
    CComRef<IConnectionPoint> point;
    const HRESULT result = FindPoint(container, events, point);
    return FAILED(result) ? result : point->Unadvise(std::exchange(cookie, 0));
}

void** PutVoid(CComRef<IConnectionPointContainer>& container)
{
    return reinterpret_cast<void**>(container.Put());
}

void KeepLibraryLoaded()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(&KeepLibraryLoaded), &module);
}

/// Makes `message` the reply. One that is no array of bytes, or an empty one, is a reply with id 0 and no body.
void TakeReply(CMessage& message, const CByteArrayView& reply)
{
    const std::uint8_t resource = message.GetResource();
    message.Clear();
    message.SetResource(resource);
    if (reply.Size() == 0)
        return;
    message.SetMessageId(reply.Data()[0]);
    message.AppendBytes(reply.Size() - 1, reply.Data() + 1);
}

}  // namespace

CVorlanControl::CVorlanControl()
    : CIVorlanServiceEvents(m_sinkHolders), CIVorlanServiceEvents2(m_sinkHolders), m_handlers(m_service)
{
    m_service.UseTable();
}

CVorlanControl::~CVorlanControl()
{
    End(kLeaveAdvised);
}

void CVorlanControl::Dispose(CVorlanControl* connection)
{
    HandleRegistry::Unregister(connection);
    connection->End(kLeaveAdvised);
    // An event that is still inside, or a service that has not let go, stands on the connection, and on this library.
    if (!connection->m_sinkHolders.LeaveToTheLast(&CVorlanControl::DeleteLater, connection))
        delete connection;
    else
        KeepLibraryLoaded();
}

void CVorlanControl::DeleteLater(void* connection)
{
    // Not here: this is one of COM's threads, on its way out of the connection.
    const auto deleteNow = [](PTP_CALLBACK_INSTANCE, void* left) { delete static_cast<CVorlanControl*>(left); };
    TrySubmitThreadpoolCallback(deleteNow, connection, nullptr);
}

std::uint32_t CVorlanControl::Shutdown()
{
    Close();
    return ZEL_OK;
}

// ---------------------------------------------------------------------------------------------------------------------
// Opening and closing

std::uint32_t CVorlanControl::OpenById(std::uint32_t deviceId)
{
    m_ended = false;
    const std::uint32_t result = ResultOf([&] {
        HRESULT step = m_service.Connect();
        if (SUCCEEDED(step) && deviceId > kLowDeviceIdBits)
        {
            deviceId &= kLowDeviceIdBits;
            SelectDeviceRange(kSecondDeviceRange);
        }
        if (SUCCEEDED(step))
            step = OpenDeviceById(deviceId);
        if (SUCCEEDED(step))
            step = CompleteOpen();
        return static_cast<std::uint32_t>(step);
    });
    if (SUCCEEDED(static_cast<HRESULT>(result)))
        return result;
    Close();
    return ZEL_E_FAIL;
}

std::uint32_t CVorlanControl::OpenBySerialNumber(const OLECHAR* serialNumber, std::uint32_t medium)
{
    m_ended = false;
    const std::uint32_t result = ResultOf([&] {
        HRESULT step = m_service.Connect();
        if (SUCCEEDED(step))
            step = OpenDeviceBySerialNumber(serialNumber, medium);
        if (SUCCEEDED(step))
            step = CompleteOpen();
        return static_cast<std::uint32_t>(step);
    });
    if (FAILED(static_cast<HRESULT>(result)))
        Close();
    return result;
}

void CVorlanControl::SelectDeviceRange(std::uint32_t range)
{
    if (const auto service = m_service.GetService())
        service->SelectDeviceRange(range);
}

HRESULT CVorlanControl::GetBrokeredDevice(CComRef<IVorlanDevice>& device) const
{
    const auto broker = m_service.GetBroker();
    if (!broker)
        return static_cast<HRESULT>(ZEL_E_NO_SERVICE);
    CComRef<IUnknown> object;
    GUID interfaceId = IID_IVorlanDevice;
    const HRESULT result = broker->GetDevice(m_service.GetKind(), &interfaceId, object.Put());
    if (FAILED(result))
        return result;
    return object.QueryInto(device);
}

HRESULT CVorlanControl::OpenDeviceById(std::uint32_t deviceId)
{
    if (m_service.HasBroker())
    {
        CComRef<IVorlanDevice> brokered;
        const HRESULT result = GetBrokeredDevice(brokered);
        return FAILED(result) ? result : brokered->OpenById(deviceId & kBrokeredDeviceIdBits, 0);
    }
    const auto device = m_service.GetDevice();
    return device ? device->OpenById(deviceId, 0) : static_cast<HRESULT>(ZEL_E_NO_SERVICE);
}

HRESULT CVorlanControl::OpenDeviceBySerialNumber(const OLECHAR* serialNumber, std::uint32_t medium)
{
    const CBStrOwner serial(IsReadable(serialNumber) ? SysAllocString(serialNumber) : nullptr);
    if (!serial && IsReadable(serialNumber))
        return E_OUTOFMEMORY;
    const auto [index, flags] = ArgumentsOf(medium);
    if (m_service.HasBroker())
    {
        CComRef<IVorlanDevice> brokered;
        const HRESULT result = GetBrokeredDevice(brokered);
        return FAILED(result) ? result : brokered->OpenBySerialNumber(serial.get(), index, flags, 0, 0);
    }
    const auto device = m_service.GetDevice();
    return device ? device->OpenBySerialNumber(serial.get(), index, flags, 0, 0)
                  : static_cast<HRESULT>(ZEL_E_NO_SERVICE);
}

HRESULT CVorlanControl::CompleteOpen()
{
    const HRESULT advised = AdviseSinks();
    if (FAILED(advised))
        return advised;
    QueryServiceVersions();
    QueryTimeService();
    Start();
    m_handlers.Clear();
    return advised;
}

HRESULT CVorlanControl::GetConnectionPoints(CComRef<IConnectionPointContainer>& container) const
{
    const auto service = m_service.GetService();
    if (!service)
        return static_cast<HRESULT>(ZEL_E_NO_SERVICE);
    return service->QueryInterface(IID_IConnectionPointContainer, PutVoid(container));
}

HRESULT CVorlanControl::AdviseSinks()
{
    HRESULT result = KeepMultithreadedApartment();
    if (FAILED(result))
        return result;
    result = E_UNEXPECTED;
    RunInMultithreadedApartment([&] {
        CComRef<IConnectionPointContainer> container;
        result = GetConnectionPoints(container);
        if (FAILED(result))
            return;
        CIVorlanServiceEvents::Expose();
        CIVorlanServiceEvents2::Expose();
        // A service without the first events is still good for requests.
        Advise(*container.Get(), IID_IVorlanServiceEvents, static_cast<CIVorlanServiceEvents*>(this), m_eventsCookie);
        result = Advise(*container.Get(), IID_IVorlanServiceEvents2, static_cast<CIVorlanServiceEvents2*>(this),
                        m_rawEventsCookie);
    });
    return result;
}

HRESULT CVorlanControl::UnadviseSinks()
{
    HRESULT result = E_UNEXPECTED;
    RunInMultithreadedApartment([&] {
        CComRef<IConnectionPointContainer> container;
        result = GetConnectionPoints(container);
        if (FAILED(result))
            return;
        Unadvise(*container.Get(), IID_IVorlanServiceEvents, m_eventsCookie);
        result = Unadvise(*container.Get(), IID_IVorlanServiceEvents2, m_rawEventsCookie);
    });
    return result;
}

std::uint32_t CVorlanControl::Close()
{
    return ResultOf([&] { return End(kUnadvise); });
}

std::uint32_t CVorlanControl::End(Unadvising unadvising)
{
    if (std::exchange(m_ended, true))
        return ZEL_OK;
    Stop(m_endWaitMs);
    std::uint32_t result = ZEL_OK;
    if (unadvising == kUnadvise && m_service.HasService())
        result = ResultOf([&] { return static_cast<std::uint32_t>(UnadviseSinks()); });
    CutOffSinks();
    // An event that was let in before the cut runs to its end, and COM then lets go of the sink. A service that never
    // lets go, one in this process that was not unadvised, is not waited for any longer.
    if (m_events.WaitUntilEmpty(m_endWaitMs))
        m_sinkHolders.WaitUntilEmpty(kReleaseWaitMs);
    m_service.Disconnect();
    m_versions.Clear();
    m_handlers.Clear();
    return result;
}

void CVorlanControl::CutOffSinks()
{
    ResultOf([&] {
        RunInMultithreadedApartment([&] {
            CIVorlanServiceEvents::CutOff();
            CIVorlanServiceEvents2::CutOff();
        });
        return ZEL_OK;
    });
}

// ---------------------------------------------------------------------------------------------------------------------
// What the phone supports

std::uint32_t CVorlanControl::QueryServiceVersions()
{
    std::uint32_t result = ZEL_OK;
    for (const std::uint8_t resource : kQueriedResources)
    {
        CMessage message;
        message.SetResource(resource);
        message.SetMessageId(kVersionMessage);
        message.AppendWord(0x1200);
        result = ResultOf([&] { return Send(message, kVersionReplyMs); });
        if (result != ZEL_OK || message.GetMessageId() != kVersionMessage)
            continue;
        const std::uint8_t answer = message.ReadByte();
        if (answer != 1 && answer != 19)
            continue;
        const std::uint8_t major = message.ReadByte();
        const std::uint8_t minor = message.ReadByte();
        m_versions.Add({resource, major, minor});
    }
    return result;
}

void CVorlanControl::QueryTimeService()
{
    TimeSettings settings = {};
    if (m_handlers.GetHandler(kTimeResource)->EncodeRequest(*this, ZEL_TIME_READ_SETTINGS, &settings) != ZEL_OK)
        return;
    m_timeParameters[0] = settings.setting_10_second;
    m_timeParameters[1] = settings.setting_11_second;
}

std::uint32_t CVorlanControl::QuerySupport(std::uint32_t messageId, std::uint32_t& version) const
{
    const auto service = m_versions.Find(ResourceOf(messageId));
    if (!service)
        return ZEL_NOT_SUPPORTED;
    version = static_cast<std::uint32_t>(service->major << 8 | service->minor);
    return ZEL_OK;
}

std::uint32_t CVorlanControl::GetServiceVersion(std::uint8_t resource, std::uint8_t& major, std::uint8_t& minor)
{
    const auto service = m_versions.Find(resource);
    if (!service)
        return ZEL_E_FAIL;
    major = service->major;
    minor = service->minor;
    return ZEL_OK;
}

std::uint32_t CVorlanControl::GetTimeServiceParameters(std::uint16_t& first, std::uint16_t& second)
{
    first = m_timeParameters[0];
    second = m_timeParameters[1];
    return ZEL_OK;
}

// ---------------------------------------------------------------------------------------------------------------------
// Requests

std::uint32_t CVorlanControl::SendRequest(std::uint32_t messageId, void* record)
{
    return ResultOf(
        [&] { return m_handlers.GetHandler(ResourceOf(messageId))->EncodeRequest(*this, messageId, record); });
}

CServiceRef<IVorlanService2> CVorlanControl::RequireService() const
{
    if (!m_service.HasService())
        ThrowCode(ZEL_E_NO_SERVICE);
    auto service = m_service.GetService();
    if (!service)
        ThrowCode(ZEL_E_NO_SERVICE);
    return service;
}

std::uint32_t CVorlanControl::Send(CMessage& message, std::uint32_t timeoutMs)
{
    const auto service = RequireService();

    CByteArrayVariant bytes;
    std::uint8_t* out = bytes.Allocate(std::size_t{message.GetSize()} + 1);
    if (out == nullptr)
        ThrowCode(ZEL_E_FAIL);
    out[0] = message.GetMessageId();
    if (message.GetSize() != 0)
        std::memcpy(out + 1, message.GetData(), message.GetSize());

    CByteArrayVariant expected;
    const CByteSet& replies = message.GetExpectedReplies();
    if (timeoutMs != 0 && !replies.IsEmpty())
        if (std::uint8_t* next = expected.Allocate(replies.Size()))
            replies.ForEach([&](std::uint8_t id) { *next++ = id; });

    const VARIANT_BOOL wait = timeoutMs != 0 ? VARIANT_TRUE : VARIANT_FALSE;
    const HRESULT result = service->Send(message.GetResource(), bytes.Get(), wait, expected.Value(), timeoutMs);
    if (SUCCEEDED(result) && wait == VARIANT_TRUE)
        TakeReply(message, CByteArrayView(bytes.Get()));
    return static_cast<std::uint32_t>(result);
}

std::uint32_t CVorlanControl::SendRaw(std::uint32_t length, const std::uint8_t* bytes)
{
    const auto service = RequireService();
    CByteArrayVariant array;
    std::uint8_t* out = array.Allocate(length);
    if (out == nullptr)
        ThrowCode(ZEL_E_FAIL);
    if (length != 0)
        std::memcpy(out, bytes, length);
    return static_cast<std::uint32_t>(service->SendRaw(array.Value()));
}

std::uint32_t CVorlanControl::Subscribe(std::uint32_t action, std::uint32_t messageId)
{
    if (action != ZEL_REGISTER && action != ZEL_UNREGISTER)
        return ZEL_E_ARGUMENT;
    return m_subscriptions.Change(action == ZEL_REGISTER, ResourceOf(messageId), [&](const CByteSet& subscribed) {
        CMessage message;
        message.SetResource(kSubscriptionResource);
        message.SetMessageId(kSubscriptionMessage);
        message.AppendByte(static_cast<std::uint8_t>(subscribed.Size()));
        subscribed.ForEach([&](std::uint8_t member) { message.AppendByte(member); });
        return Send(message, 0);
    });
}

// ---------------------------------------------------------------------------------------------------------------------
// What the phone says on its own

HRESULT CVorlanControl::OnMessageReceived(unsigned char resource, VARIANT* message)
{
    const COccupancy::Guest event(m_events);
    ResultOf([&]() -> std::uint32_t {
        const CByteArrayView bytes(message);
        if (bytes.Size() <= kIndicationIdAt)
            return ZEL_NOT_HANDLED;
        CMessage indication;
        indication.SetResource(resource);
        indication.SetMessageId(bytes.Data()[kIndicationIdAt]);
        indication.AppendBytes(bytes.Size() - kIndicationBodyAt, bytes.Data() + kIndicationBodyAt);
        QueueIndication(*m_handlers.GetHandler(resource), indication);
        return ZEL_OK;
    });
    return S_OK;
}

HRESULT CVorlanControl::OnRawMessageReceived(VARIANT* message)
{
    const COccupancy::Guest event(m_events);
    ResultOf([&]() -> std::uint32_t {
        if (!IsReadable(message) || message->vt != (VT_ARRAY | VT_UI1) || !IsReadable(message->parray))
            return ZEL_NOT_HANDLED;
        const auto handler = m_handlers.FindRawHandler();
        if (handler == nullptr)
            return ZEL_NOT_HANDLED;
        const CByteArrayView bytes(message);
        CMessage raw;
        raw.SetResource(kRawResource);
        raw.AppendBytes(bytes.Size(), bytes.Data());
        QueueIndication(*handler, raw);
        return ZEL_OK;
    });
    return S_OK;
}

HRESULT CVorlanControl::OnConnectionEvent()
{
    const COccupancy::Guest event(m_events);
    ResultOf([&] {
        // A target that waits for the phone may wait for a service that waits for this call.
        if (!TryDispatch(ZEL_CONNECTION_EVENT, 0, nullptr))
            Queue(ZEL_CONNECTION_EVENT, 0, nullptr);
        return ZEL_OK;
    });
    return S_OK;
}

void CVorlanControl::QueueIndication(CContentHandler& handler, CMessage& message)
{
    std::uint32_t messageId = 0;
    void* record = nullptr;
    // A handler that answers 0 and names no id had nothing to deliver.
    if (handler.DecodeMessage(message, messageId, record) != ZEL_OK || messageId == 0)
        return;
    const std::uint32_t queued = ResultOf([&] {
        Queue(ZEL_INDICATION, messageId, record);
        return ZEL_OK;
    });
    if (queued != ZEL_OK)
        handler.FreeDecodedData(messageId, record);
}

void CVorlanControl::Queue(std::uint32_t kind, std::uint32_t messageId, void* record)
{
    auto notification = std::make_unique<CNTFData>(CNTFData{kind, messageId, record});
    Enqueue(notification.get());
    static_cast<void>(notification.release());
}

std::uint32_t CVorlanControl::Execute(CNTFData* notification)
{
    const std::unique_ptr<CNTFData> owned(notification);
    // Whatever leaves a target, the record is freed.
    ResultOf([&] {
        Dispatch(notification->kind, notification->messageId, notification->record);
        return ZEL_OK;
    });
    if (notification->kind == ZEL_INDICATION)
        m_handlers.GetHandler(ResourceOf(notification->messageId))
            ->FreeDecodedData(notification->messageId, notification->record);
    return ZEL_OK;
}
