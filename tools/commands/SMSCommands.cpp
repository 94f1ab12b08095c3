#include "commands/SMSCommands.h"

#include "commands/SMSMessage.h"
#include "shell/DateTime.h"
#include "shell/Failure.h"
#include "shell/Received.h"

#include <algorithm>

namespace zelctl
{
namespace
{

constexpr std::uint8_t kTransportResource = 0x02;
constexpr std::uint8_t kStoreResource = 0x14;
/// No phone sends it; a record that still has it got no message.
constexpr std::uint8_t kNoKind = 0xFF;

/// Bytes of an option that are zeros unless given.
template <std::size_t count>
void ReadBytes(const CArguments& arguments, std::string_view option, std::uint8_t (&bytes)[count])
{
    if (const auto given = arguments.OptionBytes(option, {count, count}))
        std::copy(given->begin(), given->end(), bytes);
}

std::uint16_t Location(const CArguments& arguments)
{
    return arguments.Word(0, "LOCATION");
}

// ---------------------------------------------------------------------------------------------------------------------
// Stored messages

void ReadSelectors(const CArguments& arguments, SmsStoredMessage& record)
{
    std::uint8_t selectors[3] = {};
    ReadBytes(arguments, "--selectors", selectors);
    record.first_selector = selectors[0];
    record.second_selector = selectors[1];
    record.third_selector = selectors[2];
}

void AddTime(Value& fields, const SmsTime* time)
{
    fields["time_utc"] = nullptr;
    fields["utc_offset_minutes"] = nullptr;
    if (time == nullptr)
        return;
    fields["time_utc"] = FormatDateTime({time->year, time->month, time->day, time->hour, time->minute, time->second});
    fields["utc_offset_minutes"] = time->base_offset + time->extra_offset;
}

void List(CContext& context)
{
    CReceived<SmsList> list;
    SmsList& record = list.record;
    ReadBytes(context.arguments, "--selectors", record.selector);
    context.Phone().Send("listing the messages", ZEL_SMS_LIST, record);
    context.output.Show(
        {{"count", record.count}, {"values", std::vector<std::uint16_t>(record.values, record.values + record.count)}});
}

void Show(CContext& context)
{
    CReceived<SmsStoredMessage> message;
    SmsStoredMessage& record = message.record;
    record.location = Location(context.arguments);
    record.content.kind = kNoKind;
    ReadSelectors(context.arguments, record);
    context.Phone().Send("reading the message", ZEL_SMS_READ, record);
    Value fields = {{"location", record.location}, {"value", record.content.value}};
    AddContent(fields, record.content.kind == kNoKind ? nullptr : &record.content);
    AddTime(fields, record.time);
    AddParameters(fields, record.parameters);
    context.output.Show(fields);
}

/// A block of a message of this kind; only messages of `kinds` have it.
std::vector<std::uint8_t> Block(const CArguments& arguments, const char* option, std::uint8_t kind, NumberRange kinds)
{
    if (arguments.Has(option) && (kind < kinds.minimum || kind > kinds.maximum))
        throw CUsageError("kind " + std::to_string(kind) + " takes no " + option);
    constexpr NumberRange kWhole = {ZEL_SMS_BLOCK_LENGTH, ZEL_SMS_BLOCK_LENGTH};
    return arguments.OptionBytes(option, kWhole).value_or(std::vector<std::uint8_t>(ZEL_SMS_BLOCK_LENGTH));
}

SmsTime TimeOf(const DateTime& time)
{
    return {time.year, time.month, time.day, time.hour, time.minute, time.second, 0, 0};
}

void Store(CContext& context)
{
    const CArguments& arguments = context.arguments;
    CMessageParameters parameters(arguments);
    const auto kind = static_cast<std::uint8_t>(arguments.Number(0, "KIND", {ZEL_SMS_KIND_0, ZEL_SMS_KIND_2}));
    auto first = Block(arguments, "--first-block", kind, {ZEL_SMS_KIND_0, ZEL_SMS_KIND_1});
    auto second = Block(arguments, "--second-block", kind, {ZEL_SMS_KIND_1, ZEL_SMS_KIND_1});
    SmsStoredMessage record = {};
    record.location = arguments.OptionWord("--location", 0);
    ReadSelectors(arguments, record);
    record.content.kind = kind;
    if (const auto header = arguments.OptionBytes("--header", {2, 4}))
        SetHeader(record.content, *header);
    record.content.first_block = first.data();
    record.content.second_block = second.data();
    SmsTime time = {};
    if (const auto text = arguments.OptionText("--time"))
    {
        time = TimeOf(ParseDateTime(*text));
        record.time = &time;
    }
    record.parameters = parameters.Group();
    context.Phone().Send("storing the message", ZEL_SMS_WRITE, record);
    context.output.Show({{"location", record.location}});
}

void Delete(CContext& context)
{
    SmsLocationCommand record = {};
    record.location = Location(context.arguments);
    ReadBytes(context.arguments, "--selectors", record.selector);
    context.Phone().Send("deleting the message", ZEL_SMS_LOCATION_COMMAND, record);
    context.output.Show({{"deleted", record.location}});
}

void ShowDetails(CContext& context)
{
    CReceived<SmsDetails> details;
    SmsDetails& record = details.record;
    record.location = Location(context.arguments);
    ReadBytes(context.arguments, "--selectors", record.selector);
    context.Phone().Send("reading the details", ZEL_SMS_READ_DETAILS, record);
    const bool areThere = record.first_block != nullptr;
    Value fields = {{"location", record.location}, {"details", areThere}};
    if (areThere)
        fields.update({{"leading_bytes", HexBytes(record.lead)},
                       {"values", HexBytes(record.values)},
                       {"first_block", BlockText(record.first_block, ZEL_SMS_DETAIL_LENGTH)},
                       {"second_block", BlockText(record.second_block, ZEL_SMS_DETAIL_LENGTH)},
                       {"third_block", BlockText(record.third_block, ZEL_SMS_BLOCK_LENGTH)},
                       {"text", FromBStr(record.text)},
                       {"trailing_bytes", HexBytes(record.trail)},
                       {"last_value", record.last_value}});
    context.output.Show(fields);
}

void RunCommand(CContext& context)
{
    SmsCommand record = {0, context.arguments.Byte(0, "N")};
    context.Phone().Send("the command", ZEL_SMS_COMMAND, record);
    context.output.Show({{"command", record.value}});
}

// ---------------------------------------------------------------------------------------------------------------------
// Sending

/// The two bytes of a cause lie where other results name a service and its status.
void Submit(CConnection& phone, SmsSubmit& record)
try
{
    phone.Send("sending the message", ZEL_SMS_SUBMIT, record);
}
catch (const CFailure& failure)
{
    const std::uint32_t code = failure.Code().value_or(ZEL_OK);
    if (!ZEL_IS_PHONE_STATUS(code))
        throw;
    const std::uint8_t cause[] = {static_cast<std::uint8_t>(code >> 8), static_cast<std::uint8_t>(code)};
    throw CFailure(failure.what(), code,
                   {"The phone did not send it, and names a cause: " + HexBytes(cause) + ".", ""});
}

void Send(CContext& context)
{
    CMessageParameters parameters(context.arguments);
    if (parameters.IsEmpty())
        throw CUsageError("there is nothing to send; give an address, data or extra parameters");
    SmsSubmit record = {};
    record.kind = ZEL_SMS_SUBMIT_KIND;
    ReadBytes(context.arguments, "--request", record.request);
    ReadBytes(context.arguments, "--header", record.header);
    record.parameters = parameters.Group();
    Submit(context.Phone(), record);
    context.output.Show({{"sent", true}});
}

void ShowAddresses(CContext& context)
{
    CReceived<SmsAddresses> addresses;
    SmsAddresses& record = addresses.record;
    ReadBytes(context.arguments, "--request", record.request);
    context.Phone().Send("reading the addresses", ZEL_SMS_READ_ADDRESSES, record);
    context.output.Show({{"inverted", record.inverted},
                         {"values", HexBytes(record.values)},
                         {"first_address_type", Hex(record.first_address_type, 2)},
                         {"first_address", BlockText(record.first_address, record.first_address_length)},
                         {"second_address_type", Hex(record.second_address_type, 2)},
                         {"second_address", BlockText(record.second_address, record.second_address_length)},
                         {"block_value", record.block_value},
                         {"block", BlockText(record.block, record.block_length)}});
}

// ---------------------------------------------------------------------------------------------------------------------
// Texts

void ListTexts(CContext& context)
{
    CReceived<SmsTextList> list;
    context.Phone().Send("listing the texts", ZEL_SMS_LIST_TEXTS, list.record);
    Value rows = Value::array();
    for (const SmsText& entry : std::span(list.record.entries, list.record.count))
        if (entry.text != nullptr)
            rows.push_back({{"value", entry.value}, {"text", FromBStr(entry.text)}});
    context.output.Show(rows);
}

void WriteText(CContext& context)
{
    const std::string& words = context.arguments.Text(1);
    const BStr text = ToBStr(words);
    SmsTextToWrite record = {0, context.arguments.Byte(0, "VALUE"), text.get()};
    if (SysStringLen(text.get()) > ZEL_SMS_TEXT_MAX)
        throw CUsageError("the text is longer than " + std::to_string(ZEL_SMS_TEXT_MAX) + " characters");
    CConnection& phone = context.Phone();
    // The library would cut it.
    if (SysStringLen(text.get()) > ZEL_SMS_TEXT_MAX_UNKNOWN && !phone.VersionOf(kStoreResource))
        throw CFailure("writing the text", std::nullopt,
                       {"This phone takes texts of at most " + std::to_string(ZEL_SMS_TEXT_MAX_UNKNOWN) +
                            " characters: the version of its service is not known.",
                        "Shorten the text."});
    phone.Send("writing the text", ZEL_SMS_WRITE_TEXT, record);
    context.output.Show({{"value", record.value}, {"text", words}});
}

// ---------------------------------------------------------------------------------------------------------------------
// Indications

Value DescribeReceived(const void* record)
{
    const auto& message = *static_cast<const SmsReceivedMessage*>(record);
    Value fields = {{"value", message.value}, {"location", message.location}};
    // Every kind that is received has a first block.
    AddContent(fields, message.content.first_block == nullptr ? nullptr : &message.content);
    AddParameters(fields, message.parameters);
    return fields;
}

Value DescribeEvent(const void* record)
{
    const auto& event = *static_cast<const SmsEvent*>(record);
    return {{"first_value", event.first_value}, {"second_value", event.second_value}};
}

Value DescribeSignal(const void*)
{
    return Value::object();
}

// ---------------------------------------------------------------------------------------------------------------------
// The module

constexpr Option kThreeSelectors[] = {{"--selectors", "HEX", "three bytes (00 00 00)"}};
constexpr Option kTwoSelectors[] = {{"--selectors", "HEX", "two bytes (00 00)"}};
constexpr Option kTwoBytes[] = {{"--request", "HEX", "two bytes (00 00)"}};
constexpr Option kOfStore[] = {
    {"--location", "N", "where to store it (0)"},
    {"--selectors", "HEX", "three bytes (00 00 00)"},
    {"--header", "HEX", "3 bytes for kind 0, 2 for 1, 4 for 2 (zeros)"},
    {"--first-block", "HEX", "7 bytes of kinds 0 and 1 (zeros)"},
    {"--second-block", "HEX", "7 bytes of kind 1 (zeros)"},
    {"--time", "\"YYYY-MM-DD HH:MM:SS\"", "time stamp, in UTC (none)"},
};
constexpr Option kOfSend[] = {
    {"--request", "HEX", "first four bytes of the request (zeros)"},
    {"--header", "HEX", "first four bytes of the message (zeros)"},
};
constexpr auto kStoreOptions = Join(kOfStore, kParameterOptions);
constexpr auto kSendOptions = Join(kOfSend, kParameterOptions);

constexpr Command kCommands[] = {
    {"sms list", "", "lists the numbers of the stored messages",
     "What the selectors choose is the phone's; they are sent in this order.", kThreeSelectors, List},
    {"sms show", "LOCATION", "shows a stored message",
     "\"value\" is the first byte of the phone's answer. The kind says which header bytes and blocks there are; "
     "without a\n"
     "message it is \"-\". Of the selectors, the second one is sent first, and the third one behind the location.",
     kThreeSelectors, Show},
    {"sms store", "KIND", "stores a message of kind 0, 1 or 2, and tells where",
     "Header, blocks and parameters are those of \"sms show\". Location and selectors are sent as there.",
     kStoreOptions, Store},
    {"sms delete", "LOCATION", "deletes a stored message",
     "Request 4 of the store: the selectors, the location, and the bytes 0F 00.", kTwoSelectors, Delete},
    {"sms details", "LOCATION", "shows what the phone keeps beside a stored message", "", kTwoSelectors, ShowDetails},
    {"sms send", "", "sends a message", "It has kind 2. At least one parameter has to be given.", kSendOptions, Send},
    {"sms addresses", "", "shows the addresses that messages are sent with",
     "\"inverted\" is 255 minus the phone's byte.", kTwoBytes, ShowAddresses},
    {"sms texts", "", "lists the phone's texts", "The value stands before each text.", kNoOptions, ListTexts},
    {"sms write-text", "VALUE TEXT", "writes a text",
     "At most 40 characters; 14 when the version of the service is not known.", kNoOptions, WriteText},
    {"sms command", "N", "gives the store a command of one byte", "Request 20 of the store: the byte, and 00.",
     kNoOptions, RunCommand},
};

constexpr Indication kReceived[] = {{ZEL_SMS_RECEIVED, "message received", DescribeReceived, nullptr}};
constexpr Indication kStoreEvents[] = {{ZEL_SMS_EVENT, "store event", DescribeEvent, nullptr},
                                       {ZEL_SMS_SIGNAL, "store signal", DescribeSignal, nullptr}};

}  // namespace

const Module kSMSModule = {kTransportResource, kCommands, kReceived, nullptr};
const Module kSMSStoreModule = {kStoreResource, {}, kStoreEvents, nullptr};

}  // namespace zelctl
