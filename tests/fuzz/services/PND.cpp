#include "fuzz/FuzzService.h"
#include "handlers/pnd/PNDHandler.h"
#include "zelapi/pnd.h"

#include <cstring>

namespace
{

bool HoldsText(const PndField& field)
{
    constexpr std::uint8_t kOthers[] = {12, 25, 28, 30, 40, 51, 55, 64, 67, 69, 87};
    return std::memchr(kOthers, field.type, sizeof kOthers) == nullptr;
}

/// An application's fields, with the texts in them.
class CFields
{
  public:
    explicit CFields(CFuzzCase& fuzz) : m_fields(fuzz.Byte() % 8)
    {
        for (PndField& field : m_fields)
        {
            field.attribute = fuzz.Byte();
            field.sub_attribute = fuzz.Byte();
            field.type = fuzz.Byte();
            if (HoldsText(field))
                field.value.text = Text(fuzz);
            else
                field.value.compound = {fuzz.Word(), {fuzz.Byte(), fuzz.Byte(), fuzz.Byte(), fuzz.Byte()}};
            if (field.type == 74)
                for (BSTR& text : field.texts)
                    text = Text(fuzz);
        }
    }

    PndField* Data() { return m_fields.data(); }
    std::uint8_t Count() const { return static_cast<std::uint8_t>(m_fields.size()); }

  private:
    BSTR Text(CFuzzCase& fuzz)
    {
        m_texts.push_back(fuzz.Text());
        return m_texts.back().get();
    }

    std::vector<PndField> m_fields;
    std::vector<CBStrOwner> m_texts;
};

/// Frees what the phone's entry has brought in the place of the application's `fields`.
void Take(const PndEntry& entry, const PndField* fields)
{
    if (entry.fields == fields)
        return;
    for (std::size_t i = 0; i < entry.field_count; ++i)
    {
        if (HoldsText(entry.fields[i]))
            TakeText(entry.fields[i].value.text);
        for (BSTR text : entry.fields[i].texts)
            TakeText(text);
    }
    CoTaskMemFree(entry.fields);
}

void RequestRead(CFuzzCase& fuzz)
{
    CFields fields(fuzz);
    const PndEntry entry = {fuzz.Word(), 0, fields.Count(), fields.Data()};
    PndReadRecord record = {0, fuzz.Byte(), fuzz.Byte(), fuzz.Byte(), fuzz.Byte(), entry};
    fuzz.Request(&record);
    Take(record.entry, fields.Data());
}

void RequestReadStore16(CFuzzCase& fuzz)
{
    PndReadStore16Record record = {0, fuzz.Byte(), fuzz.Word(), {}};
    fuzz.Request(&record);
    Take(record.entry, nullptr);
}

void RequestWrite(CFuzzCase& fuzz)
{
    CFields fields(fuzz);
    PndWriteRecord record = {0, fuzz.Byte(), fuzz.Word(), fields.Count(), fields.Data()};
    fuzz.Request(&record);
    Require(record.fields == fields.Data() && record.field_count <= fields.Count(), "a write keeps the fields");
}

void RequestList(CFuzzCase& fuzz)
{
    PndListRecord record = {0, fuzz.Byte(), 0, nullptr};
    fuzz.Request(&record);
    for (std::size_t i = 0; i < record.count; ++i)
        TakeText(record.items[i].text);
    CoTaskMemFree(record.items);
}

void RequestStore14(CFuzzCase& fuzz)
{
    std::vector<PndStore14Item> items(fuzz.Byte() % 2);
    if (!items.empty())
        items[0] = {0, 0, fuzz.Byte(), fuzz.Word(), 0, 0, fuzz.Byte()};
    PndStore14Record record = {0, fuzz.Byte(), fuzz.Word(), 0, static_cast<std::uint8_t>(items.size()), items.data()};
    fuzz.Request(&record);
    if (record.items == items.data())
        return;
    TakeBlock(record.items, record.count * sizeof *record.items);
}

void Deliver(std::uint32_t, void* record)
{
    const auto& event = *static_cast<const PndEventRecord*>(record);
    Require(event.leading == 0 && event.kind >= ZEL_PND_EVENT_1 && event.kind <= ZEL_PND_EVENT_4, "an event's fields");
    Touch(record, sizeof event);
}

const CFuzzService g_pnd(0x03, NewHandler<CPNDHandler>,
                         {RequestPlain<PndCommandRecord>, RequestPlain<PndCommandRecord>, RequestRead, RequestWrite,
                          RequestRead, RequestWrite, RequestPlain<PndCommand28Record>, RequestPlain<PndCommand15Record>,
                          RequestList, RequestStore14, RequestStore14, RequestReadStore16, RequestWrite,
                          RequestPlain<PndStoreStateRecord>, RequestPlain<PndCommandRecord>},
                         Deliver);

}  // namespace
