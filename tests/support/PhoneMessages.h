#pragma once

#include "support/HandlerChecks.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The parts, one after the other.
inline Bytes Join(std::initializer_list<Bytes> parts)
{
    Bytes whole;
    for (const Bytes& part : parts)
        whole.insert(whole.end(), part.begin(), part.end());
    return whole;
}

/// A text as it travels: UTF-16, high byte first.
inline Bytes WireText(std::u16string_view text)
{
    Bytes bytes;
    for (const char16_t unit : text)
        bytes.insert(bytes.end(), {static_cast<std::uint8_t>(unit >> 8), static_cast<std::uint8_t>(unit)});
    return bytes;
}

/// A message as the phone sends it.
inline CMessage MessageOf(std::uint8_t id, const Bytes& body)
{
    CMessage message;
    message.SetMessageId(id);
    message.AppendBytes(body.size(), body.data());
    return message;
}

/// A reply of the phone, and the result that the request has then.
struct Outcome
{
    std::uint8_t id;
    Bytes body;
    std::uint32_t result;
};

/// Each reply gives its result and leaves the record alone.
template <typename Record>
void ExpectOutcomes(CContentHandler& handler, FakeSender& phone, std::uint32_t messageId, const Record& record,
                    const std::vector<Outcome>& outcomes)
{
    for (const auto& [id, body, result] : outcomes)
    {
        SCOPED_TRACE("reply " + std::to_string(id) + ": " + Hex(body));
        phone.Reply(id, body);
        ExpectRecordUntouched(handler, phone, messageId, record, result);
    }
}

/// These requests are not handled, whatever the record is.
inline void ExpectNotHandled(CContentHandler& handler, std::initializer_list<std::uint32_t> messageIds)
{
    for (const std::uint32_t messageId : messageIds)
        ExpectBadRecordsRefused(handler, messageId, ZEL_NOT_HANDLED);
}

/// A message that is not decoded leaves the outputs alone.
inline void ExpectNotDecoded(CContentHandler& handler, std::uint8_t id, std::uint32_t expected = ZEL_NOT_HANDLED)
{
    CMessage message = MessageOf(id, Bytes(16, 1));
    std::uint32_t messageId = 77;
    void* record = &message;
    EXPECT_EQ(handler.DecodeMessage(message, messageId, record), expected) << unsigned{id};
    EXPECT_EQ(std::make_pair(messageId, record), std::make_pair(77u, static_cast<void*>(&message)));
}

/// A service without indications decodes and frees nothing.
inline void ExpectNoIndications(CContentHandler& handler, std::uint32_t messageId)
{
    for (unsigned id = 0; id < 256; ++id)
        ExpectNotDecoded(handler, static_cast<std::uint8_t>(id));
    EXPECT_EQ(handler.FreeDecodedData(messageId, nullptr), ZEL_E_FAIL);
}
