#pragma once

#include "shell/Command.h"

namespace zelctl
{

// Commands for what is no entry of fields: stores with forms of their own, the state of a store, named items.
void ShowPndStore14(CContext& context);
void WritePndStore14(CContext& context);
void ShowPndStore16(CContext& context);
void WritePndStore16(CContext& context);
void ShowPndState(CContext& context);
void ShowPndItems(CContext& context);

}  // namespace zelctl
