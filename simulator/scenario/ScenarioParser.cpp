#include "scenario/ScenarioParser.h"

#include "scenario/ActionReader.h"
#include "scenario/Block.h"

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
        m_hasDeclaration = false;
        // Each file is a layer on top of those it includes.
        std::move(m_scenario.rules.begin(), m_scenario.rules.end(), std::back_inserter(m_rules));
        m_scenario.rules = std::exchange(m_rules, {});
    }

    Scenario Finish()
    {
        for (const CExpressionReader::Use& use : m_uses)
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
    using Declaration = void (CScenarioParser::*)(CExpressionReader&);

    void ReadStatement(const Statement& statement, const std::filesystem::path& path)
    {
        CExpressionReader reader(statement, m_file);
        if (statement.indented)
            m_block.ReadLine(reader);
        else if (reader.AcceptWord("include"))
            ReadInclude(reader, path);
        else
            ReadDeclaration(reader);
    }

    void ReadInclude(CExpressionReader& reader, const std::filesystem::path& path)
    {
        const Place place = reader.Here();
        if (m_hasDeclaration)
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

    void ReadDeclaration(CExpressionReader& reader)
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
        m_hasDeclaration = true;
        const Place place = reader.Here();
        const std::string keyword = reader.TakeWord("a declaration");
        const auto found = declarations.find(keyword);
        if (found == declarations.end())
            throw CScenarioError(place, "'" + keyword + "' is no declaration (actions are indented)");
        (this->*found->second)(reader);
        reader.ExpectEnd();
    }

    void ReadDevice(CExpressionReader& reader)
    {
        Device device;
        device.id = reader.TakeNumber("a device id");
        if (reader.AcceptWord("serial"))
            device.serial = ToUtf16(reader.TakeText("a serial number")).value_or(u"");
        while (reader.AcceptWord("medium"))
        {
            const std::uint32_t index = reader.TakeNumber("a medium index");
            device.media.push_back({index, reader.TakeNumber("medium flags")});
        }
        auto& devices = m_scenario.devices;
        std::erase_if(devices, [&](const Device& known) { return known.id == device.id; });
        devices.push_back(std::move(device));
    }

    void ReadAccess(CExpressionReader& reader) { m_scenario.access = reader.TakeByte("an access byte"); }

    void ReadBroker(CExpressionReader& reader)
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

    void ReadService(CExpressionReader& reader)
    {
        const std::uint8_t resource = reader.TakeByte("a resource");
        if (!reader.AcceptWord("version"))
            reader.Fail("service RESOURCE version MAJOR.MINOR [status BYTE]");
        const auto [major, minor] = reader.TakeVersion();
        std::uint8_t status = 1;
        if (reader.AcceptWord("status"))
            status = reader.TakeByte("a status");
        m_versions[resource] = {status, major, minor};
    }

    void ReadStartValue(CExpressionReader& reader)
    {
        m_scenario.startValues.push_back(ReadSet(reader));
        m_assigned.insert(m_scenario.startValues.back().target.name);
        m_block.NoteUses(reader);
    }

    void ReadFault(CExpressionReader& reader)
    {
        const std::string name = reader.TakeWord("a step");
        const auto found = std::find(kStepNames.begin(), kStepNames.end(), name);
        if (found == kStepNames.end())
            reader.Fail("'" + name + "' is no step that can fail");
        Fault fault{reader.TakeFailure(), kForever};
        if (reader.AcceptWord("times"))
            fault.times = reader.TakeNumber("a number of times");
        m_scenario.faults[static_cast<ClientStep>(std::distance(kStepNames.begin(), found))] = fault;
    }

    void ReadRule(CExpressionReader& reader)
    {
        m_block = CBlock(CBlock::Kind::Rule, reader);
        Rule& rule = m_block.rule;
        rule.raw = reader.AcceptWord("raw");
        if (!rule.raw)
        {
            rule.resource = ReadByteOrAny(reader, "a resource");
            rule.id = ReadByteOrAny(reader, "a message id");
            m_block.locals = {"resource", "id"};
        }
        rule.pattern = reader.ReadPattern();
        const auto& captures = reader.Captures();
        m_block.locals.insert(m_block.locals.end(), captures.begin(), captures.end());
        m_block.NoteUses(reader);
    }

    static std::optional<std::uint8_t> ReadByteOrAny(CExpressionReader& reader, const std::string& what)
    {
        if (reader.AcceptWord("any"))
            return std::nullopt;
        return reader.TakeByte(what + " or any");
    }

    void ReadOtherwise(CExpressionReader& reader)
    {
        m_block = CBlock(CBlock::Kind::Otherwise, reader);
        m_block.locals = {"resource", "id"};
        Expression rest;
        rest.kind = Expression::Kind::Rest;
        m_block.rule.pattern.arguments.push_back(rest);
    }

    void ReadAtStart(CExpressionReader& reader)
    {
        if (!reader.AcceptWord("start"))
            reader.Fail("at start");
        m_block = CBlock(CBlock::Kind::Timer, reader);
    }

    void ReadAfter(CExpressionReader& reader)
    {
        m_block = CBlock(CBlock::Kind::Timer, reader);
        m_block.timer.first = reader.TakeDuration();
    }

    void ReadEvery(CExpressionReader& reader)
    {
        ReadAfter(reader);
        m_block.timer.period = m_block.timer.first;
        if (m_block.timer.period.count() == 0)
            reader.Fail("every needs a time above 0");
    }

    void CloseBlock()
    {
        CBlock block = std::exchange(m_block, CBlock());
        const auto unknown = block.Unknown();
        m_uses.insert(m_uses.end(), unknown.begin(), unknown.end());
        m_assigned.insert(block.assigned.begin(), block.assigned.end());
        if (block.kind == CBlock::Kind::Rule)
            m_rules.push_back(block.FinishRule());
        else if (block.kind == CBlock::Kind::Otherwise)
            m_otherwise = block.FinishRule();
        else if (block.kind == CBlock::Kind::Timer)
            m_scenario.timers.push_back(block.FinishTimer());
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
    bool m_hasDeclaration = false;  // in the file being read: no include may follow
    std::vector<Rule> m_rules;      // of the file being read
    std::map<std::uint8_t, Bytes> m_versions;
    std::optional<Rule> m_otherwise;
    std::set<std::string> m_assigned;
    std::vector<CExpressionReader::Use> m_uses;
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
