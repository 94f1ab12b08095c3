#pragma once

#include "Command.h"

#include <zelapi/pnd.h>

namespace zelctl
{

// What the commands of stored entries have in common.

inline constexpr NumberRange kByte = {0, 0xFF};
inline constexpr NumberRange kWord = {0, 0xFFFF};
/// Kind of a read by location where no other is asked for.
inline constexpr std::uint8_t kByLocation = 0;

std::uint8_t ByteArgument(const CArguments& arguments, std::size_t index, const char* what);
std::uint16_t WordArgument(const CArguments& arguments, std::size_t index, const char* what);
std::uint8_t ByteOption(const CArguments& arguments, const char* option, std::uint8_t otherwise);

/// Shows an entry that was read, and frees it.
void ShowPndEntry(const COutput& output, const PndEntry& entry);

/// Sends the fields that begin with the argument `firstField`.
void WritePndFields(CContext& context, std::uint32_t messageId, const char* what, PndWriteRecord& record,
                    std::size_t firstField);

// Commands for stores with forms of their own.
void ShowPndStore14(CContext& context);
void WritePndStore14(CContext& context);
void ShowPndStore16(CContext& context);
void WritePndStore16(CContext& context);
void ShowPndState(CContext& context);
void ShowPndItems(CContext& context);

}  // namespace zelctl
