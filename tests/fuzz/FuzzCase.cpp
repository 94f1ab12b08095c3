#include "fuzz/FuzzCase.h"

#include <algorithm>
#include <host_control.h>
#include <iterator>

namespace
{

constexpr std::uint32_t kSendFailure = 0x80040155;

/// Time zones by number: without rules, northern, southern; any other number: not available.
void ChooseZone(std::uint8_t number)
{
    const SYSTEMTIME march = {0, 3, 0, 5, 2, 0, 0, 0};
    const SYSTEMTIME october = {0, 10, 0, 5, 3, 0, 0, 0};
    const SYSTEMTIME none = {};
    const TIME_ZONE_INFORMATION zones[] = {
        {-330, {}, none, 0, {}, none, 0},
        {-60, {}, october, 0, {}, march, -60},
        {-600, {}, march, 0, {}, october, -60},
    };
    if (number < std::size(zones))
        host::SetTimeZone(zones[number]);
    else
        host::FailTimeZone();
}

/// Bytes on the heap, not one more than there are.
CMsgBase ExactBody(const std::uint8_t* bytes, std::size_t count)
{
    CMsgBase body;
    body.AppendBytes(count, bytes);
    return body;
}

/// The next bytes of `input`, at most `count` of them.
CMsgBase Take(CMsgBase& input, std::uint32_t count)
{
    const std::uint32_t taken = std::min(count, input.GetSize() - input.GetPosition());
    CMsgBase body = ExactBody(input.GetData() + input.GetPosition(), taken);
    input.Skip(taken);
    return body;
}

}  // namespace

CFuzzCase::CFuzzCase(const std::uint8_t* data, std::size_t size)
    : m_input(ExactBody(data, size)),
      m_resource(m_input.ReadByte()),
      m_otherResource(m_resource),
      m_operation(m_input.ReadByte()),
      m_failingAllocation(m_input.ReadByte()),
      m_failingSend(m_input.ReadByte()),
      m_version(m_input.ReadByte()),
      m_zone(m_input.ReadByte())
{
    m_seed = Take(m_input, m_input.ReadByte());
}

std::uint8_t CFuzzCase::Byte()
{
    return m_seed.ReadByte();
}

CBStrOwner CFuzzCase::Text()
{
    const std::uint8_t choice = Byte();
    return CBStrOwner(choice >= 0x80 ? nullptr : m_seed.ReadString(choice % 32));
}

std::vector<std::uint8_t> CFuzzCase::Block(std::size_t size)
{
    std::vector<std::uint8_t> block(size);
    for (std::uint8_t& value : block)
        value = Byte();
    return block;
}

std::uint32_t CFuzzCase::Request(void* record)
{
    host::FailAllocation(m_failingAllocation);
    const std::uint32_t result = m_handler->EncodeRequest(*this, MessageId(), record);
    host::FailAllocation(0);
    return result;
}

void CFuzzCase::Run(CContentHandler& handler, void (*request)(CFuzzCase&), void (*deliver)(std::uint32_t, void*))
{
    const std::size_t before = host::LiveAllocations();
    ChooseZone(m_zone);
    handler.SetResource(m_resource);
    m_handler = &handler;
    if (IsIndication())
        Indicate(deliver);
    else
        request(*this);
    Require(host::LiveAllocations() == before, "every allocation is freed once");
}

void CFuzzCase::Indicate(void (*deliver)(std::uint32_t, void*))
{
    CMessage message = TakeMessage();
    std::uint32_t messageId = 0;
    void* record = nullptr;
    host::FailAllocation(m_failingAllocation);
    const std::uint32_t result = m_handler->DecodeMessage(message, messageId, record);
    host::FailAllocation(0);
    Require(result == ZEL_OK || record == nullptr, "a record comes with result 0 only");
    if (result != ZEL_OK || messageId == 0)
        return;
    Require(deliver != nullptr, "a service that decodes indications is fuzzed with a reader of them");
    deliver(messageId, record);
    m_handler->FreeDecodedData(messageId, record);
}

bool CFuzzCase::SendFails()
{
    return m_failingSend != 0 && --m_failingSend == 0;
}

CMessage CFuzzCase::TakeMessage()
{
    CMessage message;
    message.SetResource(m_resource);
    message.SetMessageId(m_input.ReadByte());
    const CMsgBase body = Take(m_input, m_input.ReadWord());
    message.AppendBytes(body.GetSize(), body.GetData());
    return message;
}

std::uint32_t CFuzzCase::Send(CMessage& message, std::uint32_t timeoutMs)
{
    Require(message.GetResource() == m_resource || message.GetResource() == m_otherResource,
            "a request names its service");
    Require(timeoutMs != 0, "a handler waits for the reply");
    Touch(message.GetData(), message.GetSize());
    if (SendFails() || m_input.GetPosition() >= m_input.GetSize())
        return kSendFailure;
    message = TakeMessage();
    return ZEL_OK;
}

std::uint32_t CFuzzCase::SendRaw(std::uint32_t length, const std::uint8_t* bytes)
{
    Touch(bytes, length);
    return SendFails() ? kSendFailure : ZEL_OK;
}

std::uint32_t CFuzzCase::GetServiceVersion(std::uint8_t, std::uint8_t& major, std::uint8_t& minor)
{
    major = m_version;
    minor = 0;
    return m_version == 0 ? ZEL_E_FAIL : ZEL_OK;
}

std::uint32_t CFuzzCase::GetTimeServiceParameters(std::uint16_t& first, std::uint16_t& second)
{
    first = 0x0102;
    second = 0x0304;
    return ZEL_OK;
}
