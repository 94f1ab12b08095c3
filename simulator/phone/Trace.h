#pragma once

#include "phone/Result.h"
#include "scenario/Text.h"

#include <atomic>
#include <functional>
#include <mutex>

namespace vorlansim
{

/// The lines that tell what happens between the clients and the phone. May be written from any thread.
class CTrace
{
  public:
    using Output = std::function<void(const std::string& line)>;

    enum class Kind
    {
        Call,    ///< from the client
        Answer,  ///< to the client, inside its call
        Event,   ///< to the client, on the phone's own account
        Note     ///< about what went wrong
    };

    void AddOutput(Output output);
    /// False if nobody listens: then the text need not be made.
    bool IsOn() const { return m_isOn; }
    void Write(unsigned session, Kind kind, const std::string& text);
    /// The text and the result behind it.
    void WriteResult(unsigned session, Kind kind, const std::string& text, Result result);

    /// "[01 0A FF]"; of a long body only the beginning.
    static std::string Body(BytesView bytes);
    /// "0B [01 0A FF]": a message id and its body.
    static std::string Message(BytesView message);

  private:
    std::mutex m_mutex;
    std::atomic<bool> m_isOn = false;
    std::vector<Output> m_outputs;
};

}  // namespace vorlansim
