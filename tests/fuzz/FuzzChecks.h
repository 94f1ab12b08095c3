#pragma once

#include <cstdio>
#include <cstdlib>

/// Stops the fuzzer: this input breaks a promise.
inline void Require(bool kept, const char* promise)
{
    if (kept)
        return;
    std::fprintf(stderr, "broken: %s\n", promise);
    std::abort();
}
