#include "handlers/ProvisioningHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/RecordArray.h"

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

enum MessageId : std::uint8_t
{
    kRefusal = 2,
    kReadRequest = 80,
    kReadReply = 81,
    kWriteRequest = 82,
    kWriteReply = 83,
    kNumberRequest = 84,
    kNumberReply = 85,
    kStepRequest = 86,
    kStepReply = 87,
};

/// What a read asks for.
enum ReadSelector : std::uint16_t
{
    kContent = 0x007F,
    kSetList = 0x0080,
    kSummary = 0x0100,
};

/// The steps of a write, by their mode byte.
enum Step : std::uint8_t
{
    kCountStep = 1,
    kNumberStep = 2,
    kNameStep = 3,
};

enum SubBlockId : std::uint16_t
{
    kSetBlock = 8,
    kNameBlock = 17,
    kSummaryBlock = 18,
    kAccessBlock = 19,
};

constexpr std::uint8_t kDone = 1;
/// Bytes of a content reply before the content, the status included.
constexpr std::uint32_t kContentHead = 5;
/// A length on the wire is one byte.
constexpr std::size_t kLongestName = 255;

bool IsAcceptedPart(std::uint8_t part)
{
    return (part >= 1 && part <= 8) || part == 21;
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

using CSetArray = CRecordArray<ProvisioningSet, &FreeSet>;

void ReadBlock(CMsgBase& source, std::uint8_t length, std::uint8_t*& block)
{
    CTaskMemOwner<std::uint8_t> bytes(source.ReadBytes(length));
    CoTaskMemFree(block);
    block = bytes.release();
}

void ReadAccess(CSubBlock& block, ProvisioningAccess& access)
{
    access.value_4 = block.ReadWord();
    access.value_6 = block.ReadWord();
    access.length_a = block.ReadByte();
    access.length_b = block.ReadByte();
    access.length_c = block.ReadByte();
    ReadBlock(block, access.length_a, access.block_a);
    ReadBlock(block, access.length_c, access.block_c);
}

void ReadName(CSubBlock& block, ProvisioningName& name)
{
    name.name_length = block.ReadByte();
    block.Skip(1);
    name.value_4 = block.ReadByte();
    block.Skip(2);
    CBStrOwner text(block.ReadUtf8String(name.name_length));
    SysFreeString(name.name);
    name.name = text.release();
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

// Writing

std::span<const ProvisioningSet> SetsOf(const ProvisioningList& record)
{
    if (record.count == 0)
        return {};
    if (!IsReadable(record.sets))
        ThrowCode(ZEL_E_ARGUMENT);
    return {record.sets, record.count};
}

/// The name up to its first zero unit; empty if there is none.
std::basic_string_view<OLECHAR> NameOf(const ProvisioningName& name)
{
    if (!IsReadable(name.name))
        return {};
    const OLECHAR* end = std::find(name.name, name.name + SysStringLen(name.name), OLECHAR{0});
    return {name.name, static_cast<std::size_t>(end - name.name)};
}

std::string Utf8(std::basic_string_view<OLECHAR> text)
{
    // More units than this make more bytes than a name may have.
    const auto units = static_cast<int>(std::min(text.size(), kLongestName + 1));
    std::string bytes(3 * static_cast<std::size_t>(units), '\0');
    bytes.resize(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(),
                                                              static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
}

void AppendBlock(CSubBlock& block, std::uint8_t length, const std::uint8_t* bytes)
{
    if (length == 0)
        return;
    if (!IsReadable(bytes))
        ThrowCode(ZEL_E_ARGUMENT);
    block.AppendBytes(length, bytes);
}

void AppendAccess(CMessage& message, const ProvisioningAccess& access)
{
    CSubBlock block = NewBlock(kByteIdBlock, kAccessBlock);
    block.AppendWord(access.value_4);
    block.AppendWord(access.value_6);
    block.AppendByte(access.length_a);
    block.AppendByte(access.length_b);
    block.AppendByte(access.length_c);
    AppendBlock(block, access.length_a, access.block_a);
    AppendBlock(block, access.length_c, access.block_c);
    block.WriteTo(&message);
}

void AppendName(CMessage& message, const ProvisioningName& name)
{
    const std::string text = Utf8(NameOf(name));
    if (text.size() > kLongestName)
        ThrowCode(ZEL_E_ARGUMENT);
    CSubBlock block = NewBlock(kByteIdBlock, kNameBlock);
    block.AppendByte(static_cast<std::uint8_t>(text.size()));
    block.AppendByte(0);
    block.AppendByte(name.value_4);
    block.AppendWord(0);
    block.AppendBytes(text.size(), text.data());
    block.WriteTo(&message);
}

}  // namespace

std::uint32_t CProvisioningHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        if (messageId < ZEL_PROVISIONING_READ_ALL || messageId > ZEL_PROVISIONING_SET_NUMBER)
            return ZEL_NOT_HANDLED;
        // The phone must have the service before the record is looked at.
        std::uint8_t major = 0;
        std::uint8_t minor = 0;
        if (sender.GetServiceVersion(GetResource(), major, minor) != ZEL_OK)
            return ZEL_PROVISIONING_NO_SERVICE;
        switch (messageId)
        {
        case ZEL_PROVISIONING_READ_ALL:
            return ReadAll(sender, RecordOf<ProvisioningList>(record));
        case ZEL_PROVISIONING_WRITE_ALL:
            return WriteAll(sender, RecordOf<ProvisioningList>(record));
        default:
            return SetNumber(sender, IsReadable(record) ? static_cast<ProvisioningNumber*>(record)->number : 0);
        }
    });
}

// Exchanges

CMessage CProvisioningHandler::RequestOf(std::uint8_t id) const
{
    return Request(id, {kRefusal, static_cast<std::uint8_t>(id + 1)});
}

bool CProvisioningHandler::BringsData(CDataSender& sender, CMessage& message, std::uint32_t& result) const
{
    const auto replyId = static_cast<std::uint8_t>(message.GetMessageId() + 1);
    if (!Exchange(sender, message, replyId, result))
    {
        if (result == ZEL_OK && message.GetMessageId() == kRefusal)
            result = ZEL_PROVISIONING_REFUSED;
        return false;
    }
    const std::uint8_t status = message.ReadByte();
    if (status == kDone)
        return true;
    result = StatusResult(status);
    return false;
}

std::uint32_t CProvisioningHandler::Command(CDataSender& sender, CMessage message) const
{
    std::uint32_t result = ZEL_OK;
    BringsData(sender, message, result);
    return result;
}

// Reading

CMessage CProvisioningHandler::ReadRequest(std::uint8_t set, std::uint16_t what) const
{
    CMessage message = RequestOf(kReadRequest);
    message.AppendByte(set);
    message.AppendByte(0);
    message.AppendByte(0);
    message.AppendByte(1);
    message.AppendByte(0);
    message.AppendByte(0);
    message.AppendWord(what);
    return message;
}

std::uint32_t CProvisioningHandler::ReadAll(CDataSender& sender, ProvisioningList& record) const
{
    CMessage message = ReadRequest(0, kSetList);
    std::uint32_t result = ZEL_OK;
    if (!BringsData(sender, message, result))
        return result;
    message.Skip(4);
    const std::uint8_t count = message.ReadByte();
    CSetArray sets(count);
    ForEachBlock(message, count, kByteIdBlock, [&](CSubBlock& block, std::uint32_t index) {
        if (block.GetId() == kSetBlock)
            ReadSet(block, sets[index]);
    });
    for (std::uint8_t i = 0; i < count; ++i)
        if (result = ReadContent(sender, sets[i]); result != ZEL_OK)
            return result;
    if (result = ReadSummary(sender, record); result != ZEL_OK)
        return result;
    record.count = count;
    record.sets = sets.Release();
    return ZEL_OK;
}

std::uint32_t CProvisioningHandler::ReadContent(CDataSender& sender, ProvisioningSet& set) const
{
    CMessage message = ReadRequest(set.number, kContent);
    std::uint32_t result = ZEL_OK;
    if (!BringsData(sender, message, result) || message.GetSize() <= kContentHead)
        return result;
    message.SetPosition(kContentHead);
    const std::uint32_t size = message.GetSize() - kContentHead;
    set.content = message.ReadBytes(size);
    set.content_size = size;
    return ZEL_OK;
}

std::uint32_t CProvisioningHandler::ReadSummary(CDataSender& sender, ProvisioningList& record) const
{
    CMessage message = ReadRequest(0, kSummary);
    std::uint32_t result = ZEL_OK;
    if (!BringsData(sender, message, result))
        return result;
    message.Skip(4);
    ForEachBlock(message, message.ReadByte(), kByteIdBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() != kSummaryBlock)
            return;
        record.value_16 = block.ReadByte();
        record.value_17 = block.ReadByte();
        record.value_18 = block.ReadByte();
    });
    return ZEL_OK;
}

// Writing

std::uint32_t CProvisioningHandler::WriteAll(CDataSender& sender, const ProvisioningList& record) const
{
    // All sets are looked at before the first is sent: a bad one changes nothing in the phone.
    const std::span<const ProvisioningSet> sets = SetsOf(record);
    std::vector<CMessage> requests;
    requests.reserve(sets.size());
    for (const ProvisioningSet& set : sets)
        requests.push_back(SetRequest(set));

    std::uint32_t result = SetNumber(sender, 0);
    if (result == ZEL_OK)
        result = Command(sender, CountRequest(record.count));
    for (std::size_t i = 0; result == ZEL_OK && i < sets.size(); ++i)
    {
        result = WriteSet(sender, requests[i], IsReadable(sets[i].name));
        if (result == ZEL_OK)
            result = Command(sender, NumberRequest(sets[i]));
        if (result == ZEL_OK)
            result = Command(sender, NameRequest(sets[i]));
    }
    return result;
}

CMessage CProvisioningHandler::SetRequest(const ProvisioningSet& set) const
{
    const bool hasName = IsReadable(set.name);
    CMessage message = RequestOf(kWriteRequest);
    message.AppendByte(0);
    message.AppendByte(0);
    message.AppendByte(0);
    message.AppendWord(0);
    message.AppendByte(hasName ? 2 : 1);
    AppendAccess(message, IsReadable(set.access) ? *set.access : ProvisioningAccess{});
    if (hasName)
        AppendName(message, *set.name);
    return message;
}

std::uint32_t CProvisioningHandler::WriteSet(CDataSender& sender, CMessage& message, bool hasName) const
{
    std::uint32_t result = ZEL_OK;
    if (!BringsData(sender, message, result) || !hasName)
        return result;
    // The phone answers for the name.
    return IsAcceptedPart(message.ReadByte()) ? ZEL_OK : ZEL_E_FAIL;
}

CMessage CProvisioningHandler::CountRequest(std::uint8_t count) const
{
    CMessage message = RequestOf(kStepRequest);
    message.AppendByte(kCountStep);
    message.AppendByte(0);
    message.AppendByte(0);
    message.AppendByte(count);
    return message;
}

CMessage CProvisioningHandler::NumberRequest(const ProvisioningSet& set) const
{
    CMessage message = RequestOf(kStepRequest);
    message.AppendByte(kNumberStep);
    message.AppendByte(0);
    message.AppendByte(set.number);
    message.AppendByte(0);
    return message;
}

CMessage CProvisioningHandler::NameRequest(const ProvisioningSet& set) const
{
    const auto name = IsReadable(set.name) ? NameOf(*set.name) : std::basic_string_view<OLECHAR>();
    // The length counts the terminator.
    const auto length = static_cast<std::uint8_t>(name.empty() ? 0 : std::min(name.size() + 1, kLongestName));
    CMessage message = RequestOf(kStepRequest);
    message.AppendByte(kNameStep);
    message.AppendByte(length);
    message.AppendByte(set.number);
    message.AppendByte(0);
    if (length != 0)
        message.AppendStringN(name.data(), length - 1, kLongestName, true);
    return message;
}

std::uint32_t CProvisioningHandler::SetNumber(CDataSender& sender, std::uint8_t number) const
{
    CMessage message = RequestOf(kNumberRequest);
    message.AppendByte(number);
    message.AppendByte(0);
    message.AppendByte(0);
    message.AppendByte(0);
    message.AppendWord(kContent);
    return Command(sender, std::move(message));
}
