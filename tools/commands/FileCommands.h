#pragma once

#include "shell/Command.h"

namespace zelctl
{

extern const Module kFileModule;

}  // namespace zelctl
