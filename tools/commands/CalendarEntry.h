#pragma once

#include "shell/Text.h"
#include "shell/Value.h"

#include <span>
#include <string>
#include <vector>
#include <zelapi/calendar.h>

namespace zelctl
{

/// How fields are written on the command line, for the help.
extern const char kCalendarFieldHelp[];

/// The fields of an entry that was read.
std::span<const CalendarField> FieldsOf(const CalendarEntryRecord& entry);

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
