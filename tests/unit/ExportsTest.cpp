#include "connection/VorlanControl.h"
#include "support/ConnectionFixture.h"
#include "zelapi/time.h"
#include "zelapi/zelapi.h"

#include <atomic>
#include <tlhelp32.h>

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
        EXPECT_EQ(0u, ZelOpenConnection(1, &handle));
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
    EXPECT_EQ(3u, ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version)) << "still open";
    m_service.DropSinks();
    EXPECT_EQ(0u, ZelAPI_Terminate());
    EXPECT_EQ(0x80100014, ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version));

    handle = Open();
    m_service.DropSinks();
    EXPECT_EQ(0u, ZelAPI_Terminate()) << "without an initialisation";
    EXPECT_EQ(0x80100014, ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version));
}

TEST_F(Exports, RefuseWhatIsNoHandle)
{
    ZelConnection open = Open();
    ZelConnection closed = Open();
    EXPECT_EQ(0u, ZelCloseConnection(closed));
    int foreign = 0;
    for (ZelConnection handle :
         {ZelConnection{nullptr}, reinterpret_cast<ZelConnection>(std::uintptr_t{1}), closed,
          static_cast<ZelConnection>(&foreign), static_cast<ZelConnection>(static_cast<char*>(open) + 8)})
        EXPECT_THAT(CallAll(handle), Each(0x80100014u));
    EXPECT_EQ(0u, ZelCloseConnection(open));
}

TEST_F(Exports, CheckTheirOutArguments)
{
    const auto unreadable = std::uintptr_t{1};
    for (auto* out : {static_cast<ZelConnection*>(nullptr), reinterpret_cast<ZelConnection*>(unreadable)})
    {
        const std::uint32_t medium = 1;
        EXPECT_EQ(0x80100013, ZelOpenConnection(1, out));
        EXPECT_EQ(0x80100013, ZelOpenConnectionUsingSN(L"1", &medium, out));
    }
    ZelConnection handle = nullptr;
    EXPECT_EQ(0x80100013, ZelOpenConnectionUsingSN(L"1", nullptr, &handle));
    EXPECT_EQ(0x80100013, ZelOpenConnectionUsingSN(L"1", reinterpret_cast<std::uint32_t*>(unreadable), &handle));
    EXPECT_EQ(nullptr, handle);
    EXPECT_THAT(m_service.TakeCalls(), testing::IsEmpty()) << "nothing is opened";
    handle = Open();
    EXPECT_EQ(0x80100013, ZelMsgSupportQuery(handle, ZEL_TIME_READ, nullptr));
    EXPECT_EQ(0x80100013, ZelMsgSupportQuery(handle, ZEL_TIME_READ, reinterpret_cast<std::uint32_t*>(unreadable)));
}

TEST_F(Exports, OpenWritesTheHandleOnSuccessOnly)
{
    const std::uint32_t medium = 4;
    m_service.Returns("OpenById", kFailure);
    m_service.Returns("OpenBySerialNumber", kFailure);
    ZelConnection handle = this;
    EXPECT_EQ(0x80100010, ZelOpenConnection(1, &handle));
    EXPECT_EQ(0x80040123, ZelOpenConnectionUsingSN(L"350", &medium, &handle));
    EXPECT_EQ(this, handle);

    m_service.Returns("OpenBySerialNumber", S_OK);
    m_service.TakeCalls();
    EXPECT_EQ(0u, ZelOpenConnectionUsingSN(L"350", &medium, &handle));
    EXPECT_THAT(m_service.TakeCalls(), testing::Contains("OpenBySerialNumber \"350\" 1 1 0 0"));
    EXPECT_THAT(CallAll(handle),
                ElementsAre(static_cast<std::uint32_t>(FakeLinkService::kNoAnswer), 3u, 0u, 0u, 0u, 0u));
    EXPECT_EQ(0, m_service.LiveObjects());
}

TEST_F(Exports, PassRequestsToTheirService)
{
    m_service.AnswerVersion(0x19, 15, 2);
    // Done, one sub-block: id 1, 12 bytes, leading bytes 7 and 3 (valid), 2006-05-04 13:02:01, padding.
    m_service.Answer(0x19, 0x0A, Bytes{0x0B, 1, 1, 1, 12, 7, 3, 0x07, 0xD6, 5, 4, 13, 2, 1, 0});
    ZelConnection handle = Open();
    TimeRecord record = {};
    EXPECT_EQ(0u, ZelSendMessage(handle, ZEL_TIME_READ, &record));
    EXPECT_EQ(2006, record.now.year);
    EXPECT_EQ(13, record.now.hour);
    EXPECT_EQ(0x80100023, ZelSendMessage(handle, ZEL_TIME_READ_SETTINGS, &record));
    EXPECT_EQ(0x80100013, ZelSendMessage(handle, ZEL_TIME_READ, nullptr));
    EXPECT_EQ(1u, ZelSendMessage(handle, 0x19FF, &record));
    std::uint32_t version = 0xAB;
    EXPECT_EQ(0u, ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version));
    EXPECT_EQ(0x0F02u, version);
}

TEST_F(Exports, RegisterTargetsAndSubscriptions)
{
    RecordingTarget target(m_recorder, "target");
    ZelConnection handle = Open();
    EXPECT_EQ(0u, ZelRegisterCallback(handle, 16, &Recorder::Callback<1>));
    EXPECT_EQ(0u, ZelRegisterNotificationIF(handle, 16, &target));
    m_service.RaiseConnectionEvent();
    EXPECT_THAT(m_recorder.TakeEntries(), ElementsAre("target 1 0 null", "callback1 1 0 null"));

    EXPECT_EQ(0x80100013, ZelRegisterNotificationIF(handle, 7, &target));
    EXPECT_EQ(0u, ZelRegisterNotificationIF(handle, 32, &target));
    EXPECT_EQ(0u, ZelRegisterCallback(handle, 7, &Recorder::Callback<1>));
    EXPECT_EQ(0x80100013, ZelRegisterCallback(handle, 16, nullptr));
    m_service.RaiseConnectionEvent();
    EXPECT_THAT(m_recorder.TakeEntries(), testing::IsEmpty());

    m_service.TakeSent();
    EXPECT_EQ(0u, ZelRegisterNotification(handle, 16, 0x6601));
    EXPECT_EQ(0x80100013, ZelRegisterNotification(handle, 7, 0x6601));
    EXPECT_THAT(m_service.TakeSent(), ElementsAre(FakeLinkService::Sent{0x10, {0x10, 1, 0x66}, 0, VT_EMPTY, {}, 0}));
}

TEST_F(Exports, ACallbackCannotCloseItsOwnConnection)
{
    ZelConnection handle = Open();
    ZelConnection other = Open();
    ZelRegisterCallback(handle, ZEL_REGISTER, &Recorder::Callback<1>);
    std::vector<std::uint32_t> results;
    m_recorder.onDelivery = [&](const std::string&, void*) { results.push_back(ZelCloseConnection(handle)); };
    m_service.RaiseConnectionEvent();
    RaiseEvent(1);
    EXPECT_TRUE(m_recorder.WaitFor(2));
    m_recorder.onDelivery = [&](const std::string&, void*) { results.push_back(ZelCloseConnection(other)); };
    m_service.RaiseConnectionEvent();
    EXPECT_THAT(results, ElementsAre(0x80100010, 0x80100010, 0u));
    m_recorder.onDelivery = nullptr;
    EXPECT_EQ(0u, ZelCloseConnection(handle));
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

TEST_F(Exports, TerminateDestroysWithoutClosing)
{
    const ZelConnection handle = Open();
    m_service.TakeCalls();
    EXPECT_EQ(0u, ZelAPI_Terminate());
    EXPECT_THAT(m_service.TakeCalls(), testing::IsEmpty());
    EXPECT_THAT(CallAll(handle), Each(0x80100014u));
    EXPECT_EQ(0, m_service.LiveObjects());
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
        EXPECT_EQ(0u, ZelSendMessage(handle, ZEL_TIME_READ, &record));
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

DWORD ThreadCount()
{
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    DWORD count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        if (entry.th32OwnerProcessID == GetCurrentProcessId())
            ++count;
    CloseHandle(snapshot);
    return count;
}

DWORD HandleCount()
{
    DWORD count = 0;
    EXPECT_TRUE(GetProcessHandleCount(GetCurrentProcess(), &count));
    return count;
}

TEST_F(Exports, OpeningAndClosingLeavesNothingBehind)
{
    const auto use = [&] {
        ZelConnection handle = Open();
        ZelRegisterCallback(handle, ZEL_REGISTER, &Recorder::Callback<1>);
        RaiseEvent(1);
        EXPECT_TRUE(m_recorder.WaitFor(1));
        m_recorder.TakeEntries();
        EXPECT_EQ(0u, ZelCloseConnection(handle));
    };
    for (int i = 0; i < 10; ++i)
        use();
    const DWORD handles = HandleCount();
    const DWORD threads = ThreadCount();
    for (int i = 0; i < 200; ++i)
        use();
    EXPECT_LE(HandleCount(), handles + 5);
    EXPECT_LE(ThreadCount(), threads);
    EXPECT_EQ(0, m_service.LiveObjects());
}

TEST_F(Exports, AnOpenConnectionHasTwoThreads)
{
    const DWORD threads = ThreadCount();
    ZelConnection handles[4];
    for (auto& handle : handles)
        handle = Open();
    EXPECT_EQ(threads + 8, ThreadCount());
}

/// Last, because the call that throws stays counted for the rest of the process.
TEST(ExportsLast, TerminateWaitsForCallsInProgressButNotForever)
{
    const ComApartment apartment;
    FakeLinkService service;
    ZelConnection handle = nullptr;
    ASSERT_EQ(0u, ZelOpenConnection(1, &handle));
    EXPECT_EQ(1u, ZelSendMessage(handle, 0x0401, &service));
    std::atomic<bool> terminated = false;
    std::thread terminator([&] {
        EXPECT_EQ(0u, ZelAPI_Terminate());
        terminated = true;
    });
    Sleep(2000);
    EXPECT_FALSE(terminated);
    std::uint32_t version = 0;
    EXPECT_EQ(3u, ZelMsgSupportQuery(handle, 0x1901, &version)) << "still open";
    terminator.join();
    EXPECT_EQ(0x80100014, ZelMsgSupportQuery(handle, 0x1901, &version)) << "it goes on regardless";
}

}  // namespace
