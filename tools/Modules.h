#pragma once

#include "Command.h"

#include <functional>
#include <span>

namespace zelctl
{

// One module for each service, in <Service>Commands.cpp.
extern const Module kCalendarModule;
extern const Module kCallModule;
extern const Module kFileModule;
extern const Module kMessagingModule;
extern const Module kPermissionsModule;
extern const Module kPNDModule;
extern const Module kProfilesModule;
extern const Module kProvisioningModule;
extern const Module kRadioModule;
extern const Module kRawModule;
extern const Module kSMSModule;
extern const Module kSMSStoreModule;
extern const Module kStorageModule;
extern const Module kSupplementaryModule;
extern const Module kTimeModule;
extern const Module kWAPModule;

// Commands that belong to no service.
extern const Command kServicesCommand;
extern const Command kWatchCommand;

std::span<const Module* const> Modules();

/// Every command, in the order of the help.
void ForEachCommand(const std::function<void(const Command&)>& visit);

}  // namespace zelctl
