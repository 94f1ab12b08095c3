#pragma once

#include "handlers/base/ContentHandler.h"
#include "runtime/AutoLock.h"
#include "runtime/SLSrvPtr.h"

#include <cstdint>
#include <memory>
#include <vector>

/// The content handlers of one connection, each made when its service is first needed.
///
/// Handlers are shared with the calls that use them: one that is dropped while an event is being decoded lives until
/// the decoding is over.
class CHandlerRegistry
{
  public:
    explicit CHandlerRegistry(const CSLSrvPtr& service) : m_service(service) {}

    /// The handler of a resource. Throws ZEL_NOT_HANDLED for an unknown one, ZEL_E_OUT_OF_MEMORY.
    std::shared_ptr<CContentHandler> GetHandler(std::uint8_t resource);

    /// The handler of the raw channel if it was made before; otherwise null.
    std::shared_ptr<CContentHandler> FindRawHandler() { return Find(kFullAccess); }

    void Clear();

  private:
    static constexpr std::uint8_t kFullAccess = 0xFF;

    std::shared_ptr<CContentHandler> Find(std::uint8_t resource);
    std::shared_ptr<CContentHandler> Create(std::uint8_t resource) const;
    std::shared_ptr<CContentHandler> CreateFullAccess() const;

    const CSLSrvPtr& m_service;
    CCriticalSection m_lock;
    std::vector<std::shared_ptr<CContentHandler>> m_handlers;
};
