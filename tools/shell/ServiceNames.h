#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace zelctl
{

/// One of the phone's services, as the command line calls it.
struct ServiceName
{
    std::uint8_t resource;
    const char* name;
    const char* meaning;
    bool asked;  ///< Whether the library asks the phone for the service's version when it opens a connection.
};

std::span<const ServiceName> ServiceNames();

/// The name of a resource; "0x42" for one that has none.
std::string ServiceNameOf(std::uint8_t resource);

}  // namespace zelctl
