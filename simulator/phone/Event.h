#pragma once

#include "phone/Result.h"
#include "scenario/Text.h"

namespace vorlansim
{

/// The two event interfaces.
enum class Events
{
    First,
    Second
};

struct Event
{
    enum class Kind
    {
        Message,     ///< first interface
        Connection,  ///< first interface, no bytes
        Raw          ///< second interface
    };

    Kind kind = Kind::Message;
    std::uint8_t resource = 0;
    Bytes bytes;  ///< as they travel: a Message's id is the fourth byte

    Events Interface() const { return kind == Kind::Raw ? Events::Second : Events::First; }
};

/// Where a client takes events.
class IEventSink
{
  public:
    virtual ~IEventSink() = default;
    /// Sets `gone` if the client cannot be reached any more. May block.
    virtual Result Deliver(const Event& event, bool& gone) = 0;
};

}  // namespace vorlansim
