#include "commands/CallCommands.h"

#include "shell/Failure.h"
#include "shell/Received.h"

#include <algorithm>
#include <array>
#include <vector>
#include <zelapi/call.h>

namespace zelctl
{
namespace
{

/// What an element holds at most.
constexpr std::size_t kLongestNumber = 123;
constexpr std::size_t kLongestText = 122;
/// With this mode, a status has the number of the call.
constexpr std::uint8_t kStatusMode = 1;

// ---------------------------------------------------------------------------------------------------------------------
// Creating calls

constexpr Option kDialOptions[] = {
    {"--number-parameters", "HEX", "two bytes that go with the number (00 00)"},
    {"--parameters", "HEX", "an element 7 with two bytes (none)"},
    {"--text", "TEXT", "an element 14 with a text (none)"},
    {"--text-parameters", "HEX", "four bytes that go with the text (00 00 00 00)"},
};

/// The elements of a new call. The library may replace a text in them, so they own what is there at the end.
class CNewCall
{
  public:
    CNewCall() = default;
    CNewCall(const CNewCall&) = delete;
    CNewCall& operator=(const CNewCall&) = delete;
    ~CNewCall()
    {
        std::for_each(m_elements.begin(), m_elements.end(), [](CallElement& element) { Free(element); });
    }

    void Add(std::uint16_t id, const std::vector<std::uint8_t>& parameters, BStr text = {})
    {
        CallElement element = {};
        element.id = id;
        std::uint8_t* const targets[] = {&element.p0, &element.p1, &element.p2, &element.p3};
        for (std::size_t i = 0; i < parameters.size(); ++i)
            *targets[i] = parameters[i];
        m_elements.push_back(element);
        m_elements.back().value.text = text.release();
    }

    CallRecord Record() { return {0, 0, static_cast<std::uint8_t>(m_elements.size()), 0, m_elements.data()}; }

  private:
    std::vector<CallElement> m_elements;
};

std::vector<std::uint8_t> Parameters(const CArguments& arguments, std::string_view option, std::uint32_t count)
{
    return arguments.OptionBytes(option, {count, count}).value_or(std::vector<std::uint8_t>(count));
}

void AddNumber(CNewCall& call, const CArguments& arguments)
{
    const std::string& number = arguments.Text(0);
    const std::size_t sign = number.starts_with('+') ? 1 : 0;
    if (number.size() == sign)
        throw CUsageError("NUMBER is empty");
    call.Add(ZEL_CALL_NUMBER, Parameters(arguments, "--number-parameters", 2),
             ToBStrWithin(number, "NUMBER", kLongestNumber + sign));
}

void AddOptions(CNewCall& call, const CArguments& arguments)
{
    if (const auto parameters = arguments.OptionBytes("--parameters", {2, 2}))
        call.Add(ZEL_CALL_PARAMETERS, *parameters);
    if (const auto text = arguments.OptionText("--text"))
        call.Add(ZEL_CALL_TEXT, Parameters(arguments, "--text-parameters", 4),
                 ToBStrWithin(*text, "--text", kLongestText));
    else if (arguments.Has("--text-parameters"))
        throw CUsageError("--text-parameters goes with --text");
}

void Create(CContext& context, std::uint32_t messageId)
{
    const CArguments& arguments = context.arguments;
    CNewCall call;
    if (arguments.Count() > 0)
    {
        AddNumber(call, arguments);
        AddOptions(call, arguments);
    }
    else if (std::any_of(std::begin(kDialOptions), std::end(kDialOptions),
                         [&](const Option& option) { return arguments.Has(option.name); }))
        throw CUsageError("the options go with a NUMBER");
    CallRecord record = call.Record();
    context.Phone().Send("making the call", messageId, record);
    context.output.Show({{"call", record.call_id}});
}

void Dial(CContext& context)
{
    Create(context, ZEL_CALL_CREATE);
}

void DialVariant(CContext& context)
{
    Create(context, ZEL_CALL_CREATE_VARIANT);
}

// ---------------------------------------------------------------------------------------------------------------------
// One call

CallRecord CallOf(const CArguments& arguments, std::size_t index)
{
    return {0, arguments.Byte(index, "CALL"), 0, 0, nullptr};
}

void Run(CContext& context, const char* what, std::uint32_t messageId, CallRecord record)
{
    context.Phone().Send(what, messageId, record);
    context.output.Show({{"call", record.call_id}});
}

void Query(CContext& context)
{
    Run(context, "asking for the call", ZEL_CALL_QUERY, CallOf(context.arguments, 0));
}

void Request9(CContext& context)
{
    Run(context, "request 9", ZEL_CALL_REQUEST_9, CallOf(context.arguments, 0));
}

struct Operation
{
    std::uint32_t number;
    std::uint32_t messageId;
};

constexpr Operation kOperations[] = {
    {1, ZEL_CALL_CONTROL_1}, {2, ZEL_CALL_CONTROL_2}, {3, ZEL_CALL_CONTROL_3},
    {4, ZEL_CALL_CONTROL_4}, {5, ZEL_CALL_CONTROL_5}, {0xA1, ZEL_CALL_CONTROL_A1},
};

void Control(CContext& context)
{
    const CArguments& arguments = context.arguments;
    const std::uint32_t number = arguments.Byte(0, "OPERATION");
    const auto* operation = std::find_if(std::begin(kOperations), std::end(kOperations),
                                         [&](const Operation& known) { return known.number == number; });
    if (operation == std::end(kOperations))
        throw CUsageError("OPERATION: " + arguments.Text(0) + " is none of 1, 2, 3, 4, 5, 0xA1");
    const bool ofOneCall = operation->messageId == ZEL_CALL_CONTROL_5;
    if (ofOneCall != (arguments.Count() == 2))
        throw CUsageError(ofOneCall ? "operation 5 needs a CALL" : "only operation 5 takes a CALL");
    Run(context, "controlling the call", operation->messageId, ofOneCall ? CallOf(arguments, 1) : CallRecord{});
}

// ---------------------------------------------------------------------------------------------------------------------
// The status of calls

std::string NameOf(const CallElement& element)
{
    switch (element.id)
    {
    case 0:
        return "item 7";
    case ZEL_CALL_FIRST_NUMBER:
        return "first number";
    case ZEL_CALL_NUMBER:
        return "number";
    case ZEL_CALL_PARAMETERS:
        return "parameters";
    case ZEL_CALL_CAUSE:
        return "cause";
    case ZEL_CALL_STATE:
        return "state";
    case ZEL_CALL_TEXT:
        return "text";
    default:
        return Hex(element.id, 4);
    }
}

Value Describe(std::span<const CallElement> elements)
{
    Value rows = Value::array();
    for (const CallElement& element : elements)
    {
        const std::array<std::uint8_t, 4> parameters = {element.p0, element.p1, element.p2, element.p3};
        Value row = {{"id", element.id}, {"element", NameOf(element)}, {"parameters", HexBytes(parameters)}};
        if (HoldsText(element))
            row["text"] = FromBStr(element.value.text);
        if (element.id == ZEL_CALL_CAUSE)
            row["cause"] = ZEL_PHONE_STATUS(element.value.cause);
        rows.push_back(std::move(row));
    }
    return rows;
}

void ShowStatus(CContext& context)
{
    CReceived<CallRecord> status(CallOf(context.arguments, 0));
    CallRecord& call = status.record;
    call.count_or_mode = context.arguments.OptionByte("--mode", kStatusMode);
    context.Phone().Send("asking for the status of the call", ZEL_CALL_STATUS_QUERY, call);
    context.output.Show({{"call", call.call_id}, {"elements", Describe({call.elements, call.returned})}});
}

Value DescribeStatus(const void* record)
{
    const auto& call = *static_cast<const CallRecord*>(record);
    return {{"call", call.call_id}, {"elements", Describe({call.elements, call.count_or_mode})}};
}

// ---------------------------------------------------------------------------------------------------------------------
// The module

constexpr Option kStatusOptions[] = {{"--mode", "N", "the mode that is sent (1)"}};

constexpr Command kCommands[] = {
    {"call dial", "NUMBER", "makes a call, and tells its number",
     "A leading \"+\" is sent as the bit 0x10 of the first byte that goes with the number.", kDialOptions, Dial},
    {"call dial-variant", "[NUMBER]", "makes a call in the other way",
     "The first byte of --parameters is sent as 1. Without a NUMBER the phone gets an element 7 with 00 01 only.",
     kDialOptions, DialVariant},
    {"call query", "CALL", "asks for a call",
     "Request 0x07: the call, and 00. The cause that the phone answers is shown as a failure.", kNoOptions, Query},
    {"call status", "CALL", "shows the state of a call", "What the parameters mean is the phone's.", kStatusOptions,
     ShowStatus},
    {"call request-9", "CALL", "sends request 9 for a call",
     "Request 0x09: the call, 01, and a sub-block 0xFF with the byte 03. What it does is the phone's.", kNoOptions,
     Request9},
    {"call control", "OPERATION [CALL]", "lets the phone do an operation with its calls",
     "OPERATION is 1, 2, 3, 4, 5 or 0xA1. Request 0x11: 5 goes with the CALL, 2 with 0x40, the others with 0x80; then\n"
     "01, and a sub-block 9 with the operation and 00. What the operations do is the phone's.",
     kNoOptions, Control},
};

constexpr Indication kIndications[] = {{ZEL_CALL_STATUS, "call status", DescribeStatus, FreeCallStatus}};

}  // namespace

const Module kCallModule = {0x01, kCommands, kIndications, nullptr};

}  // namespace zelctl
