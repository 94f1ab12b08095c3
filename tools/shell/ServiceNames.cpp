#include "shell/ServiceNames.h"

#include "shell/Value.h"

#include <algorithm>
#include <iterator>

namespace zelctl
{
namespace
{

constexpr ServiceName kServices[] = {
    {0x01, "call", "calls", true},
    {0x02, "sms", "short messages", true},
    {0x03, "pnd", "stored entries", true},
    {0x06, "supplementary", "supplementary services", true},
    {0x13, "calendar", "calendar", true},
    {0x14, "sms-store", "short messages, stored", true},
    {0x19, "time", "clock", true},
    {0x22, "provisioning", "provisioned settings", true},
    {0x23, "permissions", "permissions", false},
    {0x39, "profiles", "user profiles", true},
    {0x3E, "radio", "radio", true},
    {0x3F, "wap", "WAP connection settings", false},
    {0x66, "messaging", "messaging events", false},
    {0x6D, "file", "file identifiers", false},
    {0xAA, "storage", "storage areas", true},
    {0xFF, "raw", "raw access to the link", false},
};

}  // namespace

std::span<const ServiceName> ServiceNames()
{
    return kServices;
}

std::string ServiceNameOf(std::uint8_t resource)
{
    const auto* found = std::find_if(std::begin(kServices), std::end(kServices),
                                     [resource](const ServiceName& service) { return service.resource == resource; });
    return found == std::end(kServices) ? Hex(resource, 2) : found->name;
}

}  // namespace zelctl
