#include "Help.h"

#include "Failure.h"
#include "Modules.h"

namespace zelctl
{
namespace
{

constexpr Option kGlobalOptions[] = {
    {"--device", "ID", "opens the phone with this device id (1)"},
    {"--serial", "SN", "opens the phone with this serial number instead"},
    {"--medium", "1|2|4|8|16", "the medium for --serial (2)"},
    {"--json", "", "prints JSON"},
    {"--help", "", "explains a command"},
};

constexpr std::size_t kLeftColumn = 44;

std::string Line(const std::string& left, const std::string& right)
{
    const bool fits = left.size() < kLeftColumn;
    const std::string gap =
        fits ? std::string(kLeftColumn - left.size(), ' ') : "\n" + std::string(kLeftColumn + 2, ' ');
    return "  " + left + gap + right + "\n";
}

std::string OptionLines(std::span<const Option> options)
{
    std::string lines;
    for (const Option& option : options)
        lines += Line(std::string(option.name) + " " + option.value, option.help);
    return lines;
}

std::string CommandLine(const Command& command)
{
    return Line(std::string(command.name) + " " + command.arguments, command.summary);
}

std::string ProgramHelp()
{
    std::string commands;
    ForEachCommand([&](const Command& command) { commands += CommandLine(command); });
    return "zelctl: talks to a phone through the link service.\n\n"
           "zelctl [options] COMMAND [arguments]\n\nCommands\n" +
           commands + "\nOptions\n" + OptionLines(kGlobalOptions) +
           "\nNumbers are decimal, or hex with 0x. Arguments after \"--\" are no options.\n"
           "Exit code: 0 success, 1 a call failed, 2 wrong usage, 3 watch: the time was over too early.\n";
}

std::string CommandHelp(const Command& command)
{
    const std::string details = *command.details == '\0' ? "" : std::string("\n") + command.details + "\n";
    const std::string options = command.options.empty() ? "" : "\nOptions\n" + OptionLines(command.options);
    return UsageOf(command) + "\n  " + command.summary + "\n" + details + options;
}

bool BeginsWith(const std::string& name, const std::string& words)
{
    return name == words || name.starts_with(words + " ");
}

}  // namespace

std::span<const Option> GlobalOptions()
{
    return kGlobalOptions;
}

std::string UsageOf(const Command& command)
{
    return std::string("zelctl ") + command.name + (*command.arguments == '\0' ? "" : " ") + command.arguments +
           (command.options.empty() ? "" : " [options]");
}

std::string HelpFor(const std::vector<std::string>& words)
{
    if (words.empty())
        return ProgramHelp();
    std::string name;
    for (const std::string& word : words)
        name += (name.empty() ? "" : " ") + word;
    std::string help;
    ForEachCommand([&](const Command& command) {
        if (BeginsWith(command.name, name))
            help += (help.empty() ? "" : "\n") + CommandHelp(command);
    });
    if (help.empty())
        throw CUsageError("there is no command \"" + name + "\"");
    return help;
}

}  // namespace zelctl
