#pragma once

#include "Arguments.h"
#include "Connection.h"
#include "Output.h"
#include "StopSignal.h"
#include "Value.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

namespace zelctl
{

/// What a command works with.
class CContext
{
  public:
    CContext(const CArguments& commandArguments, const COutput& commandOutput, const CStopSignal& stopSignal,
             const Target& target)
        : arguments(commandArguments), output(commandOutput), stop(stopSignal), m_target(target)
    {
    }

    const CArguments& arguments;
    const COutput& output;
    const CStopSignal& stop;

    /// The phone, opened when it is needed first: read the arguments before.
    CConnection& Phone()
    {
        if (!m_phone)
            m_phone.emplace(m_target);
        return *m_phone;
    }

  private:
    const Target& m_target;
    std::optional<CConnection> m_phone;
};

inline constexpr std::size_t kAnyNumber = std::numeric_limits<std::size_t>::max();

struct Command
{
    const char* name;       ///< One or two words: "time set".
    const char* arguments;  ///< How they are shown in the help.
    std::size_t minimum;    ///< How many arguments there may be.
    std::size_t maximum;
    const char* summary;
    const char* details;  ///< More for the command's own help; may be empty.
    std::span<const Option> options;
    void (*run)(CContext&);
};

/// Something that the phone says on its own.
struct Indication
{
    std::uint32_t id;
    const char* name;
    Value (*describe)(const void* record);
    /// Frees what the receiver has to free; null where the library does it.
    void (*release)(void* record);
};

/// What the command line knows of one of the phone's services.
struct Module
{
    std::uint8_t resource;
    std::span<const Command> commands;
    std::span<const Indication> indications;
    /// Asks for the indications; null for a subscription.
    void (*listen)(CConnection&);
};

}  // namespace zelctl
