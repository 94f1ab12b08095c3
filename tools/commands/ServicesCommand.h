#pragma once

#include "shell/Command.h"

namespace zelctl
{

extern const Command kServicesCommand;

}  // namespace zelctl
