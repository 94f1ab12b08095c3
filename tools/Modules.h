#pragma once

#include "Command.h"

#include <functional>
#include <span>

namespace zelctl
{

// One module for each service, in <Service>Commands.cpp.
extern const Module kCalendarModule;
extern const Module kFileModule;
extern const Module kMessagingModule;
extern const Module kPNDModule;
extern const Module kRawModule;
extern const Module kTimeModule;

// Commands that belong to no service.
extern const Command kServicesCommand;
extern const Command kWatchCommand;

std::span<const Module* const> Modules();

/// Every command, in the order of the help.
void ForEachCommand(const std::function<void(const Command&)>& visit);

}  // namespace zelctl
