#pragma once

#include "message/ExceptionFrame.h"
#include "message/SubBlock.h"

#include <cstdint>

/// The header of a sub-block: id width, filler mode, length width, filler count.
struct SubBlockFormat
{
    std::uint32_t idWidth;
    std::uint32_t fillerMode;
    std::uint32_t lengthWidth;
    std::uint32_t fillerCount;
};

/// id (1), length (1)
inline constexpr SubBlockFormat kShortBlock = {1, 1, 1, 0};
/// id (1), filler (1), length (2)
inline constexpr SubBlockFormat kByteIdBlock = {1, 2, 2, 0};
/// id (2), length (2)
inline constexpr SubBlockFormat kWordIdBlock = {2, 1, 2, 0};
/// id (1), fillers (3), length (4); read only
inline constexpr SubBlockFormat kLongBlock = {1, 4, 4, 3};

/// An empty sub-block, to be filled and written, or to be read into.
inline CSubBlock NewBlock(const SubBlockFormat& format, std::uint16_t id = 0xFFFF)
{
    CSubBlock block;
    block.SetFormat(format.idWidth, format.fillerMode, format.lengthWidth, format.fillerCount);
    block.SetId(id);
    return block;
}

/// Appends a sub-block that a caller's data may have made too long. Throws ZEL_E_ARGUMENT for a payload that its length
/// field cannot name.
inline void AppendFitting(CMsgBase& message, CSubBlock& block)
{
    if (block.GetSize() > block.GetLongestPayload())
        ThrowCode(ZEL_E_ARGUMENT);
    block.WriteTo(&message);
}

/// Reads the number of sub-blocks of a run, and the first of them. False if there is none, or it cannot be read.
inline bool ReadFirstBlock(CMsgBase& message, CSubBlock& block)
{
    return message.ReadByte() != 0 && block.ReadFrom(&message);
}

/// Reads a run of `count` sub-blocks and calls `visit(block, index)` for each. An unreadable one ends the walk: false.
template <typename Visitor>
bool ForEachBlock(CMsgBase& message, std::uint32_t count, const SubBlockFormat& format, Visitor&& visit)
{
    CSubBlock block = NewBlock(format);
    for (std::uint32_t index = 0; index < count; ++index)
    {
        block.Clear();
        if (!block.ReadFrom(&message))
            return false;
        visit(block, index);
    }
    return true;
}
