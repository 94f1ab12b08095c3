#pragma once

#include "message/MsgBase.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
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

inline std::string Hex(const Bytes& bytes)
{
    std::ostringstream out;
    for (const std::uint8_t byte : bytes)
        out << std::hex << std::setw(2) << std::setfill('0') << unsigned{byte} << ' ';
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
