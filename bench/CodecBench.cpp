// The codec beside the same work done by hand on a byte vector. The bodies are the same, byte for byte.

#include "handlers/base/Owners.h"
#include "message/Message.h"
#include "message/SubBlock.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <vector>

namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kTexts = 12;
constexpr UINT kUnits = 20;

using Texts = std::array<CBStrOwner, kTexts>;

Texts MakeTexts()
{
    Texts texts;
    for (std::size_t i = 0; i < kTexts; ++i)
    {
        texts[i].reset(SysAllocStringLen(nullptr, kUnits));
        for (UINT unit = 0; unit < kUnits; ++unit)
            texts[i].get()[unit] = static_cast<OLECHAR>(u'A' + i + unit);
    }
    return texts;
}

// ---------------------------------------------------------------------------------------------------------------------
// A request of two bytes and a sub-block of ten
// ---------------------------------------------------------------------------------------------------------------------

struct Clock
{
    std::uint16_t year;
    std::uint8_t month, day, hour, minute, second;
};

constexpr Clock kClock = {2006, 12, 31, 1, 2, 3};

CMessage RequestByCodec(const Clock& clock)
{
    CMessage message;
    message.SetResource(0x19);
    message.SetMessageId(0x01);
    message.AddExpectedReply(0x02);
    message.AppendByte(0);
    message.AppendByte(1);
    CSubBlock block;
    block.SetFormat(1, 1, 1, 0);
    block.SetId(1);
    block.AppendByte(1);
    block.AppendByte(3);
    block.AppendWord(clock.year);
    block.AppendByte(clock.month);
    block.AppendByte(clock.day);
    block.AppendByte(clock.hour);
    block.AppendByte(clock.minute);
    block.AppendByte(clock.second);
    block.AppendByte(0);
    block.WriteTo(&message);
    return message;
}

Bytes RequestByHand(const Clock& clock)
{
    Bytes payload;
    payload.push_back(1);
    payload.push_back(3);
    payload.push_back(static_cast<std::uint8_t>(clock.year >> 8));
    payload.push_back(static_cast<std::uint8_t>(clock.year));
    payload.push_back(clock.month);
    payload.push_back(clock.day);
    payload.push_back(clock.hour);
    payload.push_back(clock.minute);
    payload.push_back(clock.second);
    payload.push_back(0);
    Bytes body;
    body.push_back(0);
    body.push_back(1);
    body.push_back(1);
    body.push_back(static_cast<std::uint8_t>(payload.size() + 2));
    body.insert(body.end(), payload.begin(), payload.end());
    return body;
}

// ---------------------------------------------------------------------------------------------------------------------
// A record of twelve texts, each a count of units and the units with a terminator
// ---------------------------------------------------------------------------------------------------------------------

CMessage RecordByCodec(const Texts& texts)
{
    CMessage message;
    for (const CBStrOwner& text : texts)
    {
        message.AppendWord(static_cast<std::uint16_t>(SysStringLen(text.get())));
        message.AppendString(text.get(), true);
    }
    return message;
}

Bytes RecordByHand(const Texts& texts)
{
    Bytes body;
    for (const CBStrOwner& text : texts)
    {
        const UINT count = SysStringLen(text.get());
        std::size_t at = body.size();
        body.resize(at + 2 + 2 * (count + 1));
        body[at++] = static_cast<std::uint8_t>(count >> 8);
        body[at++] = static_cast<std::uint8_t>(count);
        for (UINT i = 0; i < count; ++i)
        {
            body[at++] = static_cast<std::uint8_t>(text.get()[i] >> 8);
            body[at++] = static_cast<std::uint8_t>(text.get()[i]);
        }
    }
    return body;
}

Texts ReadByCodec(CMessage& message)
{
    Texts texts;
    message.SetPosition(0);
    for (CBStrOwner& text : texts)
    {
        text.reset(message.ReadString(message.ReadWord()));
        message.Skip(2);
    }
    return texts;
}

Texts ReadByHand(const Bytes& body)
{
    Texts texts;
    std::size_t at = 0;
    const auto word = [&]() -> std::uint16_t {
        // Past the end everything is 0.
        if (at + 2 > body.size())
            return 0;
        at += 2;
        return static_cast<std::uint16_t>(body[at - 2] << 8 | body[at - 1]);
    };
    for (CBStrOwner& text : texts)
    {
        const std::uint16_t count = word();
        text.reset(SysAllocStringLen(nullptr, count));
        for (UINT i = 0; i < count; ++i)
            text.get()[i] = static_cast<OLECHAR>(word());
        at += 2;
    }
    return texts;
}

bool IsSame(const CMessage& message, const Bytes& body)
{
    return Bytes(message.GetData(), message.GetData() + message.GetSize()) == body;
}

template <typename Result, typename Argument>
void Run(benchmark::State& state, Result (*function)(Argument), Argument argument)
{
    if (!IsSame(RequestByCodec(kClock), RequestByHand(kClock)) ||
        !IsSame(RecordByCodec(MakeTexts()), RecordByHand(MakeTexts())))
        return state.SkipWithError("codec and hand disagree");
    for (auto _ : state)
        benchmark::DoNotOptimize(function(argument));
}

void BuildRequest_Codec(benchmark::State& state)
{
    Run<CMessage, const Clock&>(state, RequestByCodec, kClock);
}
BENCHMARK(BuildRequest_Codec);

void BuildRequest_Hand(benchmark::State& state)
{
    Run<Bytes, const Clock&>(state, RequestByHand, kClock);
}
BENCHMARK(BuildRequest_Hand);

void BuildTexts_Codec(benchmark::State& state)
{
    const Texts texts = MakeTexts();
    Run<CMessage, const Texts&>(state, RecordByCodec, texts);
}
BENCHMARK(BuildTexts_Codec);

void BuildTexts_Hand(benchmark::State& state)
{
    const Texts texts = MakeTexts();
    Run<Bytes, const Texts&>(state, RecordByHand, texts);
}
BENCHMARK(BuildTexts_Hand);

void ReadTexts_Codec(benchmark::State& state)
{
    CMessage message = RecordByCodec(MakeTexts());
    Run<Texts, CMessage&>(state, ReadByCodec, message);
}
BENCHMARK(ReadTexts_Codec);

void ReadTexts_Hand(benchmark::State& state)
{
    const Bytes body = RecordByHand(MakeTexts());
    Run<Texts, const Bytes&>(state, ReadByHand, body);
}
BENCHMARK(ReadTexts_Hand);

}  // namespace

BENCHMARK_MAIN();
