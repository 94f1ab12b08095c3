#include "fuzz/FuzzService.h"
#include "handlers/TimeHandler.h"

#include <cstring>

namespace
{

void Request(CFuzzCase& fuzz)
{
    TimeRecord record = {};
    const auto bytes = fuzz.Block(sizeof record);
    std::memcpy(record.bytes, bytes.data(), bytes.size());
    fuzz.Request(&record);
    Touch(&record, sizeof record);
}

const CFuzzService g_time(0x19, NewHandler<CTimeHandler>, Request);

}  // namespace
