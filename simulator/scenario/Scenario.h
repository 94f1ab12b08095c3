#pragma once

#include "scenario/Expression.h"

#include <array>
#include <chrono>
#include <map>
#include <optional>

namespace vorlansim
{

using Milliseconds = std::chrono::milliseconds;

/// What a client does, and a scenario can let fail.
enum class ClientStep
{
    Find,
    Device,
    Broker,
    GetDevice,
    OpenById,
    OpenBySerial,
    Connect,
    Service,
    Container,
    PointEvents,
    PointEvents2,
    AdviseEvents,
    AdviseEvents2,
    Access,
    Raw,
    Range,
    Count
};

/// How a scenario file spells each step, in the order of the enumeration.
constexpr std::array<std::string_view, static_cast<std::size_t>(ClientStep::Count)> kStepNames{
    "find",           "device",  "broker",    "get-device",   "open-id",       "open-serial",
    "connect",        "service", "container", "point-events", "point-events2", "advise-events",
    "advise-events2", "access",  "raw",       "range"};

struct Action
{
    enum class Kind
    {
        Reply,
        ReplyBytes,
        NoReply,
        Fail,
        Exit,
        Delay,
        Set,
        Unset,
        Indicate,
        Raw,
        Event
    };

    Kind kind = Kind::Event;
    Place place;
    Milliseconds time{0};  ///< the length of a Delay; of all others, how much later they happen
    Expression resource;
    Expression id;
    Expression target;  ///< the variable of Set and Unset
    Expression body;
    std::uint32_t code = 0;

    /// True for the actions that end the caller's wait.
    bool IsAnswer() const { return kind <= Kind::Fail; }
};

constexpr std::uint64_t kForever = ~std::uint64_t{0};

/// One answer of a rule. A rule goes on to its next step after `times` uses.
struct Step
{
    std::uint64_t times = kForever;
    std::vector<Action> actions;
};

/// A condition of a rule: a comparison, or whether the variable `left` is set.
struct Guard
{
    bool (*compare)(std::uint64_t left, std::uint64_t right) = nullptr;
    bool wantsSet = false;
    Expression left;
    Expression right;
};

struct Rule
{
    Place place;
    bool raw = false;
    std::optional<std::uint8_t> resource;  ///< nothing: any
    std::optional<std::uint8_t> id;
    Expression pattern;
    std::vector<Guard> guards;
    std::vector<Step> steps;
};

struct Timer
{
    Milliseconds first{0};
    Milliseconds period{0};  ///< 0: it fires once
    std::uint64_t times = kForever;
    std::vector<Action> actions;
};

struct Medium
{
    std::uint32_t index = 0;
    std::uint32_t flags = 0;
};

struct Device
{
    std::uint32_t id = 0;
    std::u16string serial;
    std::vector<Medium> media;  ///< empty: all are accepted
};

struct Fault
{
    std::uint32_t code = 0;
    std::uint64_t times = kForever;
};

enum class Broker
{
    On,
    Off,  ///< the device object does not have the interface
    Null  ///< it hands out a null device
};

/// A phone as a scenario file describes it.
struct Scenario
{
    std::vector<Device> devices;  ///< empty: every device can be opened
    std::uint8_t access = 0;
    Broker broker = Broker::On;
    std::map<ClientStep, Fault> faults;
    std::vector<Action> startValues;  ///< what it knows from the start: Set, in this order
    std::vector<Rule> rules;          ///< in the order in which they are tried
    std::vector<Timer> timers;
};

}  // namespace vorlansim
