#pragma once

#include "support/MallocSpy.h"
#include "zelapi/file.h"
#include "zelapi/messaging.h"
#include "zelapi/time.h"
#include "zelapi/zelapi.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// Registers vorlansim, which lies beside the test program, with COM for as long as it lives.
class Registration
{
  public:
    /// When COM starts the process, it plays this scenario.
    explicit Registration(const std::string& scenario = {});
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
    ~Registration();
};

/// A vorlansim process that plays a scenario, from its start to the end of this object.
class LinkService
{
  public:
    explicit LinkService(const std::string& scenario);
    LinkService(const LinkService&) = delete;
    LinkService& operator=(const LinkService&) = delete;
    ~LinkService();

    /// Ends the process as a crash would.
    void Kill();
    /// What has happened so far, as the service tells it.
    std::string Trace() const;
    /// How often a text stands in the trace.
    int TraceCount(const std::string& text) const;

  private:
    HANDLE m_process = nullptr;
    HANDLE m_stop = nullptr;
    std::wstring m_trace;
};

/// A phone that knows the time, 17 May 2006 12:30:00, and two files, "A" with the number 1 and "B" with 2.
extern const char* const kPhone;

/// A phone that plays one of the scenarios that are shipped, as in "time".
std::string Shipped(const std::string& name);

/// An open connection.
class Connection
{
  public:
    explicit Connection(std::uint32_t device = 1) { m_result = ZelOpenConnection(device, &m_handle); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { Close(); }

    std::uint32_t Result() const { return m_result; }
    ZelConnection Handle() const { return m_handle; }
    std::uint32_t Close()
    {
        const ZelConnection handle = m_handle;
        m_handle = nullptr;
        return handle == nullptr ? ZEL_OK : ZelCloseConnection(handle);
    }

  private:
    ZelConnection m_handle = nullptr;
    std::uint32_t m_result = 0;
};

/// Fails the test when blocks or texts that the library handed out outlive it. Make it between the service and the
/// connection.
class NothingLeft
{
  public:
    explicit NothingLeft(const LinkService& service) : m_service(service) {}
    NothingLeft(const NothingLeft&) = delete;
    NothingLeft& operator=(const NothingLeft&) = delete;
    ~NothingLeft();

  private:
    const LinkService& m_service;
    const std::size_t m_before = host::LiveAllocations();
};

/// Reads the clock. Fails the test, and gives year 0, if that cannot be done.
TimeNow ReadClock(ZelConnection connection);

/// The name of a file; empty if there is none.
std::u16string FileName(ZelConnection connection, std::uint32_t id, std::uint32_t* result = nullptr);

/// Runs `body` on a thread of its own, whose COM apartment it chooses, and waits for it.
enum class Apartment
{
    None,
    Single,
    Multiple,
};
void RunOnThread(Apartment apartment, const std::function<void()>& body);

/// Something that other threads count up and a test waits for.
class Counter
{
  public:
    void Add();
    int Value() const;
    /// False if `value` is not reached within 20 seconds.
    bool WaitFor(int value) const;

  private:
    mutable std::mutex m_lock;
    mutable std::condition_variable m_changed;
    int m_value = 0;
};

/// Tests that initialise the library, and close it down when they are over.
class EndToEnd : public testing::Test
{
  protected:
    void SetUp() override { ASSERT_EQ(ZelAPI_Initialize(), 1u); }
    void TearDown() override { EXPECT_EQ(ZelAPI_Terminate(), 0u); }

    Registration m_registration;
};
