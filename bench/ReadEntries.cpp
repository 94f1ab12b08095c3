// Reads entries one by one from a phone inside the process, to see under a profiler where the time goes (valgrind wants
// -DCMAKE_CXX_FLAGS=-gdwarf-4):
//
//   valgrind --tool=callgrind --toggle-collect=ReadEntries* build/host-bench/bin/read_entries 1000

#include "handlers/base/Blocks.h"
#include "handlers/base/Owners.h"
#include "handlers/pnd/PNDHandler.h"
#include "zelapi/pnd.h"

#include <cstdio>
#include <cstdlib>

namespace
{

constexpr std::uint8_t kResource = 3;
constexpr std::uint8_t kReadReply = 8;
constexpr std::uint8_t kTexts = 8;
constexpr std::uint8_t kNumbers = 2;
constexpr UINT kUnits = 16;

void AppendTextField(CMessage& reply, std::uint8_t type)
{
    CSubBlock field = NewBlock(kByteIdBlock, type);
    field.AppendByte(0x80);
    field.AppendByte((kUnits + 1) * sizeof(OLECHAR));
    for (UINT i = 0; i < kUnits; ++i)
        field.AppendWord(static_cast<std::uint16_t>(u'A' + i));
    field.AppendWord(0);
    field.WriteTo(&reply);
}

void AppendNumberField(CMessage& reply, std::uint8_t type)
{
    CSubBlock field = NewBlock(kByteIdBlock, type);
    field.AppendByte(0x80);
    field.AppendByte(0);
    field.AppendWord(1234);
    field.WriteTo(&reply);
}

/// An entry of texts and numbers, as a phone sends it.
CMessage EntryReply()
{
    CMessage reply;
    reply.SetResource(kResource);
    reply.SetMessageId(kReadReply);
    reply.AppendByte(0);
    reply.AppendByte(1);
    CSubBlock entry = NewBlock(kByteIdBlock, 1);
    entry.AppendWord(0);
    entry.AppendWord(1);
    entry.AppendDword(0);
    entry.AppendWord(0);
    entry.AppendByte(0);
    entry.AppendByte(kTexts + kNumbers);
    entry.WriteTo(&reply);
    for (std::uint8_t i = 0; i < kTexts; ++i)
        AppendTextField(reply, 7);
    for (std::uint8_t i = 0; i < kNumbers; ++i)
        AppendNumberField(reply, 12);
    return reply;
}

/// Answers every request with the same entry.
class CPhone : public CDataSender
{
  public:
    std::uint32_t Send(CMessage& message, std::uint32_t) override
    {
        message = m_reply;
        return ZEL_OK;
    }
    std::uint32_t SendRaw(std::uint32_t, const std::uint8_t*) override { return ZEL_E_FAIL; }
    std::uint32_t GetServiceVersion(std::uint8_t, std::uint8_t& major, std::uint8_t& minor) override
    {
        major = 5;
        minor = 60;
        return ZEL_OK;
    }
    std::uint32_t GetTimeServiceParameters(std::uint16_t&, std::uint16_t&) override { return ZEL_E_FAIL; }

  private:
    const CMessage m_reply = EntryReply();
};

void FreeFields(const PndEntry& entry)
{
    const CTaskMemOwner<PndField> fields(entry.fields);
    for (std::uint8_t i = 0; i < kTexts; ++i)
        SysFreeString(fields.get()[i].value.text);
}

}  // namespace

/// True if every entry had its fields. Not inside a namespace, so that a profiler finds it by name.
bool ReadEntries(CPNDHandler& handler, CDataSender& phone, unsigned long count);

bool ReadEntries(CPNDHandler& handler, CDataSender& phone, unsigned long count)
{
    for (unsigned long i = 0; i < count; ++i)
    {
        PndReadRecord record = {};
        record.kind = 5;
        record.entry.location = static_cast<std::uint16_t>(i);
        if (handler.EncodeRequest(phone, ZEL_PND_READ_ENTRY, &record) != ZEL_OK ||
            record.entry.field_count != kTexts + kNumbers)
            return false;
        FreeFields(record.entry);
    }
    return true;
}

int main(int argc, char** argv)
{
    const unsigned long count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000;
    CPNDHandler handler;
    handler.SetResource(kResource);
    CPhone phone;
    if (!ReadEntries(handler, phone, count))
    {
        std::fputs("an entry could not be read\n", stderr);
        return 1;
    }
    std::printf("%lu entries\n", count);
    return 0;
}
