// Reads the phone's clock, then shows for ten seconds what the phone says on its own.
#include <cstdio>
#include <zelapi/time.h>
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

int Report(const char* what, uint32_t result)
{
    std::fprintf(stderr, "%s: 0x%08X\n", what, static_cast<unsigned>(result));
    return 1;
}

int ShowClock(ZelConnection phone)
{
    TimeRecord record = {};
    const uint32_t result = ZelSendMessage(phone, ZEL_TIME_READ, &record);
    if (result != ZEL_OK)
        return Report("Cannot read the clock", result);
    const TimeNow& now = record.now;
    if (now.lead_1 == ZEL_TIME_VALID)
        std::printf("%04d-%02d-%02d %02d:%02d:%02d\n", now.year, now.month, now.day, now.hour, now.minute, now.second);
    else
        std::puts("The phone does not know the time.");
    return 0;
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
    int code = 0;
    const uint32_t result = ZelOpenConnection(kDevice, &phone);
    if (result == ZEL_OK)
    {
        code = ShowClock(phone);
        Listen(phone);
        ZelCloseConnection(phone);
    }
    else
        code = Report("Cannot open the phone", result);
    ZelAPI_Terminate();
    return code;
}
