#include "connection/HandleBase.h"

#include "connection/HandleRegistry.h"

CHandleBase::CHandleBase()
{
    HandleRegistry::Register(this);
}

CHandleBase::~CHandleBase()
{
    HandleRegistry::Unregister(this);
}

std::uint32_t CHandleBase::Initialize()
{
    return 0;
}

std::uint32_t CHandleBase::Shutdown()
{
    return 0;
}
