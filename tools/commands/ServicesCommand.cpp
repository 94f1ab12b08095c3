#include "commands/ServicesCommand.h"

#include "shell/ServiceNames.h"

namespace zelctl
{
namespace
{

/// An older phone may offer a service that is not asked for, so "not asked" is not "no".
Value SupportOf(const ServiceName& service, const std::optional<std::uint32_t>& version)
{
    return service.asked ? Value(version.has_value()) : Value(nullptr);
}

Value VersionText(const std::optional<std::uint32_t>& version)
{
    return version ? Value(std::to_string(*version >> 8) + "." + std::to_string(*version & 0xFF)) : Value(nullptr);
}

void ShowServices(CContext& context)
{
    Value rows = Value::array();
    for (const ServiceName& service : ServiceNames())
    {
        const auto version = context.Phone().VersionOf(service.resource);
        rows.push_back({{"service", service.name},
                        {"resource", Hex(service.resource, 2)},
                        {"supported", SupportOf(service, version)},
                        {"version", VersionText(version)},
                        {"meaning", service.meaning}});
    }
    context.output.Show(rows);
}

}  // namespace

const Command kServicesCommand = {"services",
                                  "",
                                  "what the phone supports",
                                  "The version is the phone's own. \"-\" stands where the phone is not asked.",
                                  kNoOptions,
                                  ShowServices};

}  // namespace zelctl
