#pragma once

#include "Text.h"
#include "Value.h"

#include <span>
#include <string>
#include <vector>
#include <zelapi/pnd.h>

namespace zelctl
{

/// How fields are written on the command line, for the help.
extern const char kPndFieldHelp[];

/// The fields of an entry that the phone has sent; freed at the end.
class CPndReceivedFields
{
  public:
    explicit CPndReceivedFields(const PndEntry& entry) : m_fields(entry.fields), m_count(entry.field_count) {}
    ~CPndReceivedFields();
    CPndReceivedFields(const CPndReceivedFields&) = delete;
    CPndReceivedFields& operator=(const CPndReceivedFields&) = delete;

    std::span<const PndField> Fields() const { return {m_fields, m_fields == nullptr ? 0u : m_count}; }

    /// The fields as a list of records.
    Value Describe() const;
    /// The first text; null if there is none.
    Value FirstText() const;

  private:
    PndField* m_fields;
    std::size_t m_count;
};

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
    void AddGroupText(std::size_t index, std::uint8_t attribute, const std::string& text);
    BSTR Keep(const std::string& text);

    std::vector<PndField> m_fields;
    std::vector<BStr> m_texts;
};

}  // namespace zelctl
