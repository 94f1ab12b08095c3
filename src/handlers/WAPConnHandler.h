#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/wap.h"

/// The phone's WAP connections, resource 0x3F.
class CWAPConnHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t ReadByte(CDataSender& sender, WapRequest& record) const;
    std::uint32_t Command(CDataSender& sender) const;
    std::uint32_t ReadConnection(CDataSender& sender, const WapRequest& record) const;
    std::uint32_t WriteConnection(CDataSender& sender, WapRequest& record) const;
    std::uint32_t ConnectionCommand(CDataSender& sender, const WapRequest& record) const;

    /// Sends a request and reads the status where the phone answers with `refusal`. The request's result.
    std::uint32_t Ask(CDataSender& sender, CMessage& message, std::uint8_t refusal, std::uint32_t sendFailure) const;
};
