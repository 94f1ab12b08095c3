#pragma once

#include "shell/Command.h"

namespace zelctl
{

/// What a phone sends and stores.
extern const Module kSMSModule;
/// Its store, which says things of its own.
extern const Module kSMSStoreModule;

}  // namespace zelctl
