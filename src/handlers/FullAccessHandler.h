#pragma once

#include "handlers/base/ContentHandler.h"

/// Raw access to the link, resource 0xFF. All that it receives is delivered as it is, whatever its message id.
class CFullAccessHandler : public CContentHandler
{
  public:
    CFullAccessHandler();

    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;
    std::uint32_t DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record) override;
    std::uint32_t FreeDecodedData(std::uint32_t messageId, void* record) override;

    /// The access that the link service grants.
    void SetAccess(std::uint8_t access) { m_access = access; }

  private:
    std::uint8_t m_access = 0;
};
