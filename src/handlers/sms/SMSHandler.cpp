#include "handlers/sms/SMSHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/CallersData.h"
#include "handlers/base/RecordArray.h"
#include "handlers/sms/SMSAddresses.h"
#include "handlers/sms/SMSContent.h"
#include "handlers/sms/SMSParameterSet.h"

#include <algorithm>

namespace
{

void List(CConversation& phone, SmsList& record);
void Submit(CConversation& phone, const SmsSubmit& record);
void Read(CConversation& phone, SmsStoredMessage& record);
void Write(CConversation& phone, SmsStoredMessage& record);
void CommandLocation(CConversation& phone, const SmsLocationCommand& record);
void ReadDetails(CConversation& phone, SmsDetails& record);
void ReadAddresses(CConversation& phone, SmsAddresses& record);
void ListTexts(CConversation& phone, SmsTextList& record);
void WriteText(CConversation& phone, const SmsTextToWrite& record);
void Command(CConversation& phone, const SmsCommand& record);

CTaskMemOwner<SmsReceivedMessage> ReadReceived(CMessage& message);
CTaskMemOwner<SmsEvent> ReadEvent(CMessage& message);
void* ReadSignal(CMessage& message);
void FreeReceived(void* record);
void FreeEvent(void* record);
void FreeSignal(void* record);

constexpr Operation kOperations[] = {
    {ZEL_SMS_LIST, Serve<List>},
    {ZEL_SMS_SUBMIT, Serve<Submit>},
    {ZEL_SMS_READ, Serve<Read>},
    {ZEL_SMS_WRITE, Serve<Write>},
    {ZEL_SMS_LOCATION_COMMAND, Serve<CommandLocation>},
    {ZEL_SMS_READ_DETAILS, Serve<ReadDetails>},
    {ZEL_SMS_READ_ADDRESSES, Serve<ReadAddresses>},
    {ZEL_SMS_LIST_TEXTS, Serve<ListTexts>},
    {ZEL_SMS_WRITE_TEXT, Serve<WriteText>},
    {ZEL_SMS_COMMAND, Serve<Command>},
};

constexpr Indication kIndications[] = {
    {4, ZEL_SMS_RECEIVED, Decode<ReadReceived>, FreeReceived},
    {11, ZEL_SMS_EVENT, Decode<ReadEvent>, FreeEvent},
    {27, ZEL_SMS_SIGNAL, ReadSignal, FreeSignal},
};

/// The two resources that serve the requests.
constexpr std::uint8_t kTransport = 2;
constexpr std::uint8_t kStore = 20;

constexpr std::uint8_t kMessageFollows = 1;
/// Id of the sub-block of a text.
constexpr std::uint16_t kText = 1;

// ---------------------------------------------------------------------------------------------------------------------
// Messages

constexpr Exchange kList = {.request = 12, .reply = 13, .answers = {13}, .other = &NotHandled, .resource = kStore};

void List(CConversation& phone, SmsList& record)
{
    CMessage message = phone.Request(kList);
    message.AppendBytes(sizeof record.selector, record.selector);
    message.AppendBytes({0, 0, 0});

    phone.Ask(message, kList);
    phone.RequireStatus(message);
    message.Skip(1);
    CRecordArray<std::uint16_t> values(message.ReadWord());
    for (std::uint16_t& value : values)
        value = message.ReadWord();
    record.count = static_cast<std::uint16_t>(values.Count());
    record.values = values.Release();
}

constexpr Exchange kSubmit = {
    .request = 2, .reply = 3, .answers = {3}, .other = &NotHandled, .timeoutMs = 30000, .resource = kTransport};
constexpr std::uint16_t kSubmittedMessage = 2;
constexpr std::uint16_t kCause = 12;

void Submit(CConversation& phone, const SmsSubmit& record)
{
    if (record.kind != ZEL_SMS_SUBMIT_KIND)
        ThrowCode(ZEL_E_ARGUMENT);
    CMessage message = phone.Request(kSubmit);
    message.AppendBytes(sizeof record.request, record.request);
    message.AppendBytes({0, 1});
    CSubBlock block = NewBlock(kShortBlock, kSubmittedMessage);
    block.AppendBytes(sizeof record.header, record.header);
    block.AppendByte(0);
    CSMSParameterSet::Write(block, record.parameters);
    block.WriteTo(&message);

    phone.Ask(message, kSubmit);
    message.Skip(1);
    CSubBlock answer = NewBlock(kShortBlock);
    if (!ReadFirstBlock(message, answer) || answer.GetId() != kCause)
        return;
    const std::uint16_t cause = answer.ReadWord();
    ThrowCode((cause & 0xFF) == 0 ? ZEL_OK : cause);
}

void AppendSelection(CMessage& message, const SmsStoredMessage& record)
{
    message.AppendBytes({record.second_selector, record.first_selector});
    message.AppendWord(record.location);
    message.AppendByte(record.third_selector);
}

/// Kind 2 goes with a look at the settings of the phone's clock.
void AskClockSettings(const CConversation& phone, std::uint8_t kind)
{
    if (kind == ZEL_SMS_KIND_2)
        phone.AskClockSettings();
}

constexpr Exchange kRead = {.request = 2, .reply = 3, .answers = {3}, .other = &NotHandled, .resource = kStore};

void Read(CConversation& phone, SmsStoredMessage& record)
{
    CMessage message = phone.Request(kRead);
    AppendSelection(message, record);
    message.AppendByte(0);

    phone.Ask(message, kRead);
    phone.RequireStatus(message);
    record.content.value = message.ReadByte();
    message.Skip(7);
    CSubBlock block = NewBlock(kShortBlock);
    if (message.ReadByte() != kMessageFollows || !block.ReadFrom(&message))
        return;
    CSMSContent content(record.content);
    CSMSParameterSet parameters(record.parameters);
    if (!content.Read(block, CSMSContent::kKindCount))
    {
        record.content.kind = 0;
        ThrowCode(ZEL_NOT_SUPPORTED);
    }
    AskClockSettings(phone, content.GetKind());
    parameters.Read(block, CSMSParameterSet::kWithTime);
    content.MoveTo(record.content);
    parameters.MoveTo(record.parameters, record.time);
}

constexpr Exchange kWrite = {.request = 0, .reply = 1, .answers = {1}, .other = &NotHandled, .resource = kStore};

void Write(CConversation& phone, SmsStoredMessage& record)
{
    CMessage message = phone.Request(kWrite);
    AppendSelection(message, record);
    message.AppendByte(kMessageFollows);
    if (record.content.kind < CSMSContent::kKindCount)
    {
        CSubBlock block = NewBlock(kShortBlock, record.content.kind);
        CSMSContent::Write(block, record.content);
        AskClockSettings(phone, record.content.kind);
        CSMSParameterSet::Write(block, record.parameters, record.time);
        block.WriteTo(&message);
    }

    phone.Ask(message, kWrite);
    phone.RequireStatus(message);
    message.Skip(1);
    record.location = message.ReadWord();
}

constexpr Exchange kCommandLocation = {
    .request = 4, .reply = 5, .answers = {5}, .other = &NotHandled, .resource = kStore};

void CommandLocation(CConversation& phone, const SmsLocationCommand& record)
{
    CMessage message = phone.Request(kCommandLocation);
    message.AppendBytes(sizeof record.selector, record.selector);
    message.AppendWord(record.location);
    message.AppendBytes({15, 0});

    phone.Ask(message, kCommandLocation);
    phone.RequireStatus(message);
}

constexpr Exchange kReadDetails = {
    .request = 14, .reply = 15, .answers = {15}, .other = &NotHandled, .resource = kStore};

void ReadDetails(CConversation& phone, SmsDetails& record)
{
    // The version is asked for, but makes no difference yet: the request is the same for all, also for an unknown one.
    phone.GetVersion(kStore);
    CMessage message = phone.Request(kReadDetails);
    message.AppendBytes(sizeof record.selector, record.selector);
    message.AppendWord(record.location);
    message.AppendWord(0);

    phone.Ask(message, kReadDetails);
    phone.RequireStatus(message);
    CSubBlock block = NewBlock(kShortBlock);
    if (!ReadFirstBlock(message, block))
        return;
    SmsDetails read = record;
    CSMSBlock first;
    CSMSBlock second;
    CSMSBlock third;
    for (std::uint8_t& value : read.lead)
        value = block.ReadByte();
    block.Skip(3);
    for (std::uint8_t& value : read.values)
        value = block.ReadByte();
    first.Read(block, ZEL_SMS_DETAIL_LENGTH);
    second.Read(block, ZEL_SMS_DETAIL_LENGTH);
    third.Read(block, ZEL_SMS_BLOCK_LENGTH);
    block.Skip(4);
    read.text_length = block.ReadByte();
    if (read.text_length > 0)
        read.text = block.ReadString(read.text_length);
    // The last four bytes count from the end, whatever stands between them and the text.
    block.SetPosition(block.GetSize() - 4);
    for (std::uint8_t& value : read.trail)
        value = block.ReadByte();
    read.last_value = block.ReadWord();
    first.StoreIn(read.first_block);
    second.StoreIn(read.second_block);
    third.StoreIn(read.third_block);
    record = read;
}

constexpr Exchange kReadAddresses = {
    .request = 20, .reply = 21, .answers = {21}, .other = &NotHandled, .resource = kTransport};
constexpr std::uint16_t kAddressGroup = 11;

void ReadAddresses(CConversation& phone, SmsAddresses& record)
{
    CMessage message = phone.Request(kReadAddresses);
    message.AppendBytes(sizeof record.request, record.request);

    phone.Ask(message, kReadAddresses);
    phone.RequireStatus(message);
    CSMSAddresses addresses(record);
    ForEachBlock(message, message.ReadByte(), kShortBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() == kAddressGroup)
            addresses.ReadGroup(block);
    });
    addresses.MoveTo(record);
}

// ---------------------------------------------------------------------------------------------------------------------
// Texts and commands

constexpr Exchange kListTexts = {.request = 18, .reply = 19, .answers = {19}, .other = &NotHandled, .resource = kStore};

void FreeText(const SmsText& entry)
{
    SysFreeString(entry.text);
}

void ListTexts(CConversation& phone, SmsTextList& record)
{
    CMessage message = phone.Request(kListTexts);
    message.AppendBytes({0, 0});

    phone.Ask(message, kListTexts);
    phone.RequireStatus(message);
    const std::uint8_t count = message.ReadByte();
    CRecordArray<SmsText, FreeText> entries(count);
    ForEachBlock(message, count, kShortBlock, [&](CSubBlock& block, std::uint32_t index) {
        if (block.GetId() != kText)
            return;
        SmsText& entry = entries[index];
        entry.value = block.ReadByte();
        entry.text_length = block.ReadByte();
        entry.text = block.ReadString(entry.text_length);
    });
    record.entries = entries.Release();
    record.count = count;
}

constexpr Exchange kWriteText = {.request = 16, .reply = 17, .answers = {17}, .other = &NotHandled, .resource = kStore};

void WriteText(CConversation& phone, const SmsTextToWrite& record)
{
    const auto limit = phone.GetVersion(kStore) ? ZEL_SMS_TEXT_MAX : ZEL_SMS_TEXT_MAX_UNKNOWN;
    const CTextView text = TextOf(record.text).substr(0, limit);
    CMessage message = phone.Request(kWriteText);
    message.AppendBytes({1, 0});
    CSubBlock block = NewBlock(kShortBlock, kText);
    block.AppendBytes({record.value, static_cast<std::uint8_t>(text.size())});
    AppendText(block, text);
    block.AppendWord(0);
    block.WriteTo(&message);

    phone.Ask(message, kWriteText);
    phone.RequireStatus(message);
}

constexpr Exchange kCommand = {.request = 20, .reply = 21, .answers = {21}, .other = &NotHandled, .resource = kStore};

void Command(CConversation& phone, const SmsCommand& record)
{
    CMessage message = phone.Request(kCommand);
    message.AppendBytes({record.value, 0});

    phone.Ask(message, kCommand);
    phone.RequireStatus(message);
}

// ---------------------------------------------------------------------------------------------------------------------
// Indications

/// Received messages are of the first two kinds only.
constexpr std::uint8_t kReceivedKinds = 2;

CTaskMemOwner<SmsReceivedMessage> ReadReceived(CMessage& message)
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
        ThrowCode(ZEL_OK);
    parameters.Read(block, CSMSParameterSet::kWithoutTime);
    content.MoveTo(received->content);
    parameters.MoveTo(received->parameters);
    return received;
}

void FreeReceived(void* record)
{
    const auto& received = *static_cast<SmsReceivedMessage*>(record);
    const SmsParameterGroup& group = received.parameters;
    const SmsContent& content = received.content;
    for (void* block : {group.first_address, group.second_address, group.user_data, group.extra, content.second_block,
                        content.first_block, received.further})
        if (IsReadable(block))
            CoTaskMemFree(block);
    CoTaskMemFree(record);
}

CTaskMemOwner<SmsEvent> ReadEvent(CMessage& message)
{
    auto event = AllocateRecords<SmsEvent>();
    event->first_value = message.ReadWord();
    event->second_value = message.ReadByte();
    return event;
}

void FreeEvent(void* record)
{
    CoTaskMemFree(record);
}

void* ReadSignal(CMessage&)
{
    return nullptr;
}

void FreeSignal(void*) {}

}  // namespace

CSMSHandler::CSMSHandler() : CContentHandler(kOperations, kIndications) {}
