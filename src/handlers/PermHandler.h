#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/permissions.h"

/// The phone's permissions, resource 0x23. It has no indications.
class CPermHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t Size(CDataSender& sender, PermissionRecord& record) const;
    std::uint32_t SecondSize(CDataSender& sender, PermissionRecord& record) const;
    std::uint32_t AskSize(CDataSender& sender, CMessage& message, std::uint8_t replyId, PermissionRecord& record) const;
    std::uint32_t Read(CDataSender& sender, PermissionRecord& record) const;
    std::uint32_t ReadChunk(CDataSender& sender, CMessage& message, PermissionChunk& chunk) const;
    std::uint32_t Write(CDataSender& sender, const PermissionRecord& record) const;
    std::uint32_t WriteChunk(CDataSender& sender, CMessage& message, const PermissionChunk& chunk) const;

    /// Makes `message` the beginning of a request again, whatever reply it holds. Its memory serves every chunk.
    void Restart(CMessage& message, std::uint8_t requestId, std::uint16_t key) const;
};
