#include "Modules.h"

namespace zelctl
{
namespace
{

constexpr const Module* kModules[] = {
    &kTimeModule,        &kCallModule,         &kSMSModule,       &kSMSStoreModule,
    &kPNDModule,         &kCalendarModule,     &kProfilesModule,  &kSupplementaryModule,
    &kRadioModule,       &kProvisioningModule, &kStorageModule,   &kFileModule,
    &kPermissionsModule, &kWAPModule,          &kMessagingModule, &kRawModule,
};

}  // namespace

std::span<const Module* const> Modules()
{
    return kModules;
}

void ForEachCommand(const std::function<void(const Command&)>& visit)
{
    visit(kServicesCommand);
    for (const Module* module : kModules)
        for (const Command& command : module->commands)
            visit(command);
    visit(kWatchCommand);
}

}  // namespace zelctl
