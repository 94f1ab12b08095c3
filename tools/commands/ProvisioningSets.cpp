#include "commands/ProvisioningSets.h"

#include "shell/Failure.h"
#include "shell/Input.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string_view>
#include <system_error>

namespace zelctl
{
namespace
{

constexpr char kSetsFile[] = "sets.json";
constexpr std::size_t kLongest = 255;

/// The fields of a set. The first is always there, those of the access record and of the name together or not at all,
/// and the last two say where the content is.
constexpr std::string_view kNumber = "number";
constexpr std::array<std::string_view, 5> kAccessFields = {"value_4", "value_6", "block_a", "length_b", "block_c"};
constexpr std::array<std::string_view, 2> kNameFields = {"name", "name_value"};
constexpr std::array<std::string_view, 2> kContentFields = {"content_size", "content_file"};

[[noreturn]] void Refuse(const std::string& reason)
{
    throw CFailure("reading the saved sets", std::nullopt, {reason, ""});
}

[[noreturn]] void FailFile(const char* what, const std::filesystem::path& file)
{
    throw CFailure(
        std::string(what) + " " + ToUtf8(file.generic_wstring()), std::nullopt,
        {"The system does not allow it, or there is no such path.", "Check the path, and the rights of this user."});
}

// Describing

/// The name ends at its first zero unit.
std::string NameOf(const ProvisioningName& name)
{
    return FromBStr(name.name).c_str();
}

Value DescribeSet(const ProvisioningSet& set)
{
    Value row = {{kNumber, set.number}};
    row["name"] = set.name == nullptr ? Value(nullptr) : Value(NameOf(*set.name));
    row["name_value"] = set.name == nullptr ? Value(nullptr) : Value(set.name->value_4);
    for (const std::string_view field : kAccessFields)
        row[field] = nullptr;
    if (const ProvisioningAccess* access = set.access)
    {
        row["value_4"] = access->value_4;
        row["value_6"] = access->value_6;
        row["block_a"] = HexBytes({access->block_a, access->length_a});
        row["length_b"] = access->length_b;
        row["block_c"] = HexBytes({access->block_c, access->length_c});
    }
    row["content_size"] = set.content_size;
    return row;
}

// Reading a description

bool Contains(std::span<const std::string_view> fields, const std::string& key)
{
    return std::find(fields.begin(), fields.end(), key) != fields.end();
}

/// Whether a group of fields is there as a whole.
bool HasAll(const Value& set, std::span<const std::string_view> fields)
{
    const auto present = std::count_if(fields.begin(), fields.end(), [&](std::string_view field) {
        return set.contains(field) && !set[field].is_null();
    });
    if (present != 0 && present != std::ssize(fields))
        Refuse("A set has \"" + std::string(fields.front()) + "\" or a field that belongs to it, but not all of them.");
    return present != 0;
}

template <typename Number>
Number NumberOf(const Value& set, std::string_view field)
{
    const Value& number = set[field];
    if (!number.is_number_unsigned() || number.get<std::uint64_t>() > Number(~0u))
        Refuse("\"" + std::string(field) + "\" is not a number from 0 to " + std::to_string(Number(~0u)) + ".");
    return number.get<Number>();
}

std::string TextOf(const Value& set, std::string_view field)
{
    if (!set[field].is_string())
        Refuse("\"" + std::string(field) + "\" is not a text.");
    return set[field].get<std::string>();
}

std::vector<std::uint8_t> BlockOf(const Value& set, std::string_view field)
{
    std::vector<std::uint8_t> block;
    try
    {
        block = ParseHex(std::array{TextOf(set, field)});
    }
    catch (const CUsageError& error)
    {
        Refuse("\"" + std::string(field) + "\": " + error.what() + ".");
    }
    if (block.size() > kLongest)
        Refuse("\"" + std::string(field) + "\" has more than 255 bytes.");
    return block;
}

void CheckFields(const Value& set)
{
    if (!set.is_object() || !set.contains(kNumber))
        Refuse("A set has no number.");
    for (const auto& [key, value] : set.items())
        if (key != kNumber && !Contains(kAccessFields, key) && !Contains(kNameFields, key) &&
            !Contains(kContentFields, key))
            Refuse("A set has no field \"" + key + "\".");
}

// Files

void WriteFile(const std::filesystem::path& path, const void* bytes, std::size_t size)
{
    std::ofstream file(path, std::ios::binary);
    file.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    file.close();
    if (!file)
        FailFile("writing", path);
}

}  // namespace

CSetsToSend::CSetsToSend(const Value& sets)
{
    if (!sets.is_array() || sets.size() > kLongest)
        Refuse("There is no list of up to 255 sets.");
    m_parts.resize(sets.size());
    m_sets.reserve(sets.size());
    for (std::size_t i = 0; i < sets.size(); ++i)
        Add(sets[i], m_parts[i]);
    m_list.count = static_cast<std::uint8_t>(m_sets.size());
    m_list.sets = m_sets.data();
}

void CSetsToSend::Add(const Value& set, Parts& parts)
{
    CheckFields(set);
    ProvisioningSet& record = m_sets.emplace_back();
    record.number = NumberOf<std::uint8_t>(set, kNumber);
    if (HasAll(set, kAccessFields))
    {
        parts.blockA = BlockOf(set, "block_a");
        parts.blockC = BlockOf(set, "block_c");
        parts.access.value_4 = NumberOf<std::uint16_t>(set, "value_4");
        parts.access.value_6 = NumberOf<std::uint16_t>(set, "value_6");
        parts.access.length_a = static_cast<std::uint8_t>(parts.blockA.size());
        parts.access.length_b = NumberOf<std::uint8_t>(set, "length_b");
        parts.access.block_a = parts.blockA.data();
        parts.access.length_c = static_cast<std::uint8_t>(parts.blockC.size());
        parts.access.block_c = parts.blockC.data();
        record.access = &parts.access;
    }
    if (HasAll(set, kNameFields))
    {
        const std::string name = TextOf(set, "name");
        if (name.size() > kLongest)
            Refuse("\"name\" has more than 255 bytes.");
        parts.text = ToBStr(name);
        parts.name.value_4 = NumberOf<std::uint8_t>(set, "name_value");
        parts.name.name_length = static_cast<std::uint8_t>(name.size());
        parts.name.name = parts.text.get();
        record.name = &parts.name;
    }
}

Value DescribeSets(const ProvisioningList& list)
{
    Value sets = Value::array();
    for (std::size_t i = 0; i < list.count; ++i)
        sets.push_back(DescribeSet(list.sets[i]));
    return sets;
}

void RequireNoSets(const std::filesystem::path& folder)
{
    std::error_code ignored;
    if (std::filesystem::exists(folder / kSetsFile, ignored))
        throw CFailure("saving sets in " + ToUtf8(folder.generic_wstring()), std::nullopt,
                       {"There are saved sets already.", "Choose another folder."});
}

Value SaveSets(const ProvisioningList& list, const std::filesystem::path& folder)
{
    std::error_code failed;
    std::filesystem::create_directories(folder, failed);
    if (failed)
        FailFile("making the folder", folder);
    Value sets = DescribeSets(list);
    for (std::size_t i = 0; i < list.count; ++i)
    {
        const ProvisioningSet& set = list.sets[i];
        sets[i]["content_file"] = nullptr;
        if (set.content_size == 0)
            continue;
        const std::string name = "content-" + std::to_string(i + 1) + ".bin";
        WriteFile(folder / name, set.content, set.content_size);
        sets[i]["content_file"] = name;
    }
    const std::string text = Value({{"sets", sets}}).dump(2, ' ', false, Value::error_handler_t::replace) + "\n";
    WriteFile(folder / kSetsFile, text.data(), text.size());
    return sets;
}

Value LoadSets(const std::filesystem::path& folder)
{
    const std::filesystem::path path = folder / kSetsFile;
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (!file || !(text << file.rdbuf()))
        FailFile("reading", path);
    const Value document = Value::parse(text.str(), nullptr, false);
    if (!document.is_object() || !document.contains("sets"))
        Refuse(ToUtf8(path.generic_wstring()) + " does not hold saved sets.");
    return document["sets"];
}

}  // namespace zelctl
