#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <span>
#include <string>

namespace zelctl
{

/// What a command has to say: a tree of named fields in order, shown as text or as JSON.
using Value = nlohmann::ordered_json;

/// "0x1901".
std::string Hex(std::uint32_t number, int digits);

/// "01 0A FF".
std::string HexBytes(std::span<const std::uint8_t> bytes);

}  // namespace zelctl
