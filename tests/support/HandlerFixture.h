#pragma once

#include "support/HandlerChecks.h"
#include "support/PhoneMessages.h"
#include "support/Survives.h"

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

/// A reply of the phone, and the result that the request has then.
struct Outcome
{
    std::uint8_t id;
    Bytes body;
    std::uint32_t result;
};

/// A service's handler, and a phone for it. Nothing may be left allocated.
template <typename Handler, std::uint8_t Resource>
class HandlerFixture : public testing::Test
{
  protected:
    static constexpr std::uint8_t kResource = Resource;

    HandlerFixture() { m_handler.SetResource(Resource); }

    /// Sends a request; the phone answers with this reply.
    std::uint32_t Ask(std::uint32_t messageId, void* record, std::uint8_t replyId, const Bytes& reply)
    {
        m_phone.Reply(replyId, reply);
        return m_handler.EncodeRequest(m_phone, messageId, record);
    }

    /// Compares the last request with what it must have been.
    testing::AssertionResult Sent(std::uint8_t id, const Bytes& body, const Bytes& expectedReplies = {},
                                  std::uint32_t timeoutMs = 60000) const
    {
        return SameRequest(m_phone.Last(), Resource, id, body, expectedReplies, timeoutMs);
    }

    /// Each reply gives its result and leaves the record alone.
    template <typename Record>
    void ExpectOutcomes(std::uint32_t messageId, const Record& record, const std::vector<Outcome>& outcomes)
    {
        for (const auto& [id, body, result] : outcomes)
        {
            SCOPED_TRACE("reply " + std::to_string(id) + ": " + Hex(body));
            m_phone.Reply(id, body);
            ExpectRecordUntouched(m_handler, m_phone, messageId, record, result);
        }
    }

    /// A failed send is the result as it is, a reply with an id that no service uses gives `wrongReply`.
    template <typename Record>
    void ExpectUnanswered(std::uint32_t messageId, const Record& record, std::uint32_t wrongReply = ZEL_OK)
    {
        ExpectUnansweredKept(m_handler, m_phone, messageId, record, wrongReply);
    }

    /// A request that gives `result` without being sent, and leaves the record alone.
    template <typename Record>
    void ExpectRefused(std::uint32_t messageId, const Record& record, std::uint32_t result)
    {
        FakeSender phone;
        ExpectRecordUntouched(m_handler, phone, messageId, record, result);
        EXPECT_TRUE(phone.Requests().empty());
    }

    /// The request survives every fault, see support/Survives.h.
    void Survives(std::uint32_t messageId, const void* record, std::uint8_t replyId, const Bytes& reply,
                  Results allowed = {})
    {
        ::Survives(m_handler, m_phone, messageId, record, {{replyId, reply}}, allowed);
    }
    void Survives(std::uint32_t messageId, const void* record, const std::vector<Reply>& replies, Results allowed = {})
    {
        ::Survives(m_handler, m_phone, messageId, record, replies, allowed);
    }

    /// Decodes an indication. It must be this API message, and there is a record with result 0 only.
    template <typename Record>
    std::uint32_t Decode(std::uint8_t id, const Bytes& body, std::uint32_t messageId, Record*& record)
    {
        CMessage message = MessageOf(id, body);
        std::uint32_t decodedId = 0;
        void* decoded = nullptr;
        const std::uint32_t result = m_handler.DecodeMessage(message, decodedId, decoded);
        EXPECT_EQ(decodedId, result == ZEL_OK ? messageId : 0);
        EXPECT_EQ(decoded != nullptr, result == ZEL_OK);
        record = static_cast<Record*>(decoded);
        return result;
    }

    /// These requests are not handled, whatever the record is.
    void ExpectNotHandled(std::initializer_list<std::uint32_t> messageIds)
    {
        for (const std::uint32_t messageId : messageIds)
            ExpectBadRecordsRefused(m_handler, messageId, ZEL_NOT_HANDLED);
    }

    /// A message that is not decoded leaves the outputs alone.
    void ExpectNotDecoded(std::uint8_t id, std::uint32_t expected = ZEL_NOT_HANDLED, const Bytes& body = Bytes(16, 1))
    {
        CMessage message = MessageOf(id, body);
        std::uint32_t messageId = 77;
        void* record = &message;
        EXPECT_EQ(m_handler.DecodeMessage(message, messageId, record), expected) << unsigned{id};
        EXPECT_EQ(std::make_pair(messageId, record), std::make_pair(77u, static_cast<void*>(&message)));
    }

    /// A service without indications decodes and frees nothing.
    void ExpectNoIndications(std::uint32_t messageId)
    {
        for (unsigned id = 0; id < 256; ++id)
            ExpectNotDecoded(static_cast<std::uint8_t>(id));
        EXPECT_EQ(m_handler.FreeDecodedData(messageId, nullptr), ZEL_E_FAIL);
    }

    const CLeakCheck m_leaks;
    Handler m_handler;
    FakeSender m_phone;
};
