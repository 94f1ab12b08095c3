#pragma once

#include "runtime/AutoLock.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

/// A phone's version of one of its services.
struct ServiceVersion
{
    std::uint8_t resource;
    std::uint8_t major;
    std::uint8_t minor;
};

/// The services that a phone has named. Threads that are still asking when the connection ends find the table empty.
class CServiceVersions
{
  public:
    void Add(const ServiceVersion& version)
    {
        const CAutoLock lock(m_lock);
        m_versions.push_back(version);
    }

    /// The first entry of a resource.
    std::optional<ServiceVersion> Find(std::uint8_t resource) const
    {
        const CAutoLock lock(m_lock);
        const auto found = std::find_if(m_versions.begin(), m_versions.end(),
                                        [&](const ServiceVersion& version) { return version.resource == resource; });
        return found == m_versions.end() ? std::nullopt : std::optional(*found);
    }

    void Clear()
    {
        const CAutoLock lock(m_lock);
        m_versions.clear();
    }

  private:
    mutable CCriticalSection m_lock;
    std::vector<ServiceVersion> m_versions;
};
