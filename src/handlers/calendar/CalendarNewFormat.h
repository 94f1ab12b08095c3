#pragma once

#include "handlers/base/Conversation.h"
#include "zelapi/calendar.h"

#include <span>

// Entries as a sub-block of sub-blocks, one for each field: phones from service version 3.1 on.

/// Reads the entry at the record's location; the record is untouched if the phone sends none.
void ReadNewCalendarEntry(const CConversation& phone, CalendarEntryRecord& record);

/// Throws ZEL_E_ARGUMENT for fields that a message cannot hold.
void CheckNewCalendarEntry(std::span<const CalendarField> fields);

/// Writes an entry that passes the check, and stores the location that the phone names. The record's count is lowered
/// by its empty elements, and as many of the first elements are sent.
void WriteNewCalendarEntry(const CConversation& phone, CalendarEntryRecord& record,
                           std::span<const CalendarField> fields);
