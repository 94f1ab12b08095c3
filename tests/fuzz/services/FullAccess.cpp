#include "fuzz/FuzzService.h"
#include "handlers/FullAccessHandler.h"
#include "zelapi/full_access.h"

namespace
{

void Request(CFuzzCase& fuzz)
{
    auto bytes = fuzz.Block(fuzz.Byte());
    RawRequest record = {0, static_cast<std::uint16_t>(bytes.size()), bytes.data()};
    fuzz.Request(&record);
}

void Deliver(std::uint32_t, void* record)
{
    auto* const raw = static_cast<RawMessage*>(record);
    Require(raw->size == sizeof *raw, "a raw message tells its size");
    TakeBlock(raw->bytes, raw->count);
    CoTaskMemFree(raw);
}

const CFuzzService g_fullAccess(0xFF, NewHandler<CFullAccessHandler>, {Request}, Deliver);

}  // namespace
