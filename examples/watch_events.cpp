// Shows for ten seconds what the phone says on its own.
#include <cstdio>
#include <zelapi/zelapi.h>

namespace
{

constexpr uint32_t kDevice = 1;
constexpr uint32_t kMessagingService = 0x6600;
constexpr DWORD kListenMs = 10'000;

/// Called on threads of the library; the record is valid during the call only.
void __stdcall OnEvent(uint32_t kind, uint32_t messageId, void*)
{
    if (kind == ZEL_CONNECTION_EVENT)
        std::puts("Connection event");
    else
        std::printf("Indication 0x%04X\n", static_cast<unsigned>(messageId));
}

void Listen(ZelConnection phone)
{
    ZelRegisterCallback(phone, ZEL_REGISTER, &OnEvent);
    ZelRegisterNotification(phone, ZEL_REGISTER, kMessagingService);
    Sleep(kListenMs);
    ZelRegisterNotification(phone, ZEL_UNREGISTER, kMessagingService);
    ZelRegisterCallback(phone, ZEL_UNREGISTER, &OnEvent);
}

}  // namespace

int main()
{
    ZelAPI_Initialize();
    ZelConnection phone = nullptr;
    const uint32_t result = ZelOpenConnection(kDevice, &phone);
    if (result == ZEL_OK)
    {
        Listen(phone);
        ZelCloseConnection(phone);
    }
    else
        std::fprintf(stderr, "Cannot open the phone: 0x%08X\n", static_cast<unsigned>(result));
    ZelAPI_Terminate();
    return result == ZEL_OK ? 0 : 1;
}
