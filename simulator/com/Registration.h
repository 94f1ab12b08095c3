#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

namespace vorlansim
{

/// Makes COM start `program` with `arguments` for the service's clients, and marshal its interfaces by the type library
/// inside the program. Needs administrator rights.
HRESULT RegisterServer(const std::filesystem::path& program, const std::wstring& arguments);

/// Removes all of that; harmless when nothing is registered.
HRESULT UnregisterServer();

}  // namespace vorlansim
