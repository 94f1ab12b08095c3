#pragma once

#include "support/Memory.h"

#ifndef _WIN32
/// While it lives, local time is an hour ahead of UTC, and two from the last Sunday of March to the last one of
/// October.
class CCentralEuropeanZone
{
  public:
    CCentralEuropeanZone()
    {
        TIME_ZONE_INFORMATION zone = {};
        zone.Bias = -60;
        zone.StandardDate = {0, 10, 0, 5, 3, 0, 0, 0};
        zone.DaylightDate = {0, 3, 0, 5, 2, 0, 0, 0};
        zone.DaylightBias = -60;
        host::SetTimeZone(zone);
    }
    CCentralEuropeanZone(const CCentralEuropeanZone&) = delete;
    CCentralEuropeanZone& operator=(const CCentralEuropeanZone&) = delete;
    ~CCentralEuropeanZone() { host::SetTimeZone({}); }
};
#endif
