#include "fuzz/FuzzChecks.h"
#include "handlers/base/Owners.h"
#include "message/SubBlock.h"

#include <algorithm>
#include <host_control.h>
#include <optional>
#include <vector>

// The input: the number of operations, two bytes for each (what, argument), and the body that they read.

namespace
{

using Bytes = std::vector<std::uint8_t>;

/// What reading promises, byte by byte: past the end, or before the start as a signed number, 0 and no advance.
class CModel
{
  public:
    CModel(const std::uint8_t* body, std::size_t size) : m_body(body, body + size) {}

    std::uint8_t Byte()
    {
        if (static_cast<std::int32_t>(m_position) < 0 || m_position >= m_body.size())
            return 0;
        return m_body[m_position++];
    }
    std::uint16_t Word()
    {
        const std::uint8_t high = Byte();
        return static_cast<std::uint16_t>(high << 8 | Byte());
    }
    std::uint32_t Dword()
    {
        const std::uint32_t high = Word();
        return high << 16 | Word();
    }
    void Zero()
    {
        if (static_cast<std::int32_t>(m_position) >= 0 && m_position < m_body.size())
            m_body[m_position] = 0;
    }

    Bytes m_body;
    std::uint32_t m_position = 0;
};

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

void ReadBlock(CMsgBase& message, CModel& model, std::uint8_t count)
{
    const CTaskMemOwner<std::uint8_t> block(message.ReadBytes(count));
    Require((block == nullptr) == (count == 0), "no block for no bytes");
    for (std::uint8_t i = 0; i < count; ++i)
        Require(block.get()[i] == model.Byte(), "ReadBytes reads bytes");
}

void ReadText(CMsgBase& message, CModel& model, std::uint8_t count)
{
    const CBStrOwner text(message.ReadString(count));
    Require(SysStringLen(text.get()) == count, "ReadString has the units it was asked for");
    for (std::uint8_t i = 0; i < count; ++i)
        Require(text.get()[i] == model.Word(), "ReadString reads words");
    TouchText(text.get());
}

void ReadUtf8(CMsgBase& message, CModel& model, std::uint8_t count)
{
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return model.Byte(); });
    const auto length = static_cast<UINT>(std::find(bytes.begin(), bytes.end(), std::uint8_t{0}) - bytes.begin());
    const CBStrOwner text(message.ReadUtf8String(count));
    Require(text == nullptr || SysStringLen(text.get()) == 2 * (length + 1), "a UTF-8 text has two units a byte");
    TouchText(text.get());
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

void ReadSubBlock(CMsgBase& message, CModel& model, std::uint8_t number)
{
    const Format& format = kFormats[number % std::size(kFormats)];
    CSubBlock block = NewBlock(format);
    if (block.ReadFrom(&message))
    {
        Touch(block.GetData(), block.GetSize());
        Require(block.GetPosition() == 0 && block.GetSize() != 0, "a readable sub-block has a payload");
        WriteAgain(block, format);
    }
    model.m_position = message.GetPosition();
}

void Run(CMsgBase& message, CModel& model, std::uint8_t operation, std::uint8_t argument)
{
    switch (operation % 11)
    {
    case 0:
        return Require(message.ReadByte() == model.Byte(), "ReadByte");
    case 1:
        return Require(message.ReadWord() == model.Word(), "ReadWord");
    case 2:
        return Require(message.ReadDword() == model.Dword(), "ReadDword");
    case 3:
        return ReadBlock(message, model, argument);
    case 4:
        return ReadText(message, model, argument);
    case 5:
        return ReadUtf8(message, model, argument);
    case 6:
        return ReadSubBlock(message, model, argument);
    case 7:
        message.Skip(argument);
        model.m_position += argument;
        return;
    case 8:
        // From the body's start, from before it, and from far beyond it.
        message.SetPosition(static_cast<std::uint32_t>(static_cast<std::int8_t>(argument)) ^
                            (argument % 3 == 0 ? 0x40000000u : 0u));
        model.m_position = message.GetPosition();
        return;
    case 9:
        message.ZeroAtPosition();
        return model.Zero();
    default:
        // The argument-th allocation from here fails.
        return host::FailAllocation(argument % 4);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0 || size < 1 + 2 * std::size_t{data[0]})
        return 0;
    const std::size_t operations = data[0];
    const std::uint8_t* body = data + 1 + 2 * operations;
    const auto bodySize = static_cast<std::size_t>(data + size - body);

    // A new body takes exactly its size on the heap.
    CMsgBase message;
    message.AppendBytes(bodySize, body);
    CModel model(body, bodySize);
    const std::size_t before = host::LiveAllocations();
    try
    {
        for (std::size_t i = 0; i < operations; ++i)
        {
            Run(message, model, data[1 + 2 * i], data[2 + 2 * i]);
            Require(message.GetPosition() == model.m_position, "the cursor is where it should be");
        }
    }
    catch (const CAtlException& failure)
    {
        Require(failure.m_hr == E_OUTOFMEMORY, "only memory can be missing");
    }
    host::FailAllocation(0);
    Require(BodyOf(message) == model.m_body, "reading leaves the body alone");
    Require(host::LiveAllocations() == before, "every allocation is freed once");
    return 0;
}
