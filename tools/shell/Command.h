#pragma once

#include "shell/Arguments.h"
#include "shell/Connection.h"
#include "shell/Output.h"
#include "shell/StopSignal.h"
#include "shell/Value.h"

#include <cstdint>
#include <optional>
#include <span>

namespace zelctl
{

class CContext;

/// An option that a command takes.
struct Option
{
    const char* name;   ///< With its dashes.
    const char* value;  ///< What its value is called in the help; empty for a flag.
    const char* help;
};

inline constexpr std::span<const Option> kNoOptions;

struct Command
{
    const char* name;  ///< One or two words: "time set".
    /// The names of what follows: "KEY [TEXT]" where the text may be left out, "FIELD..." where there may be several.
    const char* arguments;
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

using Modules = std::span<const Module* const>;

/// What a command works with.
class CContext
{
  public:
    CContext(const CArguments& commandArguments, const COutput& commandOutput, const CStopSignal& stopSignal,
             Modules allModules, const Target& target)
        : arguments(commandArguments), output(commandOutput), stop(stopSignal), modules(allModules), m_target(target)
    {
    }

    const CArguments& arguments;
    const COutput& output;
    const CStopSignal& stop;
    const Modules modules;

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

}  // namespace zelctl
