#include "Program.h"

#include "Failure.h"
#include "Help.h"
#include "Modules.h"

#include <algorithm>
#include <array>
#include <exception>

namespace zelctl
{
namespace
{

/// The command with the longest name that the words begin with; null if there is none.
const Command* FindCommand(const std::vector<std::string>& words)
{
    const std::string& one = words[0];
    const std::string two = words.size() > 1 ? one + " " + words[1] : one;
    const Command* found = nullptr;
    ForEachCommand([&](const Command& command) {
        if (command.name == two || (command.name == one && found == nullptr))
            found = &command;
    });
    return found;
}

/// What may follow `word` as the second word of a command: "access, send"; empty if nothing begins with it.
std::string SecondWords(const std::string& word)
{
    std::string seconds;
    ForEachCommand([&](const Command& command) {
        const std::string name = command.name;
        if (name.starts_with(word + " "))
            seconds += (seconds.empty() ? "" : ", ") + name.substr(word.size() + 1);
    });
    return seconds;
}

[[noreturn]] void ThrowNoCommand(const std::string& word)
{
    if (word.starts_with("-"))
        throw CUsageError("unknown option " + word);
    const std::string seconds = SecondWords(word);
    if (seconds.empty())
        throw CUsageError("there is no command \"" + word + "\"");
    throw CUsageError("\"" + word + "\" is to be followed by one of: " + seconds);
}

std::size_t WordsIn(const Command& command)
{
    const std::string_view name = command.name;
    return 1 + static_cast<std::size_t>(std::count(name.begin(), name.end(), ' '));
}

void CheckCount(const Command& command, const CArguments& arguments)
{
    if (arguments.Count() < command.minimum)
        throw CUsageError("an argument is missing");
    if (arguments.Count() > command.maximum)
        throw CUsageError("\"" + arguments.Text(command.maximum) + "\" is one argument too many");
}

std::uint32_t MediumOf(const std::string& text)
{
    constexpr std::array<std::uint32_t, 5> kMedia = {ZEL_MEDIUM_1, ZEL_MEDIUM_2, ZEL_MEDIUM_4, ZEL_MEDIUM_8,
                                                     ZEL_MEDIUM_16};
    const std::uint32_t medium = ParseNumber(text, "--medium");
    if (std::find(kMedia.begin(), kMedia.end(), medium) == kMedia.end())
        throw CUsageError("--medium: " + text + " is none of 1, 2, 4, 8, 16");
    return medium;
}

Target TargetOf(const OptionValues& options)
{
    Target target;
    const auto device = options.find("--device");
    const auto serial = options.find("--serial");
    const auto medium = options.find("--medium");
    if (device != options.end() && serial != options.end())
        throw CUsageError("--device and --serial exclude each other");
    if (medium != options.end() && serial == options.end())
        throw CUsageError("--medium goes with --serial only");
    if (device != options.end())
        target.deviceId = ParseNumber(device->second, "--device");
    if (serial != options.end())
        target.serialNumber = serial->second;
    if (medium != options.end())
        target.medium = MediumOf(medium->second);
    return target;
}

/// A command line, understood as far as its command.
struct Invocation
{
    bool help;
    Target target;
    const Command* command;          ///< Null where only help is wanted.
    std::vector<std::string> words;  ///< What follows the command; with `help` all words.
};

Invocation Understand(std::vector<std::string> words)
try
{
    const OptionValues options = TakeOptions(words, GlobalOptions());
    if (options.contains("--help"))
        return {true, {}, nullptr, std::move(words)};
    if (words.empty())
        throw CUsageError("a command is missing");
    const Command* command = FindCommand(words);
    if (command == nullptr)
        ThrowNoCommand(words[0]);
    words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(WordsIn(*command)));
    return {false, TargetOf(options), command, std::move(words)};
}
catch (const CUsageError& error)
{
    throw CUsageError(std::string(error.what()) + "\n  See zelctl --help");
}

void RunCommand(const Invocation& invocation, const COutput& output, const CStopSignal& stop)
try
{
    const CArguments arguments(invocation.words, invocation.command->options);
    CheckCount(*invocation.command, arguments);
    CContext context(arguments, output, stop, invocation.target);
    invocation.command->run(context);
}
catch (const CUsageError& error)
{
    throw CUsageError(std::string(error.what()) + "\n  Usage: " + UsageOf(*invocation.command) + "\n  See zelctl " +
                      invocation.command->name + " --help");
}

void Run(std::vector<std::string> words, const COutput& output, const CStopSignal& stop)
{
    const Invocation invocation = Understand(std::move(words));
    if (invocation.help)
        COutput::Write(HelpFor(invocation.words));
    else
        RunCommand(invocation, output, stop);
}

/// Looked up before everything else, so that a wrong option is reported in the right form, too.
bool WantsJson(const std::vector<std::string>& words)
{
    const auto end = std::find(words.begin(), words.end(), "--");
    return std::find(words.begin(), end, "--json") != end;
}

}  // namespace

int RunProgram(std::vector<std::string> words, const CStopSignal& stop)
{
    const COutput output(WantsJson(words));
    try
    {
        Run(std::move(words), output, stop);
        return kSuccess;
    }
    catch (const CUsageError& error)
    {
        output.ShowUsageError(error);
        return kWrongUsage;
    }
    catch (const CIncomplete& failure)
    {
        output.ShowFailure(failure);
        return kTimeOver;
    }
    catch (const CFailure& failure)
    {
        output.ShowFailure(failure);
        return kCallFailed;
    }
    catch (const std::exception& error)
    {
        output.ShowFailure(CFailure("the command", std::nullopt, {error.what(), ""}));
        return kCallFailed;
    }
}

}  // namespace zelctl
