#include "phone/Script.h"
#include "scenario/ScenarioParser.h"

/// Any text is a scenario or an error.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try
    {
        const vorlansim::CScript script(vorlansim::ParseScenario(std::string(data, data + size), "fuzz"));
    }
    catch (const vorlansim::CScenarioError&)
    {
    }
    return 0;
}
