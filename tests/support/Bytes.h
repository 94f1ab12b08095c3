#pragma once

#include "message/MsgBase.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

/// Bytes of a message, printed in hex.
using Bytes = std::vector<std::uint8_t>;

inline Bytes BodyOf(const CMsgBase& message)
{
    return message.GetSize() == 0 ? Bytes() : Bytes(message.GetData(), message.GetData() + message.GetSize());
}

template <typename Value>
std::vector<Value> operator+(std::vector<Value> first, const std::vector<Value>& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// `count` bytes of memory.
inline Bytes BytesAt(const void* memory, std::size_t count)
{
    const auto* first = static_cast<const std::uint8_t*>(memory);
    return Bytes(first, first + count);
}

inline std::string Hex(const Bytes& bytes)
{
    std::ostringstream out;
    for (const std::uint8_t value : bytes)
        out << std::hex << std::setw(2) << std::setfill('0') << unsigned{value} << ' ';
    return out.str();
}

/// Names the first byte that differs.
inline testing::AssertionResult SameBytes(const Bytes& expected, const Bytes& actual)
{
    std::size_t at = 0;
    while (at < expected.size() && at < actual.size() && expected[at] == actual[at])
        ++at;
    if (at == expected.size() && at == actual.size())
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "byte " << at << " differs\nexpected " << Hex(expected) << "\nactual   "
                                       << Hex(actual);
}

/// Every beginning of `bytes` that is shorter than it, the empty one first.
inline std::vector<Bytes> Truncations(const Bytes& bytes)
{
    std::vector<Bytes> parts;
    for (auto end = bytes.begin(); end != bytes.end(); ++end)
        parts.emplace_back(bytes.begin(), end);
    return parts;
}
