#include "Scenario.h"

/// Any text is a scenario or an error.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try
    {
        vorlansim::ParseScenario(std::string(data, data + size), "fuzz");
    }
    catch (const vorlansim::CScenarioError&)
    {
    }
    return 0;
}
