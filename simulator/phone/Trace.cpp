#include "phone/Trace.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace vorlansim
{
namespace
{

constexpr std::size_t kShownBytes = 1024;

/// The caller holds a lock, for std::localtime's sake.
std::string TimeOfDay()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%H:%M:%S", std::localtime(&seconds));
    std::snprintf(text.data() + length, text.size() - length, ".%03d", static_cast<int>(milliseconds));
    return text.data();
}

const char* Arrow(CTrace::Kind kind)
{
    switch (kind)
    {
    case CTrace::Kind::Call:
        return "-> ";
    case CTrace::Kind::Answer:
        return "<- ";
    case CTrace::Kind::Event:
        return "<= ";
    default:
        return "!! ";
    }
}

}  // namespace

void CTrace::AddOutput(Output output)
{
    const std::lock_guard lock(m_mutex);
    m_outputs.push_back(std::move(output));
    m_isOn = true;
}

void CTrace::Write(unsigned session, Kind kind, const std::string& text)
{
    if (!m_isOn)
        return;
    const std::lock_guard lock(m_mutex);
    const std::string line = TimeOfDay() + "  #" + std::to_string(session) + " " + Arrow(kind) + text;
    for (const Output& output : m_outputs)
        output(line);
}

void CTrace::WriteResult(unsigned session, Kind kind, const std::string& text, Result result)
{
    Write(session, kind, text + "  " + ToHex(result, 8));
}

std::string CTrace::Body(BytesView bytes)
{
    const std::string shown = ToHex(bytes.first(std::min(bytes.size(), kShownBytes)));
    if (bytes.size() <= kShownBytes)
        return "[" + shown + "]";
    return "[" + shown + " ... " + std::to_string(bytes.size()) + " bytes]";
}

std::string CTrace::Message(BytesView message)
{
    if (message.empty())
        return "(no bytes at all)";
    return ToHex(message.first(1)) + " " + Body(message.subspan(1));
}

}  // namespace vorlansim
