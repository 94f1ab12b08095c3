// Reads the clock of the phone with the device id 1.
#include <cstdio>
#include <zelapi/time.h>
#include <zelapi/zelapi.h>

int main()
{
    ZelAPI_Initialize();
    ZelConnection phone = nullptr;
    uint32_t result = ZelOpenConnection(1, &phone);
    if (result == ZEL_OK)
    {
        TimeRecord record = {};
        result = ZelSendMessage(phone, ZEL_TIME_READ, &record);
        const TimeNow& now = record.now;
        if (now.lead_1 == ZEL_TIME_VALID)
            std::printf("%d-%02d-%02d %02d:%02d\n", now.year, now.month, now.day, now.hour, now.minute);
        else if (result == ZEL_OK)
            std::puts("The phone did not tell the time.");
        ZelCloseConnection(phone);
    }
    ZelAPI_Terminate();
    if (result != ZEL_OK)
        std::fprintf(stderr, "Failed: 0x%08X\n", static_cast<unsigned>(result));
    return result == ZEL_OK ? 0 : 1;
}
