#include "Modules.h"
#include "TaskMem.h"
#include "Text.h"

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

/// One entry of an answer, with what it owns.
struct Entry
{
    Entry(std::uint8_t entryType, const SupplementaryDetail& detail)
        : type(entryType), values(detail), text(detail.text), data(detail.data)
    {
    }

    std::uint8_t type;
    SupplementaryDetail values;
    BStr text;
    TaskMem<std::uint8_t> data;
};

using Entries = std::vector<Entry>;

/// The record names no length for the data; its block knows.
std::span<const std::uint8_t> BytesOf(const TaskMem<std::uint8_t>& block)
{
    IMalloc* allocator = nullptr;
    if (block == nullptr || FAILED(CoGetMalloc(1, &allocator)))
        return {};
    const std::size_t size = allocator->GetSize(block.get());
    allocator->Release();
    return {block.get(), size};
}

Value Describe(const Entries& entries)
{
    Value rows = Value::array();
    for (const Entry& entry : entries)
        rows.push_back({{"type", entry.type},
                        {"value_1", entry.values.value_1},
                        {"value_2", entry.values.value_2},
                        {"value_3", entry.values.value_3},
                        {"value_4", entry.values.value_4},
                        {"text", FromBStr(entry.text.get())},
                        {"data", HexBytes(BytesOf(entry.data))}});
    return rows;
}

void Query(CContext& context)
{
    SupplementaryRequest request = {};
    request.service_code = context.arguments.Byte(0, "CODE");
    request.value = context.arguments.Word(1, "VALUE");
    std::vector<SupplementaryDetail> details(std::size(request.entries));
    for (std::size_t i = 0; i < details.size(); ++i)
        request.entries[i] = {kNotSent, &details[i], 0};
    Entries entries;
    entries.reserve(details.size());

    context.Phone().Send("asking for the service", ZEL_SUPPLEMENTARY_QUERY, request);
    for (const SupplementaryEntry& entry : request.entries)
        entries.emplace_back(entry.type, *entry.detail);
    const auto last =
        std::find_if(entries.rbegin(), entries.rend(), [](const Entry& entry) { return entry.type != kNotSent; });
    entries.erase(last.base(), entries.end());
    context.output.Show(
        {{"service_code", request.service_code}, {"value", request.value}, {"entries", Describe(entries)}});
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

/// REQUIRES: there is room in `entries`, so that nothing fails before everything is owned.
void TakeEntries(const SupplementaryListRequest& request, Entries& entries)
{
    const TaskMem<SupplementaryListEntry> array(request.list.entries);
    for (std::uint8_t i = 0; i < request.count; ++i)
        entries.emplace_back(array.get()[i].type, array.get()[i].detail);
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
    Entries entries;
    entries.reserve(ZEL_SUPPLEMENTARY_ENTRIES);

    context.Phone().Send("sending the operation", ZEL_SUPPLEMENTARY_REQUEST, request);
    // Another message leaves the record as it is.
    if (request.list.text == &text)
        throw CFailure("sending the operation", std::nullopt, {"The phone gave no answer to it.", ""});
    TakeEntries(request, entries);
    context.output.Show({{"operation", request.operation},
                         {"service_code", request.service_code},
                         {"value", request.value},
                         {"entries", Describe(entries)}});
}

Value DescribeIndication(const void* record)
{
    const auto& indication = *static_cast<const SupplementaryIndication*>(record);
    return {{"first", indication.first}, {"second", indication.second}, {"block_id", indication.block_id}};
}

constexpr char kNumbers[] = "What the numbers stand for is the phone's.";

constexpr Command kCommands[] = {
    {"supplementary query", "CODE VALUE", 2, 2, "asks for a supplementary service (operation 5)", kNumbers, {}, Query},
    {"supplementary query-43",
     "CODE",
     1,
     1,
     "sends operation 5 with the fixed value 43",
     "Says whether the phone answers with an error; it tells nothing else.",
     {},
     QueryFixed},
    {"supplementary request",
     "OPERATION CODE VALUE [TEXT]",
     3,
     4,
     "sends any operation on a supplementary service",
     "Operation 3 takes a text of up to 123 characters. What the numbers stand for is the phone's.",
     {},
     Request},
    {"supplementary request-43",
     "OPERATION CODE",
     2,
     2,
     "sends any operation with the fixed value 43",
     "Says whether the phone answers with an error; it tells nothing else.",
     {},
     RequestFixed},
};

constexpr Indication kIndications[] = {
    {ZEL_SUPPLEMENTARY_INDICATION, "supplementary service", DescribeIndication, ReleaseBlock}};

}  // namespace

const Module kSupplementaryModule = {0x06, kCommands, kIndications, nullptr};

}  // namespace zelctl
