#pragma once

#include "shell/Command.h"

namespace zelctl
{

extern const Module kCallModule;

}  // namespace zelctl
