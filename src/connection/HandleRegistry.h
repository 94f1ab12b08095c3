#pragma once

class CHandleBase;

/// The process-wide set of live connection objects. It tells a handle from any other pointer, and knows what an
/// application has left open. Membership is by address.
namespace HandleRegistry
{

void Register(CHandleBase* handle);
void Unregister(CHandleBase* handle);
bool Contains(const void* handle);

/// Passes every readable member to `destroy`, which must unregister it, and empties the set.
void DestroyAll(void (*destroy)(CHandleBase*));

}  // namespace HandleRegistry
