#include "PhoneFixture.h"

#include <thread>

namespace vorlansim
{
namespace
{

// --- Rules and answers ---

TEST(PhoneTest, TriesRulesInOrder)
{
    CPlay play("on 25 1 01\n  reply 2 0A\non 25 1 *\n  reply 2 0B\non any any *\n  reply $id + 1 $resource\n");
    EXPECT_EQ(play.Ask("01 01"), "02 0A");
    EXPECT_EQ(play.Ask("01 02"), "02 0B");
    EXPECT_EQ(play.Ask("07"), "08 19");
}

TEST(PhoneTest, GivesTheAnswersOfARuleOneAfterTheOther)
{
    CPlay play("on 25 1\n  times 2\n  reply 2 0A\n then\n  reply 2 0B\n then\n  reply 2 0C\n");
    for (const char* expected : {"02 0A", "02 0A", "02 0B", "02 0C", "02 0C"})
        EXPECT_EQ(play.Ask("01"), expected);
}

TEST(PhoneTest, PassesOverARuleThatIsUsedUp)
{
    CPlay play("on 25 1\n  times 1\n  reply 2 0A\non 25 1\n  reply 2 0B\n");
    EXPECT_EQ(play.Ask("01"), "02 0A");
    EXPECT_EQ(play.Ask("01"), "02 0B");
}

TEST(PhoneTest, AnswersVersionQueriesOfDeclaredServicesOnly)
{
    CPlay play("service 0x19 version 16.2\nservice 57 version 2.5 status 19\n");
    EXPECT_EQ(play.Ask("F0 12 00"), "F0 01 10 02");
    EXPECT_EQ(play.Ask("F0 12 01"), "0x80070490");
    const auto ask = [&](std::uint8_t resource) {
        return play.client->Send({resource, {0xF0, 0x12, 0}, true, {}, 20000});
    };
    EXPECT_EQ(ask(57).reply, Bytes({0xF0, 19, 2, 5}));
    EXPECT_EQ(ask(58).result, kNoRule);
}

TEST(PhoneTest, OtherwiseAnswersTheRest)
{
    CPlay play("service 0x19 version 1.0\notherwise\n  fail 0x80004005\n");
    EXPECT_EQ(play.Ask("01"), "0x80004005");
    EXPECT_EQ(play.Ask("F0 12 00"), "F0 01 01 00");
}

struct GuardCase
{
    const char* guard;
    bool holds;
};

class GuardTest : public testing::TestWithParam<GuardCase>
{
};

TEST_P(GuardTest, DecidesWhetherTheRuleMatches)
{
    CPlay play("set n = 03\nset e[3] = 00\non 25 1\n  if " + std::string(GetParam().guard) +
               "\n  reply 2 0A\non 25 1\n  reply 2 0B\n");
    EXPECT_EQ(play.Ask("01"), GetParam().holds ? "02 0A" : "02 0B");
}

INSTANTIATE_TEST_SUITE_P(Guards, GuardTest,
                         testing::Values(GuardCase{"set n", true}, GuardCase{"set e[$n]", true},
                                         GuardCase{"set e[2]", false}, GuardCase{"unset e[2]", true},
                                         GuardCase{"unset n", false}, GuardCase{"$n == 3", true},
                                         GuardCase{"$n == 4", false}, GuardCase{"$n != 4", true},
                                         GuardCase{"$n < 3", false}, GuardCase{"$n <= 3", true},
                                         GuardCase{"$n > 3", false}, GuardCase{"$n >= 3", true},
                                         // What cannot be computed does not hold.
                                         GuardCase{"$e[9] == 0", false}, GuardCase{"$n - 4 == 0", false}));

TEST(PhoneTest, StoresShowsListsAndDeletes)
{
    CPlay play("on 25 1 <data:*>\n  set new = u8(next(entry))\n  set entry[$new] = $data\n  reply 2 00 $new\n"
               "on 25 3 <where:1>\n  if set entry[$where]\n  reply 4 00 bytes8($entry[$where])\n"
               "on 25 3 *\n  reply 4 05\n"
               "on 25 5 <where:1>\n  unset entry[$where]\n  reply 6 00\n"
               "on 25 7\n  reply 8 u8(count(entry)) each(where in entry, u8($where))\n"
               "on 25 9\n  unset entry\n  reply 10\n");
    EXPECT_EQ(play.Ask("01 AA AB"), "02 00 01");
    EXPECT_EQ(play.Ask("01 BB"), "02 00 02");
    EXPECT_EQ(play.Ask("01 CC"), "02 00 03");
    EXPECT_EQ(play.Ask("05 02"), "06 00");
    EXPECT_EQ(play.Ask("07"), "08 02 01 03");
    EXPECT_EQ(play.Ask("03 01"), "04 00 02 AA AB");
    EXPECT_EQ(play.Ask("03 02"), "04 05");
    EXPECT_EQ(play.Ask("01 DD"), "02 00 02");
    EXPECT_EQ(play.Ask("09"), "0A");
    EXPECT_EQ(play.Ask("07"), "08 00");
}

TEST(PhoneTest, ValuesGrow)
{
    // Also by themselves, by a capture that hides them, and by what cannot be known.
    CPlay play("set log = 01\nset e[2] = AA\non 25 1 <x:1>\n  set log = $log $x\n  set e[2] = $e[2] $e[2]\n"
               "  reply 2 $log EE $e[2]\non 25 3 <log:1>\n  set log = $log $log\n  reply 4\n"
               "on 25 5\n  set e[2] = $e[2] 01 $e[9]\n  reply 6\n");
    EXPECT_EQ(play.Ask("01 02"), "02 01 02 EE AA AA");
    EXPECT_EQ(play.Ask("03 07"), "04");
    EXPECT_EQ(play.Ask("05"), "0x8000FFFF");
    EXPECT_EQ(play.Ask("01 03"), "02 07 07 03 EE AA AA AA AA");
}

TEST(PhoneTest, SharesItsMemoryAmongClients)
{
    CPlay play("on 25 1 <x:1>\n  set last = $x\n  reply 2\non 25 3\n  reply 4 $last\n");
    const auto other = play.phone.NewSession();
    other->OpenById(1, 0);
    EXPECT_EQ(play.Ask("01 77"), "02");
    EXPECT_EQ(other->Send({25, {3}, true, {}, 20000}).reply, Bytes({4, 0x77}));
}

TEST(PhoneTest, ReportsAnActionThatCannotBeDone)
{
    CPlay play("on 25 1 <n:1>\n  reply 2 $e[$n]\non 25 3\n  set e[1] = 00\n  reply 4\n");
    EXPECT_EQ(play.Ask("01 05"), "0x8000FFFF");
    EXPECT_TRUE(play.traced.WaitFor("test.scenario:2: $e[5] is not set"));
    EXPECT_EQ(play.Ask("03"), "04");
}

// --- Faults ---

TEST(PhoneTest, AnswersWithAnyBytes)
{
    CPlay play("on 25 1\n  bytes\n then\n  bytes 0B\n then\n  bytes slice(0B 01 block11(1, 05), 0, 4)\n then\n"
               "  bytes repeat(70000, AA)\n");
    EXPECT_EQ(play.Send("01").reply, Bytes());
    EXPECT_EQ(play.Ask("01"), "0B");
    EXPECT_EQ(play.Ask("01"), "0B 01 01 04");
    EXPECT_EQ(play.Send("01").reply, Bytes(70000, 0xAA));
}

TEST(PhoneTest, HonoursTheTimeOut)
{
    CPlay play("on 25 1\n  noreply\non 25 2\n  event\non 25 3\n  delay 1min\n  reply 4\n");
    for (const char* message : {"01", "02", "03"})
        EXPECT_EQ(play.Ask(message, 20), "0x800705B4") << message;
}

TEST(PhoneTest, DropsALateReply)
{
    CPlay play("on 25 1\n  delay 100ms\n  reply 2 AA\n  event\non 25 3\n  reply 4\n");
    EXPECT_EQ(play.Ask("01", 10), "0x800705B4");
    EXPECT_EQ(play.Ask("03"), "04");
    EXPECT_TRUE(play.traced.WaitFor("!! dropped, nobody waits for it: reply 02 [AA]"));
    EXPECT_TRUE(play.events.WaitFor("event"));
}

TEST(PhoneTest, ABlockedClientBlocksNobody)
{
    CPlay play("on 25 1\n  noreply\non 25 3\n  reply 4\n");
    const auto other = play.phone.NewSession();
    other->OpenById(1, 0);
    SendAnswer blocked;
    std::thread thread([&] { blocked = other->Send({25, {1}, true, {}, 0xFFFFFFFF}); });
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

TEST(PhoneTest, RefusesWhatIsNoRequest)
{
    CPlay play("on any any *\n  reply 2\n");
    EXPECT_EQ(play.Send("").result, kBadArgument);
    const auto closed = play.phone.NewSession();
    EXPECT_EQ(closed->Send({25, {1}, true, {}, 20000}).result, kNotOpen);
    EXPECT_EQ(closed->SendRaw(Bytes{1}), kNotOpen);
}

TEST(PhoneTest, LetsEveryStepFail)
{
    for (std::size_t i = 0; i < kStepNames.size(); ++i)
    {
        CPlay play("fail " + std::string(kStepNames[i]) + " 0x80040001 times 1\n");
        const auto session = play.phone.NewSession();
        const auto step = static_cast<ClientStep>(i);
        // The fixture's own client took the only failure of its step.
        const Result expected = step == ClientStep::OpenById ? kOk : 0x80040001;
        EXPECT_EQ(session->Take(step), expected) << kStepNames[i];
        EXPECT_EQ(session->Take(step), kOk) << kStepNames[i];
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
    CPlay play("device 1 serial \"35é\" medium 0 0x101 medium 2 1\ndevice 0xFFFF\n");
    const auto session = play.phone.NewSession();
    EXPECT_EQ(session->OpenById(2, 0), kNotOpen);
    EXPECT_FALSE(session->IsOpen());
    EXPECT_EQ(session->OpenById(0xFFFF, 0), kOk);
    EXPECT_TRUE(session->IsOpen());
    EXPECT_EQ(session->OpenBySerialNumber(u"35", {0, 0x101}, 0, 0), kNotOpen);
    EXPECT_EQ(session->OpenBySerialNumber(u"35é", {0, 1}, 0, 0), kNotSupported);
    EXPECT_EQ(session->OpenBySerialNumber(u"35é", {2, 1}, 0, 0), kOk);
    EXPECT_TRUE(play.traced.WaitFor("open-serial \"35é\", medium 2 0x1, 0, 0  0x00000000"));
}

// --- Events ---

TEST(PhoneTest, EventsBeforeTheReplyComeInMidCall)
{
    CPlay play("on 25 1\n  indicate 0x66 0x84 05\n  event\n  raw 01 02\n  reply 2\n  indicate 0x66 0x84 06\n");
    play.Ask("01");
    auto events = play.events.All();
    events.resize(3);
    EXPECT_EQ(events, (std::vector<std::string>{"66: 00 00 00 84 05", "event", "raw: 01 02"}));
    EXPECT_TRUE(play.events.WaitFor("66: 00 00 00 84 06"));
}

TEST(PhoneTest, KeepsTheOrderOfEvents)
{
    CPlay play("on 25 1\n  reply 2\n  indicate 1 1\n  raw 02\n  indicate 1 3\n  delay 5ms\n  event\n");
    play.Ask("01");
    EXPECT_TRUE(play.events.WaitFor("event"));
    EXPECT_EQ(play.events.All(), (std::vector<std::string>{"01: 00 00 00 01", "raw: 02", "01: 00 00 00 03", "event"}));
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
    const auto closed = play.phone.NewSession();
    closed->Advise(Events::First, std::make_shared<CRecordingSink>(none));
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
    const auto session = play.phone.NewSession();
    session->OpenById(1, 0);
    session->Advise(Events::First, std::make_shared<CRecordingSink>(lines, 0x800706BA, true));
    session->Advise(Events::First, std::make_shared<CRecordingSink>(failing, 0x80004005));
    session->Send({25, {1}, true, {}, 20000});
    session->Send({25, {1}, true, {}, 20000});
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
    CPlay play("every 5ms\n  set n = u8(1)\n  event\n");
    EXPECT_TRUE(play.events.WaitFor("event", 2));
    EXPECT_TRUE(play.client->Unadvise(Events::First, 1));
    EXPECT_FALSE(play.client->Unadvise(Events::First, 1));
    EXPECT_FALSE(play.client->IsCurrent(1));
    play.client->Close();
    EXPECT_FALSE(play.client->IsOpen());
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
    EXPECT_EQ(texts, (std::vector<std::string>{
                         "#1 -> open-id 1, 0  0x00000000",
                         "#1 -> send 19 01 [05 06]  waits 2000 ms for 02 03",
                         "#1 <= event",
                         "#1 <- reply 19 02 [AA]  0x00000000",
                         "#1 -> send 19 01 []  waits 2000 ms for 03",
                         "#1 <= event",
                         "#1 <- reply 19 02 [AA]  not among the expected  0x00000000",
                     }));
}

TEST(PhoneTest, ShowsTheBeginningOfALongBody)
{
    EXPECT_EQ(CTrace::Body(Bytes(2, 0xAB)), "[AB AB]");
    EXPECT_EQ(CTrace::Body(Bytes(1025, 0)).size(), 1024 * 3 + std::string("[ ... 1025 bytes]").size() - 1);
}

// --- The scenarios that are shipped ---

TEST(ScenariosTest, TheDefaultPhoneKeepsItsClock)
{
    CPlay play(LoadScenario(std::filesystem::path(SCENARIO_FOLDER) / "default.scenario"));
    EXPECT_EQ(play.Ask("F0 12 00"), "F0 01 10 00");
    EXPECT_EQ(play.Ask("01 00 01 01 0C 01 03 07 D7 06 05 04 03 02 00"), "02 01 01 01 0C 01 03 07 D7 06 05 04 03 02 00");
    EXPECT_EQ(play.Ask("0A 00 00"), "0B 01 02 01 0C 01 03 07 D7 06 05 04 03 02 00 04 04 00 00");
    EXPECT_EQ(play.Ask("1F 01 00"), "20 01 02 05 08 0A 00 00 02 00 78 05 08 0B 00 00 01 00 3C");
}

TEST(ScenariosTest, TheDefaultPhoneKnowsItsFiles)
{
    CPlay play(LoadScenario(std::filesystem::path(SCENARIO_FOLDER) / "default.scenario"));
    const auto ask = [&](const std::string& message) {
        return ToHex(play.client->Send({0x6D, FromHex(message), true, {}, 20000}).reply.value_or(Bytes()));
    };
    EXPECT_EQ(ask("84 00 00 00 00 00 01"), "85 00 00 00 07 00 47 00 61 00 6C 00 6C 00 65 00 72 00 79");
    EXPECT_EQ(ask("84 00 00 00 00 00 09"), "85 02");
    EXPECT_EQ(ask("82 00 07 00 47 00 61 00 6C 00 6C 00 65 00 72 00 79 00 00"), "83 00 00 00 00 00 01");
    EXPECT_EQ(ask("82 00 01 00 41 00 00"), "83 02");
}

TEST(ScenariosTest, TheFailingPhoneFails)
{
    CPlay play(LoadScenario(std::filesystem::path(SCENARIO_FOLDER) / "failing.scenario"));
    EXPECT_EQ(play.Ask("F0 12 00"), "F0 01 10 00");
    EXPECT_EQ(play.Ask("0A 00 00"), "0x8007001F");
    EXPECT_EQ(play.Ask("01", 10), "0x800705B4");
    EXPECT_EQ(play.client->Send({0x6D, {0x84}, true, {}, 20000}).reply, Bytes({0x85, 6}));
    EXPECT_EQ(play.client->SendRaw(Bytes{1}), 0x80070005);
}

}  // namespace
}  // namespace vorlansim
