#include "Catalogue.h"

#include "commands/CalendarCommands.h"
#include "commands/CallCommands.h"
#include "commands/FileCommands.h"
#include "commands/MessagingCommands.h"
#include "commands/PNDCommands.h"
#include "commands/PermissionsCommands.h"
#include "commands/ProfilesCommands.h"
#include "commands/ProvisioningCommands.h"
#include "commands/RadioCommands.h"
#include "commands/RawCommands.h"
#include "commands/SMSCommands.h"
#include "commands/ServicesCommand.h"
#include "commands/StorageCommands.h"
#include "commands/SupplementaryCommands.h"
#include "commands/TimeCommands.h"
#include "commands/WAPCommands.h"
#include "commands/WatchCommand.h"

#include <vector>

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

Modules AllModules()
{
    return kModules;
}

std::span<const Command* const> AllCommands()
{
    static const std::vector<const Command*> all = [] {
        std::vector<const Command*> commands = {&kServicesCommand};
        for (const Module* module : kModules)
            for (const Command& command : module->commands)
                commands.push_back(&command);
        commands.push_back(&kWatchCommand);
        return commands;
    }();
    return all;
}

}  // namespace zelctl
