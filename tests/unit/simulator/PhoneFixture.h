#pragma once

#include "phone/Session.h"
#include "scenario/ScenarioParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>

namespace vorlansim
{

/// "01 0A" and "010A" as bytes.
inline Bytes FromHex(std::string text)
{
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

/// Lines that several threads write and a test waits for.
class CLines
{
  public:
    void Add(const std::string& line)
    {
        const std::lock_guard lock(m_mutex);
        m_lines.push_back(line);
        m_changed.notify_all();
    }

    /// True once `count` lines contain `part`; gives up after a while.
    bool WaitFor(const std::string& part, std::ptrdiff_t count = 1)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(20), [&] { return Count(part) >= count; });
    }

    std::vector<std::string> All()
    {
        const std::lock_guard lock(m_mutex);
        return m_lines;
    }

  private:
    std::ptrdiff_t Count(const std::string& part) const
    {
        return std::count_if(m_lines.begin(), m_lines.end(),
                             [&](const std::string& line) { return line.find(part) != std::string::npos; });
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_lines;
};

/// A client's sink that writes down what it gets: "66: 00 00 00 84 05", "raw: 01", "event".
class CRecordingSink : public IEventSink
{
  public:
    explicit CRecordingSink(CLines& lines, Result result = kOk, bool isGone = false)
        : m_lines(lines), m_result(result), m_isGone(isGone)
    {
    }

    Result Deliver(const Event& event, bool& gone) override
    {
        gone = m_isGone;
        if (event.kind == Event::Kind::Connection)
            m_lines.Add("event");
        else if (event.kind == Event::Kind::Raw)
            m_lines.Add("raw: " + ToHex(event.bytes));
        else
            m_lines.Add(ToHex(BytesView(&event.resource, 1)) + ": " + ToHex(event.bytes));
        return m_result;
    }

  private:
    CLines& m_lines;
    const Result m_result;
    const bool m_isGone;
};

/// A request of one client and what the phone says to it: the reply in hex, or the failure's code.
struct Exchange
{
    const char* request;
    std::string answer;
    std::uint8_t resource = 0x19;
};

/// A phone that plays a text, and one client that has opened it and takes all events.
class CPlay
{
  public:
    explicit CPlay(const std::string& scenario) : CPlay(ParseScenario(scenario, "test.scenario")) {}
    explicit CPlay(Scenario scenario)
        : phone(std::move(scenario), Traced(), [this](std::uint32_t code) { exits.Add(std::to_string(code)); }),
          client(Open(events))
    {
    }

    std::shared_ptr<CSession> Open(CLines& lines)
    {
        auto session = std::make_shared<CSession>(phone);
        session->OpenById(1, 0);
        session->Advise(Events::First, std::make_shared<CRecordingSink>(lines));
        session->Advise(Events::Second, std::make_shared<CRecordingSink>(lines));
        return session;
    }

    std::string Ask(const std::string& message, std::uint32_t timeoutMs = 20000, std::uint8_t resource = 0x19)
    {
        const SendAnswer answer = client->Send({resource, FromHex(message), true, {}, timeoutMs});
        return answer.reply ? ToHex(*answer.reply) : ToHex(answer.result, 8);
    }

    void Converse(const std::vector<Exchange>& exchanges)
    {
        for (const Exchange& exchange : exchanges)
        {
            const std::uint32_t timeoutMs = exchange.answer == ToHex(kTimedOut, 8) ? 20 : 20000;
            EXPECT_EQ(Ask(exchange.request, timeoutMs, exchange.resource), exchange.answer) << exchange.request;
        }
    }

    CLines events;
    CLines traced;
    CLines exits;

  private:
    CTrace& Traced()
    {
        m_trace.AddOutput([this](const std::string& line) { traced.Add(line); });
        return m_trace;
    }

    CTrace m_trace;

  public:
    CPhone phone;
    std::shared_ptr<CSession> client;
};

}  // namespace vorlansim
