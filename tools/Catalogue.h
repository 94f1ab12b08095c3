#pragma once

#include "shell/Command.h"

#include <span>

namespace zelctl
{

Modules AllModules();

/// Every command, in the order of the help.
std::span<const Command* const> AllCommands();

}  // namespace zelctl
