#include "zelapi/time.h"

#include "fuzz/FuzzService.h"
#include "handlers/TimeHandler.h"

namespace
{

const CFuzzService g_time(0x19, NewHandler<CTimeHandler>, {RequestPlain<TimeRecord>});

}  // namespace
