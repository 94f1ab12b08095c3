#pragma once

#include <windows.h>

/// Makes the type library inside this program the marshaller of the link service's interfaces, for the whole machine.
HRESULT RegisterTypeLibrary();
