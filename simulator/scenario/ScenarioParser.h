#pragma once

#include "scenario/Scenario.h"

#include <filesystem>
#include <string_view>

namespace vorlansim
{

/// Both throw CScenarioError. `path` names the file in messages and is where its includes are looked for.
Scenario LoadScenario(const std::filesystem::path& path);
Scenario ParseScenario(std::string_view source, const std::filesystem::path& path);

}  // namespace vorlansim
