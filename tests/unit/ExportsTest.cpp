#include "connection/VorlanControl.h"
#include "support/ConnectionFixture.h"
#include "support/NewSpy.h"
#include "support/Resources.h"
#include "zelapi/time.h"
#include "zelapi/zelapi.h"

#include <atomic>
#include <optional>

using testing::Each;
using testing::ElementsAre;

namespace
{

class Exports : public ConnectionFixture
{
  protected:
    ~Exports() override
    {
        m_service.DropSinks();
        ZelAPI_Terminate();
    }

    static ZelConnection Open()
    {
        ZelConnection handle = nullptr;
        EXPECT_EQ(ZEL_OK, ZelOpenConnection(1, &handle));
        return handle;
    }

    /// The result of every function that takes a handle.
    static std::vector<std::uint32_t> CallAll(ZelConnection handle)
    {
        static RecordingTarget target(s_unused, "");
        TimeRecord record;
        std::uint32_t version = 0;
        return {ZelSendMessage(handle, ZEL_TIME_READ, &record),
                ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version),
                ZelRegisterCallback(handle, ZEL_REGISTER, &Recorder::Callback<2>),
                ZelRegisterNotification(handle, ZEL_REGISTER, ZEL_TIME_READ),
                ZelRegisterNotificationIF(handle, ZEL_REGISTER, &target),
                ZelCloseConnection(handle)};
    }

    static inline Recorder s_unused;
};

TEST_F(Exports, CountInitialisations)
{
    EXPECT_EQ(10u, ZelGetAPIVersion());
    EXPECT_EQ(1u, ZelAPI_Initialize());
    EXPECT_EQ(2u, ZelAPI_Initialize());
    ZelConnection handle = Open();
    EXPECT_EQ(1u, ZelAPI_Terminate());
    std::uint32_t version = 0;
    EXPECT_EQ(ZEL_NOT_SUPPORTED, ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version)) << "still open";
    m_service.DropSinks();
    EXPECT_EQ(0u, ZelAPI_Terminate());
    EXPECT_EQ(ZEL_E_HANDLE, ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version));

    handle = Open();
    m_service.DropSinks();
    EXPECT_EQ(0u, ZelAPI_Terminate()) << "without an initialisation";
    EXPECT_EQ(ZEL_E_HANDLE, ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version));
}

TEST_F(Exports, RefuseWhatIsNoHandle)
{
    ZelConnection open = Open();
    ZelConnection closed = Open();
    EXPECT_EQ(ZEL_OK, ZelCloseConnection(closed));
    int foreign = 0;
    for (ZelConnection handle :
         {ZelConnection{nullptr}, reinterpret_cast<ZelConnection>(std::uintptr_t{1}), closed,
          static_cast<ZelConnection>(&foreign), static_cast<ZelConnection>(static_cast<char*>(open) + 8)})
        EXPECT_THAT(CallAll(handle), Each(ZEL_E_HANDLE));
    EXPECT_EQ(ZEL_OK, ZelCloseConnection(open));
}

TEST_F(Exports, CheckTheirOutArguments)
{
    const auto unreadable = std::uintptr_t{1};
    for (auto* out : {static_cast<ZelConnection*>(nullptr), reinterpret_cast<ZelConnection*>(unreadable)})
    {
        const std::uint32_t medium = 1;
        EXPECT_EQ(ZEL_E_ARGUMENT, ZelOpenConnection(1, out));
        EXPECT_EQ(ZEL_E_ARGUMENT, ZelOpenConnectionUsingSN(L"1", &medium, out));
    }
    ZelConnection handle = nullptr;
    EXPECT_EQ(ZEL_E_ARGUMENT, ZelOpenConnectionUsingSN(L"1", nullptr, &handle));
    EXPECT_EQ(ZEL_E_ARGUMENT, ZelOpenConnectionUsingSN(L"1", reinterpret_cast<std::uint32_t*>(unreadable), &handle));
    EXPECT_EQ(nullptr, handle);
    EXPECT_THAT(m_service.TakeCalls(), testing::IsEmpty()) << "nothing is opened";
    handle = Open();
    EXPECT_EQ(ZEL_E_ARGUMENT, ZelMsgSupportQuery(handle, ZEL_TIME_READ, nullptr));
    EXPECT_EQ(ZEL_E_ARGUMENT, ZelMsgSupportQuery(handle, ZEL_TIME_READ, reinterpret_cast<std::uint32_t*>(unreadable)));
}

TEST_F(Exports, OpenWritesTheHandleOnSuccessOnly)
{
    const std::uint32_t medium = 4;
    m_service.Returns("OpenById", kFailure);
    m_service.Returns("OpenBySerialNumber", kFailure);
    ZelConnection handle = this;
    EXPECT_EQ(ZEL_E_FAIL, ZelOpenConnection(1, &handle));
    EXPECT_EQ(0x80040123, ZelOpenConnectionUsingSN(L"350", &medium, &handle));
    EXPECT_EQ(this, handle);

    m_service.Returns("OpenBySerialNumber", S_OK);
    m_service.TakeCalls();
    EXPECT_EQ(ZEL_OK, ZelOpenConnectionUsingSN(L"350", &medium, &handle));
    EXPECT_THAT(m_service.TakeCalls(), testing::Contains("OpenBySerialNumber \"350\" 1 1 0 0"));
    EXPECT_THAT(CallAll(handle), ElementsAre(static_cast<std::uint32_t>(FakeLinkService::kNoAnswer), ZEL_NOT_SUPPORTED,
                                             ZEL_OK, ZEL_OK, ZEL_OK, ZEL_OK));
    EXPECT_EQ(0, m_service.LiveObjects());
}

TEST_F(Exports, PassRequestsToTheirService)
{
    m_service.AnswerVersion(0x19, 15, 2);
    // Done, one sub-block: id 1, 12 bytes, leading bytes 7 and 3 (valid), 2006-05-04 13:02:01, padding.
    m_service.Answer(0x19, 0x0A, Bytes{0x0B, 1, 1, 1, 12, 7, 3, 0x07, 0xD6, 5, 4, 13, 2, 1, 0});
    ZelConnection handle = Open();
    TimeRecord record = {};
    EXPECT_EQ(ZEL_OK, ZelSendMessage(handle, ZEL_TIME_READ, &record));
    EXPECT_EQ(2006, record.now.year);
    EXPECT_EQ(13, record.now.hour);
    EXPECT_EQ(ZEL_E_VERSION, ZelSendMessage(handle, ZEL_TIME_READ_SETTINGS, &record));
    EXPECT_EQ(ZEL_E_ARGUMENT, ZelSendMessage(handle, ZEL_TIME_READ, nullptr));
    EXPECT_EQ(ZEL_NOT_HANDLED, ZelSendMessage(handle, 0x19FF, &record));
    std::uint32_t version = 0xAB;
    EXPECT_EQ(ZEL_OK, ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version));
    EXPECT_EQ(0x0F02u, version);
}

TEST_F(Exports, RegisterTargetsAndSubscriptions)
{
    RecordingTarget target(m_recorder, "target");
    ZelConnection handle = Open();
    EXPECT_EQ(ZEL_OK, ZelRegisterCallback(handle, ZEL_REGISTER, &Recorder::Callback<1>));
    EXPECT_EQ(ZEL_OK, ZelRegisterNotificationIF(handle, ZEL_REGISTER, &target));
    m_service.RaiseConnectionEvent();
    EXPECT_THAT(m_recorder.TakeEntries(), ElementsAre("target 1 0 null", "callback1 1 0 null"));
    EXPECT_EQ(ZEL_OK, ZelRegisterNotificationIF(handle, ZEL_UNREGISTER, &target));
    EXPECT_EQ(ZEL_OK, ZelRegisterCallback(handle, 7, &Recorder::Callback<1>));
    EXPECT_EQ(ZEL_E_ARGUMENT, ZelRegisterCallback(handle, ZEL_REGISTER, nullptr));
    EXPECT_EQ(ZEL_E_ARGUMENT, ZelRegisterNotificationIF(handle, 7, &target));
    m_service.RaiseConnectionEvent();
    EXPECT_THAT(m_recorder.TakeEntries(), testing::IsEmpty());

    m_service.TakeSent();
    EXPECT_EQ(ZEL_OK, ZelRegisterNotification(handle, ZEL_REGISTER, ZEL_MESSAGING_EVENT));
    EXPECT_EQ(ZEL_E_ARGUMENT, ZelRegisterNotification(handle, 7, ZEL_MESSAGING_EVENT));
    EXPECT_THAT(m_service.TakeSent(), ElementsAre(FakeLinkService::Sent{0x10, {0x10, 1, 0x66}, 0, VT_EMPTY, {}, 0}));
}

TEST_F(Exports, ATargetCannotEndTheConnectionThatCallsIt)
{
    ZelAPI_Initialize();
    ZelConnection handle = Open();
    ZelConnection other = Open();
    ZelRegisterCallback(handle, ZEL_REGISTER, &Recorder::Callback<1>);
    std::vector<std::uint32_t> results;
    m_recorder.onDelivery = [&](const std::string&, void*) {
        for (const std::uint32_t result : {ZelCloseConnection(handle), ZelAPI_Terminate()})
            results.push_back(result);
        m_recorder.Append("done");
    };
    m_service.RaiseConnectionEvent();
    RaiseEvent(1);
    EXPECT_TRUE(m_recorder.WaitFor(4));
    m_recorder.onDelivery = [&](const std::string&, void*) { results.push_back(ZelCloseConnection(other)); };
    m_service.RaiseConnectionEvent();
    EXPECT_THAT(results, ElementsAre(ZEL_E_FAIL, ZEL_E_FAIL, ZEL_E_FAIL, ZEL_E_FAIL, ZEL_OK));
    m_recorder.onDelivery = nullptr;
    EXPECT_EQ(ZEL_OK, ZelCloseConnection(handle));
    EXPECT_EQ(2u, ZelAPI_Initialize()) << "nothing was counted down";
    ZelAPI_Terminate();
}

bool InSingleThreadedApartment()
{
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    return SUCCEEDED(CoGetApartmentType(&type, &qualifier)) && (type == APTTYPE_STA || type == APTTYPE_MAINSTA);
}

TEST_F(Exports, TerminateLeavesAForeignInitialisationOneHigher)
{
    std::thread([] {
        ZelAPI_Terminate();
        EXPECT_FALSE(InSingleThreadedApartment());
        EXPECT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) << "its own one was undone";
        ZelAPI_Terminate();
        CoUninitialize();
        EXPECT_TRUE(InSingleThreadedApartment());
        CoUninitialize();
        EXPECT_FALSE(InSingleThreadedApartment());
    }).join();
}

TEST_F(Exports, TerminateDestroysWithoutUnadvising)
{
    host::CountBlocks(sizeof(CVorlanControl));
    const ZelConnection handle = Open();
    m_service.TakeCalls();
    EXPECT_EQ(0u, ZelAPI_Terminate());
    EXPECT_THAT(m_service.TakeCalls(), testing::IsEmpty());
    EXPECT_THAT(CallAll(handle), Each(ZEL_E_HANDLE));
    EXPECT_EQ(0, m_service.LiveObjects());
    EXPECT_EQ(1, host::LiveBlocks()) << "a service that holds the sinks may still call them";
    m_service.RaiseConnectionEvent();
    m_service.DropSinks();
    EXPECT_TRUE(Eventually([] { return host::LiveBlocks() == 0; }));
}

TEST_F(Exports, TerminateWaitsForARunningCall)
{
    const ZelConnection handle = Open();
    Signal entered;
    Signal release;
    m_service.Answer(0x19, 0x0A, [&](VARIANT& message) {
        entered.Set();
        release.Wait();
        StoreBytes(message, {0x0B, 0});
        return S_OK;
    });
    std::thread caller = OnThread([&] {
        TimeRecord record;
        EXPECT_EQ(ZEL_OK, ZelSendMessage(handle, ZEL_TIME_READ, &record));
        m_recorder.Append("sent");
    });
    ASSERT_TRUE(entered.Wait());
    std::thread terminator([&] {
        ZelAPI_Terminate();
        m_recorder.Append("terminated");
    });
    Sleep(50);
    release.Set();
    caller.join();
    terminator.join();
    EXPECT_THAT(m_recorder.Entries(), ElementsAre("sent", "terminated"));
}

TEST_F(Exports, CountCallsOfManyThreadsAndRequestsThatThrow)
{
    constexpr std::uint32_t kRounds = 20000;
    const ZelConnection handle = Open();
    EXPECT_EQ(ZEL_NOT_HANDLED, ZelSendMessage(handle, 0x0401, nullptr));
    std::thread threads[4];
    for (std::thread& thread : threads)
        thread = std::thread([&] {
            std::uint32_t version = 0;
            for (std::uint32_t i = 0; i < kRounds; ++i)
            {
                ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version);
                ZelAPI_Initialize();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(4 * kRounds + 1, ZelAPI_Initialize());
    for (std::uint32_t left = 4 * kRounds; left != 0; --left)
        ASSERT_EQ(left, ZelAPI_Terminate());
    m_service.DropSinks();
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(0u, ZelAPI_Terminate());
    EXPECT_GT(20000u, GetTickCount64() - start) << "no call is in progress";
}

TEST_F(Exports, AFailedAllocationOfAConnectionHasACodeOfItsOwn)
{
    unsigned allocations = 0;
    for (bool made = false; !made; ++allocations)
    {
        host::FailNew(allocations + 1);
        try
        {
            const CVorlanControl probe;
            made = host::IsNewFailurePending();
        }
        catch (const std::bad_alloc&)
        {
        }
    }
    ZelConnection handle = nullptr;
    // The object itself, and whatever its parts allocated.
    for (unsigned n = 1; n <= allocations; ++n)
    {
        host::FailNew(n);
        EXPECT_EQ(ZEL_E_OUT_OF_MEMORY, ZelOpenConnection(1, &handle)) << "allocation " << n;
    }
    host::FailNew(0);
    EXPECT_LT(2u, allocations);
    EXPECT_EQ(nullptr, handle);
}

TEST_F(Exports, OpeningAndClosingLeavesNothingBehind)
{
    const auto use = [&](int rounds) {
        for (int i = 0; i < rounds; ++i)
        {
            ZelConnection handle = Open();
            ZelRegisterCallback(handle, ZEL_REGISTER, &Recorder::Callback<1>);
            RaiseEvent(1);
            EXPECT_TRUE(m_recorder.WaitFor(1));
            m_recorder.TakeEntries();
            EXPECT_EQ(ZEL_OK, ZelCloseConnection(handle));
        }
    };
    use(10);
    const int handles = HandleCount();
    const int threads = ThreadCount();
    use(100);
    // The system's own pool may have got a thread meanwhile.
    EXPECT_LE(HandleCount(), handles + 5);
    EXPECT_LE(ThreadCount(), threads + 2);
    EXPECT_EQ(0, m_service.LiveObjects());
}

TEST_F(Exports, AnOpenConnectionHasTwoThreads)
{
    const int threads = ThreadCount();
    ZelConnection handles[4];
    for (auto& handle : handles)
        handle = Open();
    EXPECT_EQ(threads + 8, ThreadCount());
}

/// Last, because an operation that throws, other than a request, stays counted for the rest of the process.
TEST(ExportsLast, TerminateWaitsForCallsInProgressButNotForever)
{
    const ComApartment apartment;
    FakeLinkService service;
    ZelConnection handle = nullptr;
    ASSERT_EQ(ZEL_OK, ZelOpenConnection(1, &handle));
    host::FailNew(1);
    EXPECT_EQ(ZEL_E_FAIL, ZelRegisterCallback(handle, ZEL_REGISTER, &Recorder::Callback<1>));
    std::atomic<bool> terminated = false;
    std::thread terminator([&] {
        EXPECT_EQ(0u, ZelAPI_Terminate());
        terminated = true;
    });
    Sleep(2000);
    EXPECT_FALSE(terminated);
    std::uint32_t version = 0;
    EXPECT_EQ(ZEL_NOT_SUPPORTED, ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version)) << "still open";
    service.DropSinks();
    terminator.join();
    EXPECT_EQ(ZEL_E_HANDLE, ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version)) << "it goes on regardless";
}

}  // namespace
