#include "PhoneFixture.h"

#include <future>
#include <thread>

namespace vorlansim
{
namespace
{

// --- Rules and answers ---

TEST(PhoneTest, AnswersByItsRules)
{
    struct Conversation
    {
        const char* what;
        const char* scenario;
        std::vector<Exchange> exchanges;
    };
    const Conversation conversations[] = {
        {"rules are tried in order",
         "on 25 1 01\n  reply 2 0A\non 25 1 *\n  reply 2 0B\non any any *\n  reply $id + 1 $resource\n",
         {{"01 01", "02 0A"}, {"01 02", "02 0B"}, {"07", "08 19"}}},
        {"a rule that is used up is passed over",
         "on 25 1\n  times 1\n  reply 2 0A\non 25 1\n  reply 2 0B\n",
         {{"01", "02 0A"}, {"01", "02 0B"}}},
        {"versions of declared services only",
         "service 0x19 version 16.2\nservice 57 version 2.5 status 19\n",
         {{"F0 12 00", "F0 01 10 02"},
          {"F0 12 01", "0x80070490"},
          {"F0 12 00", "F0 13 02 05", 57},
          {"F0 12 00", "0x80070490", 58}}},
        {"otherwise takes the rest",
         "service 0x19 version 1.0\notherwise\n  fail 0x80004005\n",
         {{"01", "0x80004005"}, {"F0 12 00", "F0 01 01 00"}}},
        {"a variable is forgotten with all its keys",
         "set e[1] = 00\non 25 1\n  unset e\n  reply 2 u8(count(e))\n",
         {{"01", "02 00"}}},
        {"values grow, also by themselves, by a capture that hides them, and by what cannot be known",
         "set log = 01\nset e[2] = AA\non 25 1 <x:1>\n  set log = $log $x\n  set e[2] = $e[2] $e[2]\n"
         "  reply 2 $log EE $e[2]\non 25 3 <log:1>\n  set log = $log $log\n  reply 4\n"
         "on 25 5\n  set e[2] = $e[2] 01 $e[9]\n  reply 6\n",
         {{"01 02", "02 01 02 EE AA AA"},
          {"03 07", "04"},
          {"05", "0x8000FFFF"},
          {"01 03", "02 07 07 03 EE AA AA AA AA"}}},
        {"any bytes at all",
         "on 25 1\n  bytes\n then\n  bytes 0B\n then\n  bytes slice(0B 01 block11(1, 05), 0, 4)\n",
         {{"01", ""}, {"01", "0B"}, {"01", "0B 01 01 04"}}},
        {"no answer in time",
         "on 25 1\n  noreply\non 25 2\n  event\non 25 3\n  delay 1min\n  reply 4\n",
         {{"01", "0x800705B4"}, {"02", "0x800705B4"}, {"03", "0x800705B4"}}},
        {"no request", "on any any *\n  reply 2\n", {{"", "0x80070057"}}}};
    for (const Conversation& conversation : conversations)
    {
        SCOPED_TRACE(conversation.what);
        CPlay(conversation.scenario).Converse(conversation.exchanges);
    }
}

TEST(PhoneTest, ConditionsDecideWhetherARuleMatches)
{
    const auto holds = [](const std::string& guard) {
        CPlay play("set n = 03\nset e[3] = 00\non 25 1\n  if " + guard + "\n  reply 2\non 25 1\n  reply 3\n");
        return play.Ask("01") == "02";
    };
    for (const char* guard : {"set n", "set e[$n]", "unset e[2]", "$n == 3", "$n != 4", "$n <= 3", "$n >= 3"})
        EXPECT_TRUE(holds(guard)) << guard;
    // What cannot be computed does not hold.
    for (const char* guard : {"unset n", "set e[2]", "$n == 4", "$n != 3", "$n < 3", "$n > 3", "$n <= 2", "$n >= 4",
                              "$e[9] == 0", "$n - 4 == 0"})
        EXPECT_FALSE(holds(guard)) << guard;
}

TEST(PhoneTest, SharesItsMemoryAmongClients)
{
    CPlay play("on 25 1 <x:1>\n  set last = $x\n  reply 2\non 25 3\n  reply 4 $last\n");
    CSession other(play.phone);
    other.OpenById(1, 0);
    EXPECT_EQ(play.Ask("01 77"), "02");
    EXPECT_EQ(other.Send({25, {3}, true, {}, 20000}).reply, Bytes({4, 0x77}));
}

TEST(PhoneTest, ReportsAnActionThatCannotBeDone)
{
    CPlay play("on 25 1 <n:1>\n  reply 2 $e[$n]\non 25 3\n  set e[1] = 00\n  reply 4\n");
    play.Converse({{"01 05", "0x8000FFFF"}, {"03", "04"}});
    EXPECT_TRUE(play.traced.WaitFor("test.scenario:2: $e[5] is not set"));
}

// --- Faults ---

TEST(PhoneTest, DropsALateReply)
{
    CPlay play("on 25 1\n  delay 100ms\n  reply 2 AA\n  event\non 25 3\n  reply 4\n");
    play.Converse({{"01", "0x800705B4"}, {"03", "04"}});
    EXPECT_TRUE(play.traced.WaitFor("!! dropped, nobody waits for it: reply 02 [AA]"));
    EXPECT_TRUE(play.events.WaitFor("event"));
}

TEST(PhoneTest, ABlockedClientBlocksNobody)
{
    CPlay play("on 25 1\n  noreply\non 25 3\n  reply 4\n");
    CSession other(play.phone);
    other.OpenById(1, 0);
    SendAnswer blocked;
    std::thread thread([&] { blocked = other.Send({25, {1}, true, {}, 0xFFFFFFFF}); });
    EXPECT_TRUE(play.traced.WaitFor("#2 -> send"));
    EXPECT_EQ(play.Ask("03"), "04");
    EXPECT_TRUE(play.phone.Stop(std::chrono::seconds(20)));
    thread.join();
    EXPECT_EQ(blocked.result, kStopped);
}

TEST(PhoneTest, EndsTheProcess)
{
    CPlay play("on 25 1\n  exit 7\n  reply 2\n");
    EXPECT_EQ(play.Ask("01"), "02");  // the test's process goes on
    EXPECT_EQ(play.exits.All(), std::vector<std::string>{"7"});
}

TEST(PhoneTest, LetsEveryStepFail)
{
    for (std::size_t i = 0; i < kStepNames.size(); ++i)
    {
        CPlay play("fail " + std::string(kStepNames[i]) + " 0x80040001 times 1\n");
        CSession session(play.phone);
        const auto step = static_cast<ClientStep>(i);
        // The fixture's own client took the only failure of its step.
        const Result expected = step == ClientStep::OpenById ? kOk : 0x80040001;
        EXPECT_EQ(session.TakeQuietly(step), expected) << kStepNames[i];
        EXPECT_EQ(session.Take(step), kOk) << kStepNames[i];
    }
}

TEST(PhoneTest, FailingCallsReachTheClient)
{
    CPlay play("fail access 0x80040001\nfail raw 0x80040002\nfail open-serial 0x80040003\naccess 5\n");
    std::uint8_t access = 0;
    EXPECT_EQ(play.client->GetAccess(access), 0x80040001);
    EXPECT_EQ(play.client->SendRaw(Bytes{1}), 0x80040002);
    EXPECT_EQ(play.client->OpenBySerialNumber(u"1", {0, 1}, 0, 0), 0x80040003);
}

TEST(PhoneTest, OpensTheDevicesOfTheScenario)
{
    CPlay play("device 1 serial \"35é\" medium 0 0x101 medium 2 1\ndevice 0xFFFF\non any any *\n  reply 2\n");
    CSession session(play.phone);
    EXPECT_EQ(session.OpenById(2, 0), kNotOpen);
    EXPECT_EQ(session.Send({25, {1}, true, {}, 20000}).result, kNotOpen);
    EXPECT_EQ(session.SendRaw(Bytes{1}), kNotOpen);
    EXPECT_EQ(session.OpenById(0xFFFF, 0), kOk);
    EXPECT_EQ(session.Send({25, {1}, true, {}, 20000}).reply, Bytes{2});
    EXPECT_EQ(session.OpenBySerialNumber(u"35", {0, 0x101}, 0, 0), kNotOpen);
    EXPECT_EQ(session.OpenBySerialNumber(u"35é", {0, 1}, 0, 0), kNotSupported);
    EXPECT_EQ(session.OpenBySerialNumber(u"35é", {2, 1}, 0, 0), kOk);
    EXPECT_TRUE(play.traced.WaitFor("open-serial \"35é\", medium 2 0x1, 0, 0  0x00000000"));
}

// --- Events ---

TEST(PhoneTest, EventsComeInOrderThoseBeforeTheReplyInMidCall)
{
    CPlay play("on 25 1\n  indicate 0x66 0x84 05\n  event\n  raw 01 02\n  reply 2\n"
               "  indicate 1 1\n  raw 02\n  delay 5ms\n  indicate 1 3\n");
    std::vector<std::string> expected{"66: 00 00 00 84 05", "event", "raw: 01 02"};
    play.Ask("01");
    auto events = play.events.All();
    events.resize(3);
    EXPECT_EQ(events, expected);
    EXPECT_TRUE(play.events.WaitFor("00 03"));
    expected.insert(expected.end(), {"01: 00 00 00 01", "raw: 02", "01: 00 00 00 03"});
    EXPECT_EQ(play.events.All(), expected);
}

/// A sink whose deliveries last until the test lets them go.
class CBlockingSink : public CRecordingSink
{
  public:
    CBlockingSink(CLines& lines, std::shared_future<void> end) : CRecordingSink(lines), m_end(std::move(end)) {}

    Result Deliver(const Event& event, bool& gone) override
    {
        const Result result = CRecordingSink::Deliver(event, gone);
        m_end.wait();
        return result;
    }

  private:
    const std::shared_future<void> m_end;
};

TEST(PhoneTest, AClientThatIsInsideAnEventHoldsUpNobody)
{
    // In mid-call, and behind the reply.
    for (const char* request : {"event\n  reply 2", "reply 2\n  event"})
    {
        CPlay play(std::string("on 25 1\n  ") + request + "\non 25 3\n  raw 01\n  reply 4\n  raw 02\n");
        CLines lines;
        std::promise<void> end;
        CSession busy(play.phone);
        busy.OpenById(1, 0);
        busy.Advise(Events::First, std::make_shared<CBlockingSink>(lines, end.get_future()));
        busy.Advise(Events::Second, std::make_shared<CRecordingSink>(lines));
        std::thread thread([&] { busy.Send({25, {1}, true, {}, 20000}); });
        EXPECT_TRUE(lines.WaitFor("event"));
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(play.Ask("03"), "04");
        EXPECT_TRUE(play.events.WaitFor("raw: 02", 3));
        EXPECT_EQ(lines.All().size(), 1U);
        end.set_value();
        thread.join();
        EXPECT_TRUE(lines.WaitFor("raw: 02", 3));
    }
}

TEST(PhoneTest, PutsOffAnAction)
{
    CPlay play("on 25 1\n  after 30ms set x = 0A\n  after 60ms event\n  reply 2\non 25 3\n  reply 4 $x\n");
    play.Ask("01");
    EXPECT_TRUE(play.events.WaitFor("event"));
    EXPECT_EQ(play.Ask("03"), "04 0A");
}

TEST(PhoneTest, TellsAllOpenClientsThatListen)
{
    CLines others;
    CLines none;
    CPlay play("on 25 1\n  event\n  reply 2\n");
    const auto open = play.Open(others);
    CSession closed(play.phone);
    closed.Advise(Events::First, std::make_shared<CRecordingSink>(none));
    play.Ask("01");
    EXPECT_TRUE(others.WaitFor("event"));
    EXPECT_EQ(play.events.All().size(), 1U);
    EXPECT_TRUE(none.All().empty());
}

TEST(PhoneTest, WhatIsSentWithoutWaitingIsPlayedButNotAnswered)
{
    CPlay play("on 25 1 <x:*>\n  set got = $x\n  delay 20ms\n  event\n  reply 2\non 25 3\n  fail 0x80004005\n");
    EXPECT_EQ(play.client->Send({25, {1, 9}, false, {}, 0}).reply, std::nullopt);
    EXPECT_TRUE(play.events.WaitFor("event"));
    EXPECT_TRUE(play.traced.WaitFor("dropped, nobody waits for it: reply 02"));
    EXPECT_EQ(play.client->Send({25, {3}, false, {}, 0}).result, 0x80004005);
}

TEST(PhoneTest, RawMessagesHaveRulesOfTheirOwn)
{
    CPlay play("on any any *\n  reply 2\non raw 01 <x:*>\n  raw $x\non raw 02\n  fail 0x80004005\n");
    EXPECT_EQ(play.client->SendRaw(FromHex("01 AA BB")), kOk);
    EXPECT_TRUE(play.events.WaitFor("raw: AA BB"));
    EXPECT_EQ(play.client->SendRaw(FromHex("02")), 0x80004005);
    EXPECT_EQ(play.client->SendRaw(FromHex("03")), kOk);
}

TEST(PhoneTest, DropsTheSinkOfADeadClient)
{
    CLines lines;
    CLines failing;
    CPlay play("on 25 1\n  event\n  reply 2\n");
    CSession session(play.phone);
    session.OpenById(1, 0);
    session.Advise(Events::First, std::make_shared<CRecordingSink>(lines, 0x800706BA, true));
    session.Advise(Events::First, std::make_shared<CRecordingSink>(failing, 0x80004005));
    session.Send({25, {1}, true, {}, 20000});
    session.Send({25, {1}, true, {}, 20000});
    EXPECT_EQ(lines.All().size(), 1U);
    EXPECT_EQ(failing.All().size(), 2U);
    EXPECT_TRUE(play.traced.WaitFor("the client is gone, its sink is dropped  0x800706BA"));
}

TEST(PhoneTest, TimersRunForEachReadyClient)
{
    CLines others;
    CPlay play("at start\n  raw 00\nafter 5ms\n  indicate 1 1\nevery 10ms\n  times 2\n  event\n");
    EXPECT_TRUE(play.events.WaitFor("event", 2));
    const auto other = play.Open(others);
    EXPECT_TRUE(others.WaitFor("event", 2));
    const std::vector<std::string> expected{"raw: 00", "01: 00 00 00 01", "event", "event"};
    EXPECT_EQ(play.events.All(), expected);
    EXPECT_EQ(others.All(), expected);
}

TEST(PhoneTest, TimersEndWithTheSinks)
{
    CPlay play("every 5ms\n  raw 01\n");
    EXPECT_TRUE(play.events.WaitFor("raw", 2));
    EXPECT_TRUE(play.client->Unadvise(Events::First, 1));
    EXPECT_FALSE(play.client->Unadvise(Events::First, 1));
    std::this_thread::sleep_for(std::chrono::milliseconds(10));  // what is on its way
    const auto last = play.events.All().size();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(play.events.All().size(), last);
}

// --- Trace ---

TEST(PhoneTest, TracesTheTraffic)
{
    CPlay play("on 25 1 *\n  event\n  reply 2 AA\n");
    play.client->Send({25, {1, 5, 6}, true, {2, 3}, 2000});
    play.client->Send({25, {1}, true, {3}, 2000});
    std::vector<std::string> texts;
    for (const std::string& line : play.traced.All())
        texts.push_back(line.substr(line.find("  #") + 2));
    EXPECT_EQ(texts, (std::vector<std::string>{"#1 -> open-id 1, 0  0x00000000",
                                               "#1 -> send 19 01 [05 06]  waits 2000 ms for 02 03", "#1 <= event",
                                               "#1 <- reply 19 02 [AA]  0x00000000",
                                               "#1 -> send 19 01 []  waits 2000 ms for 03", "#1 <= event",
                                               "#1 <- reply 19 02 [AA]  not among the expected  0x00000000"}));
}

TEST(PhoneTest, ShowsTheBeginningOfALongBody)
{
    EXPECT_EQ(CTrace::Body(Bytes(1025, 0)).size(), 1024 * 3 + std::string("[ ... 1025 bytes]").size() - 1);
}

// --- The scenarios that are shipped ---

TEST(ScenariosTest, AllThatAreShippedCanBePlayed)
{
    for (const auto& file : std::filesystem::directory_iterator(SCENARIO_FOLDER))
        EXPECT_NO_THROW(CScript(LoadScenario(file.path()))) << file.path();
}

}  // namespace
}  // namespace vorlansim
