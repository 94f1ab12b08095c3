#pragma once

#include "shell/Command.h"

namespace zelctl
{

extern const Command kWatchCommand;

}  // namespace zelctl
