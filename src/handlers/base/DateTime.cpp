#include "handlers/base/DateTime.h"

#include "message/Platform.h"

namespace
{

std::uint32_t Convert(decltype(&CTimeConverter::LocalToUtc) conversion, const SYSTEMTIME& from, SYSTEMTIME* to,
                      ZoneInformation* zone)
{
    SYSTEMTIME time = {};
    ZoneInformation information = {};
    const std::uint32_t result = (CTimeConverter().*conversion)(&from, &time, &information);
    if (IsReadable(to))
        *to = time;
    if (IsReadable(zone))
        *zone = information;
    return result;
}

}  // namespace

std::uint32_t LocalToUtc(const SYSTEMTIME& local, SYSTEMTIME* utc, ZoneInformation* zone)
{
    return Convert(&CTimeConverter::LocalToUtc, local, utc, zone);
}

std::uint32_t UtcToLocal(const SYSTEMTIME& utc, SYSTEMTIME* local, ZoneInformation* zone)
{
    return Convert(&CTimeConverter::UtcToLocal, utc, local, zone);
}

SYSTEMTIME ReadTimeToMinute(CMsgBase& from)
{
    SYSTEMTIME time = {};
    time.wYear = from.ReadWord();
    time.wMonth = from.ReadByte();
    time.wDay = from.ReadByte();
    time.wHour = from.ReadByte();
    time.wMinute = from.ReadByte();
    return time;
}

void AppendTimeToMinute(CMsgBase& to, const SYSTEMTIME& time)
{
    to.AppendWord(time.wYear);
    to.AppendBytes({static_cast<std::uint8_t>(time.wMonth), static_cast<std::uint8_t>(time.wDay),
                    static_cast<std::uint8_t>(time.wHour), static_cast<std::uint8_t>(time.wMinute)});
}

SYSTEMTIME ReadTimeToSecond(CMsgBase& from)
{
    SYSTEMTIME time = ReadTimeToMinute(from);
    time.wSecond = from.ReadByte();
    return time;
}

void AppendTimeToSecond(CMsgBase& to, const SYSTEMTIME& time)
{
    AppendTimeToMinute(to, time);
    to.AppendByte(static_cast<std::uint8_t>(time.wSecond));
}
