#pragma once

#include "shell/Command.h"
#include "shell/Received.h"

#include <span>
#include <string>
#include <vector>
#include <zelapi/pnd.h>

namespace zelctl
{

/// How fields are written on the command line, for the help.
extern const char kPndFieldHelp[];

/// Kind of a read by location where no other is asked for.
inline constexpr std::uint8_t kPndByLocation = 0;

/// The fields of an entry that was read.
std::span<const PndField> FieldsOf(const PndEntry& entry);

/// The fields as a list of records.
Value DescribePndFields(std::span<const PndField> fields);
/// The first text; null if there is none.
Value FirstPndText(std::span<const PndField> fields);

/// Shows an entry that was read.
void ShowPndEntry(const COutput& output, const CReceived<PndEntry>& entry);

/// Sends the fields that begin with the argument `firstField`.
void WritePndFields(CContext& context, std::uint32_t messageId, const char* what, PndWriteRecord& record,
                    std::size_t firstField);

/// Fields that are sent, with their texts.
class CPndFieldsToSend
{
  public:
    /// TYPE[/SUB][@ATTRIBUTE]=VALUE for each field. Throws CUsageError.
    explicit CPndFieldsToSend(std::span<const std::string> words);
    /// One text.
    CPndFieldsToSend(std::uint8_t type, const std::string& text);

    PndField* Data() { return m_fields.data(); }
    std::uint8_t Count() const { return static_cast<std::uint8_t>(m_fields.size()); }

  private:
    void Add(const std::string& word);
    void SetValue(PndField& field, const std::string& value);
    void AddGroupText(std::size_t index, std::uint8_t attribute, const std::string& text);
    BSTR Keep(const std::string& text);

    std::vector<PndField> m_fields;
    std::vector<BStr> m_texts;
};

}  // namespace zelctl
