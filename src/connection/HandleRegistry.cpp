#include "connection/HandleRegistry.h"

#include "message/Platform.h"

#include <algorithm>
#include <mutex>
#include <set>

namespace
{

struct Registry
{
    // Applications open connections on several threads; an unguarded set would be torn.
    std::mutex lock;
    std::set<CHandleBase*> handles;
};

Registry& TheRegistry()
{
    static Registry registry;
    return registry;
}

/// The first readable member; null if there is none.
CHandleBase* FirstReadable(Registry& registry)
{
    const std::scoped_lock guard(registry.lock);
    const auto first = std::find_if(registry.handles.begin(), registry.handles.end(),
                                    [](const CHandleBase* handle) { return IsReadable(handle); });
    return first == registry.handles.end() ? nullptr : *first;
}

}  // namespace

void HandleRegistry::Register(CHandleBase* handle)
{
    Registry& registry = TheRegistry();
    const std::scoped_lock guard(registry.lock);
    registry.handles.insert(handle);
}

void HandleRegistry::Unregister(CHandleBase* handle)
{
    Registry& registry = TheRegistry();
    const std::scoped_lock guard(registry.lock);
    registry.handles.erase(handle);
}

bool HandleRegistry::Contains(const void* handle)
{
    Registry& registry = TheRegistry();
    const std::scoped_lock guard(registry.lock);
    return std::find(registry.handles.begin(), registry.handles.end(), handle) != registry.handles.end();
}

void HandleRegistry::DestroyAll(void (*destroy)(CHandleBase*))
{
    Registry& registry = TheRegistry();
    while (CHandleBase* handle = FirstReadable(registry))
        destroy(handle);
    const std::scoped_lock guard(registry.lock);
    registry.handles.clear();
}
