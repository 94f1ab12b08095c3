#pragma once

#include "handlers/base/Conversation.h"
#include "zelapi/calendar.h"

#include <cstdint>
#include <span>

// Entries as one fixed run of fields: phones before service version 3.1.

/// Reads the entry at the record's location.
void ReadOldCalendarEntry(const CConversation& phone, CalendarEntryRecord& record);

/// Writes an entry; `kind` is the phone's number. Fields that are missing are sent as 0.
void WriteOldCalendarEntry(const CConversation& phone, std::uint8_t kind, std::uint32_t location,
                           std::span<const CalendarField> fields);
