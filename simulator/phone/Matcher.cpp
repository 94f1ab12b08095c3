#include "phone/Matcher.h"

#include <algorithm>

namespace vorlansim
{
namespace
{

/// Matches a list of pattern nodes against the bytes from the front on.
class CMatcher
{
  public:
    CMatcher(BytesView bytes, Scope& scope) : m_left(bytes), m_scope(scope) {}

    bool Match(const Expression& sequence)
    {
        return std::all_of(sequence.arguments.begin(), sequence.arguments.end(),
                           [this](const Expression& item) { return MatchItem(item); });
    }

    BytesView Left() const { return m_left; }

  private:
    bool MatchItem(const Expression& item)
    {
        switch (item.kind)
        {
        case Expression::Kind::AnyByte:
            return Take(1).has_value();
        case Expression::Kind::Rest:
            return Take(m_left.size()).has_value();
        case Expression::Kind::Capture:
            return Capture(item, Take(EvaluateNumber(item.arguments[0], m_scope)));
        case Expression::Kind::CaptureRest:
            return Capture(item, Take(m_left.size()));
        default:
            return item.function != nullptr && item.function->IsBlock() ? MatchBlock(item) : MatchBytes(item);
        }
    }

    std::optional<BytesView> Take(std::uint64_t count)
    {
        if (count > m_left.size())
            return std::nullopt;
        const BytesView taken = m_left.first(static_cast<std::size_t>(count));
        m_left = m_left.subspan(taken.size());
        return taken;
    }

    bool Capture(const Expression& item, std::optional<BytesView> bytes)
    {
        if (bytes)
            m_scope.locals.emplace_back(item.name, Bytes(bytes->begin(), bytes->end()));
        return bytes.has_value();
    }

    bool MatchBytes(const Expression& item)
    {
        const Bytes expected = Evaluate(item, m_scope);
        const auto taken = Take(expected.size());
        return taken && std::equal(taken->begin(), taken->end(), expected.begin());
    }

    bool MatchBlock(const Expression& item)
    {
        const Function& format = *item.function;
        const auto header = Take(format.HeaderSize());
        if (!header)
            return false;
        const std::uint64_t id = BytesToNumber(item, header->first(format.idWidth));
        const std::uint64_t length = BytesToNumber(item, header->last(format.width));
        if (id != EvaluateNumber(item.arguments[0], m_scope) || length < format.HeaderSize())
            return false;
        const auto payload = Take(length - format.HeaderSize());
        if (!payload)
            return false;
        CMatcher inner(*payload, m_scope);
        return inner.Match(item.arguments[1]) && IsPadding(inner.Left());
    }

    static bool IsPadding(BytesView bytes)
    {
        return bytes.size() < 4 && std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
    }

    BytesView m_left;
    Scope& m_scope;
};

}  // namespace

bool Matches(const Expression& pattern, BytesView bytes, Scope& scope)
{
    try
    {
        CMatcher matcher(bytes, scope);
        return matcher.Match(pattern) && matcher.Left().empty();
    }
    catch (const CScenarioError&)
    {
        return false;
    }
}

}  // namespace vorlansim
