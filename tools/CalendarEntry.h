#pragma once

#include "Text.h"
#include "Value.h"

#include <span>
#include <string>
#include <vector>
#include <zelapi/calendar.h>

namespace zelctl
{

/// How fields are written on the command line, for the help.
extern const char kCalendarFieldHelp[];

/// An entry as it is read, with what it owns.
struct ReceivedCalendarEntry
{
    ReceivedCalendarEntry() = default;
    ReceivedCalendarEntry(const ReceivedCalendarEntry&) = delete;
    ReceivedCalendarEntry& operator=(const ReceivedCalendarEntry&) = delete;
    ~ReceivedCalendarEntry();

    std::span<const CalendarField> Fields() const;

    CalendarEntryRecord record = {};
};

/// The fields as a list of records.
Value DescribeCalendarFields(std::span<const CalendarField> fields);

/// The value of the field with this id; null if there is none.
Value CalendarValueOf(std::span<const CalendarField> fields, std::uint16_t id);

/// Fields that are sent, with their texts.
class CCalendarFieldsToSend
{
  public:
    /// The location, 0 for a new entry, and NAME=VALUE for each further field. Throws CUsageError.
    CCalendarFieldsToSend(std::uint32_t location, std::span<const std::string> words);

    CalendarField* Data() { return m_fields.data(); }
    std::int32_t Count() const { return static_cast<std::int32_t>(m_fields.size()); }
    std::uint32_t Location() const { return m_fields[0].value.number; }

  private:
    void Add(const std::string& word);

    std::vector<CalendarField> m_fields;
    std::vector<BStr> m_texts;
};

}  // namespace zelctl
