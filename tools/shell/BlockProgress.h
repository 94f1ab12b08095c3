#pragma once

#include "shell/Output.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace zelctl
{

/// "writing [##########..........]  50 %, 4.0 of 8.0 MiB". REQUIRES: done <= total, total > 0.
std::string ProgressBar(const std::string& what, std::uint64_t done, std::uint64_t total);

/// Shows on a terminal how long one call has been going on, as long as it lives.
class CBusy
{
  public:
    explicit CBusy(const std::string& what);
    CBusy(const CBusy&) = delete;
    CBusy& operator=(const CBusy&) = delete;

  private:
    void Count(const std::stop_token& stop);

    const std::string m_what;
    CProgress m_progress;
    std::mutex m_lock;
    std::condition_variable_any m_end;
    std::jthread m_thread;  ///< Last, so that it has ended before what it uses goes.
};

}  // namespace zelctl
