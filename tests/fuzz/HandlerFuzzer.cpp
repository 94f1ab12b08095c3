#include "fuzz/FuzzService.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CFuzzCase fuzz(data, size);
    CFuzzService::Run(fuzz);
    return 0;
}
