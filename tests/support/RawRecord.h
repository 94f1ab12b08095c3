#pragma once

#include "support/Bytes.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

/// Bytes by their offset in a record.
using Parts = std::vector<std::pair<std::size_t, Bytes>>;

/// A record of any service as the bytes that an application hands over, its offsets those of the record.
struct RawRecord
{
    explicit RawRecord(std::uint8_t fill) { std::fill(std::begin(bytes), std::end(bytes), fill); }

    void* PointerAt(std::size_t offset) const
    {
        void* pointer = nullptr;
        std::memcpy(&pointer, bytes + offset, sizeof pointer);
        return pointer;
    }
    void SetPointer(std::size_t offset, const void* pointer) { std::memcpy(bytes + offset, &pointer, sizeof pointer); }
    void Set(const Parts& parts)
    {
        for (const auto& [offset, part] : parts)
            std::copy(part.begin(), part.end(), bytes + offset);
    }

    alignas(8) std::uint8_t bytes[136];
};

/// The record holds `fields` and otherwise its fill, and its pointers, by their offset, name `blocks`.
inline testing::AssertionResult SameRecord(const Parts& fields, const Parts& blocks, const RawRecord& record,
                                           std::uint8_t fill)
{
    RawRecord expected(fill);
    expected.Set(fields);
    for (const auto& [offset, block] : blocks)
    {
        const void* pointer = record.PointerAt(offset);
        if (pointer == nullptr || pointer == expected.PointerAt(offset))
            return testing::AssertionFailure() << "no block at " << offset;
        if (const auto same = SameBytes(block, BytesAt(pointer, block.size())); !same)
            return testing::AssertionFailure() << "block at " << offset << ": " << same.message();
        expected.SetPointer(offset, pointer);
    }
    return SameBytes(BytesAt(expected.bytes, sizeof expected.bytes), BytesAt(record.bytes, sizeof record.bytes));
}
