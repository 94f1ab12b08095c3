#pragma once

#include "support/FakeLinkService.h"

#include <thread>

/// The time, in a unit that is the same in every process.
inline long long Ticks()
{
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    return now.QuadPart;
}

/// A link service that answers the time request, and raises one messaging event for each raw send. The event comes from
/// a thread of the service once the send is over, and its time is written down where every process can read it.
class MeasuredService
{
  public:
    explicit MeasuredService(DWORD context);
    MeasuredService(const MeasuredService&) = delete;
    MeasuredService& operator=(const MeasuredService&) = delete;
    ~MeasuredService();

  private:
    void RaiseEvents();

    FakeLinkService m_service;
    HANDLE m_wanted;
    HANDLE m_stop;
    std::thread m_thread;
};

/// When the last event was raised.
long long LastEventRaised();

/// Serves other processes until the one that started this one says so, or ends. `parent` is its id.
int ServeUntilTold(DWORD parent);

/// A process that serves this one.
class ServiceProcess
{
  public:
    ServiceProcess();
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;
    ~ServiceProcess();

    bool IsReady() const { return m_ready; }

  private:
    HANDLE m_quit;
    HANDLE m_process = nullptr;
    bool m_ready = false;
};
