#pragma once

#include "Arguments.h"
#include "Command.h"

#include <span>
#include <string>
#include <vector>

namespace zelctl
{

std::span<const Option> GlobalOptions();

/// The help for a command, for all commands that begin with these words, or without words for the whole program.
std::string HelpFor(const std::vector<std::string>& words);

/// How to call a command: "zelctl time set ...".
std::string UsageOf(const Command& command);

}  // namespace zelctl
