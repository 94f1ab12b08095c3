#pragma once

#include "shell/Command.h"

namespace zelctl
{

extern const Module kCalendarModule;

}  // namespace zelctl
