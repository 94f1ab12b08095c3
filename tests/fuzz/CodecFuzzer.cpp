#include "fuzz/FuzzChecks.h"
#include "handlers/base/Owners.h"
#include "message/SubBlock.h"
#include "support/FailingNew.h"
#include "support/RecordShapes.h"

#include <algorithm>
#include <host_control.h>
#include <new>
#include <vector>

// The input: the number of operations, two bytes for each (what, argument), and the body that they read.

namespace
{

using Bytes = std::vector<std::uint8_t>;

struct Format
{
    std::uint32_t idWidth, fillerMode, lengthWidth, fillerCount;
};

/// Those of the handlers, and some that nobody uses.
constexpr Format kFormats[] = {
    {1, 1, 1, 0}, {1, 2, 2, 0}, {2, 1, 2, 0}, {1, 4, 4, 3}, {1, 0, 1, 0}, {2, 3, 2, 1},
    {1, 4, 4, 0}, {2, 2, 4, 9}, {0, 1, 1, 0}, {3, 1, 2, 0}, {1, 5, 1, 0}, {2, 1, 3, 0},
};

CSubBlock NewBlock(const Format& format)
{
    CSubBlock block;
    block.SetFormat(format.idWidth, format.fillerMode, format.lengthWidth, format.fillerCount);
    return block;
}

Bytes BodyOf(const CMsgBase& message)
{
    return Bytes(message.GetData(), message.GetData() + message.GetSize());
}

/// The next `count` bytes, zeros behind the end.
Bytes Peek(const CMsgBase& message, std::uint32_t count)
{
    const std::uint32_t start = message.GetPosition();
    Bytes bytes(count);
    if (start < message.GetSize())
        std::copy_n(message.GetData() + start, std::min(count, message.GetSize() - start), bytes.begin());
    return bytes;
}

std::uint32_t NumberOf(const Bytes& bytes)
{
    std::uint32_t number = 0;
    for (const std::uint8_t byte : bytes)
        number = number << 8 | byte;
    return number;
}

void ReadBlock(CMsgBase& message, std::uint8_t count)
{
    const Bytes expected = Peek(message, count);
    const CTaskMemOwner<std::uint8_t> block(message.ReadBytes(count));
    Require((block == nullptr) == (count == 0), "no block for no bytes");
    Require(std::equal(expected.begin(), expected.end(), block.get()), "ReadBytes reads bytes");
}

void ReadText(CMsgBase& message, std::uint8_t count)
{
    const Bytes expected = Peek(message, 2u * count);
    const CBStrOwner text(message.ReadString(count));
    Require(SysStringLen(text.get()) == count, "ReadString has the units it was asked for");
    for (std::size_t i = 0; i < count; ++i)
        Require(text.get()[i] == (expected[2 * i] << 8 | expected[2 * i + 1]), "ReadString reads words");
    Require(text.get()[count] == 0, "a text has a terminator");
}

void ReadUtf8(CMsgBase& message, std::uint8_t count)
{
    const Bytes bytes = Peek(message, count);
    const auto length = static_cast<UINT>(std::ranges::find(bytes, std::uint8_t{0}) - bytes.begin());
    const CBStrOwner text(message.ReadUtf8String(count));
    Require(text == nullptr || SysStringLen(text.get()) == 2 * (length + 1), "a UTF-8 text has two units a byte");
}

/// What was read, written and read again is the same.
void WriteAgain(CSubBlock& block, const Format& format)
{
    const Bytes payload = BodyOf(block);
    CMsgBase message;
    // Padding may take the length beyond 16 bits.
    if (!block.WriteTo(&message) || message.GetSize() > 0xFFFF)
        return;
    Require(message.GetSize() % 4 == 0, "a sub-block is padded");
    CSubBlock again = NewBlock({format.idWidth, format.fillerMode, format.lengthWidth, 0});
    if (format.lengthWidth == 1 && message.GetSize() > 0xFF)
        return;
    Require(again.ReadFrom(&message), "what was written is readable");
    Require(again.GetId() == block.GetId(), "an id survives");
    Require(message.GetPosition() == message.GetSize(), "a sub-block ends where its length says");
    const Bytes read = BodyOf(again);
    Require(std::equal(payload.begin(), payload.end(), read.begin()), "a payload survives");
}

void ReadSubBlock(CMsgBase& message, std::uint8_t number)
{
    const Format& format = kFormats[number % std::size(kFormats)];
    CSubBlock block = NewBlock(format);
    if (!block.ReadFrom(&message))
        return;
    Require(block.GetPosition() == 0 && block.GetSize() != 0, "a readable sub-block has a payload");
    WriteAgain(block, format);
}

/// Runs one of the readers; how many bytes it takes where there are enough.
std::uint32_t Read(CMsgBase& message, std::uint8_t reader, std::uint8_t argument)
{
    switch (reader)
    {
    case 0:
        Require(NumberOf(Peek(message, 1)) == message.ReadByte(), "ReadByte");
        return 1;
    case 1:
        Require(NumberOf(Peek(message, 2)) == message.ReadWord(), "ReadWord");
        return 2;
    case 2:
        Require(NumberOf(Peek(message, 4)) == message.ReadDword(), "ReadDword");
        return 4;
    case 3:
        ReadBlock(message, argument);
        return argument;
    case 4:
        ReadText(message, argument);
        return 2u * argument;
    default:
        ReadUtf8(message, argument);
        return argument;
    }
}

void Run(CMsgBase& message, std::uint8_t operation, std::uint8_t argument)
{
    constexpr std::uint8_t kReaders = 6;
    const std::uint32_t start = message.GetPosition();
    const std::uint32_t left = start < message.GetSize() ? message.GetSize() - start : 0;
    switch (const int what = operation % (kReaders + 6); what)
    {
    case kReaders:
        return ReadSubBlock(message, argument);
    case kReaders + 1:
        return message.Skip(argument);
    case kReaders + 2:
        // From the body's start, from before it, and from far beyond it.
        return message.SetPosition(static_cast<std::uint32_t>(static_cast<std::int8_t>(argument)) ^
                                   (argument % 3 == 0 ? 0x40000000u : 0u));
    case kReaders + 3: {
        Bytes expected = BodyOf(message);
        if (left != 0)
            expected[start] = 0;
        message.ZeroAtPosition();
        return Require(BodyOf(message) == expected, "one byte becomes 0");
    }
    case kReaders + 4:
        return host::FailAllocation(argument % 4);
    case kReaders + 5:
        return host::FailNew(argument % 16);
    default: {
        const Bytes before = BodyOf(message);
        const std::uint32_t size = Read(message, static_cast<std::uint8_t>(what), argument);
        Require(message.GetPosition() == start + std::min(size, left), "a reader stops at the end");
        return Require(BodyOf(message) == before, "reading leaves the body alone");
    }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CByteSource input = {data, size};
    const std::size_t operations = input.Byte();
    CByteSource steps = {input.next, std::min(input.left, 2 * operations)};
    const std::size_t before = host::LiveAllocations();
    try
    {
        CMsgBase message;
        message.AppendBytes(input.left - steps.left, input.next + steps.left);
        while (steps.left != 0)
        {
            const std::uint8_t operation = steps.Byte();
            Run(message, operation, steps.Byte());
        }
    }
    catch (const CAtlException& failure)
    {
        Require(failure.m_hr == E_OUTOFMEMORY, "only memory can be missing");
    }
    catch (const std::bad_alloc&)
    {
    }
    host::FailNew(0);
    host::FailAllocation(0);
    Require(host::LiveAllocations() == before, "every allocation is freed once");
    return 0;
}
