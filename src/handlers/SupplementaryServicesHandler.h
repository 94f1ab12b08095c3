#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/supplementary.h"

/// The phone's supplementary services, resource 0x06. The records of its indications stay with whoever receives them.
class CSupplementaryServicesHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;
    std::uint32_t DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record) override;

  private:
    std::uint32_t Query(CDataSender& sender, SupplementaryRequest& record) const;
    std::uint32_t SendFixed(CDataSender& sender, std::uint8_t operation, std::uint8_t serviceCode) const;
    std::uint32_t SendList(CDataSender& sender, SupplementaryListRequest& record) const;

    /// Starts the one request that there is.
    CMessage Start(std::uint8_t operation, std::uint8_t serviceCode, std::uint16_t value) const;
    /// Sends it. True if its result has come; otherwise `result` is the request's: the failure of the send, what an
    /// error or reject says, or 0 for another message.
    bool Ask(CDataSender& sender, CMessage& message, std::uint32_t& result) const;
};
