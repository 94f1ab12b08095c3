#pragma once

#include "Command.h"

#include <zelapi/pnd.h>

namespace zelctl
{

// What the commands of stored entries have in common.

/// Kind of a read by location where no other is asked for.
inline constexpr std::uint8_t kByLocation = 0;

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
