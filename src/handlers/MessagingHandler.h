#pragma once

#include "handlers/base/ContentHandler.h"

/// Events of the phone's messaging service, resource 0x66. It only receives.
class CMessagingHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;
    std::uint32_t DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record) override;
    std::uint32_t FreeDecodedData(std::uint32_t messageId, void* record) override;
};
