#pragma once

#include <filesystem>
#include <span>
#include <string>

namespace vorlansim
{

/// The command line. Every option may begin with /, - or --, in upper or lower case.
struct Options
{
    enum class Mode
    {
        Serve,
        Check,
        Register,
        Unregister,
        Help
    };

    Mode mode = Mode::Serve;
    bool startedByCom = false;
    bool quiet = false;
    std::filesystem::path scenario;  ///< empty: the default one beside the program
    std::filesystem::path trace;     ///< empty: none
    std::wstring readyEvent;
    std::wstring stopEvent;
    std::wstring error;  ///< what is wrong with the command line; empty if nothing
};

extern const char* const kUsage;

/// `arguments` without the program's name.
Options ReadOptions(std::span<wchar_t* const> arguments);

}  // namespace vorlansim
