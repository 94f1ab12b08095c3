#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/provisioning.h"

/// The phone's provisioned setting sets, resource 0x22.
class CProvisioningHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t ReadAll(CDataSender& sender, ProvisioningList& record) const;
    std::uint32_t ReadContent(CDataSender& sender, ProvisioningSet& set) const;
    std::uint32_t ReadSummary(CDataSender& sender, ProvisioningList& record) const;
    std::uint32_t WriteAll(CDataSender& sender, const ProvisioningList& record) const;
    std::uint32_t WriteSet(CDataSender& sender, CMessage& message, bool hasName) const;
    std::uint32_t SetNumber(CDataSender& sender, std::uint8_t number) const;

    /// A request of this service, which its next id answers.
    CMessage RequestOf(std::uint8_t id) const;
    CMessage ReadRequest(std::uint8_t set, std::uint16_t what) const;
    CMessage SetRequest(const ProvisioningSet& set) const;
    CMessage CountRequest(std::uint8_t count) const;
    CMessage NumberRequest(const ProvisioningSet& set) const;
    CMessage NameRequest(const ProvisioningSet& set) const;

    /// Sends a request. True if the phone's data follow in it; otherwise `result` is what came of it, 0 included.
    bool BringsData(CDataSender& sender, CMessage& message, std::uint32_t& result) const;
    /// Sends a request that only a status answers.
    std::uint32_t Command(CDataSender& sender, CMessage message) const;
};
