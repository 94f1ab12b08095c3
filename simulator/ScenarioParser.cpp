#include "Scenario.h"
#include "StatementReader.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

namespace vorlansim
{
namespace
{

constexpr std::size_t kMaxIncludeDepth = 16;
constexpr std::uint32_t kMaxNumber = 0xFFFFFFFFU;

/// An action of the scenario language. `parts` has a letter for each part: r resource, i message id, b bytes, v
/// variable, t time, f failing HRESULT, c exit code; = is itself.
struct ActionForm
{
    std::string_view keyword;
    Action::Kind kind;
    std::string_view parts;
};

constexpr ActionForm kActions[] = {
    {"reply", Action::Kind::Reply, "ib"},        {"bytes", Action::Kind::ReplyBytes, "b"},
    {"noreply", Action::Kind::NoReply, ""},      {"fail", Action::Kind::Fail, "f"},
    {"delay", Action::Kind::Delay, "t"},         {"exit", Action::Kind::Exit, "c"},
    {"set", Action::Kind::Set, "v=b"},           {"unset", Action::Kind::Unset, "v"},
    {"indicate", Action::Kind::Indicate, "rib"}, {"raw", Action::Kind::Raw, "b"},
    {"event", Action::Kind::Event, ""},
};

struct Comparison
{
    std::string_view symbol;
    bool (*holds)(std::uint64_t left, std::uint64_t right);
};

constexpr Comparison kComparisons[] = {
    {"==", [](std::uint64_t left, std::uint64_t right) { return left == right; }},
    {"!=", [](std::uint64_t left, std::uint64_t right) { return left != right; }},
    {"<", [](std::uint64_t left, std::uint64_t right) { return left < right; }},
    {"<=", [](std::uint64_t left, std::uint64_t right) { return left <= right; }},
    {">", [](std::uint64_t left, std::uint64_t right) { return left > right; }},
    {">=", [](std::uint64_t left, std::uint64_t right) { return left >= right; }},
};

std::string PathText(const std::filesystem::path& path)
{
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

/// Builds a scenario from a file and what it includes.
class CScenarioParser
{
  public:
    void ParseFile(const std::filesystem::path& path, const Place& includedAt)
    {
        std::error_code error;
        std::ifstream stream(path, std::ios::binary);
        if (!std::filesystem::is_regular_file(path, error) || !stream)
            throw CScenarioError(includedAt, "cannot read " + PathText(path));
        std::ostringstream source;
        source << stream.rdbuf();
        ParseSource(source.str(), path);
    }

    void ParseSource(const std::string& source, const std::filesystem::path& path)
    {
        const auto file = std::make_shared<const std::string>(PathText(path));
        m_file = file;
        m_open.push_back(path.lexically_normal());
        for (const Statement& statement : Tokenize(source, file))
            ReadStatement(statement, path);
        CloseBlock();
        m_open.pop_back();
        m_read.insert(path.lexically_normal());
        m_block = {};
        // Each file is a layer on top of those it includes.
        std::move(m_scenario.rules.begin(), m_scenario.rules.end(), std::back_inserter(m_rules));
        m_scenario.rules = std::exchange(m_rules, {});
    }

    Scenario Finish()
    {
        for (const CStatementReader::Use& use : m_uses)
        {
            if (m_assigned.count(use.name) == 0)
                throw CScenarioError(use.place, "nothing sets $" + use.name);
        }
        for (const auto& [resource, answer] : m_versions)
            m_scenario.rules.push_back(VersionRule(resource, answer));
        if (m_otherwise)
            m_scenario.rules.push_back(std::move(*m_otherwise));
        return std::move(m_scenario);
    }

  private:
    /// The block that indented lines add to.
    struct CBlock
    {
        enum class Kind
        {
            None,
            Rule,
            Otherwise,
            Timer
        };

        Kind kind = Kind::None;
        Rule rule;
        Timer timer;
        std::vector<std::string> locals;
        std::vector<CStatementReader::Use> uses;
        bool hasDeclaration = false;  // of its file: no include may follow
    };

    using Declaration = void (CScenarioParser::*)(CStatementReader&);

    void ReadStatement(const Statement& statement, const std::filesystem::path& path)
    {
        CStatementReader reader(statement, m_file);
        if (statement.indented)
            ReadBlockLine(reader);
        else if (reader.AcceptWord("include"))
            ReadInclude(reader, path);
        else
            ReadDeclaration(reader);
    }

    void ReadInclude(CStatementReader& reader, const std::filesystem::path& path)
    {
        const Place place = reader.Here();
        if (m_block.hasDeclaration)
            reader.Fail("includes stand before everything else");
        const std::string name = reader.TakeText("the name of a file");
        const std::filesystem::path included =
            (path.parent_path() / std::filesystem::path(std::u8string(name.begin(), name.end()))).lexically_normal();
        reader.ExpectEnd();
        if (std::find(m_open.begin(), m_open.end(), included) != m_open.end())
            throw CScenarioError(place, name + " includes itself");
        if (m_open.size() >= kMaxIncludeDepth)
            throw CScenarioError(place, "includes are too deeply nested");
        if (m_read.count(included) != 0)
            return;
        const auto file = m_file;
        ParseFile(included, place);
        m_file = file;
    }

    void ReadDeclaration(CStatementReader& reader)
    {
        static const std::map<std::string, Declaration> declarations{
            {"device", &CScenarioParser::ReadDevice},  {"access", &CScenarioParser::ReadAccess},
            {"broker", &CScenarioParser::ReadBroker},  {"service", &CScenarioParser::ReadService},
            {"set", &CScenarioParser::ReadStartValue}, {"fail", &CScenarioParser::ReadFault},
            {"on", &CScenarioParser::ReadRule},        {"otherwise", &CScenarioParser::ReadOtherwise},
            {"at", &CScenarioParser::ReadAtStart},     {"after", &CScenarioParser::ReadAfter},
            {"every", &CScenarioParser::ReadEvery},
        };
        CloseBlock();
        m_block.hasDeclaration = true;
        const Place place = reader.Here();
        const std::string keyword = reader.TakeWord("a declaration");
        const auto found = declarations.find(keyword);
        if (found == declarations.end())
            throw CScenarioError(place, "'" + keyword + "' is no declaration (actions are indented)");
        (this->*found->second)(reader);
        reader.ExpectEnd();
    }

    void ReadDevice(CStatementReader& reader)
    {
        Device device;
        device.id = reader.TakeNumber("a device id", kMaxNumber);
        if (reader.AcceptWord("serial"))
            device.serial = ToUtf16(reader.TakeText("a serial number")).value_or(u"");
        while (reader.AcceptWord("medium"))
        {
            const std::uint32_t index = reader.TakeNumber("a medium index", kMaxNumber);
            device.media.push_back({index, reader.TakeNumber("medium flags", kMaxNumber)});
        }
        auto& devices = m_scenario.devices;
        std::erase_if(devices, [&](const Device& known) { return known.id == device.id; });
        devices.push_back(std::move(device));
    }

    void ReadAccess(CStatementReader& reader)
    {
        m_scenario.access = static_cast<std::uint8_t>(reader.TakeNumber("an access byte", 255));
    }

    void ReadBroker(CStatementReader& reader)
    {
        if (reader.AcceptWord("on"))
            m_scenario.broker = Broker::On;
        else if (reader.AcceptWord("off"))
            m_scenario.broker = Broker::Off;
        else if (reader.AcceptWord("null"))
            m_scenario.broker = Broker::Null;
        else
            reader.Fail("broker is on, off or null");
    }

    void ReadService(CStatementReader& reader)
    {
        const auto resource = static_cast<std::uint8_t>(reader.TakeNumber("a resource", 255));
        if (!reader.AcceptWord("version"))
            reader.Fail("service RESOURCE version MAJOR.MINOR [status BYTE]");
        const auto [major, minor] = reader.TakeVersion();
        std::uint8_t status = 1;
        if (reader.AcceptWord("status"))
            status = static_cast<std::uint8_t>(reader.TakeNumber("a status", 255));
        m_versions[resource] = {status, major, minor};
    }

    void ReadStartValue(CStatementReader& reader)
    {
        const Action action = ReadSet(reader);
        Locals locals;
        Scope scope{m_scenario.variables, locals};
        Bytes value = Evaluate(action.body, scope);
        if (action.target.arguments.empty())
            m_scenario.variables[action.target.name].plain = std::move(value);
        else
            m_scenario.variables[action.target.name].items[EvaluateKey(action.target.arguments[0], scope)] =
                std::move(value);
        NoteUses(reader);
    }

    void ReadFault(CStatementReader& reader)
    {
        const std::string name = reader.TakeWord("a step");
        const auto found = std::find(kStepNames.begin(), kStepNames.end(), name);
        if (found == kStepNames.end())
            reader.Fail("'" + name + "' is no step that can fail");
        Fault fault{reader.TakeFailure(), kForever};
        if (reader.AcceptWord("times"))
            fault.times = reader.TakeNumber("a number of times", kMaxNumber);
        m_scenario.faults[static_cast<ClientStep>(std::distance(kStepNames.begin(), found))] = fault;
    }

    void ReadRule(CStatementReader& reader)
    {
        Rule& rule = OpenBlock(CBlock::Kind::Rule, reader);
        if (reader.AcceptWord("raw"))
        {
            rule.raw = true;
        }
        else
        {
            rule.resource = ReadByteOrAny(reader, "a resource");
            rule.id = ReadByteOrAny(reader, "a message id");
            m_block.locals = {"resource", "id"};
        }
        rule.pattern = reader.ReadPattern();
        const auto& captures = reader.Captures();
        m_block.locals.insert(m_block.locals.end(), captures.begin(), captures.end());
        NoteUses(reader);
    }

    static std::optional<std::uint8_t> ReadByteOrAny(CStatementReader& reader, const std::string& what)
    {
        if (reader.AcceptWord("any"))
            return std::nullopt;
        return static_cast<std::uint8_t>(reader.TakeNumber(what + " or any", 255));
    }

    void ReadOtherwise(CStatementReader& reader)
    {
        Rule& rule = OpenBlock(CBlock::Kind::Otherwise, reader);
        m_block.locals = {"resource", "id"};
        Expression rest;
        rest.kind = Expression::Kind::Rest;
        rule.pattern.arguments.push_back(rest);
    }

    void ReadAtStart(CStatementReader& reader)
    {
        if (!reader.AcceptWord("start"))
            reader.Fail("at start");
        OpenBlock(CBlock::Kind::Timer, reader);
    }

    void ReadAfter(CStatementReader& reader)
    {
        OpenBlock(CBlock::Kind::Timer, reader);
        m_block.timer.first = reader.TakeDuration();
    }

    void ReadEvery(CStatementReader& reader)
    {
        OpenBlock(CBlock::Kind::Timer, reader);
        m_block.timer.first = m_block.timer.period = reader.TakeDuration();
        if (m_block.timer.period.count() == 0)
            reader.Fail("every needs a time above 0");
    }

    Rule& OpenBlock(CBlock::Kind kind, const CStatementReader& reader)
    {
        m_block.kind = kind;
        m_block.rule.place = reader.Here();
        m_block.rule.steps.emplace_back();
        return m_block.rule;
    }

    void CloseBlock()
    {
        CBlock block = std::exchange(m_block, CBlock{});
        m_block.hasDeclaration = block.hasDeclaration;
        for (const CStatementReader::Use& use : block.uses)
        {
            if (std::find(block.locals.begin(), block.locals.end(), use.name) == block.locals.end())
                m_uses.push_back(use);
        }
        switch (block.kind)
        {
        case CBlock::Kind::Rule:
            m_rules.push_back(FinishRule(std::move(block.rule)));
            break;
        case CBlock::Kind::Otherwise:
            m_otherwise = FinishRule(std::move(block.rule));
            break;
        case CBlock::Kind::Timer:
            block.timer.actions = std::move(block.rule.steps[0].actions);
            block.timer.times = std::min(block.timer.times, block.rule.steps[0].times);
            m_scenario.timers.push_back(std::move(block.timer));
            break;
        case CBlock::Kind::None:
            break;
        }
    }

    /// Every answer but the last is given once unless the file says how often.
    static Rule FinishRule(Rule rule)
    {
        for (std::size_t i = 0; i + 1 < rule.steps.size(); ++i)
        {
            if (rule.steps[i].times == kForever)
                rule.steps[i].times = 1;
        }
        return rule;
    }

    void ReadBlockLine(CStatementReader& reader)
    {
        if (m_block.kind == CBlock::Kind::None)
            reader.Fail("an indented line needs a rule or a timer above it");
        const bool isTimer = m_block.kind == CBlock::Kind::Timer;
        if (reader.AcceptWord("times"))
            ReadTimes(reader);
        else if (!isTimer && reader.AcceptWord("if"))
            ReadGuard(reader);
        else if (!isTimer && reader.AcceptWord("then"))
            m_block.rule.steps.emplace_back();
        else
            AddAction(ReadAction(reader));
        reader.ExpectEnd();
        NoteUses(reader);
    }

    void ReadTimes(CStatementReader& reader)
    {
        Step& step = m_block.rule.steps.back();
        if (!step.actions.empty() || step.times != kForever)
            reader.Fail("times stands once, before the actions");
        if (m_block.kind == CBlock::Kind::Timer && m_block.timer.period.count() == 0)
            reader.Fail("times is for every only");
        step.times = reader.TakeNumber("a number of times", kMaxNumber);
    }

    void ReadGuard(CStatementReader& reader)
    {
        if (m_block.rule.steps.size() > 1 || !m_block.rule.steps[0].actions.empty())
            reader.Fail("if stands before the actions");
        Guard guard;
        guard.wantsSet = reader.AcceptWord("set");
        if (guard.wantsSet || reader.AcceptWord("unset"))
        {
            guard.left = reader.ReadTarget();
        }
        else
        {
            guard.left = reader.ReadNumber();
            guard.compare = ReadComparison(reader).holds;
            guard.right = reader.ReadNumber();
        }
        m_block.rule.guards.push_back(std::move(guard));
    }

    static const Comparison& ReadComparison(CStatementReader& reader)
    {
        const auto* found = std::find_if(std::begin(kComparisons), std::end(kComparisons),
                                         [&](const Comparison& known) { return reader.AcceptSymbol(known.symbol); });
        if (found == std::end(kComparisons))
            reader.Fail("a comparison expected");
        return *found;
    }

    Action ReadAction(CStatementReader& reader)
    {
        const Place place = reader.Here();
        Milliseconds later{0};
        const bool isLater = reader.AcceptWord("after");
        if (isLater)
            later = reader.TakeDuration();
        const std::string keyword = reader.TakeWord("an action");
        const auto* form = std::find_if(std::begin(kActions), std::end(kActions),
                                        [&](const ActionForm& known) { return known.keyword == keyword; });
        if (form == std::end(kActions))
            throw CScenarioError(place, "'" + keyword + "' is no action");
        Action action;
        action.kind = form->kind;
        action.place = place;
        if (isLater && (action.IsAnswer() || action.kind == Action::Kind::Delay))
            throw CScenarioError(place, "after cannot put off " + keyword + "; use a delay before it");
        action.time = later;
        for (const char part : form->parts)
            ReadPart(part, action, reader);
        return action;
    }

    void ReadPart(char part, Action& action, CStatementReader& reader)
    {
        switch (part)
        {
        case 'r':
            action.resource = reader.ReadNumber();
            break;
        case 'i':
            action.id = reader.ReadNumber();
            break;
        case 'b':
            action.body = reader.ReadBody();
            break;
        case 'v':
            action.target = reader.ReadTarget();
            break;
        case 't':
            action.time = reader.TakeDuration();
            break;
        case 'f':
            action.code = reader.TakeFailure();
            break;
        case 'c':
            action.code = reader.TakeNumber("an exit code", kMaxNumber);
            break;
        default:
            if (!reader.AcceptSymbol("="))
                reader.Fail("set NAME = BYTES");
            m_assigned.insert(action.target.name);
            break;
        }
    }

    Action ReadSet(CStatementReader& reader)
    {
        Action action;
        for (const char part : std::string_view("v=b"))
            ReadPart(part, action, reader);
        return action;
    }

    void AddAction(Action action)
    {
        auto& actions = m_block.rule.steps.back().actions;
        const auto isAnswer = [](const Action& known) { return known.IsAnswer(); };
        if (action.IsAnswer() && m_block.kind == CBlock::Kind::Timer)
            throw CScenarioError(action.place, "a timer answers nothing");
        if (action.IsAnswer() && m_block.rule.raw && action.kind != Action::Kind::Fail)
            throw CScenarioError(action.place, "a raw message has no reply; it can only fail");
        if (action.IsAnswer() && std::any_of(actions.begin(), actions.end(), isAnswer))
            throw CScenarioError(action.place, "the message is answered already; then starts the next answer");
        actions.push_back(std::move(action));
    }

    void NoteUses(const CStatementReader& reader)
    {
        m_block.uses.insert(m_block.uses.end(), reader.Uses().begin(), reader.Uses().end());
    }

    static Expression Literal(Bytes bytes)
    {
        Expression literal;
        literal.kind = Expression::Kind::Literal;
        literal.bytes = std::move(bytes);
        return literal;
    }

    /// The version query is message 0xF0 of every service.
    static Rule VersionRule(std::uint8_t resource, const Bytes& answer)
    {
        constexpr std::uint8_t kVersionQuery = 0xF0;
        Action reply;
        reply.kind = Action::Kind::Reply;
        reply.id.kind = Expression::Kind::Number;
        reply.id.number = kVersionQuery;
        reply.body = Literal(answer);
        Rule rule;
        rule.resource = resource;
        rule.id = kVersionQuery;
        rule.pattern.arguments.push_back(Literal({0x12, 0x00}));
        rule.steps.push_back({kForever, {std::move(reply)}});
        return rule;
    }

    Scenario m_scenario;
    std::shared_ptr<const std::string> m_file;
    std::vector<std::filesystem::path> m_open;  // the file being read and those that include it
    std::set<std::filesystem::path> m_read;
    CBlock m_block;
    std::vector<Rule> m_rules;  // of the file being read
    std::map<std::uint8_t, Bytes> m_versions;
    std::optional<Rule> m_otherwise;
    std::set<std::string> m_assigned;
    std::vector<CStatementReader::Use> m_uses;
};

}  // namespace

Scenario LoadScenario(const std::filesystem::path& path)
{
    CScenarioParser parser;
    parser.ParseFile(path, {std::make_shared<const std::string>(PathText(path)), 1});
    return parser.Finish();
}

Scenario ParseScenario(std::string_view source, const std::filesystem::path& path)
{
    CScenarioParser parser;
    parser.ParseSource(std::string(source), path);
    return parser.Finish();
}

}  // namespace vorlansim
