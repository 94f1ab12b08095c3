#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/storage.h"

/// The phone's storage areas, resource 0xAA.
class CStorageHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;
    std::uint32_t DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record) override;
    std::uint32_t FreeDecodedData(std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t AreaCommand(CDataSender& sender, const StorageAreaCommand& record) const;
    std::uint32_t ListAreas(CDataSender& sender, StorageAreaList& record) const;
    std::uint32_t ListIdentifiers(CDataSender& sender, StorageIdentifierList& record) const;
    std::uint32_t IdentifierCommand(CDataSender& sender, const StorageIdentifierCommand& record) const;
    std::uint32_t Command(CDataSender& sender) const;
    std::uint32_t ThreeByteCommand(CDataSender& sender, const StorageThreeByteCommand& record) const;

    /// Sends a request and reads the status of its reply. The request's result.
    std::uint32_t Ask(CDataSender& sender, CMessage& message, std::uint8_t replyId) const;
};
