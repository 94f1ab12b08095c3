#include "commands/SupplementaryCommands.h"

#include "shell/Failure.h"
#include "shell/Received.h"

#include <algorithm>
#include <iterator>
#include <vector>
#include <zelapi/supplementary.h>

namespace zelctl
{
namespace
{

/// What fits into one request.
constexpr std::size_t kMostUnits = 123;

/// Marks entries that the phone did not send; the record does not tell how many it sent.
constexpr std::uint8_t kNotSent = 0xFF;

/// The record names no length for the data; its block knows.
std::span<const std::uint8_t> DataOf(const SupplementaryDetail& detail)
{
    IMalloc* allocator = nullptr;
    if (detail.data == nullptr || FAILED(CoGetMalloc(1, &allocator)))
        return {};
    const std::size_t size = allocator->GetSize(detail.data);
    allocator->Release();
    return {detail.data, size};
}

Value Describe(std::uint8_t type, const SupplementaryDetail& detail)
{
    return {{"type", type},
            {"value_1", detail.value_1},
            {"value_2", detail.value_2},
            {"value_3", detail.value_3},
            {"value_4", detail.value_4},
            {"text", FromBStr(detail.text)},
            {"data", HexBytes(DataOf(detail))}};
}

void Query(CContext& context)
{
    SupplementaryRequest request = {};
    request.service_code = context.arguments.Byte(0, "CODE");
    request.value = context.arguments.Word(1, "VALUE");
    std::vector<CReceived<SupplementaryDetail>> details(std::size(request.entries));
    for (std::size_t i = 0; i < details.size(); ++i)
        request.entries[i] = {kNotSent, &details[i].record, 0};

    context.Phone().Send("asking for the service", ZEL_SUPPLEMENTARY_QUERY, request);
    const auto last = std::find_if(std::rbegin(request.entries), std::rend(request.entries),
                                   [](const SupplementaryEntry& entry) { return entry.type != kNotSent; });
    Value entries = Value::array();
    std::for_each(std::begin(request.entries), last.base(),
                  [&](const SupplementaryEntry& entry) { entries.push_back(Describe(entry.type, *entry.detail)); });
    context.output.Show(
        {{"service_code", request.service_code}, {"value", request.value}, {"entries", std::move(entries)}});
}

void SendFixed(CContext& context, const char* what, std::uint32_t messageId, SupplementaryRequest& request)
{
    context.Phone().Send(what, messageId, request);
    context.output.Show({{"service_code", request.service_code}, {"answer", "no error"}});
}

void QueryFixed(CContext& context)
{
    SupplementaryRequest request = {};
    request.service_code = context.arguments.Byte(0, "CODE");
    SendFixed(context, "asking for the service", ZEL_SUPPLEMENTARY_QUERY_43, request);
}

void RequestFixed(CContext& context)
{
    SupplementaryRequest request = {};
    request.operation = context.arguments.Byte(0, "OPERATION");
    request.service_code = context.arguments.Byte(1, "CODE");
    SendFixed(context, "sending the operation", ZEL_SUPPLEMENTARY_REQUEST_43, request);
}

BStr TextOf(const CArguments& arguments, std::uint8_t operation)
{
    constexpr std::size_t kTextArgument = 3;
    const bool isGiven = arguments.Count() > kTextArgument;
    if (isGiven != (operation == ZEL_SUPPLEMENTARY_OPERATION_TEXT))
        throw CUsageError("operation 3 takes a text, the others do not");
    return ToBStrWithin(isGiven ? arguments.Text(kTextArgument) : std::string(), "TEXT", kMostUnits);
}

void Request(CContext& context)
{
    SupplementaryListRequest request = {};
    request.operation = context.arguments.Byte(0, "OPERATION");
    request.service_code = context.arguments.Byte(1, "CODE");
    request.value = context.arguments.Word(2, "VALUE");
    const BStr word = TextOf(context.arguments, request.operation);
    const SupplementaryText text = {0, static_cast<std::uint8_t>(SysStringLen(word.get())), word.get()};
    request.list.text = &text;

    context.Phone().Send("sending the operation", ZEL_SUPPLEMENTARY_REQUEST, request);
    // Another message leaves the record as it is.
    if (request.list.text == &text)
        throw CFailure("sending the operation", std::nullopt, {"The phone answered with another message.", ""});
    const CReceived<SupplementaryListRequest> answer(request);
    Value entries = Value::array();
    for (const SupplementaryListEntry& entry : std::span(request.list.entries, request.count))
        entries.push_back(Describe(entry.type, entry.detail));
    context.output.Show({{"operation", request.operation},
                         {"service_code", request.service_code},
                         {"value", request.value},
                         {"entries", std::move(entries)}});
}

Value DescribeIndication(const void* record)
{
    const auto& indication = *static_cast<const SupplementaryIndication*>(record);
    return {{"first", indication.first}, {"second", indication.second}, {"block_id", indication.block_id}};
}

constexpr char kNumbers[] = "What the numbers stand for is the phone's.";

constexpr Command kCommands[] = {
    {"supplementary query", "CODE VALUE", "asks for a supplementary service (operation 5)", kNumbers, kNoOptions,
     Query},
    {"supplementary query-43", "CODE", "sends operation 5 with the fixed value 43",
     "Says whether the phone answers with an error; it tells nothing else.", kNoOptions, QueryFixed},
    {"supplementary request", "OPERATION CODE VALUE [TEXT]", "sends any operation on a supplementary service",
     "Operation 3 takes a text of up to 123 characters. What the numbers stand for is the phone's.", kNoOptions,
     Request},
    {"supplementary request-43", "OPERATION CODE", "sends any operation with the fixed value 43",
     "Says whether the phone answers with an error; it tells nothing else.", kNoOptions, RequestFixed},
};

constexpr Indication kIndications[] = {
    {ZEL_SUPPLEMENTARY_INDICATION, "supplementary service", DescribeIndication, FreeSupplementaryIndication}};

}  // namespace

const Module kSupplementaryModule = {0x06, kCommands, kIndications, nullptr};

}  // namespace zelctl
