#include "com/Options.h"

#include <algorithm>

namespace vorlansim
{

const char* const kUsage =
    "vorlansim [options]                 plays a phone and shows the traffic, until Ctrl-C\n"
    "vorlansim --check FILE              tells whether a scenario is valid\n"
    "vorlansim /regserver [options]      lets COM start this program for clients, with these options\n"
    "vorlansim /unregserver              undoes that\n"
    "\n"
    "  --scenario FILE      what the phone does (otherwise scenarios\\default.scenario beside the program)\n"
    "  --trace FILE         writes the traffic to a file, too\n"
    "  --quiet              does not show the traffic\n"
    "  --ready-event NAME   sets this event when clients can come\n"
    "  --stop-event NAME    ends when this event is set\n"
    "\n"
    "Exit code: 0 success, 1 failure, 2 wrong scenario.\n";

namespace
{

/// "/RegServer" -> "regserver"; empty if it is no option.
std::wstring OptionName(std::wstring_view argument)
{
    const std::size_t start = argument.substr(0, 2) == L"--" ? 2U : 1U;
    if (argument.empty() || (argument[0] != L'/' && argument[0] != L'-'))
        return {};
    std::wstring name(argument.substr(start));
    std::transform(name.begin(), name.end(), name.begin(),
                   [](wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c; });
    return name;
}

/// True if the option takes no value.
bool ReadFlag(const std::wstring& name, Options& options)
{
    if (name == L"regserver")
        options.mode = Options::Mode::Register;
    else if (name == L"unregserver")
        options.mode = Options::Mode::Unregister;
    else if (name == L"?" || name == L"help" || name == L"h")
        options.mode = Options::Mode::Help;
    else if (name == L"embedding")
        options.startedByCom = true;
    else if (name == L"quiet")
        options.quiet = true;
    else
        return false;
    return true;
}

bool ReadValue(const std::wstring& name, const wchar_t* value, Options& options)
{
    if (name == L"scenario" || name == L"check")
        options.scenario = value;
    else if (name == L"trace")
        options.trace = value;
    else if (name == L"ready-event")
        options.readyEvent = value;
    else if (name == L"stop-event")
        options.stopEvent = value;
    else
        return false;
    if (name == L"check")
        options.mode = Options::Mode::Check;
    return true;
}

}  // namespace

Options ReadOptions(std::span<wchar_t* const> arguments)
{
    Options options;
    for (std::size_t i = 0; i < arguments.size() && options.error.empty(); ++i)
    {
        const std::wstring name = OptionName(arguments[i]);
        if (ReadFlag(name, options))
            continue;
        const bool hasValue = i + 1 < arguments.size();
        if (!ReadValue(name, hasValue ? arguments[i + 1] : L"", options))
            options.error = std::wstring(L"unknown option ") + arguments[i];
        else if (!hasValue)
            options.error = std::wstring(arguments[i]) + L" needs a value";
        ++i;
    }
    return options;
}

}  // namespace vorlansim
