#pragma once

#include <cstdint>

namespace vorlansim
{

/// An HRESULT.
using Result = std::uint32_t;

constexpr Result kOk = 0;
constexpr Result kBadArgument = 0x80070057;
constexpr Result kNoRule = 0x80070490;          ///< "element not found": the scenario has no rule for the message
constexpr Result kNotOpen = 0x8007048F;         ///< "device not connected": not opened, or no such device
constexpr Result kNotSupported = 0x80070032;    ///< the device does not accept the medium
constexpr Result kTimedOut = 0x800705B4;        ///< no reply within the call's time-out
constexpr Result kStopped = 0x800704C7;         ///< "cancelled": the service is being stopped
constexpr Result kBrokenScenario = 0x8000FFFF;  ///< an action of the scenario could not be carried out

inline bool IsFailure(Result result)
{
    return result >= 0x80000000U;
}

}  // namespace vorlansim
