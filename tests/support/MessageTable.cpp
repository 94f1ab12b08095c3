#include "support/MessageTable.h"

#include "zelapi/zelapi.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>

namespace
{

std::vector<std::string> LinesOf(const std::filesystem::path& path)
{
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line.substr(0, line.find_last_not_of('\r') + 1));
    if (lines.empty())
        throw std::runtime_error("cannot read " + path.string());
    return lines;
}

std::uint32_t FromHex(const std::string& digits)
{
    return static_cast<std::uint32_t>(std::stoul(digits, nullptr, 16));
}

/// The resources whose messages a header defines. Throws std::out_of_range for a new header.
std::set<std::uint32_t> ResourcesOf(const std::string& header)
{
    static const std::map<std::string, std::set<std::uint32_t>> resources = {
        {"calendar.h", {0x13}}, {"call.h", {0x01}},          {"file.h", {0x6D}},        {"full_access.h", {0xFF}},
        {"layout.h", {}},       {"messaging.h", {0x66}},     {"permissions.h", {0x23}}, {"pnd.h", {0x03}},
        {"profiles.h", {0x39}}, {"provisioning.h", {0x22}},  {"radio.h", {0x3E}},       {"sms.h", {0x02, 0x14}},
        {"storage.h", {0xAA}},  {"supplementary.h", {0x06}}, {"time.h", {0x19}},        {"wap.h", {0x3F}},
        {"zelapi.h", {}},
    };
    return resources.at(header);
}

/// "zelctl time, zelctl time set".
std::vector<std::string> CommandsIn(const std::string& cell)
{
    static const std::regex separator(", ");
    return {std::sregex_token_iterator(cell.begin(), cell.end(), separator, -1), {}};
}

}  // namespace

bool MessageRow::IsIndication() const
{
    return exchange.starts_with("indication");
}

std::set<std::uint8_t> MessageRow::MessageIds() const
{
    static const std::regex number("0x([0-9A-F]{2})");
    std::set<std::uint8_t> ids;
    for (std::sregex_iterator match(exchange.begin(), exchange.end(), number), end; match != end; ++match)
        ids.insert(static_cast<std::uint8_t>(FromHex((*match)[1])));
    return ids;
}

std::vector<MessageRow> ReadMessageTable()
{
    const std::string cell = R"( ((?:[^|\\]|\\.)+) \|)";
    const std::regex row(R"(\| 0x([0-9A-F]{4}) \| (ZEL_\w+) \|)" + cell + cell + cell + cell);
    std::vector<MessageRow> rows;
    for (const std::string& line : LinesOf(std::filesystem::path(ZELAPI_SOURCE) / "docs" / "messages.md"))
    {
        std::smatch match;
        if (std::regex_match(line, match, row))
            rows.push_back({FromHex(match[1]), match[2], match[3], CommandsIn(match[6])});
        else if (line.starts_with("| 0x"))
            throw std::runtime_error("not a row of messages: " + line);
    }
    return rows;
}

std::map<std::string, std::uint32_t> ReadMessageIdsOfHeaders()
{
    static const std::regex define(R"(#define (ZEL_\w+) 0x([0-9A-Fa-f]{3,4})u)");
    std::map<std::string, std::uint32_t> ids;
    for (const auto& file :
         std::filesystem::directory_iterator(std::filesystem::path(ZELAPI_SOURCE) / "include/zelapi"))
    {
        const std::set<std::uint32_t> resources = ResourcesOf(file.path().filename().string());
        for (const std::string& line : LinesOf(file.path()))
        {
            std::smatch match;
            if (std::regex_match(line, match, define) && resources.contains(FromHex(match[2]) >> 8))
                ids[match[1]] = FromHex(match[2]);
        }
    }
    return ids;
}
