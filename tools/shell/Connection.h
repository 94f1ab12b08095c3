#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <zelapi/zelapi.h>

namespace zelctl
{

/// Which phone to open.
struct Target
{
    std::uint32_t deviceId = 1;
    std::optional<std::string> serialNumber;  ///< When given, it counts instead of the id.
    std::uint32_t medium = ZEL_MEDIUM_2;
};

/// An open connection; closed at the end. What fails is thrown as a CFailure.
class CConnection
{
  public:
    explicit CConnection(const Target& target);
    ~CConnection();
    CConnection(const CConnection&) = delete;
    CConnection& operator=(const CConnection&) = delete;

    /// A request that is to succeed. `what` names it for people, as in "reading the clock".
    template <typename Record>
    void Send(const char* what, std::uint32_t messageId, Record& record)
    {
        Check(what, ZelSendMessage(m_connection, messageId, &record));
    }

    /// (major << 8) | minor, when the phone answered the question for it.
    std::optional<std::uint32_t> VersionOf(std::uint8_t resource);

    void Subscribe(std::uint8_t resource, std::uint32_t action);
    void Register(IZelNotification& target);
    void Unregister(IZelNotification& target) noexcept;

  private:
    static void Check(const char* what, std::uint32_t result);

    ZelConnection m_connection = nullptr;
};

}  // namespace zelctl
