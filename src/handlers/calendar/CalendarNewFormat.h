#pragma once

#include "message/Message.h"
#include "zelapi/calendar.h"

// Entries as a sub-block of sub-blocks, one for each field: phones from service version 3.1 on.

/// Reads an entry from behind the status of a reply; the record is untouched if there is none.
/// Throws CAtlException (E_OUTOFMEMORY).
void ReadNewCalendarEntry(CMessage& reply, CalendarEntryRecord& record);

/// Appends an entry. The record's count is lowered by its empty elements, and as many of the first elements are sent.
/// Throws ZEL_E_ARGUMENT for more than fits into a message. REQUIRES: a readable array of `count` elements.
void AppendNewCalendarEntry(CMessage& request, CalendarEntryRecord& record);
