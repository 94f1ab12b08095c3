#pragma once

#include "shell/Text.h"
#include "shell/Value.h"

#include <filesystem>
#include <vector>
#include <zelapi/provisioning.h>

namespace zelctl
{

/// A list to be sent, made of what DescribeSets says. Throws CFailure for anything else.
class CSetsToSend
{
  public:
    explicit CSetsToSend(const Value& sets);
    CSetsToSend(const CSetsToSend&) = delete;
    CSetsToSend& operator=(const CSetsToSend&) = delete;

    /// Valid as long as this object.
    ProvisioningList& List() { return m_list; }

  private:
    struct Parts
    {
        std::vector<std::uint8_t> blockA;
        std::vector<std::uint8_t> blockC;
        ProvisioningAccess access = {};
        BStr text;
        ProvisioningName name = {};
    };

    void Add(const Value& set, Parts& parts);

    std::vector<Parts> m_parts;
    std::vector<ProvisioningSet> m_sets;
    ProvisioningList m_list = {};
};

/// One record for each set, without its content.
Value DescribeSets(const ProvisioningList& list);

// A folder of saved sets: sets.json, which says what DescribeSets does, and a file for each content.

/// Throws CFailure if there are saved sets in the folder already.
void RequireNoSets(const std::filesystem::path& folder);
/// Saves the sets; the folder is made if it is not there. Returns their description with the names of the content
/// files.
Value SaveSets(const ProvisioningList& list, const std::filesystem::path& folder);
/// What SaveSets has written, for CSetsToSend. Throws CFailure.
Value LoadSets(const std::filesystem::path& folder);

}  // namespace zelctl
