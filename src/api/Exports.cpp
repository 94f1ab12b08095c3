#include "api/RecordLayouts.h"
#include "connection/HandleRegistry.h"
#include "connection/VorlanControl.h"
#include "message/ExceptionFrame.h"
#include "zelapi/zelapi.h"

#include <atomic>
#include <new>

namespace
{

constexpr std::uint32_t kApiVersion = 10;
constexpr DWORD kTerminatePollMs = 1000;
constexpr int kTerminatePolls = 30;

std::atomic<std::uint32_t> g_initialisations = 0;
std::atomic<std::uint32_t> g_callsInProgress = 0;

CVorlanControl& ConnectionOf(ZelConnection handle)
{
    if (!IsReadable(handle) || !HandleRegistry::Contains(handle))
        ThrowCode(ZEL_E_HANDLE);
    return *static_cast<CVorlanControl*>(static_cast<CHandleBase*>(handle));
}

/// The frame of every function that takes a handle. A call that throws stays counted as in progress.
template <typename Operation>
std::uint32_t OnConnection(ZelConnection handle, Operation&& operation)
{
    return ResultOf([&] {
        CVorlanControl& connection = ConnectionOf(handle);
        const CNotificationBase::CCall call;
        ++g_callsInProgress;
        const std::uint32_t result = operation(connection);
        --g_callsInProgress;
        return result;
    });
}

CVorlanControl& NewConnection()
{
    try
    {
        return *new CVorlanControl;
    }
    catch (const std::bad_alloc&)
    {
        ThrowCode(ZEL_E_OUT_OF_MEMORY);
    }
}

void Publish(CVorlanControl& connection, ZelConnection* handle)
{
    *handle = static_cast<CHandleBase*>(&connection);
}

void Destroy(CHandleBase* handle)
{
    CVorlanControl::Dispose(static_cast<CVorlanControl*>(handle));
}

/// Lowers the count of initialisations, not below 0. What is left.
std::uint32_t LowerInitialisations()
{
    std::uint32_t count = g_initialisations;
    while (count != 0 && !g_initialisations.compare_exchange_weak(count, count - 1))
        continue;
    return count == 0 ? 0 : count - 1;
}

void WaitForRunningCalls()
{
    for (int poll = 0; poll < kTerminatePolls && g_callsInProgress != 0; ++poll)
        Sleep(kTerminatePollMs);
}

void DestroyConnections()
{
    HRESULT initialised = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (initialised == RPC_E_CHANGED_MODE)
        initialised = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    HandleRegistry::DestroyAll(&Destroy);
    // Where COM was already there (S_FALSE) the extra count stays; applications have come to rely on it.
    if (initialised == S_OK)
        CoUninitialize();
}

}  // namespace

uint32_t __stdcall ZelAPI_Initialize()
{
    return ++g_initialisations;
}

uint32_t __stdcall ZelAPI_Terminate()
{
    return ResultOf([]() -> std::uint32_t {
        // A target that ends the connection that calls it would wait for itself.
        if (CNotificationBase::IsAnyDelivering())
            return ZEL_E_FAIL;
        const std::uint32_t left = LowerInitialisations();
        if (left != 0)
            return left;
        WaitForRunningCalls();
        DestroyConnections();
        return g_initialisations;
    });
}

uint32_t __stdcall ZelGetAPIVersion()
{
    return kApiVersion;
}

uint32_t __stdcall ZelOpenConnection(uint32_t device_id, ZelConnection* connection)
{
    return ResultOf([&]() -> std::uint32_t {
        if (!IsReadable(connection))
            return ZEL_E_ARGUMENT;
        const CNotificationBase::CCall call;
        CVorlanControl& opened = NewConnection();
        if (const std::uint32_t result = opened.Initialize(); result != ZEL_OK)
            return result;
        // A connection that could not be opened stays registered until ZelAPI_Terminate.
        const std::uint32_t result = opened.OpenById(device_id);
        if (result == ZEL_OK)
            Publish(opened, connection);
        return result;
    });
}

uint32_t __stdcall ZelOpenConnectionUsingSN(const OLECHAR* serial_number, const uint32_t* medium,
                                            ZelConnection* connection)
{
    return ResultOf([&]() -> std::uint32_t {
        if (!IsReadable(medium) || !IsReadable(connection))
            return ZEL_E_ARGUMENT;
        const CNotificationBase::CCall call;
        CVorlanControl& opened = NewConnection();
        opened.Initialize();
        const std::uint32_t result = opened.OpenBySerialNumber(serial_number, *medium);
        if (result == ZEL_OK)
            Publish(opened, connection);
        return result;
    });
}

uint32_t __stdcall ZelCloseConnection(ZelConnection connection)
{
    return OnConnection(connection, [](CVorlanControl& open) -> std::uint32_t {
        // A target that closes its own connection would wait for itself.
        if (open.IsDelivering())
            return ZEL_E_FAIL;
        open.Close();
        open.Shutdown();
        Destroy(&open);
        return ZEL_OK;
    });
}

uint32_t __stdcall ZelSendMessage(ZelConnection connection, uint32_t message_id, void* record)
{
    return OnConnection(connection, [&](CVorlanControl& open) { return open.SendRequest(message_id, record); });
}

uint32_t __stdcall ZelMsgSupportQuery(ZelConnection connection, uint32_t message_id, uint32_t* version)
{
    return OnConnection(connection, [&](CVorlanControl& open) -> std::uint32_t {
        return IsReadable(version) ? open.QuerySupport(message_id, *version) : ZEL_E_ARGUMENT;
    });
}

uint32_t __stdcall ZelRegisterCallback(ZelConnection connection, uint32_t action, ZelCallback callback)
{
    return OnConnection(connection, [&](CVorlanControl& open) { return open.RegisterCallback(action, callback); });
}

uint32_t __stdcall ZelRegisterNotification(ZelConnection connection, uint32_t action, uint32_t message_id)
{
    return OnConnection(connection, [&](CVorlanControl& open) { return open.Subscribe(action, message_id); });
}

uint32_t __stdcall ZelRegisterNotificationIF(ZelConnection connection, uint32_t action, IZelNotification* target)
{
    return OnConnection(connection, [&](CVorlanControl& open) { return open.RegisterInterface(action, target); });
}
