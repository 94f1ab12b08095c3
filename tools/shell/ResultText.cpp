#include "shell/ResultText.h"

#include "shell/ServiceNames.h"
#include "shell/Text.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <zelapi/provisioning.h>
#include <zelapi/zelapi.h>

namespace zelctl
{
namespace
{

struct KnownResult
{
    std::uint32_t code;
    const char* meaning;
    const char* remedy;
};

constexpr char kReconnect[] = "Run the command again; if it fails again, start the link service anew.";
constexpr char kReport[] = "Look at the call in the link service's trace (vorlansim.exe --trace FILE).";

constexpr KnownResult kKnown[] = {
    {ZEL_OK, "Success.", ""},
    {ZEL_NOT_HANDLED, "The library does not know this request, or the phone's reply was not the expected one.", ""},
    {ZEL_PROVISIONING_REFUSED, "The phone refused without a reason.", ""},
    {ZEL_NOT_SUPPORTED, "The phone does not support this service or operation.",
     "\"zelctl services\" shows what the phone supports."},
    {ZEL_PROVISIONING_NO_SERVICE, "The phone does not have this service.",
     "\"zelctl services\" shows what the phone supports."},
    {ZEL_E_CREATE, "A COM object that the library needs could not be created.", ""},
    {ZEL_E_FAIL, "General failure: something unexpected happened.", kReport},
    {ZEL_E_POINTER, "A pointer inside the request is null or unreadable.", ""},
    {ZEL_E_ARGUMENT, "An argument is missing or wrong.", ""},
    {ZEL_E_HANDLE, "The connection is not open.", ""},
    {ZEL_E_OUT_OF_MEMORY, "Out of memory.", ""},
    {ZEL_E_VERSION, "The phone's version of this service is too old, or is not known.",
     "\"zelctl services\" shows the versions."},
    {ZEL_E_TIME_ZONE, "The system's time zone is not known.", "Set the time zone of this computer."},
    {ZEL_E_NO_SERVICE, "The connection has no link service: it is gone.", kReconnect},
    {0x80040154, "The link service is not registered.",
     "Install the phone's link service, or register the development service: vorlansim.exe /regserver, as "
     "administrator."},
    {0x80080005, "The link service could not be started.", "Start it by hand and look at what it says."},
    {0x8007048F, "The phone is not there: the link service has no such device.",
     "Check that the phone is connected and switched on, and the number after --device or --serial."},
    {0x80070032, "The link service does not support this.", "Try another --medium."},
    {0x800705B4, "The phone did not answer in time.", "Check that the phone is switched on and in reach; try again."},
    {0x8007001F, "The link to the phone does not work.", "Check the cable or the radio link; try again."},
    {0x80070490, "The link service does not know this message or device.",
     "\"zelctl services\" shows what the phone supports."},
    {0x800706BA, "The link service is gone.", kReconnect},
    {0x800706BE, "The link service ended during the call.", kReconnect},
    {0x80010108, "The link service has gone away since the connection was opened.", kReconnect},
    {0x80010007, "The link service ended before it had answered.", kReconnect},
    {0x800704C7, "The link service is being stopped.", kReconnect},
    {0x80070005, "The link service does not allow this.",
     "Check the rights of this user, and what \"zelctl raw access\" says."},
    {0x80070057, "The link service does not accept an argument.", ""},
    {0x8007000E, "Out of memory.", ""},
    {0x80004002, "The link service lacks an interface that the library needs.",
     "Check that the library was built for this link service."},
    {0x80004005, "The link service reports a failure without a reason.", kReport},
    {0x8000FFFF, "The link service reports an unexpected failure.", kReport},
};

/// What the system has to say, without its line end; empty if it says nothing.
std::string SystemText(std::uint32_t code)
{
    std::array<wchar_t, 512> text{};
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                                        text.data(), static_cast<DWORD>(text.size()), nullptr);
    std::string bytes = ToUtf8({text.data(), length});
    bytes.erase(bytes.find_last_not_of(" \r\n") + 1);
    return bytes;
}

ResultText PhoneStatus(std::uint32_t code)
{
    const auto resource = static_cast<std::uint8_t>(ZEL_PHONE_RESOURCE(code));
    return {"The phone's service \"" + ServiceNameOf(resource) + "\" refused: status " +
                std::to_string(ZEL_PHONE_STATUS(code)) + ".",
            ""};
}

}  // namespace

ResultText DescribeResult(std::uint32_t code)
{
    const auto* known = std::find_if(std::begin(kKnown), std::end(kKnown),
                                     [code](const KnownResult& result) { return result.code == code; });
    if (known != std::end(kKnown))
        return {known->meaning, known->remedy};
    if (ZEL_IS_PHONE_STATUS(code))
        return PhoneStatus(code);
    std::string text = SystemText(code);
    return {text.empty() ? "A code of the link service or of COM." : text, ""};
}

}  // namespace zelctl
