#pragma once

#include "handlers/base/DataSender.h"
#include "support/Bytes.h"

#include <deque>
#include <map>
#include <utility>

/// A phone for handler tests: keeps each request and answers from a list.
class FakeSender : public CDataSender
{
  public:
    struct Sent
    {
        std::uint8_t resource;
        std::uint8_t id;
        Bytes body;
        Bytes expectedReplies;
        std::uint32_t timeoutMs;
    };

    /// The next request is answered with this message.
    void Reply(std::uint8_t id, Bytes body) { m_answers.push_back({0, id, std::move(body)}); }
    /// The next request fails with this result.
    void Fail(std::uint32_t result) { m_answers.push_back({result, 0, {}}); }
    /// Requests beyond the answers fail with this result, which is no fault of the test then.
    void FailFurther(std::uint32_t result) { m_furtherResult = result; }
    void SetVersion(std::uint8_t resource, std::uint8_t major, std::uint8_t minor)
    {
        m_versions[resource] = {major, minor};
    }
    void SetTimeParameters(std::uint16_t first, std::uint16_t second) { m_timeParameters = {first, second}; }
    /// From now on asking for the time parameters throws this.
    void ThrowForTimeParameters(std::uint32_t result) { m_timeFailure = result; }

    const std::vector<Sent>& Requests() const { return m_sent; }
    const Sent& Last() const { return m_sent.back(); }
    /// Bytes of each raw send.
    const std::vector<Bytes>& Raw() const { return m_raw; }
    /// The resources whose versions were asked for.
    const Bytes& VersionQueries() const { return m_versionQueries; }
    unsigned TimeQueries() const { return m_timeQueries; }

    std::uint32_t Send(CMessage& message, std::uint32_t timeoutMs) override
    {
        Bytes expected;
        message.GetExpectedReplies().ForEach([&](std::uint8_t id) { expected.push_back(id); });
        m_sent.push_back({message.GetResource(), message.GetMessageId(), BodyOf(message), expected, timeoutMs});
        if (m_answers.empty() && m_furtherResult != 0)
            return m_furtherResult;
        if (m_answers.empty())
        {
            ADD_FAILURE() << "no answer for request " << unsigned{message.GetMessageId()} << ": "
                          << Hex(BodyOf(message));
            return 0x8000FFFF;
        }
        const Answer answer = m_answers.front();
        m_answers.pop_front();
        if (answer.result != 0)
            return answer.result;
        // A new body is exactly as long as the answer, so that a sanitizer sees a read behind its end.
        CMessage reply;
        reply.SetResource(message.GetResource());
        reply.SetMessageId(answer.id);
        for (const std::uint8_t id : expected)
            reply.AddExpectedReply(id);
        reply.AppendBytes(answer.body.size(), answer.body.data());
        message = std::move(reply);
        return 0;
    }

    std::uint32_t SendRaw(std::uint32_t length, const std::uint8_t* bytes) override
    {
        m_raw.emplace_back(bytes, bytes + length);
        if (m_answers.empty())
            return 0;
        const std::uint32_t result = m_answers.front().result;
        m_answers.pop_front();
        return result;
    }

    std::uint32_t GetServiceVersion(std::uint8_t resource, std::uint8_t& major, std::uint8_t& minor) override
    {
        m_versionQueries.push_back(resource);
        const auto version = m_versions.find(resource);
        if (version == m_versions.end())
            return 0x80100010;
        major = version->second.first;
        minor = version->second.second;
        return 0;
    }

    std::uint32_t GetTimeServiceParameters(std::uint16_t& first, std::uint16_t& second) override
    {
        ++m_timeQueries;
        if (m_timeFailure != 0)
            throw m_timeFailure;
        first = m_timeParameters.first;
        second = m_timeParameters.second;
        return 0;
    }

  private:
    struct Answer
    {
        std::uint32_t result;
        std::uint8_t id;
        Bytes body;
    };

    std::deque<Answer> m_answers;
    std::vector<Sent> m_sent;
    std::vector<Bytes> m_raw;
    std::map<std::uint8_t, std::pair<std::uint8_t, std::uint8_t>> m_versions;
    std::pair<std::uint16_t, std::uint16_t> m_timeParameters;
    std::uint32_t m_timeFailure = 0;
    std::uint32_t m_furtherResult = 0;
    Bytes m_versionQueries;
    unsigned m_timeQueries = 0;
};

/// Compares a request with what it must have been.
inline testing::AssertionResult SameRequest(const FakeSender::Sent& sent, std::uint8_t resource, std::uint8_t id,
                                            const Bytes& body, const Bytes& expectedReplies = {},
                                            std::uint32_t timeoutMs = 60000)
{
    if (sent.resource != resource || sent.id != id || sent.timeoutMs != timeoutMs)
        return testing::AssertionFailure() << "resource " << unsigned{sent.resource} << ", id " << unsigned{sent.id}
                                           << ", time-out " << sent.timeoutMs;
    if (const auto replies = SameBytes(expectedReplies, sent.expectedReplies); !replies)
        return testing::AssertionFailure() << "expected replies: " << replies.message();
    return SameBytes(body, sent.body);
}
