#include "shell/Connection.h"

#include "shell/Failure.h"
#include "shell/Output.h"
#include "shell/Text.h"

namespace zelctl
{
namespace
{

constexpr char kOpening[] = "opening the phone";

std::uint32_t OpenBySerialNumber(const Target& target, ZelConnection& connection)
{
    return ZelOpenConnectionUsingSN(ToUtf16(*target.serialNumber).c_str(), &target.medium, &connection);
}

/// An open by id does not tell which of its steps failed.
[[noreturn]] void ThrowOpenById(std::uint32_t deviceId)
{
    throw CFailure(kOpening, ZEL_E_FAIL,
                   {"The phone with device id " + std::to_string(deviceId) + " could not be opened.",
                    "Check that the link service is registered (vorlansim.exe /regserver for the development service) "
                    "and that it has this device. An open with --serial names the step that failed."});
}

}  // namespace

CConnection::CConnection(const Target& target)
{
    const CProgress progress("Opening the phone...");
    ZelAPI_Initialize();
    const std::uint32_t result = target.serialNumber ? OpenBySerialNumber(target, m_connection)
                                                     : ZelOpenConnection(target.deviceId, &m_connection);
    if (result == ZEL_OK)
        return;
    ZelAPI_Terminate();
    if (result == ZEL_E_FAIL && !target.serialNumber)
        ThrowOpenById(target.deviceId);
    throw CFailure(kOpening, result);
}

CConnection::~CConnection()
{
    ZelCloseConnection(m_connection);
    ZelAPI_Terminate();
}

std::optional<std::uint32_t> CConnection::VersionOf(std::uint8_t resource)
{
    std::uint32_t version = 0;
    const std::uint32_t result = ZelMsgSupportQuery(m_connection, std::uint32_t{resource} << 8, &version);
    if (result == ZEL_NOT_SUPPORTED)
        return std::nullopt;
    Check("asking for the services", result);
    return version;
}

void CConnection::Subscribe(std::uint8_t resource, std::uint32_t action)
{
    Check(action == ZEL_REGISTER ? "subscribing to indications" : "ending the subscription",
          ZelRegisterNotification(m_connection, action, std::uint32_t{resource} << 8));
}

void CConnection::Register(IZelNotification& target)
{
    Check("registering for events", ZelRegisterNotificationIF(m_connection, ZEL_REGISTER, &target));
}

void CConnection::Unregister(IZelNotification& target) noexcept
{
    ZelRegisterNotificationIF(m_connection, ZEL_UNREGISTER, &target);
}

void CConnection::Check(const char* what, std::uint32_t result)
{
    if (result != ZEL_OK)
        throw CFailure(what, result);
}

}  // namespace zelctl
