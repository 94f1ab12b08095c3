#pragma once

#include "phone/Event.h"

#include <windows.h>

#include <memory>
#include <unknwn.h>

namespace vorlansim
{

const IID& EventsIid(Events which);

/// A sink that calls a client's object; null if the object does not have the event interface.
std::shared_ptr<IEventSink> MakeComSink(Events which, IUnknown& object);

}  // namespace vorlansim
