#include "scenario/ActionReader.h"

#include <algorithm>
#include <iterator>

namespace vorlansim
{
namespace
{

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

const Comparison& ReadComparison(CStatementReader& reader)
{
    const auto* found = std::find_if(std::begin(kComparisons), std::end(kComparisons),
                                     [&](const Comparison& known) { return reader.AcceptSymbol(known.symbol); });
    if (found == std::end(kComparisons))
        reader.Fail("a comparison expected");
    return *found;
}

const ActionForm& ReadForm(CStatementReader& reader)
{
    const Place place = reader.Here();
    const std::string keyword = reader.TakeWord("an action");
    const auto* form = std::find_if(std::begin(kActions), std::end(kActions),
                                    [&](const ActionForm& known) { return known.keyword == keyword; });
    if (form == std::end(kActions))
        throw CScenarioError(place, "'" + keyword + "' is no action");
    return *form;
}

void ReadPart(char part, Action& action, CExpressionReader& reader)
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
        action.code = reader.TakeNumber("an exit code");
        break;
    default:
        if (!reader.AcceptSymbol("="))
            reader.Fail("set NAME = BYTES");
        break;
    }
}

Action ReadParts(const ActionForm& form, CExpressionReader& reader)
{
    Action action;
    action.kind = form.kind;
    action.place = reader.Here();
    for (const char part : form.parts)
        ReadPart(part, action, reader);
    return action;
}

}  // namespace

Action ReadAction(CExpressionReader& reader)
{
    const Place place = reader.Here();
    if (!reader.AcceptWord("after"))
        return ReadParts(ReadForm(reader), reader);
    const Milliseconds later = reader.TakeDuration();
    const ActionForm& form = ReadForm(reader);
    Action action = ReadParts(form, reader);
    if (action.IsAnswer() || action.kind == Action::Kind::Delay)
        throw CScenarioError(place, "after cannot put off " + std::string(form.keyword) + "; use a delay before it");
    action.time = later;
    return action;
}

Action ReadSet(CExpressionReader& reader)
{
    return ReadParts({"set", Action::Kind::Set, "v=b"}, reader);
}

Guard ReadGuard(CExpressionReader& reader)
{
    Guard guard;
    guard.wantsSet = reader.AcceptWord("set");
    if (guard.wantsSet || reader.AcceptWord("unset"))
    {
        guard.left = reader.ReadTarget();
        return guard;
    }
    guard.left = reader.ReadNumber();
    guard.compare = ReadComparison(reader).holds;
    guard.right = reader.ReadNumber();
    return guard;
}

}  // namespace vorlansim
