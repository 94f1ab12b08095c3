#include "handlers/ProvisioningHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/CallersData.h"
#include "handlers/base/RecordArray.h"
#include "zelapi/provisioning.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace
{

void ReadAll(CConversation& phone, void* record);
void WriteAll(CConversation& phone, void* record);
void SetNumber(CConversation& phone, void* record);

constexpr Operation kOperations[] = {
    {ZEL_PROVISIONING_READ_ALL, Serve<ReadAll>},
    {ZEL_PROVISIONING_WRITE_ALL, Serve<WriteAll>},
    {ZEL_PROVISIONING_SET_NUMBER, Serve<SetNumber>},
};

enum SubBlockId : std::uint16_t
{
    kSetBlock = 8,
    kNameBlock = 17,
    kSummaryBlock = 18,
    kAccessBlock = 19,
};

/// What a request asks for or is about.
enum Selector : std::uint16_t
{
    kContent = 0x007F,
    kSetList = 0x0080,
    kSummary = 0x0100,
};

constexpr std::uint8_t kRefusal = 2;

std::uint32_t RefusalResult(CMessage& message)
{
    return message.GetMessageId() == kRefusal ? ZEL_PROVISIONING_REFUSED : ZEL_OK;
}

/// Whether the phone has the service counts before the record does.
void RequireService(const CConversation& phone)
{
    if (!phone.GetVersion())
        ThrowCode(ZEL_PROVISIONING_NO_SERVICE);
}

/// Sends a request; `message` is then at the data of its reply. Leaves where there are none, which is no failure.
void AskForData(const CConversation& phone, CMessage& message, const Exchange& exchange)
{
    constexpr std::uint8_t kDone = 1;

    phone.Ask(message, exchange);
    phone.RequireStatus(message, {kDone});
}

/// Runs one exchange of several. Only its failure ends the operation, not a phone that has nothing to say.
template <typename Step>
void RunStep(Step&& step)
{
    const std::uint32_t result = ResultOf([&] {
        step();
        return ZEL_OK;
    });
    if (result != ZEL_OK)
        ThrowCode(result);
}

// Reading

void FreeAccess(ProvisioningAccess* access)
{
    if (access == nullptr)
        return;
    CoTaskMemFree(access->block_a);
    CoTaskMemFree(access->block_c);
    CoTaskMemFree(access);
}

void FreeName(ProvisioningName* name)
{
    if (name == nullptr)
        return;
    SysFreeString(name->name);
    CoTaskMemFree(name);
}

void FreeSet(const ProvisioningSet& set)
{
    FreeAccess(set.access);
    FreeName(set.name);
    CoTaskMemFree(set.content);
}

void ReadAccess(CSubBlock& block, ProvisioningAccess& access)
{
    access.value_4 = block.ReadWord();
    access.value_6 = block.ReadWord();
    access.length_a = block.ReadByte();
    access.length_b = block.ReadByte();
    access.length_c = block.ReadByte();
    Replace(access.block_a, block.ReadBytes(access.length_a));
    Replace(access.block_c, block.ReadBytes(access.length_c));
}

void ReadName(CSubBlock& block, ProvisioningName& name)
{
    name.name_length = block.ReadByte();
    block.Skip(1);
    name.value_4 = block.ReadByte();
    block.Skip(2);
    Replace(name.name, block.ReadUtf8String(name.name_length));
}

void ReadDetails(CSubBlock& details, std::uint8_t count, ProvisioningSet& set)
{
    set.access = AllocateRecords<ProvisioningAccess>().release();
    set.name = AllocateRecords<ProvisioningName>().release();
    ForEachBlock(details, count, kByteIdBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() == kAccessBlock)
            ReadAccess(block, *set.access);
        else if (block.GetId() == kNameBlock)
            ReadName(block, *set.name);
    });
}

void ReadSet(CSubBlock& block, ProvisioningSet& set)
{
    set.number = block.ReadByte();
    const std::uint8_t firstName = block.ReadByte();
    const std::uint8_t secondName = block.ReadByte();
    block.Skip(1);
    if (block.ReadWord() != 0)
        block.Skip(std::uint32_t{firstName} + secondName);
    // The count of details is the last byte before a multiple of 4.
    block.Skip(3 - block.GetPosition() % 4);
    if (const std::uint8_t count = block.ReadByte(); count != 0)
        ReadDetails(block, count, set);
}

constexpr Exchange kRead = {.request = 80, .reply = 81, .answers = {kRefusal, 81}, .other = &RefusalResult};

/// Asks for what a selector names, and gives the reply, which is at its data.
CMessage AskToRead(const CConversation& phone, std::uint8_t set, Selector what)
{
    CMessage message = phone.Request(kRead);
    message.AppendBytes({set, 0, 0, 1, 0, 0});
    message.AppendWord(what);
    AskForData(phone, message, kRead);
    return message;
}

void ReadContent(const CConversation& phone, ProvisioningSet& set)
{
    constexpr std::uint32_t kHeadSize = 5;

    CMessage message = AskToRead(phone, set.number, kContent);
    if (message.GetSize() <= kHeadSize)
        return;
    message.SetPosition(kHeadSize);
    const std::uint32_t size = message.GetSize() - kHeadSize;
    set.content = message.ReadBytes(size);
    set.content_size = size;
}

void ReadSummary(const CConversation& phone, ProvisioningList& record)
{
    CMessage message = AskToRead(phone, 0, kSummary);
    message.Skip(4);
    ForEachBlock(message, message.ReadByte(), kByteIdBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() != kSummaryBlock)
            return;
        record.value_16 = block.ReadByte();
        record.value_17 = block.ReadByte();
        record.value_18 = block.ReadByte();
    });
}

void ReadAll(CConversation& phone, void* record)
{
    RequireService(phone);
    ProvisioningList& list = CRecordArgument(record);
    CMessage message = AskToRead(phone, 0, kSetList);
    message.Skip(4);
    const std::uint8_t count = message.ReadByte();
    CRecordArray<ProvisioningSet, &FreeSet> sets(count);
    ForEachBlock(message, count, kByteIdBlock, [&](CSubBlock& block, std::uint32_t index) {
        if (block.GetId() == kSetBlock)
            ReadSet(block, sets[index]);
    });
    for (ProvisioningSet& set : sets)
        RunStep([&] { ReadContent(phone, set); });
    RunStep([&] { ReadSummary(phone, list); });
    list.count = count;
    list.sets = sets.Release();
}

// Writing

constexpr Exchange kSetNumber = {.request = 84, .reply = 85, .answers = {kRefusal, 85}, .other = &RefusalResult};

void SendNumber(const CConversation& phone, std::uint8_t number)
{
    CMessage message = phone.Request(kSetNumber);
    message.AppendBytes({number, 0, 0, 0});
    message.AppendWord(kContent);
    AskForData(phone, message, kSetNumber);
}

void SetNumber(CConversation& phone, void* record)
{
    RequireService(phone);
    SendNumber(phone, IsReadable(record) ? static_cast<ProvisioningNumber*>(record)->number : 0);
}

/// A length on the wire is one byte.
constexpr std::size_t kLongestName = 255;

/// The name up to its first zero unit; empty if there is none.
CTextView NameOf(const ProvisioningName* name)
{
    if (!IsReadable(name))
        return {};
    const CTextView text = TextOf(name->name);
    return text.substr(0, text.find(OLECHAR{0}));
}

std::string Utf8(CTextView text)
{
    // More units than this make more bytes than a name may have.
    const auto units = static_cast<int>(std::min(text.size(), kLongestName + 1));
    std::string bytes(3 * static_cast<std::size_t>(units), '\0');
    bytes.resize(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(),
                                                              static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
}

void AppendBlock(CSubBlock& block, const std::uint8_t* bytes, std::uint8_t length)
{
    const auto elements = ElementsOf(bytes, length);
    block.AppendBytes(elements.size(), elements.data());
}

void AppendAccess(CMessage& message, const ProvisioningAccess& access)
{
    CSubBlock block = NewBlock(kByteIdBlock, kAccessBlock);
    block.AppendWord(access.value_4);
    block.AppendWord(access.value_6);
    block.AppendBytes({access.length_a, access.length_b, access.length_c});
    AppendBlock(block, access.block_a, access.length_a);
    AppendBlock(block, access.block_c, access.length_c);
    block.WriteTo(&message);
}

void AppendName(CMessage& message, const ProvisioningName& name)
{
    const std::string text = Utf8(NameOf(&name));
    if (text.size() > kLongestName)
        ThrowCode(ZEL_E_ARGUMENT);
    CSubBlock block = NewBlock(kByteIdBlock, kNameBlock);
    block.AppendBytes({static_cast<std::uint8_t>(text.size()), 0, name.value_4, 0, 0});
    block.AppendBytes(text.size(), text.data());
    block.WriteTo(&message);
}

constexpr Exchange kWriteSet = {.request = 82, .reply = 83, .answers = {kRefusal, 83}, .other = &RefusalResult};

CMessage SetRequest(const CConversation& phone, const ProvisioningSet& set)
{
    const bool hasName = IsReadable(set.name);
    CMessage message = phone.Request(kWriteSet);
    message.AppendBytes({0, 0, 0, 0, 0, static_cast<std::uint8_t>(hasName ? 2 : 1)});
    AppendAccess(message, IsReadable(set.access) ? *set.access : ProvisioningAccess{});
    if (hasName)
        AppendName(message, *set.name);
    return message;
}

bool IsAcceptedPart(std::uint8_t part)
{
    return (part >= 1 && part <= 8) || part == 21;
}

void WriteSet(const CConversation& phone, CMessage& message, bool hasName)
{
    AskForData(phone, message, kWriteSet);
    // The phone answers for the name.
    if (hasName && !IsAcceptedPart(message.ReadByte()))
        ThrowCode(ZEL_E_FAIL);
}

constexpr Exchange kWriteStep = {.request = 86, .reply = 87, .answers = {kRefusal, 87}, .other = &RefusalResult};

/// The steps of a write, by their mode byte.
enum Mode : std::uint8_t
{
    kCountMode = 1,
    kNumberMode = 2,
    kNameMode = 3,
};

void SendCount(const CConversation& phone, std::uint8_t count)
{
    CMessage message = phone.Request(kWriteStep);
    message.AppendBytes({kCountMode, 0, 0, count});
    AskForData(phone, message, kWriteStep);
}

void SendNumberOf(const CConversation& phone, const ProvisioningSet& set)
{
    CMessage message = phone.Request(kWriteStep);
    message.AppendBytes({kNumberMode, 0, set.number, 0});
    AskForData(phone, message, kWriteStep);
}

void SendNameOf(const CConversation& phone, const ProvisioningSet& set)
{
    const CTextView name = NameOf(set.name);
    // The length counts the terminator.
    const auto length = static_cast<std::uint8_t>(name.empty() ? 0 : std::min(name.size() + 1, kLongestName));
    CMessage message = phone.Request(kWriteStep);
    message.AppendBytes({kNameMode, length, set.number, 0});
    if (length != 0)
        message.AppendStringN(name.data(), length - 1, kLongestName, true);
    AskForData(phone, message, kWriteStep);
}

void WriteAll(CConversation& phone, void* record)
{
    RequireService(phone);
    const ProvisioningList& list = CRecordArgument(record);
    // All sets are looked at before the first is sent: a bad one changes nothing in the phone.
    const auto sets = ElementsOf(list.sets, list.count);
    std::vector<CMessage> requests;
    requests.reserve(sets.size());
    for (const ProvisioningSet& set : sets)
        requests.push_back(SetRequest(phone, set));

    RunStep([&] { SendNumber(phone, 0); });
    RunStep([&] { SendCount(phone, list.count); });
    for (std::size_t i = 0; i < sets.size(); ++i)
    {
        RunStep([&] { WriteSet(phone, requests[i], IsReadable(sets[i].name)); });
        RunStep([&] { SendNumberOf(phone, sets[i]); });
        RunStep([&] { SendNameOf(phone, sets[i]); });
    }
}

}  // namespace

CProvisioningHandler::CProvisioningHandler() : CContentHandler(kOperations) {}
