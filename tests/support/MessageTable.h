#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

/// A row of the table of messages in docs/messages.md.
struct MessageRow
{
    std::uint32_t id;
    std::string name;
    std::string exchange;               ///< "0x0A → 0x0B", "indication 0x84".
    std::vector<std::string> commands;  ///< How zelctl exercises it: "zelctl time".

    bool IsIndication() const;
    /// The protocol message ids in `exchange`.
    std::set<std::uint8_t> MessageIds() const;
};

/// All rows of the tables in docs/messages.md.
std::vector<MessageRow> ReadMessageTable();

/// The API message ids that the public headers define, by name.
std::map<std::string, std::uint32_t> ReadMessageIdsOfHeaders();
