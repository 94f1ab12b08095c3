#include "shell/BlockProgress.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace zelctl
{
namespace
{

constexpr std::size_t kBarWidth = 20;

std::string Megabytes(std::uint64_t bytes)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", static_cast<double>(bytes) / (1 << 20));
    return text.data();
}

}  // namespace

std::string ProgressBar(const std::string& what, std::uint64_t done, std::uint64_t total)
{
    const auto filled = static_cast<std::size_t>(done * kBarWidth / total);
    const std::string percent = std::to_string(done * 100 / total);
    return what + " [" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "] " +
           std::string(3 - percent.size(), ' ') + percent + " %, " + Megabytes(done) + " of " + Megabytes(total) +
           " MiB";
}

CBusy::CBusy(const std::string& what)
    : m_what(what), m_progress(what), m_thread([this](const std::stop_token& stop) { Count(stop); })
{
}

void CBusy::Count(const std::stop_token& stop)
{
    std::unique_lock lock(m_lock);
    for (unsigned seconds = 1;; ++seconds)
    {
        m_end.wait_for(lock, stop, std::chrono::seconds(1), [] { return false; });
        if (stop.stop_requested())
            return;
        m_progress.Show(m_what + ", for " + std::to_string(seconds) + " s");
    }
}

}  // namespace zelctl
