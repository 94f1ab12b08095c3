#include "shell/CommandLine.h"

#include "shell/Failure.h"
#include "shell/ServiceNames.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <map>
#include <sstream>

namespace zelctl
{
namespace
{

constexpr Option kGlobalOptions[] = {
    {"--device", "ID", "opens the phone with this device id (1)"},
    {"--serial", "SN", "opens the phone with this serial number instead"},
    {"--medium", "1|2|4|8|16", "the medium for --serial (2)"},
    {"--json", "", "prints JSON"},
};

constexpr char kProgramFooter[] =
    "Numbers are decimal, or hex with 0x. Arguments after \"--\" are no options.\n"
    "Exit code: 0 success, 1 a call failed, 2 wrong usage, 3 watch: the time was over too early.";

std::string Quoted(const std::string& word)
{
    return "\"" + word + "\"";
}

/// What a service means; empty for another word.
std::string MeaningOf(const std::string& service)
{
    const auto services = ServiceNames();
    const auto found =
        std::find_if(services.begin(), services.end(), [&](const ServiceName& known) { return known.name == service; });
    return found == services.end() ? "" : found->meaning;
}

void AddOption(CLI::App& app, const Option& option)
{
    if (*option.value == '\0')
        app.add_flag(option.name)->disable_flag_override()->description(option.help);
    else
        app.add_option(option.name)->type_name(option.value)->description(option.help);
}

/// `name` is "NAME", "[NAME]", "NAME..." or "[NAME...]".
void AddArgument(CLI::App& app, std::string name)
{
    constexpr std::string_view kSeveral = "...";
    const bool mayBeLeftOut = name.starts_with('[');
    if (mayBeLeftOut)
        name = name.substr(1, name.size() - 2);
    const bool several = name.ends_with(kSeveral);
    if (several)
        name.resize(name.size() - kSeveral.size());
    CLI::Option* argument = app.add_option(name)->required(!mayBeLeftOut);
    if (several)
        argument->expected(1, -1)->allow_extra_args();
}

std::string PathOf(const CLI::App& app)
{
    return (app.get_parent() == nullptr ? "" : PathOf(*app.get_parent()) + " ") + app.get_name();
}

std::string UsageOf(const CLI::App& app)
{
    std::string usage = CLI::Formatter().make_usage(&app, PathOf(app));
    usage.erase(usage.find_last_not_of('\n') + 1);
    return usage;
}

OptionValues ValuesOf(const CLI::App& app)
{
    OptionValues values;
    for (const CLI::Option* option : app.get_options())
        if (option->nonpositional() && option->count() > 0)
            values.emplace(option->get_name(), option->results().back());
    return values;
}

std::vector<std::string> WordsOf(const CLI::App& app)
{
    std::vector<std::string> words;
    for (const CLI::Option* option : app.get_options())
        if (option->get_positional())
            words.insert(words.end(), option->results().begin(), option->results().end());
    return words;
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

Target TargetOf(const CArguments& options)
{
    Target target;
    target.deviceId = options.OptionNumber("--device").value_or(target.deviceId);
    target.serialNumber = options.OptionText("--serial");
    if (const auto medium = options.OptionText("--medium"))
        target.medium = MediumOf(*medium);
    return target;
}

class CParser
{
  public:
    explicit CParser(std::span<const Command* const> commands)
    {
        m_program.allow_windows_style_options(false)->require_subcommand(0, 1)->footer(kProgramFooter);
        m_program.set_help_flag("-h,--help", "explains the program, or a command");
        m_program.set_version_flag("--version", "zelctl " ZELCTL_VERSION, "shows the version");
        for (const Option& option : kGlobalOptions)
            AddOption(m_program, option);
        m_program.get_option("--device")->excludes(m_program.get_option("--serial"));
        m_program.get_option("--medium")->needs(m_program.get_option("--serial"));
        for (const Command* command : commands)
            Add(*command);
    }

    CommandLine Parse(std::vector<std::string> words)
    {
        CommandLine line;
        Understand(std::move(words), line);
        line.json = m_program.get_option("--json")->count() > 0;
        line.hint = Hint();
        return line;
    }

  private:
    void Add(const Command& command)
    {
        CLI::App* app = &m_program;
        std::istringstream name(command.name);
        for (std::string word; name >> word;)
            app = Child(*app, word);
        app->description(command.summary)->footer(command.details);
        std::istringstream arguments(command.arguments);
        for (std::string argument; arguments >> argument;)
            AddArgument(*app, argument);
        for (const Option& option : command.options)
            AddOption(*app, option);
        m_commands[app] = &command;
    }

    static CLI::App* Child(CLI::App& parent, const std::string& name)
    {
        const auto known = parent.get_subcommands([&](CLI::App* child) { return child->get_name() == name; });
        if (!known.empty())
            return known.front();
        return parent.add_subcommand(name, MeaningOf(name))->fallthrough()->require_subcommand(0, 1);
    }

    void Understand(std::vector<std::string> words, CommandLine& line)
    try
    {
        std::reverse(words.begin(), words.end());
        m_program.parse(std::move(words));
        line.target = TargetOf(CArguments({}, ValuesOf(m_program)));
        line.command = CommandOf(Named());
        line.arguments = CArguments(WordsOf(Named()), ValuesOf(Named()));
        if (line.command == nullptr)
            line.wrong = NoCommand();
    }
    catch (const CLI::CallForHelp&)
    {
        line.answer = m_program.help();
    }
    catch (const CLI::CallForVersion& version)
    {
        line.answer = std::string(version.what()) + "\n";
    }
    catch (const CLI::ExtrasError&)
    {
        line.wrong = Unexpected(m_program.remaining(true).front());
    }
    catch (const CLI::RequiredError& error)
    {
        line.wrong = std::string("an argument is missing: ") + error.what();
    }
    catch (const CLI::ParseError& error)
    {
        line.wrong = error.what();
    }
    catch (const CUsageError& error)
    {
        line.wrong = error.what();
    }

    /// What the words name: a command, a service, or only the program.
    const CLI::App& Named() const
    {
        const CLI::App* app = &m_program;
        while (!app->get_subcommands().empty())
            app = app->get_subcommands().front();
        return *app;
    }

    const Command* CommandOf(const CLI::App& app) const
    {
        const auto found = m_commands.find(&app);
        return found == m_commands.end() ? nullptr : found->second;
    }

    std::string NoCommand() const
    {
        const CLI::App& service = Named();
        if (&service == &m_program)
            return "a command is missing";
        std::string seconds;
        for (const CLI::App* second : service.get_subcommands([](const CLI::App*) { return true; }))
            seconds += (seconds.empty() ? "" : ", ") + second->get_name();
        return Quoted(service.get_name()) + " is to be followed by one of: " + seconds;
    }

    std::string Unexpected(const std::string& word) const
    {
        if (word.starts_with('-'))
            return "unknown option " + word;
        if (CommandOf(Named()) != nullptr)
            return Quoted(word) + " is one argument too many";
        return &Named() == &m_program ? "there is no command " + Quoted(word) : NoCommand();
    }

    std::string Hint() const
    {
        const std::string usage = CommandOf(Named()) == nullptr ? "" : "\n  " + UsageOf(Named());
        return usage + "\n  See " + PathOf(Named()) + " --help";
    }

    CLI::App m_program = CLI::App("talks to a phone through the link service", "zelctl");
    std::map<const CLI::App*, const Command*> m_commands;
};

}  // namespace

CommandLine ParseCommandLine(std::vector<std::string> words, std::span<const Command* const> commands)
{
    return CParser(commands).Parse(std::move(words));
}

}  // namespace zelctl
