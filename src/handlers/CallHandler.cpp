#include "handlers/CallHandler.h"

#include "handlers/base/Blocks.h"
#include "handlers/base/Owners.h"

#include <algorithm>
#include <span>

namespace
{

enum MessageId : std::uint8_t
{
    kCreateRequest = 0x01,
    kCreateReply = 0x02,
    kQueryRequest = 0x07,
    kQueryReply = 0x08,
    kRequest9 = 0x09,
    kReply9 = 0x0A,
    kStatusRequest = 0x0D,
    kStatusReply = 0x0E,
    kStatusIndication = 0x0F,
    kControlRequest = 0x11,
    kControlReply = 0x12,
};

enum SubBlockId : std::uint16_t
{
    kParametersBlock = 7,
    kCauseBlock = 8,
    kControlBlock = 9,
    kStateBlock = 11,
    kTextBlock = 14,
    kModeBlock = 28,
    kParametersAndNumberBlock = 29,
};

enum ItemType : std::uint8_t
{
    kFirstNumberItem = 1,
    kNumberItem = 3,
    kParametersItem = 7,
    kCauseItem = 8,
    kParameter2Item = 10,
    kTextItem = 14,
};

enum Operation : std::uint8_t
{
    kOperation1 = 1,
    kOperation2 = 2,
    kOperation3 = 3,
    kOperation4 = 4,
    kOperation5 = 5,
    kOperationA1 = 0xA1,
};

/// Call ids that stand for more than one call.
constexpr std::uint8_t kCall40 = 0x40;
constexpr std::uint8_t kCall80 = 0x80;
/// What an indication keeps of its first byte.
constexpr std::uint8_t kCallIdBits = 0x07;

constexpr std::uint8_t kFixedParameter = 3;
/// A sub-block names its length in one byte and is a multiple of 4 bytes long.
constexpr std::uint32_t kLongestPayload = 252 - 2;
/// An item's length counts its type and itself.
constexpr std::uint8_t kItemHeader = 2;
constexpr std::size_t kMostElements = 255;

std::uint32_t CauseResult(std::uint8_t cause)
{
    return cause == 0 ? ZEL_OK : 0x100u | cause;
}

CallElement Element(std::uint16_t id)
{
    CallElement element = {};
    element.id = id;
    return element;
}

bool HoldsText(const CallElement& element)
{
    return element.id == ZEL_CALL_FIRST_NUMBER || element.id == ZEL_CALL_NUMBER || element.id == ZEL_CALL_TEXT;
}

/// Received elements and their texts, owned until the array is complete.
class CElementArray
{
  public:
    /// Room for `capacity` elements; no array at all for 0. Throws CAtlException (E_OUTOFMEMORY).
    explicit CElementArray(std::size_t capacity) : m_capacity(std::min(capacity, kMostElements))
    {
        if (capacity != 0)
            m_elements = AllocateRecords<CallElement>(capacity);
    }
    CElementArray(const CElementArray&) = delete;
    CElementArray& operator=(const CElementArray&) = delete;
    ~CElementArray()
    {
        for (std::size_t i = 0; m_elements && i < m_count; ++i)
            FreeText(m_elements.get()[i]);
    }

    /// Takes an element with its text; one that has no room is dropped.
    void Add(const CallElement& element)
    {
        if (m_count < m_capacity)
            m_elements.get()[m_count++] = element;
        else
            FreeText(element);
    }

    std::uint8_t Count() const { return static_cast<std::uint8_t>(m_count); }
    CallElement* Release() { return m_elements.release(); }

  private:
    static void FreeText(const CallElement& element)
    {
        if (HoldsText(element))
            SysFreeString(element.value.text);
    }

    CTaskMemOwner<CallElement> m_elements;
    std::size_t m_capacity;
    std::size_t m_count = 0;
};

BSTR ReadCountedText(CMsgBase& source)
{
    const std::uint8_t length = source.ReadByte();
    return source.ReadString(length);
}

// Elements of a new call

std::span<CallElement> ElementsOf(const CallRecord& record)
{
    if (record.count_or_mode == 0)
        return {};
    if (!IsReadable(record.elements))
        ThrowCode(ZEL_E_ARGUMENT);
    return {record.elements, record.count_or_mode};
}

CallElement* FindElement(std::span<CallElement> elements, std::uint16_t id)
{
    const auto found =
        std::find_if(elements.begin(), elements.end(), [&](const CallElement& element) { return element.id == id; });
    return found == elements.end() ? nullptr : &*found;
}

BSTR TextOf(const CallElement& element)
{
    return IsReadable(element.value.text) ? element.value.text : nullptr;
}

void AppendText(CSubBlock& block, const OLECHAR* text, UINT length)
{
    block.AppendByte(static_cast<std::uint8_t>(length));
    const auto units = static_cast<std::int32_t>(length);
    block.AppendStringN(text, units, units, false);
    if (block.GetSize() > kLongestPayload)
        ThrowCode(ZEL_E_ARGUMENT);
}

bool IsInternational(BSTR number)
{
    return SysStringLen(number) != 0 && number[0] == u'+';
}

void AppendNumber(CSubBlock& block, const CallElement& element)
{
    const BSTR number = TextOf(element);
    const bool international = IsInternational(number);
    const UINT sign = international ? 1 : 0;

    block.AppendByte(static_cast<std::uint8_t>(element.p0 | (international ? ZEL_CALL_INTERNATIONAL : 0)));
    block.AppendByte(element.p1);
    block.AppendByte(0);
    AppendText(block, number + sign, SysStringLen(number) - sign);
}

/// Leaves the number in the caller's element as it was sent, without its "+". Throws CAtlException (E_OUTOFMEMORY).
void TakeSign(CallElement& element)
{
    const BSTR number = TextOf(element);
    if (element.id != ZEL_CALL_NUMBER || !IsInternational(number))
        return;
    BSTR digits = SysAllocStringLen(number + 1, SysStringLen(number) - 1);
    if (digits == nullptr)
        throw CAtlException(E_OUTOFMEMORY);
    element.value.text = digits;
    SysFreeString(number);
}

void AppendElement(CMessage& message, const CallElement& element)
{
    CSubBlock block = NewBlock(kShortBlock, element.id);
    switch (element.id)
    {
    case ZEL_CALL_NUMBER:
        AppendNumber(block, element);
        break;
    case ZEL_CALL_PARAMETERS:
        block.AppendByte(element.p0);
        block.AppendByte(element.p1);
        break;
    case ZEL_CALL_TEXT:
        block.AppendByte(element.p0);
        block.AppendByte(element.p1);
        block.AppendByte(element.p2);
        block.AppendByte(element.p3);
        block.AppendByte(0);
        AppendText(block, TextOf(element), SysStringLen(TextOf(element)));
        break;
    default:
        break;
    }
    block.WriteTo(&message);
}

// Replies

/// Reads a run of `count` sub-blocks. The result is made of the cause in them, `offset` bytes into its sub-block.
std::uint32_t ReadCause(CMessage& reply, std::uint8_t count, std::uint32_t offset = 0)
{
    std::uint32_t result = ZEL_OK;
    ForEachBlock(reply, count, kShortBlock, [&](CSubBlock& block, std::uint32_t) {
        if (block.GetId() != kCauseBlock)
            return;
        block.Skip(offset);
        result = CauseResult(block.ReadByte());
    });
    return result;
}

CallElement CauseElement(CSubBlock& block)
{
    CallElement element = Element(ZEL_CALL_CAUSE);
    element.p0 = block.ReadByte();
    element.value.cause = block.ReadByte();
    return element;
}

/// Reads the three parameters of a sub-block, and what stands behind them unused.
CallElement ParametersElement(CSubBlock& block, std::uint16_t id)
{
    CallElement element = Element(id);
    element.p0 = block.ReadByte();
    element.p1 = block.ReadByte();
    element.p2 = block.ReadByte();
    block.Skip(2);
    return element;
}

CallElement TextElement(CMsgBase& source)
{
    CallElement element = Element(ZEL_CALL_TEXT);
    element.p0 = source.ReadByte();
    element.p1 = source.ReadByte();
    element.p2 = source.ReadByte();
    element.p3 = source.ReadByte();
    source.Skip(1);
    element.value.text = ReadCountedText(source);
    return element;
}

CallElement NumberElement(CMsgBase& source, std::uint16_t id)
{
    CallElement element = Element(id);
    element.p0 = source.ReadByte();
    element.p1 = source.ReadByte();
    source.Skip(1);
    element.value.text = ReadCountedText(source);
    return element;
}

void ReadStatusBlock(CSubBlock& block, CElementArray& elements, std::uint8_t& callId)
{
    switch (block.GetId())
    {
    case kCauseBlock:
        elements.Add(CauseElement(block));
        break;
    case kStateBlock:
        callId = block.ReadByte();
        elements.Add(ParametersElement(block, ZEL_CALL_STATE));
        break;
    case kTextBlock:
        elements.Add(TextElement(block));
        break;
    case kParametersAndNumberBlock:
        callId = block.ReadByte();
        elements.Add(ParametersElement(block, ZEL_CALL_PARAMETERS));
        elements.Add(NumberElement(block, ZEL_CALL_NUMBER));
        break;
    default:
        break;
    }
}

// Items of the status indication

/// The number with the "+" that the phone leaves out. Throws CAtlException (E_OUTOFMEMORY).
BSTR WithPlus(const CBStrOwner& number)
{
    const UINT length = SysStringLen(number.get());
    BSTR whole = SysAllocStringLen(nullptr, length + 1);
    if (whole == nullptr)
        throw CAtlException(E_OUTOFMEMORY);
    whole[0] = u'+';
    std::copy_n(number.get(), length, whole + 1);
    return whole;
}

/// Moves behind the padding of an item with `bytes` bytes before it. Texts are whole units, so it is two bytes or none.
void SkipPadding(CMessage& message, std::uint32_t bytes)
{
    if (bytes % 4 != 0)
        message.Skip(2);
}

CallElement ReadNumberItem(CMessage& message, std::uint8_t type)
{
    CallElement element = NumberElement(message, type);
    const UINT textBytes = SysStringByteLen(element.value.text);
    if ((element.p0 & ZEL_CALL_INTERNATIONAL) != 0 && element.value.text[0] != u'+')
        element.value.text = WithPlus(CBStrOwner(element.value.text));
    SkipPadding(message, textBytes + 6);
    return element;
}

CallElement ReadTextItem(CMessage& message)
{
    CallElement element = TextElement(message);
    SkipPadding(message, SysStringByteLen(element.value.text));
    return element;
}

CallElement ReadParametersItem(CMessage& message)
{
    // The phone's item 7 has no element id; applications know it by the 0.
    CallElement element = Element(0);
    element.p0 = message.ReadByte();
    element.p1 = message.ReadByte();
    return element;
}

CallElement ReadCauseItem(CMessage& message)
{
    CallElement element = Element(ZEL_CALL_CAUSE);
    element.p0 = message.ReadByte();
    element.value.cause = CauseResult(message.ReadByte());
    return element;
}

CallElement ReadParameter2Item(CMessage& message)
{
    CallElement element = Element(ZEL_CALL_PARAMETERS);
    element.p2 = message.ReadByte();
    message.Skip(1);
    return element;
}

void ReadItem(CMessage& message, CElementArray& elements)
{
    const std::uint8_t type = message.ReadByte();
    const std::uint8_t length = message.ReadByte();
    switch (type)
    {
    case kFirstNumberItem:
    case kNumberItem:
        elements.Add(ReadNumberItem(message, type));
        break;
    case kParametersItem:
        elements.Add(ReadParametersItem(message));
        break;
    case kCauseItem:
        elements.Add(ReadCauseItem(message));
        break;
    case kParameter2Item:
        elements.Add(ReadParameter2Item(message));
        break;
    case kTextItem:
        elements.Add(ReadTextItem(message));
        break;
    default:
        // A length that does not even count the header must not move the cursor back.
        message.Skip(std::max(length, kItemHeader) - std::uint32_t{kItemHeader});
        break;
    }
}

}  // namespace

std::uint32_t CCallHandler::EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record)
{
    return ResultOf([&]() -> std::uint32_t {
        switch (messageId)
        {
        case ZEL_CALL_CREATE:
            return Create(sender, RecordOf<CallRecord>(record));
        case ZEL_CALL_QUERY:
            return Query(sender, RecordOf<CallRecord>(record));
        case ZEL_CALL_REQUEST_9:
            return Request9(sender, RecordOf<CallRecord>(record));
        case ZEL_CALL_STATUS_QUERY:
            return QueryStatus(sender, RecordOf<CallRecord>(record));
        case ZEL_CALL_CONTROL_4:
            return ControlCall(sender, RecordOf<CallRecord>(record), kOperation4, kCall80);
        case ZEL_CALL_CONTROL_5:
            return Control(sender, RecordOf<CallRecord>(record), kOperation5);
        case ZEL_CALL_CONTROL_1:
            return ControlCall(sender, RecordOf<CallRecord>(record), kOperation1, kCall80);
        case ZEL_CALL_CONTROL_2:
            return ControlCall(sender, RecordOf<CallRecord>(record), kOperation2, kCall40);
        case ZEL_CALL_CONTROL_3:
            return ControlCall(sender, RecordOf<CallRecord>(record), kOperation3, kCall80);
        case ZEL_CALL_CONTROL_A1:
            return ControlCall(sender, RecordOf<CallRecord>(record), kOperationA1, kCall80);
        case ZEL_CALL_CREATE_VARIANT:
            return CreateVariant(sender, RecordOf<CallRecord>(record));
        default:
            return ZEL_NOT_HANDLED;
        }
    });
}

std::uint32_t CCallHandler::Create(CDataSender& sender, CallRecord& record) const
{
    CMessage message = Request(kCreateRequest);
    message.AppendByte(0);
    message.AppendByte(record.count_or_mode);
    const std::span<CallElement> elements = ElementsOf(record);
    for (const CallElement& element : elements)
        AppendElement(message, element);
    // Only now: a call that is refused for one of its elements can be tried again with all its numbers as they were.
    std::for_each(elements.begin(), elements.end(), TakeSign);
    return SendCreate(sender, message, record);
}

std::uint32_t CCallHandler::CreateVariant(CDataSender& sender, CallRecord& record) const
{
    const std::span<CallElement> elements = ElementsOf(record);
    if (FindElement(elements, ZEL_CALL_NUMBER) != nullptr)
    {
        if (CallElement* parameters = FindElement(elements, ZEL_CALL_PARAMETERS))
            parameters->p0 = 1;
        return Create(sender, record);
    }
    CMessage message = Request(kCreateRequest);
    message.AppendByte(0);
    message.AppendByte(1);
    CSubBlock block = NewBlock(kShortBlock, kParametersBlock);
    block.AppendByte(0);
    block.AppendByte(1);
    block.WriteTo(&message);
    return SendCreate(sender, message, record);
}

std::uint32_t CCallHandler::SendCreate(CDataSender& sender, CMessage& message, CallRecord& record)
{
    std::uint32_t result = 0;
    if (!Exchange(sender, message, kCreateReply, result))
        return result;
    record.call_id = message.ReadByte();
    return ReadCause(message, message.ReadByte());
}

std::uint32_t CCallHandler::Query(CDataSender& sender, CallRecord& record) const
{
    CMessage message = Request(kQueryRequest);
    message.AppendByte(record.call_id);
    message.AppendByte(0);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kQueryReply, result))
        return result;
    record.call_id = message.ReadByte();
    CSubBlock passedOver = NewBlock(kShortBlock);
    if (message.ReadByte() == 0 || !passedOver.ReadFrom(&message))
        return ZEL_OK;
    return ReadCause(message, message.ReadByte());
}

std::uint32_t CCallHandler::Request9(CDataSender& sender, CallRecord& record) const
{
    CMessage message = Request(kRequest9);
    message.AppendByte(record.call_id);
    message.AppendByte(1);
    // The phone wants the id of a sub-block that has none, 0xFF.
    CSubBlock block = NewBlock(kShortBlock);
    block.AppendByte(kFixedParameter);
    block.WriteTo(&message);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kReply9, result))
        return result;
    record.call_id = message.ReadByte();
    return ReadCause(message, message.ReadByte());
}

std::uint32_t CCallHandler::QueryStatus(CDataSender& sender, CallRecord& record) const
{
    const std::uint8_t mode = record.count_or_mode;
    CMessage message = Request(kStatusRequest);
    message.AppendByte(record.call_id);
    message.AppendByte(1);
    CSubBlock block = NewBlock(kShortBlock, kModeBlock);
    block.AppendByte(mode);
    block.AppendByte(0);
    block.WriteTo(&message);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kStatusReply, result) || message.ReadByte() == 0)
        return result;
    const std::uint8_t count = message.ReadByte();
    // In these modes one sub-block may stand for two elements.
    const std::size_t extra = count != 0 && (mode == 1 || mode == 2) ? 1 : 0;
    CElementArray elements(count + extra);
    std::uint8_t callId = record.call_id;
    ForEachBlock(message, count, kShortBlock,
                 [&](CSubBlock& answer, std::uint32_t) { ReadStatusBlock(answer, elements, callId); });
    record.call_id = callId;
    record.returned = elements.Count();
    record.elements = elements.Release();
    return ZEL_OK;
}

std::uint32_t CCallHandler::ControlCall(CDataSender& sender, CallRecord& record, std::uint8_t operation,
                                        std::uint8_t callId) const
{
    record.call_id = callId;
    return Control(sender, record, operation);
}

std::uint32_t CCallHandler::Control(CDataSender& sender, CallRecord& record, std::uint8_t operation) const
{
    CMessage message = Request(kControlRequest);
    message.AppendByte(record.call_id);
    message.AppendByte(1);
    CSubBlock block = NewBlock(kShortBlock, kControlBlock);
    block.AppendByte(operation);
    block.AppendByte(0);
    block.WriteTo(&message);

    std::uint32_t result = 0;
    if (!Exchange(sender, message, kControlReply, result))
        return result;
    record.call_id = message.ReadByte();
    const std::uint8_t count = message.ReadByte();
    message.Skip(4);
    return ReadCause(message, count, 1);
}

std::uint32_t CCallHandler::DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record)
{
    return ResultOf([&]() -> std::uint32_t {
        if (message.GetMessageId() != kStatusIndication)
            return ZEL_NOT_HANDLED;
        auto call = AllocateRecords<CallRecord>();
        call->call_id = message.ReadByte() & kCallIdBits;
        const std::uint8_t count = message.ReadByte();
        CElementArray elements(count);
        for (std::uint8_t i = 0; i < count; ++i)
            ReadItem(message, elements);
        call->count_or_mode = elements.Count();
        call->elements = elements.Release();
        messageId = ZEL_CALL_STATUS;
        record = call.release();
        return ZEL_OK;
    });
}

std::uint32_t CCallHandler::FreeDecodedData(std::uint32_t messageId, void* record)
{
    if (messageId != ZEL_CALL_STATUS)
        return ZEL_NOT_HANDLED;
    if (!IsReadable(record))
        return ZEL_OK;
    // The texts stay with the application, which may have kept them.
    auto* call = static_cast<CallRecord*>(record);
    if (IsReadable(call->elements))
        CoTaskMemFree(call->elements);
    CoTaskMemFree(call);
    return ZEL_OK;
}
