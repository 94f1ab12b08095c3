#pragma once

#include <windows.h>

#include <unknwn.h>

namespace vorlansim
{

/// Keeps an object connected to its clients for some seconds from now, whether or not they still hold it.
///
/// Clients let a locator or a connection point go as soon as its call has returned. Wine takes an object that nobody
/// holds out of service at once; when the last call is still on its way out, it can wait for that call forever.
void KeepConnected(IUnknown* object);

}  // namespace vorlansim
