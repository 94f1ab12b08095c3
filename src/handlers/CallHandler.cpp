#include "handlers/CallHandler.h"

#include "handlers/CallElements.h"
#include "handlers/NewCall.h"
#include "handlers/base/Blocks.h"

#include <initializer_list>

namespace
{

void Create(CConversation& phone, CallRecord& record);
void CreateVariant(CConversation& phone, CallRecord& record);
void Query(CConversation& phone, CallRecord& record);
void Request9(CConversation& phone, CallRecord& record);
void QueryStatus(CConversation& phone, CallRecord& record);
template <std::uint8_t Code>
void Control(CConversation& phone, CallRecord& record);
template <std::uint8_t Code, std::uint8_t Calls>
void ControlCalls(CConversation& phone, CallRecord& record);
CTaskMemOwner<CallRecord> ReadStatus(CMessage& message);
void FreeStatus(void* record);

/// Call ids that stand for more than one call.
constexpr std::uint8_t kCalls40 = 0x40;
constexpr std::uint8_t kCalls80 = 0x80;

constexpr Operation kOperations[] = {
    {ZEL_CALL_CREATE, Serve<Create>},
    {ZEL_CALL_QUERY, Serve<Query>},
    {ZEL_CALL_REQUEST_9, Serve<Request9>},
    {ZEL_CALL_STATUS_QUERY, Serve<QueryStatus>},
    {ZEL_CALL_CONTROL_4, Serve<ControlCalls<4, kCalls80>>},
    {ZEL_CALL_CONTROL_5, Serve<Control<5>>},
    {ZEL_CALL_CONTROL_1, Serve<ControlCalls<1, kCalls80>>},
    {ZEL_CALL_CONTROL_2, Serve<ControlCalls<2, kCalls40>>},
    {ZEL_CALL_CONTROL_3, Serve<ControlCalls<3, kCalls80>>},
    {ZEL_CALL_CONTROL_A1, Serve<ControlCalls<0xA1, kCalls80>>},
    {ZEL_CALL_CREATE_VARIANT, Serve<CreateVariant>},
};

constexpr Indication kIndications[] = {
    {0x0F, ZEL_CALL_STATUS, Decode<ReadStatus>, FreeStatus},
};

void AppendBlock(CMessage& message, std::uint16_t id, std::initializer_list<std::uint8_t> payload)
{
    CSubBlock block = NewBlock(kShortBlock, id);
    block.AppendBytes(payload);
    block.WriteTo(&message);
}

/// Reads a run of `count` sub-blocks. Leaves with the last cause in it, `offset` bytes into its sub-block, unless it is
/// 0.
void RequireNoCause(CMessage& reply, std::uint8_t count, std::uint32_t offset = 0)
{
    constexpr std::uint16_t kCauseBlock = 8;
    std::uint32_t result = ZEL_OK;
    ForEachBlock(reply, count, kShortBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() != kCauseBlock)
            return;
        block.Skip(offset);
        result = CauseResult(block.ReadByte());
    });
    if (result != ZEL_OK)
        ThrowCode(result);
}

// New calls

constexpr Exchange kCreate = {.request = 0x01, .reply = 0x02};

void AskForCall(const CConversation& phone, CMessage& message, CallRecord& record)
{
    phone.Ask(message, kCreate);
    record.call_id = message.ReadByte();
    RequireNoCause(message, message.ReadByte());
}

void AskForCall(const CConversation& phone, const CNewCall& call, CallRecord& record)
{
    CMessage message = phone.Request(kCreate);
    message.AppendByte(0);
    call.AppendTo(message);
    // Only now: a call that is refused for one of its elements can be tried again with all of them as they were.
    call.UpdateCallers();
    AskForCall(phone, message, record);
}

void Create(CConversation& phone, CallRecord& record)
{
    AskForCall(phone, CNewCall(record), record);
}

void CreateVariant(CConversation& phone, CallRecord& record)
{
    CNewCall call(record);
    if (call.Find(ZEL_CALL_NUMBER) != nullptr)
    {
        if (CallElement* parameters = call.Find(ZEL_CALL_PARAMETERS))
            parameters->p0 = 1;
        return AskForCall(phone, call, record);
    }
    CMessage message = phone.Request(kCreate);
    message.AppendBytes({0, 1});
    AppendBlock(message, ZEL_CALL_PARAMETERS, {0, 1});
    AskForCall(phone, message, record);
}

// Calls that exist

constexpr Exchange kQuery = {.request = 0x07, .reply = 0x08};

void Query(CConversation& phone, CallRecord& record)
{
    CMessage message = phone.Request(kQuery);
    message.AppendBytes({record.call_id, 0});

    phone.Ask(message, kQuery);
    record.call_id = message.ReadByte();
    CSubBlock passedOver = NewBlock(kShortBlock);
    if (ReadFirstBlock(message, passedOver))
        RequireNoCause(message, message.ReadByte());
}

constexpr Exchange kRequest9 = {.request = 0x09, .reply = 0x0A};

void Request9(CConversation& phone, CallRecord& record)
{
    // The phone wants the id of a sub-block that has none.
    constexpr std::uint16_t kNoId = 0xFF;
    CMessage message = phone.Request(kRequest9);
    message.AppendBytes({record.call_id, 1});
    AppendBlock(message, kNoId, {3});

    phone.Ask(message, kRequest9);
    record.call_id = message.ReadByte();
    RequireNoCause(message, message.ReadByte());
}

constexpr Exchange kQueryStatus = {.request = 0x0D, .reply = 0x0E};

void QueryStatus(CConversation& phone, CallRecord& record)
{
    constexpr std::uint16_t kModeBlock = 28;
    const std::uint8_t mode = record.count_or_mode;
    CMessage message = phone.Request(kQueryStatus);
    message.AppendBytes({record.call_id, 1});
    AppendBlock(message, kModeBlock, {mode, 0});

    phone.Ask(message, kQueryStatus);
    if (message.ReadByte() == 0)
        return;
    const std::uint8_t count = message.ReadByte();
    // In these modes one sub-block may stand for two elements.
    const std::size_t extra = count != 0 && (mode == 1 || mode == 2) ? 1 : 0;
    CCallElements elements(count + extra);
    std::uint8_t callId = record.call_id;
    ForEachBlock(message, count, kShortBlock,
                 [&](CSubBlock& block, std::uint32_t) { elements.ReadStatusBlock(block, callId); });
    record.call_id = callId;
    record.returned = elements.Count();
    record.elements = elements.Release();
}

constexpr Exchange kControl = {.request = 0x11, .reply = 0x12};

template <std::uint8_t Code>
void Control(CConversation& phone, CallRecord& record)
{
    constexpr std::uint16_t kControlBlock = 9;
    CMessage message = phone.Request(kControl);
    message.AppendBytes({record.call_id, 1});
    AppendBlock(message, kControlBlock, {Code, 0});

    phone.Ask(message, kControl);
    record.call_id = message.ReadByte();
    const std::uint8_t count = message.ReadByte();
    message.Skip(4);
    RequireNoCause(message, count, 1);
}

template <std::uint8_t Code, std::uint8_t Calls>
void ControlCalls(CConversation& phone, CallRecord& record)
{
    record.call_id = Calls;
    Control<Code>(phone, record);
}

// The status indication

CTaskMemOwner<CallRecord> ReadStatus(CMessage& message)
{
    constexpr std::uint8_t kCallIdBits = 0x07;
    auto call = AllocateRecords<CallRecord>();
    call->call_id = message.ReadByte() & kCallIdBits;
    const std::uint8_t count = message.ReadByte();
    CCallElements elements(count);
    for (std::uint8_t i = 0; i < count; ++i)
        elements.ReadItem(message);
    call->count_or_mode = elements.Count();
    call->elements = elements.Release();
    return call;
}

void FreeStatus(void* record)
{
    // The texts stay with the application, which may have kept them.
    const CTaskMemOwner<CallRecord> call(static_cast<CallRecord*>(record));
    if (IsReadable(call->elements))
        CoTaskMemFree(call->elements);
}

}  // namespace

CCallHandler::CCallHandler() : CContentHandler(kOperations, kIndications) {}
