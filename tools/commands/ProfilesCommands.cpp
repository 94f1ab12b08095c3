#include "commands/ProfilesCommands.h"

#include "shell/Failure.h"
#include "shell/Received.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>
#include <zelapi/profiles.h>

namespace zelctl
{
namespace
{

constexpr std::uint8_t kDone = 1;
constexpr std::size_t kMostCharacters = 16;
constexpr std::size_t kMostSettings = 0xFF;

struct ValueType
{
    const char* name;
    std::uint8_t type;
    std::uint32_t maximum;
};

constexpr ValueType kTypes[] = {
    {"u8", ZEL_PROFILES_TYPE_U8, 0xFF},
    {"u16", ZEL_PROFILES_TYPE_U16, 0xFFFF},
    {"u32", ZEL_PROFILES_TYPE_U32, 0xFFFFFFFF},
};

Value ValueOf(const ProfileSetting& setting)
{
    if (HoldsText(setting))
        return FromBStr(setting.value.text);
    switch (setting.type)
    {
    case ZEL_PROFILES_TYPE_U8:
        return setting.value.u8;
    case ZEL_PROFILES_TYPE_U16:
        return setting.value.u16;
    case ZEL_PROFILES_TYPE_U32:
        return setting.value.u32;
    default:
        return nullptr;
    }
}

void ShowSettings(CContext& context)
{
    if (context.arguments.Count() > 1 + kMostSettings)
        throw CUsageError("at most 255 settings can be asked for at once");
    std::vector<std::uint8_t> ids;
    for (std::size_t i = 1; i < context.arguments.Count(); ++i)
        ids.push_back(context.arguments.Byte(i, "SETTING"));
    CReceived<ProfileRecord> read;
    ProfileRecord& record = read.record;
    record.p0 = context.arguments.OptionByte("--p0", 0);
    record.p1 = context.arguments.Byte(0, "PROFILE");
    record.p2 = static_cast<std::uint8_t>(ids.size());
    record.in.setting_ids = ids.data();

    context.Phone().Send("reading the settings", ZEL_PROFILES_READ_SETTINGS, record);
    Value rows = Value::array();
    for (const ProfileSetting& setting : std::span(record.settings, record.count))
        rows.push_back({{"setting", setting.setting_id},
                        {"status", setting.status},
                        {"profile", setting.profile},
                        {"second", setting.second},
                        {"type", setting.type},
                        {"value", setting.status == kDone ? ValueOf(setting) : Value(nullptr)}});
    context.output.Show({{"settings", std::move(rows)}});
}

void ReadNumber(const CArguments& arguments, const ValueType& type, ProfileSetting& setting)
{
    const std::uint32_t number = arguments.Number(3, "VALUE", {0, type.maximum});
    setting.type = type.type;
    switch (type.type)
    {
    case ZEL_PROFILES_TYPE_U8:
        setting.value.u8 = static_cast<std::uint8_t>(number);
        break;
    case ZEL_PROFILES_TYPE_U16:
        setting.value.u16 = static_cast<std::uint16_t>(number);
        break;
    default:
        setting.value.u32 = number;
        break;
    }
}

BStr ReadText(const CArguments& arguments, ProfileSetting& setting)
{
    if (!HoldsText(setting))
        throw CUsageError("TYPE: only setting 12 is a text");
    BStr text = ToBStr(arguments.Text(3));
    if (SysStringLen(text.get()) > kMostCharacters)
        throw CUsageError("VALUE: a text has at most 16 characters");
    setting.value.text = text.get();
    return text;
}

/// Reads type and value. The text, if it is one, goes on belonging to the result.
BStr ReadValue(const CArguments& arguments, ProfileSetting& setting)
{
    const std::string& name = arguments.Text(2);
    if (name == "text")
        return ReadText(arguments, setting);
    const auto* type =
        std::find_if(std::begin(kTypes), std::end(kTypes), [&](const ValueType& known) { return name == known.name; });
    if (type == std::end(kTypes))
        throw CUsageError("TYPE: \"" + name + "\" is none of u8, u16, u32, text");
    if (HoldsText(setting))
        throw CUsageError("TYPE: setting 12 is a text");
    ReadNumber(arguments, *type, setting);
    return nullptr;
}

/// The phone answers with settings of its own choice.
void CheckAnswer(const ProfileSetting& sent, const ProfileSetting& answer)
{
    std::string wrong;
    if (answer.status == 0)
        wrong = "The phone does not say that it took the setting.";
    else if (answer.setting_id != sent.setting_id)
        wrong = "The phone answered for another setting: " + std::to_string(answer.setting_id) + ".";
    else if (answer.status != kDone)
        wrong = "The phone refused the setting: status " + std::to_string(answer.status) + ".";
    if (!wrong.empty())
        throw CFailure("writing the setting", std::nullopt, {wrong, ""});
}

void SetSetting(CContext& context)
{
    const CArguments& arguments = context.arguments;
    ProfileSetting sent = {};
    sent.profile = arguments.Byte(0, "PROFILE");
    sent.second = arguments.OptionByte("--second", 0);
    sent.setting_id = arguments.Byte(1, "SETTING");
    const BStr text = ReadValue(arguments, sent);
    ProfileSetting answer = sent;
    ProfileRecord record = {};
    record.p0 = 1;
    record.in.settings = &answer;

    context.Phone().Send("writing the setting", ZEL_PROFILES_WRITE_SETTINGS, record);
    CheckAnswer(sent, answer);
    context.output.Show({{"setting", sent.setting_id}, {"profile", answer.profile}, {"value", ValueOf(sent)}});
}

using FourBytes = std::array<std::uint8_t, 4>;

FourBytes ReadOver(CConnection& phone, std::uint8_t before)
{
    ProfileRecord record = {0, before, before, before, before, {}, 0, nullptr};
    phone.Send("reading the profile bytes", ZEL_PROFILES_READ_BYTES, record);
    return {record.p0, record.p1, record.p2, record.p3};
}

/// A refusal with status 0 shows only in that the record stays as it was, whatever was there.
FourBytes ReadBytes(CConnection& phone)
{
    constexpr std::uint8_t kFirst = 0xFF;
    constexpr std::uint8_t kSecond = 0xFE;
    const FourBytes first = ReadOver(phone, kFirst);
    if (first != FourBytes{kFirst, kFirst, kFirst, kFirst})
        return first;
    const FourBytes second = ReadOver(phone, kSecond);
    if (second == FourBytes{kSecond, kSecond, kSecond, kSecond})
        throw CFailure("reading the profile bytes", std::nullopt, {"The phone gave no bytes.", ""});
    return second;
}

void ShowBytes(CContext& context)
{
    context.output.Show({{"bytes", HexBytes(ReadBytes(context.Phone()))}});
}

void SetBytes(CContext& context)
{
    const std::vector<std::uint8_t> bytes = ParseHex(context.arguments.Words());
    if (bytes.size() != FourBytes().size())
        throw CUsageError("four bytes are needed, such as \"01 00 00 00\"");
    CConnection& phone = context.Phone();
    ProfileRecord record = {0, bytes[0], bytes[1], bytes[2], bytes[3], {}, 0, nullptr};
    phone.Send("writing the profile bytes", ZEL_PROFILES_WRITE_BYTES, record);
    context.output.Show({{"written", HexBytes(bytes)}, {"phone_says", HexBytes(ReadBytes(phone))}});
}

void Operate(CContext& context)
{
    ProfileRecord record = {};
    context.Phone().Send("running the profile operation", ZEL_PROFILES_OPERATION, record);
    context.output.Show({{"answer", "no error"}});
}

constexpr Option kShowOptions[] = {{"--p0", "N", "first byte of the request; 0 if not given"}};
constexpr Option kSetOptions[] = {{"--second", "N", "second profile byte; 0 if not given"}};

constexpr Command kCommands[] = {
    {"profiles show", "PROFILE SETTING...", "shows settings of a profile",
     "Settings are numbers; 12 is a text. A setting with another status than 1 has no value. PROFILE is the byte that "
     "goes\nwith each setting.",
     kShowOptions, ShowSettings},
    {"profiles set", "PROFILE SETTING TYPE VALUE", "writes a setting of a profile",
     "TYPE is u8, u16, u32 or text. Setting 12 is a text of at most 16 characters; the others are numbers.",
     kSetOptions, SetSetting},
    {"profiles bytes", "", "shows the four profile bytes", "Their meaning is the phone's.", kNoOptions, ShowBytes},
    {"profiles set-bytes", "HEX...", "writes the four profile bytes and reads them back",
     "Two hex digits make a byte: \"01 00 00 00\" or 01000000.", kNoOptions, SetBytes},
    {"profiles operation", "", "runs the phone's profile operation without data", "", kNoOptions, Operate},
};

}  // namespace

const Module kProfilesModule = {0x39, kCommands, {}, nullptr};

}  // namespace zelctl
