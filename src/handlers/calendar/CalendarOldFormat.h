#pragma once

#include "message/Message.h"
#include "zelapi/calendar.h"

#include <span>

// Entries as one fixed run of fields: phones before service version 3.1.

/// Reads an entry from behind the status of a reply. Throws CAtlException (E_OUTOFMEMORY).
void ReadOldCalendarEntry(CMessage& reply, CalendarEntryRecord& record);

/// Appends an entry; `kind` is the phone's number. Fields that are missing are sent as 0.
void AppendOldCalendarEntry(CMessage& request, std::uint8_t kind, std::uint32_t location,
                            std::span<const CalendarField> fields);
