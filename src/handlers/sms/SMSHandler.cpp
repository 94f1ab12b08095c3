#include "handlers/sms/SMSHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/Owners.h"
#include "handlers/sms/SMSContent.h"
#include "handlers/sms/SMSParameterSet.h"

#include <algorithm>
#include <memory>
#include <optional>

/// A request of the phone: the resource that serves it and the message ids of both directions.
struct SMSOperation
{
    std::uint8_t resource;
    std::uint8_t request;
    std::uint8_t reply;
};

namespace
{

constexpr std::uint8_t kTransportResource = 2;
constexpr std::uint8_t kStoreResource = 20;

constexpr SMSOperation kSubmit = {kTransportResource, 2, 3};
constexpr SMSOperation kReadAddresses = {kTransportResource, 20, 21};
constexpr SMSOperation kWrite = {kStoreResource, 0, 1};
constexpr SMSOperation kRead = {kStoreResource, 2, 3};
constexpr SMSOperation kLocationCommand = {kStoreResource, 4, 5};
constexpr SMSOperation kList = {kStoreResource, 12, 13};
constexpr SMSOperation kReadDetails = {kStoreResource, 14, 15};
constexpr SMSOperation kWriteText = {kStoreResource, 16, 17};
constexpr SMSOperation kListTexts = {kStoreResource, 18, 19};
constexpr SMSOperation kCommand = {kStoreResource, 20, 21};

enum IndicationId : std::uint8_t
{
    kReceivedIndication = 4,
    kEventIndication = 11,
    kSignalIndication = 27,
};

enum SubBlockId : std::uint16_t
{
    kText = 1,
    kSubmittedMessage = 2,
    kAddressGroup = 11,
    kCause = 12,
    kAddressBlock = 129,
    kAddress = 130,
};

constexpr std::uint8_t kMessageFollows = 1;
constexpr std::uint32_t kSubmitMs = 30000;
/// Received messages are of the first two kinds only.
constexpr std::uint8_t kReceivedKinds = 2;

using ByteOwner = CTaskMemOwner<std::uint8_t>;

ByteOwner ReadOwned(CMsgBase& message, std::uint32_t count)
{
    return ByteOwner(message.ReadBytes(count));
}

CTaskMemOwner<std::uint16_t> ReadWords(CMsgBase& message, std::uint16_t count)
{
    if (count == 0)
        return nullptr;
    auto words = AllocateRecords<std::uint16_t>(count);
    std::generate_n(words.get(), count, [&] { return message.ReadWord(); });
    return words;
}

// ---------------------------------------------------------------------------------------------------------------------
// Stored messages

void AppendSelection(CMessage& message, const SmsStoredMessage& record)
{
    message.AppendByte(record.second_selector);
    message.AppendByte(record.first_selector);
    message.AppendWord(record.location);
    message.AppendByte(record.third_selector);
}

/// Kind 2 goes with a look at the clock settings, though neither the message nor the record has a place for them.
void AskClockSettings(CDataSender& sender, std::uint8_t kind)
{
    std::uint16_t first = 0;
    std::uint16_t second = 0;
    if (kind == ZEL_SMS_KIND_2)
        sender.GetTimeServiceParameters(first, second);
}

// ---------------------------------------------------------------------------------------------------------------------
// Addresses

/// Address groups that are being read; what they hold is freed unless it is moved into a record.
class CAddressReader
{
  public:
    explicit CAddressReader(const SmsAddresses& before) : m_read(before) {}

    void ReadGroup(CSubBlock& group)
    {
        group.Skip(1);
        m_read.inverted = static_cast<std::uint8_t>(255 - group.ReadByte());
        for (std::uint8_t& value : m_read.values)
            value = group.ReadByte();
        m_read.first_address_length = 0;
        m_read.second_address_length = 0;
        std::uint32_t addresses = 0;
        ForEachBlock(group, group.ReadByte(), kShortBlock, [&](CSubBlock& item, std::uint32_t) {
            if (item.GetId() == kAddressBlock)
                ReadBlock(item);
            else if (item.GetId() == kAddress)
                ReadAddress(item, addresses++);
        });
    }

    void MoveTo(SmsAddresses& record)
    {
        Release(m_first, m_read.first_address);
        Release(m_second, m_read.second_address);
        Release(m_block, m_read.block);
        record = m_read;
    }

  private:
    /// Nothing where the phone sent no such item; then the pointer in the record stays.
    using Bytes = std::optional<ByteOwner>;

    static void Release(Bytes& from, std::uint8_t*& to)
    {
        if (from)
            to = from->release();
    }

    void ReadBlock(CSubBlock& item)
    {
        m_read.block_length = item.ReadByte();
        m_read.block_value = item.ReadByte();
        m_block.emplace(item.ReadBytes(m_read.block_length));
    }

    void ReadAddress(CSubBlock& item, std::uint32_t index)
    {
        if (index == 0)
            ReadFirst(item);
        else if (index == 1)
            ReadSecond(item);
    }

    void ReadFirst(CSubBlock& item)
    {
        m_read.first_address_type = item.ReadByte();
        m_read.first_address_length = item.ReadByte();
        m_first.emplace(item.ReadBytes(m_read.first_address_length));
    }

    /// Takes as many bytes as the first address has, not as many as the item says. The memory also covers the length
    /// that the item says, since the application goes by it.
    void ReadSecond(CSubBlock& item)
    {
        m_read.second_address_type = item.ReadByte();
        m_read.second_address_length = item.ReadByte();
        const std::uint32_t taken = m_read.first_address_length;
        m_second.emplace();
        if (taken == 0)
            return;
        *m_second = AllocateRecords<std::uint8_t>(std::max(taken, m_read.second_address_length));
        std::generate_n(m_second->get(), taken, [&] { return item.ReadByte(); });
    }

    SmsAddresses m_read;
    Bytes m_first;
    Bytes m_second;
    Bytes m_block;
};

// ---------------------------------------------------------------------------------------------------------------------
// Texts

/// Frees a list of texts with what it holds.
struct TextListFree
{
    std::uint8_t count = 0;

    void operator()(SmsText* entries) const
    {
        std::for_each(entries, entries + count, [](SmsText& entry) { SysFreeString(entry.text); });
        CoTaskMemFree(entries);
    }
};
using CTextListOwner = std::unique_ptr<SmsText, TextListFree>;

CTextListOwner ReadTexts(CMessage& message, std::uint8_t count)
{
    if (count == 0)
        return CTextListOwner();
    CTextListOwner entries(AllocateRecords<SmsText>(count).release(), TextListFree{count});
    ForEachBlock(message, count, kShortBlock, [&](CSubBlock& block, std::uint32_t index) {
        if (block.GetId() != kText)
            return;
        SmsText& entry = entries.get()[index];
        entry.value = block.ReadByte();
        entry.text_length = block.ReadByte();
        entry.text = block.ReadString(entry.text_length);
    });
    return entries;
}

std::uint32_t TextLimit(CDataSender& sender)
{
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    return sender.GetServiceVersion(kStoreResource, major, minor) == ZEL_OK ? ZEL_SMS_TEXT_MAX
                                                                            : ZEL_SMS_TEXT_MAX_UNKNOWN;
}

// ---------------------------------------------------------------------------------------------------------------------
// Indications

/// Nothing for a message of an unknown kind.
CTaskMemOwner<SmsReceivedMessage> DecodeReceived(CMessage& message)
{
    auto received = AllocateRecords<SmsReceivedMessage>();
    received->value = message.ReadByte();
    message.Skip(1);
    received->location = message.ReadWord();
    message.Skip(1);
    CSubBlock block = NewBlock(kShortBlock);
    if (message.ReadByte() != kMessageFollows || !block.ReadFrom(&message))
        return received;

    CSMSContent content(received->content);
    CSMSParameterSet parameters(received->parameters);
    if (!content.Read(block, kReceivedKinds))
        return nullptr;
    parameters.Read(block, CSMSParameterSet::kWithoutTime);
    content.MoveTo(received->content);
    parameters.MoveTo(received->parameters);
    return received;
}

CTaskMemOwner<SmsEvent> DecodeEvent(CMessage& message)
{
    auto event = AllocateRecords<SmsEvent>();
    event->first_value = message.ReadWord();
    event->second_value = message.ReadByte();
    return event;
}

void FreeBlock(std::uint8_t*& block)
{
    if (IsReadable(block))
        CoTaskMemFree(block);
    block = nullptr;
}

void FreeReceived(void* record)
{
    if (!IsReadable(record))
        return;
    auto* received = static_cast<SmsReceivedMessage*>(record);
    FreeBlock(received->parameters.first_address);
    FreeBlock(received->parameters.second_address);
    FreeBlock(received->parameters.user_data);
    FreeBlock(received->parameters.extra);
    FreeBlock(received->content.second_block);
    FreeBlock(received->content.first_block);
    FreeBlock(received->further);
    CoTaskMemFree(received);
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Requests

std::uint32_t CSMSHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_SMS_LIST:
            return List(sender, RecordOf<SmsList>(record));
        case ZEL_SMS_SUBMIT:
            return Submit(sender, RecordOf<SmsSubmit>(record));
        case ZEL_SMS_READ:
            return Read(sender, RecordOf<SmsStoredMessage>(record));
        case ZEL_SMS_WRITE:
            return Write(sender, RecordOf<SmsStoredMessage>(record));
        case ZEL_SMS_LOCATION_COMMAND:
            return LocationCommand(sender, RecordOf<SmsLocationCommand>(record));
        case ZEL_SMS_READ_DETAILS:
            return ReadDetails(sender, RecordOf<SmsDetails>(record));
        case ZEL_SMS_READ_ADDRESSES:
            return ReadAddresses(sender, RecordOf<SmsAddresses>(record));
        case ZEL_SMS_LIST_TEXTS:
            return ListTexts(sender, RecordOf<SmsTextList>(record));
        case ZEL_SMS_WRITE_TEXT:
            return WriteText(sender, RecordOf<SmsTextToWrite>(record));
        case ZEL_SMS_COMMAND:
            return Command(sender, RecordOf<SmsCommand>(record));
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

CMessage CSMSHandler::NewRequest(const SMSOperation& operation) const
{
    CMessage message = Request(operation.request, {operation.reply});
    message.SetResource(operation.resource);
    return message;
}

std::uint32_t CSMSHandler::Ask(CDataSender& sender, CMessage& message, const SMSOperation& operation,
                               std::uint32_t timeoutMs)
{
    const std::uint32_t sent = sender.Send(message, timeoutMs);
    if (sent != ZEL_OK)
        return sent;
    return message.GetMessageId() == operation.reply ? ZEL_OK : ZEL_NOT_HANDLED;
}

std::uint32_t CSMSHandler::AskForStatus(CDataSender& sender, CMessage& message, const SMSOperation& operation)
{
    if (const std::uint32_t result = Ask(sender, message, operation); result != ZEL_OK)
        return result;
    const std::uint8_t status = message.ReadByte();
    return status == 0 ? ZEL_OK : static_cast<std::uint32_t>(operation.resource << 8 | status);
}

std::uint32_t CSMSHandler::List(CDataSender& sender, SmsList& record) const
{
    CMessage message = NewRequest(kList);
    message.AppendBytes(sizeof record.selector, record.selector);
    message.AppendByte(0);
    message.AppendByte(0);
    message.AppendByte(0);

    if (const std::uint32_t result = AskForStatus(sender, message, kList); result != ZEL_OK)
        return result;
    message.Skip(1);
    const std::uint16_t count = message.ReadWord();
    record.values = ReadWords(message, count).release();
    record.count = count;
    return ZEL_OK;
}

std::uint32_t CSMSHandler::Submit(CDataSender& sender, const SmsSubmit& record) const
{
    if (record.kind != ZEL_SMS_SUBMIT_KIND)
        return ZEL_E_ARGUMENT;
    CMessage message = NewRequest(kSubmit);
    message.AppendBytes(sizeof record.request, record.request);
    message.AppendByte(0);
    message.AppendByte(1);
    CSubBlock block = NewBlock(kShortBlock, kSubmittedMessage);
    block.AppendBytes(sizeof record.header, record.header);
    block.AppendByte(0);
    CSMSParameterSet::Write(block, record.parameters);
    block.WriteTo(&message);

    if (const std::uint32_t result = Ask(sender, message, kSubmit, kSubmitMs); result != ZEL_OK)
        return result;
    message.Skip(1);
    CSubBlock answer = NewBlock(kShortBlock);
    if (message.ReadByte() == 0 || !answer.ReadFrom(&message) || answer.GetId() != kCause)
        return ZEL_OK;
    const std::uint16_t cause = answer.ReadWord();
    return (cause & 0xFF) == 0 ? ZEL_OK : cause;
}

std::uint32_t CSMSHandler::Read(CDataSender& sender, SmsStoredMessage& record) const
{
    CMessage message = NewRequest(kRead);
    AppendSelection(message, record);
    message.AppendByte(0);

    if (const std::uint32_t result = AskForStatus(sender, message, kRead); result != ZEL_OK)
        return result;
    record.content.value = message.ReadByte();
    message.Skip(7);
    CSubBlock block = NewBlock(kShortBlock);
    if (message.ReadByte() != kMessageFollows || !block.ReadFrom(&message))
        return ZEL_OK;

    CSMSContent content(record.content);
    CSMSParameterSet parameters(record.parameters);
    if (!content.Read(block, CSMSContent::kKindCount))
    {
        record.content.kind = 0;
        return ZEL_NOT_SUPPORTED;
    }
    AskClockSettings(sender, content.GetKind());
    parameters.Read(block, CSMSParameterSet::kWithTime);
    content.MoveTo(record.content);
    parameters.MoveTo(record.parameters, record.time);
    return ZEL_OK;
}

std::uint32_t CSMSHandler::Write(CDataSender& sender, SmsStoredMessage& record) const
{
    CMessage message = NewRequest(kWrite);
    AppendSelection(message, record);
    message.AppendByte(kMessageFollows);
    if (record.content.kind < CSMSContent::kKindCount)
    {
        CSubBlock block = NewBlock(kShortBlock, record.content.kind);
        CSMSContent::Write(block, record.content);
        AskClockSettings(sender, record.content.kind);
        CSMSParameterSet::Write(block, record.parameters, record.time);
        block.WriteTo(&message);
    }

    if (const std::uint32_t result = AskForStatus(sender, message, kWrite); result != ZEL_OK)
        return result;
    message.Skip(1);
    record.location = message.ReadWord();
    return ZEL_OK;
}

std::uint32_t CSMSHandler::LocationCommand(CDataSender& sender, const SmsLocationCommand& record) const
{
    CMessage message = NewRequest(kLocationCommand);
    message.AppendBytes(sizeof record.selector, record.selector);
    message.AppendWord(record.location);
    message.AppendByte(15);
    message.AppendByte(0);
    return AskForStatus(sender, message, kLocationCommand);
}

std::uint32_t CSMSHandler::ReadDetails(CDataSender& sender, SmsDetails& record) const
{
    // The version is asked for, but makes no difference yet: the request is the same for all, also for an unknown one.
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    sender.GetServiceVersion(kStoreResource, major, minor);

    CMessage message = NewRequest(kReadDetails);
    message.AppendBytes(sizeof record.selector, record.selector);
    message.AppendWord(record.location);
    message.AppendWord(0);

    if (const std::uint32_t result = AskForStatus(sender, message, kReadDetails); result != ZEL_OK)
        return result;
    CSubBlock block = NewBlock(kShortBlock);
    if (message.ReadByte() == 0 || !block.ReadFrom(&message))
        return ZEL_OK;
    SmsDetails read = record;
    read.lead[0] = block.ReadByte();
    read.lead[1] = block.ReadByte();
    block.Skip(3);
    for (std::uint8_t& value : read.values)
        value = block.ReadByte();
    ByteOwner first = ReadOwned(block, ZEL_SMS_DETAIL_LENGTH);
    ByteOwner second = ReadOwned(block, ZEL_SMS_DETAIL_LENGTH);
    ByteOwner third = ReadOwned(block, ZEL_SMS_BLOCK_LENGTH);
    block.Skip(4);
    read.text_length = block.ReadByte();
    if (read.text_length > 0)
        read.text = block.ReadString(read.text_length);
    // The last four bytes count from the end, whatever stands between them and the text.
    block.SetPosition(block.GetSize() - 4);
    read.trail[0] = block.ReadByte();
    read.trail[1] = block.ReadByte();
    read.last_value = block.ReadWord();
    read.first_block = first.release();
    read.second_block = second.release();
    read.third_block = third.release();
    record = read;
    return ZEL_OK;
}

std::uint32_t CSMSHandler::ReadAddresses(CDataSender& sender, SmsAddresses& record) const
{
    CMessage message = NewRequest(kReadAddresses);
    message.AppendBytes(sizeof record.request, record.request);

    if (const std::uint32_t result = AskForStatus(sender, message, kReadAddresses); result != ZEL_OK)
        return result;
    CAddressReader addresses(record);
    ForEachBlock(message, message.ReadByte(), kShortBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() == kAddressGroup)
            addresses.ReadGroup(block);
    });
    addresses.MoveTo(record);
    return ZEL_OK;
}

std::uint32_t CSMSHandler::ListTexts(CDataSender& sender, SmsTextList& record) const
{
    CMessage message = NewRequest(kListTexts);
    message.AppendByte(0);
    message.AppendByte(0);

    if (const std::uint32_t result = AskForStatus(sender, message, kListTexts); result != ZEL_OK)
        return result;
    const std::uint8_t count = message.ReadByte();
    record.entries = ReadTexts(message, count).release();
    record.count = count;
    return ZEL_OK;
}

std::uint32_t CSMSHandler::WriteText(CDataSender& sender, const SmsTextToWrite& record) const
{
    const std::uint32_t length = IsReadable(record.text) ? SysStringLen(record.text) : 0;
    const std::uint32_t limit = TextLimit(sender);
    CMessage message = NewRequest(kWriteText);
    message.AppendByte(1);
    message.AppendByte(0);
    CSubBlock block = NewBlock(kShortBlock, kText);
    block.AppendByte(record.value);
    block.AppendByte(static_cast<std::uint8_t>(std::min(length, limit)));
    block.AppendStringN(record.text, static_cast<std::int32_t>(length), static_cast<std::int32_t>(limit), true);
    block.WriteTo(&message);
    return AskForStatus(sender, message, kWriteText);
}

std::uint32_t CSMSHandler::Command(CDataSender& sender, const SmsCommand& record) const
{
    CMessage message = NewRequest(kCommand);
    message.AppendByte(record.value);
    message.AppendByte(0);
    return AskForStatus(sender, message, kCommand);
}

// ---------------------------------------------------------------------------------------------------------------------
// Indications

std::uint32_t CSMSHandler::DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (message.GetMessageId())
        {
        case kReceivedIndication:
            if (auto received = DecodeReceived(message))
            {
                messageId = ZEL_SMS_RECEIVED;
                record = received.release();
            }
            return ZEL_OK;
        case kEventIndication:
            record = DecodeEvent(message).release();
            messageId = ZEL_SMS_EVENT;
            return ZEL_OK;
        case kSignalIndication:
            messageId = ZEL_SMS_SIGNAL;
            record = nullptr;
            return ZEL_OK;
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

std::uint32_t CSMSHandler::FreeDecodedData(std::uint32_t messageId, void* record)
{
    switch (messageId)
    {
    case ZEL_SMS_RECEIVED:
        FreeReceived(record);
        return ZEL_OK;
    case ZEL_SMS_EVENT:
        if (IsReadable(record))
            CoTaskMemFree(record);
        return ZEL_OK;
    case ZEL_SMS_SIGNAL:
        return ZEL_OK;
    default:
        return ZEL_NOT_HANDLED;
    }
}
