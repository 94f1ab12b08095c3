#pragma once

#include "shell/Command.h"

namespace zelctl
{

extern const Module kStorageModule;

}  // namespace zelctl
