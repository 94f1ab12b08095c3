#pragma once

#include <cstdint>

/// An object whose address is a handle: it is in the handle registry for as long as it lives.
class CHandleBase
{
  public:
    CHandleBase();
    CHandleBase(const CHandleBase&) = delete;
    CHandleBase& operator=(const CHandleBase&) = delete;
    virtual ~CHandleBase();

    virtual std::uint32_t Initialize();
    virtual std::uint32_t Shutdown();
};
