#include "connection/VorlanControl.h"

#include "support/ConnectionFixture.h"
#include "support/Memory.h"
#include "support/NewSpy.h"
#include "zelapi/time.h"

#include <atomic>
#include <functional>
#include <set>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

using Sent = FakeLinkService::Sent;

class VorlanControl : public ConnectionFixture
{
  protected:
    ~VorlanControl() override { m_service.DropSinks(); }

    void Open()
    {
        ASSERT_EQ(ZEL_OK, m_control.OpenById(1));
        m_service.TakeCalls();
        m_service.TakeSent();
    }

    static CMessage Message(std::uint8_t resource, std::uint8_t id, const Bytes& body = {}, const Bytes& replies = {})
    {
        CMessage message;
        message.SetResource(resource);
        message.SetMessageId(id);
        message.AppendBytes(body.size(), body.data());
        for (const std::uint8_t reply : replies)
            message.AddExpectedReply(reply);
        return message;
    }

    CVorlanControl m_control;
};

// ---------------------------------------------------------------------------------------------------------------------
// Opening and closing

TEST_F(VorlanControl, OpensAndClosesStepByStep)
{
    EXPECT_EQ(ZEL_OK, m_control.Initialize());
    EXPECT_EQ(ZEL_OK, m_control.OpenById(1));
    EXPECT_THAT(m_service.TakeCalls(), ElementsAre("Find 3", "Connect", "OpenById 1 0", "Advise1", "Advise2"));
    std::vector<Sent> queries;
    for (const std::uint8_t resource : kQueried)
        queries.push_back({resource, {0xF0, 0x12, 0x00}, VARIANT_TRUE, VT_EMPTY, {}, 2000});
    EXPECT_EQ(queries, m_service.TakeSent());
    EXPECT_EQ(2u, m_service.AdvisedSinks());

    EXPECT_EQ(ZEL_OK, m_control.Close());
    EXPECT_THAT(m_service.TakeCalls(), ElementsAre("Unadvise1 100", "Unadvise2 101"));
    EXPECT_EQ(ZEL_OK, m_control.Shutdown());
    EXPECT_EQ(ZEL_OK, m_control.Close());
    EXPECT_THAT(m_service.TakeCalls(), IsEmpty());
    EXPECT_EQ(0u, m_service.AdvisedSinks());
    EXPECT_EQ(0, m_service.LiveObjects());
}

TEST_F(VorlanControl, OpensTheDeviceByIdOrBySerialNumberAndMedium)
{
    const auto id = [](std::uint32_t number) {
        return [=](CVorlanControl& control) { return control.OpenById(number); };
    };
    const auto serial = [](const OLECHAR* text, std::uint32_t medium) {
        return [=](CVorlanControl& control) { return control.OpenBySerialNumber(text, medium); };
    };
    const struct
    {
        std::function<std::uint32_t(CVorlanControl&)> open;
        std::string direct;
        std::string brokered;
        bool selectsRange = false;
    } cases[] = {
        {id(0), "OpenById 0 0", "OpenById 0 0"},
        {id(0x0FFFFFFF), "OpenById 268435455 0", "OpenById 65535 0"},
        {id(0x10000000), "OpenById 0 0", "OpenById 0 0", true},
        {id(0x10000001), "OpenById 1 0", "OpenById 1 0", true},
        {id(0x80012345), "OpenById 74565 0", "OpenById 9029 0", true},
        {id(0xFFFFFFFF), "OpenById 268435455 0", "OpenById 65535 0", true},
        {serial(L"350", ZEL_MEDIUM_1), "OpenBySerialNumber \"350\" 0 257 0 0", {}},
        {serial(L"350", ZEL_MEDIUM_2), "OpenBySerialNumber \"350\" 0 1 0 0", {}},
        {serial(L"350", ZEL_MEDIUM_4), "OpenBySerialNumber \"350\" 1 1 0 0", {}},
        {serial(L"350", ZEL_MEDIUM_8), "OpenBySerialNumber \"350\" 2 1 0 0", {}},
        {serial(L"350", ZEL_MEDIUM_16), "OpenBySerialNumber \"350\" 3 1 0 0", {}},
        {serial(L"350", 0), "OpenBySerialNumber \"350\" 0 1 0 0", {}},
        {serial(L"", 0xFFFFFFFF), "OpenBySerialNumber \"\" 0 1 0 0", {}},
        {serial(nullptr, 3), "OpenBySerialNumber null 0 1 0 0", {}},
    };
    m_service.Returns("SelectRange", kFailure);  // Its result does not count.
    for (const bool broker : {false, true})
    {
        if (broker)
            m_service.OffersBroker();
        for (const auto& one : cases)
        {
            std::vector<std::string> calls = {"Find 3", "Connect"};
            if (one.selectsRange)
                calls.push_back("SelectRange 268435456");
            if (broker)
                calls.push_back("GetDevice 3 device");
            calls.push_back(broker ? "Brokered." + (one.brokered.empty() ? one.direct : one.brokered) : one.direct);
            CVorlanControl control;
            EXPECT_EQ(ZEL_OK, one.open(control));
            auto made = m_service.TakeCalls();
            made.resize(calls.size());
            EXPECT_EQ(calls, made);
            control.Close();
            m_service.TakeCalls();
        }
    }
    EXPECT_EQ(0, m_service.LiveObjects());
}

TEST_F(VorlanControl, ReportsAFailedOpenAndLeavesNothingBehind)
{
    enum How : std::uint8_t
    {
        kFails,
        kGivesNull,
    };
    const struct
    {
        const char* step;
        How how = kFails;
        bool broker = false;
        bool matters = true;
    } cases[] = {
        {"CreateLocator"},
        {"Find"},
        {"QueryDevice"},
        {"QueryBroker"},
        {"Connect"},
        {"QueryService"},
        {"Open"},
        {"Open", kFails, true},
        {"GetDevice", kFails, true},
        {"GetDevice", kGivesNull, true},
        {"QueryBrokered", kFails, true},
        {"QueryContainer"},
        {"FindPoint2"},
        {"FindPoint2", kGivesNull},
        {"Advise2"},
        // Without the first events a connection is still good for requests.
        {"FindPoint1", kFails, false, false},
        {"Advise1", kFails, false, false},
    };
    for (const auto& one : cases)
    {
        SCOPED_TRACE(one.step);
        m_service.Reset();
        if (one.broker)
            m_service.OffersBroker();
        for (const char* step : {"OpenById", "OpenBySerialNumber"})
        {
            const std::string failing = std::string(one.step) == "Open" ? step : one.step;
            if (one.how == kGivesNull)
                m_service.GivesNull(failing);
            else
                m_service.Returns(failing, kFailure);
        }
        const auto failure = static_cast<std::uint32_t>(one.how == kGivesNull ? E_NOINTERFACE : kFailure);
        CVorlanControl control;
        EXPECT_EQ(one.matters ? ZEL_E_FAIL : ZEL_OK, control.OpenById(1));
        EXPECT_EQ(one.matters ? 0u : 1u, m_service.AdvisedSinks());
        control.Close();
        EXPECT_EQ(one.matters ? failure : ZEL_OK, control.OpenBySerialNumber(L"1", 2));
        control.Close();
        EXPECT_EQ(0, m_service.LiveObjects());
        EXPECT_EQ(0u, m_service.AdvisedSinks());
    }
}

TEST_F(VorlanControl, CloseReportsTheLastUnadviseAndGoesOn)
{
    const struct
    {
        const char* step;
        std::uint32_t result;
    } cases[] = {{"Unadvise1", 0}, {"Unadvise2", 0x80040123}, {"QueryContainer", 0x80040123}};
    for (const auto& one : cases)
    {
        m_service.Reset();
        CVorlanControl control;
        ASSERT_EQ(ZEL_OK, control.OpenById(1));
        m_service.Returns(one.step, kFailure);
        EXPECT_EQ(one.result, control.Close()) << one.step;
        CMessage message = Message(25, 1);
        EXPECT_THROW(control.Send(message, 0), std::uint32_t) << "the service is gone all the same";
        m_service.DropSinks();
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// What the phone supports

TEST_F(VorlanControl, KeepsTheVersionsThatThePhoneAnswers)
{
    const struct
    {
        std::uint8_t resource;
        Bytes reply;
        std::uint32_t result;
        std::uint32_t version;
    } cases[] = {
        {57, {0xF0, 1, 2, 3}, 0, 0x0203},  {62, {0xF0, 19, 0xFF, 1, 9}, 0, 0xFF01},
        {34, {0xF0, 0, 1, 1}, 3, 0xAB},    {19, {0xF0, 18, 1, 1}, 3, 0xAB},
        {20, {0xF1, 1, 1, 1}, 3, 0xAB},    {2, {0xF0}, 3, 0xAB},
        {170, {0xF0, 1, 0, 0}, 0, 0x0000}, {1, {}, 3, 0xAB},
        {63, {0xF0, 1, 1, 1}, 3, 0xAB},
    };
    for (const auto& one : cases)
        m_service.Answer(one.resource, 0xF0, one.reply);
    m_service.Answer(3, 0xF0, [](VARIANT& message) {
        StoreBytes(message, {0xF0, 1, 1, 1});
        return S_FALSE;
    });
    ASSERT_EQ(ZEL_OK, m_control.OpenById(1));
    for (const auto& one : cases)
    {
        SCOPED_TRACE(unsigned{one.resource});
        std::uint32_t version = 0xAB;
        EXPECT_EQ(one.result, m_control.QuerySupport(one.resource << 8u | 0xAA0000FFu, version));
        EXPECT_EQ(one.version, version);
        std::uint8_t major = 0xEE;
        std::uint8_t minor = 0xEE;
        EXPECT_EQ(one.result == 0 ? 0 : ZEL_E_FAIL, m_control.GetServiceVersion(one.resource, major, minor));
        EXPECT_EQ(one.result == 0 ? one.version : 0xEEEE, static_cast<std::uint32_t>(major << 8 | minor));
    }
    std::uint32_t version = 0;
    EXPECT_EQ(ZEL_NOT_SUPPORTED, m_control.QuerySupport(0x301, version)) << "a result above 0 is no answer";

    m_control.Close();
    EXPECT_EQ(ZEL_NOT_SUPPORTED, m_control.QuerySupport(57 << 8, version));
}

TEST_F(VorlanControl, ReadsTheTimeServiceWhereItIsNewEnough)
{
    m_service.Answer(0x19, 0x1F,
                     Bytes{0x20, 1, 2,                             // done, two sub-blocks
                           5, 8, 10, 0, 0x00, 0x01, 0x12, 0x34,    // setting 10
                           5, 8, 11, 0, 0x00, 0x02, 0x56, 0x78});  // setting 11
    constexpr std::uint8_t kMajors[] = {0, 15, 16};
    for (const std::uint8_t major : kMajors)
    {
        if (major != 0)
            m_service.AnswerVersion(0x19, major, 0);
        CVorlanControl control;
        ASSERT_EQ(ZEL_OK, control.OpenById(1));
        const auto sent = m_service.TakeSent();
        std::uint16_t first = 9;
        std::uint16_t second = 9;
        EXPECT_EQ(ZEL_OK, control.GetTimeServiceParameters(first, second));
        if (major == 16)
        {
            EXPECT_EQ(12u, sent.size());
            EXPECT_EQ((Bytes{0x1F, 1, 0}), sent.back().bytes);
            EXPECT_EQ(60000u, sent.back().timeoutMs);
        }
        else
            EXPECT_EQ(11u, sent.size());
        EXPECT_EQ(major == 16 ? 0x1234 : 0, first);
        EXPECT_EQ(major == 16 ? 0x5678 : 0, second);
        control.Close();
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Requests

TEST_F(VorlanControl, SendsIdBodyAndExpectedReplies)
{
    Open();
    m_service.Answer(7, 1, Bytes{1});
    const struct
    {
        CMessage message;
        std::uint32_t timeoutMs;
        Sent sent;
    } cases[] = {
        {Message(7, 1, {0xAA, 0xBB}, {9, 2, 0xFF, 5}),
         60000,
         {7, {1, 0xAA, 0xBB}, -1, VT_ARRAY | VT_UI1, {2, 5, 9, 0xFF}, 60000}},
        {Message(7, 1, {}, {}), 1, {7, {1}, -1, VT_EMPTY, {}, 1}},
        {Message(7, 1, {0}, {3}), 0, {7, {1, 0}, 0, VT_EMPTY, {}, 0}},
    };
    for (const auto& one : cases)
    {
        CMessage message = one.message;
        EXPECT_EQ(ZEL_OK, m_control.Send(message, one.timeoutMs));
        EXPECT_THAT(m_service.TakeSent(), ElementsAre(one.sent));
    }
}

TEST_F(VorlanControl, AReplyReplacesTheMessage)
{
    Open();
    const auto with = [](const Bytes& bytes, HRESULT result) {
        return [=](VARIANT& v) { return StoreBytes(v, bytes), result; };
    };
    const auto nullArray = [](VARIANT& v) {
        VariantClear(&v);
        v.vt = VT_ARRAY | VT_UI1;
        v.parray = nullptr;
        return S_OK;
    };
    const struct
    {
        const char* name;
        FakeLinkService::Answerer answer;
        std::uint32_t timeoutMs;
        HRESULT result;
        std::uint8_t id;
        Bytes body;
    } cases[] = {
        {"id and body", with({2, 3, 4}, S_OK), 1, S_OK, 2, {3, 4}},
        {"id only", with({2}, S_OK), 1, S_OK, 2, {}},
        {"no bytes", with({}, S_OK), 1, S_OK, 0, {}},
        {"no array", [](VARIANT& v) { return VariantClear(&v); }, 1, S_OK, 0, {}},
        {"null array", nullArray, 1, S_OK, 0, {}},
        {"another success", with({2, 3}, S_FALSE), 1, S_FALSE, 2, {3}},
        {"failure", with({2, 3}, kFailure), 1, kFailure, 1, {8, 9}},
        {"no wait", with({2, 3}, S_OK), 0, S_OK, 1, {8, 9}},
    };
    for (const auto& one : cases)
    {
        SCOPED_TRACE(one.name);
        m_service.Answer(7, 1, one.answer);
        CMessage message = Message(7, 1, {8, 9});
        EXPECT_EQ(static_cast<std::uint32_t>(one.result), m_control.Send(message, one.timeoutMs));
        EXPECT_EQ(7, message.GetResource());
        EXPECT_EQ(one.id, message.GetMessageId());
        EXPECT_TRUE(SameBytes(one.body, BodyOf(message)));
        EXPECT_EQ(0u, message.GetPosition());
    }
}

TEST_F(VorlanControl, SendsRawBytes)
{
    Open();
    const std::uint8_t bytes[] = {1, 2, 3};
    EXPECT_EQ(ZEL_OK, m_control.SendRaw(3, bytes));
    EXPECT_EQ(ZEL_OK, m_control.SendRaw(0, nullptr));
    EXPECT_THAT(m_service.TakeRaw(), ElementsAre(Bytes{1, 2, 3}, Bytes{}));
    m_service.Returns("SendRaw", kFailure);
    EXPECT_EQ(static_cast<std::uint32_t>(kFailure), m_control.SendRaw(1, bytes));
}

TEST_F(VorlanControl, HasNoServiceBeforeTheOpenAndAfterTheClose)
{
    for (const bool closed : {false, true})
    {
        if (closed)
        {
            Open();
            m_control.Close();
        }
        CMessage message = Message(7, 1);
        EXPECT_EQ(ZEL_E_NO_SERVICE, ResultOf([&] { return m_control.Send(message, 1); }));
        EXPECT_EQ(ZEL_E_NO_SERVICE, ResultOf([&] { return m_control.SendRaw(0, nullptr); }));
        EXPECT_EQ(ZEL_E_NO_SERVICE, ResultOf([&] { return m_control.Subscribe(ZEL_REGISTER, 0x6601); }));
    }
}

TEST_F(VorlanControl, SubscribesToServices)
{
    Open();
    const struct
    {
        std::uint32_t action;
        std::uint32_t id;
        Bytes bytes;
    } cases[] = {
        {16, 0x6601, {0x10, 1, 0x66}},           {16, 0x6602, {0x10, 1, 0x66}},
        {16, 0xABCD1401, {0x10, 2, 0x14, 0x66}}, {16, 0xFF10, {0x10, 3, 0x14, 0x66, 0xFF}},
        {32, 0x6605, {0x10, 2, 0x14, 0xFF}},     {32, 0x0100, {0x10, 2, 0x14, 0xFF}},
        {32, 0x1400, {0x10, 1, 0xFF}},           {32, 0xFF00, {0x10, 0}},
    };
    for (const auto& one : cases)
    {
        EXPECT_EQ(ZEL_OK, m_control.Subscribe(one.action, one.id));
        EXPECT_THAT(m_service.TakeSent(), ElementsAre(Sent{0x10, one.bytes, 0, VT_EMPTY, {}, 0}));
    }
    for (const std::uint32_t action : {0u, 7u, 48u})
        EXPECT_EQ(ZEL_E_ARGUMENT, m_control.Subscribe(action, 0x6601));
    EXPECT_THAT(m_service.TakeSent(), IsEmpty());
    m_service.Returns("Send", kFailure);
    EXPECT_EQ(static_cast<std::uint32_t>(kFailure), m_control.Subscribe(ZEL_REGISTER, 0x6601));
}

// ---------------------------------------------------------------------------------------------------------------------
// What the phone says on its own

class Indications : public VorlanControl
{
  protected:
    Indications()
    {
        Open();
        m_control.RegisterCallback(ZEL_REGISTER, &Recorder::Callback<1>);
    }

    void MakeRawHandler()
    {
        AccessRecord record;
        EXPECT_EQ(ZEL_OK, m_control.SendRequest(ZEL_FULL_ACCESS_QUERY, &record));
    }

    /// What arrived before an event that is raised now.
    std::vector<std::string> ArrivedSoFar()
    {
        RaiseEvent(0xEE);
        EXPECT_TRUE(Eventually([&] {
            const auto entries = m_recorder.Entries();
            return !entries.empty() && entries.back() == "callback1 2 26113 238";
        }));
        auto entries = m_recorder.TakeEntries();
        entries.pop_back();
        return entries;
    }
};

TEST_F(Indications, ArriveInOrderOnOneThread)
{
    RecordingTarget target(m_recorder, "target");
    m_control.RegisterInterface(ZEL_REGISTER, &target);
    std::set<DWORD> threads;
    m_recorder.onDelivery = [&](const std::string&, void*) { threads.insert(GetCurrentThreadId()); };
    OnThread([&] {
        RaiseEvent(1);
        RaiseEvent(2);
    }).join();
    OnThread([&] { RaiseEvent(3); }).join();
    EXPECT_TRUE(m_recorder.WaitFor(6));
    EXPECT_THAT(m_recorder.Entries(), ElementsAre("target 2 26113 1", "callback1 2 26113 1", "target 2 26113 2",
                                                  "callback1 2 26113 2", "target 2 26113 3", "callback1 2 26113 3"));
    EXPECT_EQ(1u, threads.size());
    EXPECT_EQ(0u, threads.count(GetCurrentThreadId()));
}

TEST_F(Indications, DropWhatIsNoMessage)
{
    MakeRawHandler();
    VARIANT variant;
    VariantInit(&variant);
    const auto raiseBoth = [&](VARIANT* message) {
        EXPECT_EQ(S_OK, m_control.OnMessageReceived(0x66, message));
        EXPECT_EQ(S_OK, m_control.OnRawMessageReceived(message));
    };
    raiseBoth(nullptr);
    raiseBoth(&variant);
    variant.vt = VT_ARRAY | VT_UI1;
    raiseBoth(&variant);
    variant.vt = VT_I4;
    raiseBoth(&variant);
    variant.vt = VT_ARRAY | VT_UI2;
    variant.parray = SafeArrayCreateVector(VT_UI2, 0, 8);
    raiseBoth(&variant);
    VariantClear(&variant);

    m_service.RaiseMessage(0x66, Bytes{});
    m_service.RaiseMessage(0x66, Bytes{0, 0, 0});
    m_service.RaiseMessage(0x66, Indication(0x85, {1}));  // Not an indication of the service.
    m_service.RaiseMessage(0x04, Indication(0x84, {1}));  // No such service.
    m_service.RaiseMessage(0x6D, Indication(0x84, {1}));  // A service without indications.
    EXPECT_THAT(ArrivedSoFar(), IsEmpty());

    m_service.RaiseMessage(0x66, Indication(0x84, {}));
    EXPECT_THAT(ArrivedSoFar(), ElementsAre("callback1 2 26113 0"));
}

TEST_F(Indications, RawMessagesNeedTheirHandler)
{
    m_service.RaiseRawMessage(Bytes{1, 2});
    EXPECT_THAT(ArrivedSoFar(), IsEmpty());
    MakeRawHandler();
    m_service.RaiseRawMessage(Bytes{1, 2, 3, 4, 5});
    m_service.RaiseRawMessage(Bytes{});
    EXPECT_THAT(ArrivedSoFar(), ElementsAre("callback1 2 65296 raw 1 2 3 4 5", "callback1 2 65296 raw"));
}

TEST_F(Indications, OfTheRawServiceMakeItsHandler)
{
    m_service.RaiseMessage(0xFF, Indication(9, {7, 8}));
    m_service.RaiseRawMessage(Bytes{6});
    EXPECT_THAT(ArrivedSoFar(), ElementsAre("callback1 2 65296 raw 7 8", "callback1 2 65296 raw 6"));
    EXPECT_THAT(m_service.TakeCalls(), ElementsAre("GetAccess"));
}

TEST_F(Indications, ConnectionEventsArriveOnTheServicesThread)
{
    DWORD delivered = 0;
    m_recorder.onDelivery = [&](const std::string&, void*) { delivered = GetCurrentThreadId(); };
    m_service.RaiseConnectionEvent();
    EXPECT_EQ(GetCurrentThreadId(), delivered);
    EXPECT_THAT(m_recorder.Entries(), ElementsAre("callback1 1 0 null"));
}

std::atomic<int> g_delivered = 0;
std::atomic<bool> g_throws = false;

void __stdcall Count(std::uint32_t, std::uint32_t, void*)
{
    ++g_delivered;
    if (g_throws)
        throw std::uint32_t{1};
}

/// A short message, whose record holds blocks and texts.
Bytes ShortMessage()
{
    return {1, 0,   0, 5,    0, 1,                                   // location 5, a message follows
            0, 24,  1, 2,    3, 1,    2,    3, 4, 5, 6, 7, 0, 0, 0,  // kind 0: header bytes, block
            1, 130, 8, 0x91, 2, 0x21, 0x43, 0, 0};                   // an address
}

TEST_F(Indications, FreeTheirRecordAfterTheDelivery)
{
    m_control.RegisterCallback(ZEL_UNREGISTER, &Recorder::Callback<1>);
    m_control.RegisterCallback(ZEL_REGISTER, &Count);
    for (const bool throws : {false, true})
    {
        const CLeakCheck leaks;
        g_delivered = 0;
        g_throws = throws;
        for (int i = 0; i < 3; ++i)
        {
            RaiseEvent(1);
            m_service.RaiseMessage(0x02, Indication(4, ShortMessage()));
        }
        EXPECT_TRUE(Eventually([] { return g_delivered == 6; }));
        m_control.Stop(60000);
        m_control.Start();
    }
}

TEST_F(Indications, LeaveNothingWhenThereIsNoMemoryForThem)
{
    m_control.RegisterCallback(ZEL_UNREGISTER, &Recorder::Callback<1>);
    VARIANT message;
    VariantInit(&message);
    StoreBytes(message, Indication(4, ShortMessage()));
    const std::size_t before = host::LiveAllocations();
    unsigned failing = 0;
    for (bool failed = true; failed; failing += failed ? 1 : 0)
    {
        host::FailNew(failing + 1);
        m_control.OnMessageReceived(0x02, &message);
        failed = !host::IsNewFailurePending();
        host::FailNew(0);
        EXPECT_TRUE(Eventually([&] { return host::LiveAllocations() == before; })) << "allocation " << failing + 1;
    }
    EXPECT_LT(2u, failing);
    VariantClear(&message);
}

TEST_F(Indications, ACallbackMaySendAndSubscribe)
{
    m_service.Answer(0x19, 0x0A, Bytes{0x0B, 0});
    std::vector<std::uint32_t> results;
    m_recorder.onDelivery = [&](const std::string&, void*) {
        TimeRecord record;
        results.push_back(m_control.SendRequest(ZEL_TIME_READ, &record));
        results.push_back(m_control.Subscribe(ZEL_REGISTER, ZEL_MESSAGING_EVENT));
        results.push_back(m_control.RegisterCallback(ZEL_UNREGISTER, &Recorder::Callback<1>));
        m_recorder.Append("done");
    };
    RaiseEvent(1);
    EXPECT_TRUE(m_recorder.WaitFor(2));
    EXPECT_THAT(results, ElementsAre(0, 0, 0));
    EXPECT_EQ(2u, m_service.TakeSent().size());
}

TEST_F(Indications, CloseWaitsForARunningDelivery)
{
    Signal entered;
    Signal release;
    m_recorder.onDelivery = [&](const std::string&, void*) {
        entered.Set();
        release.Wait();
        m_recorder.Append("delivered");
    };
    RaiseEvent(1);
    RaiseEvent(2);
    ASSERT_TRUE(entered.Wait());
    std::thread closer = OnThread([&] {
        m_control.Close();
        m_recorder.Append("closed");
    });
    Sleep(50);
    m_recorder.onDelivery = nullptr;
    release.Set();
    closer.join();
    const auto entries = m_recorder.Entries();
    EXPECT_EQ("delivered", entries[1]);
    EXPECT_EQ("closed", entries.back());
    RaiseEvent(3);
    EXPECT_EQ(entries, m_recorder.Entries()) << "nothing arrives after the close";
}

TEST_F(VorlanControl, ClosesWhenNoEventIsInsideAndKeepsItsServiceUntilThen)
{
    Open();
    m_control.RegisterCallback(ZEL_REGISTER, &Recorder::Callback<1>);
    Signal entered;
    Signal release;
    m_recorder.onDelivery = [&](const std::string&, void*) {
        entered.Set();
        release.Wait();
        m_recorder.Append(m_service.LiveObjects() != 0 ? "delivered" : "delivered without a service");
    };
    std::thread event = OnThread([&] { m_service.RaiseConnectionEvent(); });
    ASSERT_TRUE(entered.Wait());
    std::thread closer = OnThread([&] {
        m_control.Close();
        m_recorder.Append("closed");
    });
    EXPECT_TRUE(Eventually([&] { return m_service.AdvisedSinks() == 0; }));
    Sleep(20);
    release.Set();
    event.join();
    closer.join();
    EXPECT_THAT(m_recorder.Entries(), ElementsAre("callback1 1 0 null", "delivered", "closed"));
}

TEST_F(VorlanControl, AnswersQuestionsWhileItEnds)
{
    m_service.AnswerVersion(0x19, 16, 0);
    std::atomic<bool> over = false;
    std::thread asker = OnThread([&] {
        std::uint32_t version = 0;
        while (!over)
        {
            m_control.QuerySupport(ZEL_TIME_READ, version);
            CMessage message = Message(7, 1);
            ResultOf([&] { return m_control.Send(message, 0); });
        }
    });
    for (int i = 0; i < 10; ++i)
    {
        EXPECT_EQ(ZEL_OK, m_control.OpenById(1));
        m_control.Close();
    }
    over = true;
    asker.join();
}

TEST_F(VorlanControl, EachSinkAnswersForItsOwnInterface)
{
    const struct
    {
        IUnknown* sink;
        const IID& own;
        const IID& other;
    } cases[] = {
        {static_cast<CIVorlanServiceEvents*>(&m_control), IID_IVorlanServiceEvents, IID_IVorlanServiceEvents2},
        {static_cast<CIVorlanServiceEvents2*>(&m_control), IID_IVorlanServiceEvents2, IID_IVorlanServiceEvents},
    };
    for (const auto& one : cases)
    {
        void* object = nullptr;
        EXPECT_EQ(S_OK, one.sink->QueryInterface(IID_IUnknown, &object));
        EXPECT_EQ(one.sink, object);
        EXPECT_EQ(S_OK, one.sink->QueryInterface(one.own, &object));
        EXPECT_EQ(one.sink, object);
        EXPECT_EQ(3u, one.sink->AddRef());
        for (const IID* refused : {&one.other, &IID_IDispatch, &IID_IVorlanService2})
        {
            object = this;
            EXPECT_EQ(E_NOINTERFACE, one.sink->QueryInterface(*refused, &object));
            EXPECT_EQ(nullptr, object);
        }
        EXPECT_EQ(E_POINTER, one.sink->QueryInterface(one.own, nullptr));
        for (const ULONG left : {2u, 1u, 0u})
            EXPECT_EQ(left, one.sink->Release());
    }
}

}  // namespace
