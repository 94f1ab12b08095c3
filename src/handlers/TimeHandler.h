#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/time.h"

/// The phone's clock, resource 0x19. It delivers no indications.
class CTimeHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t Read(CDataSender& sender, TimeNow& record) const;
    std::uint32_t Set(CDataSender& sender, TimeToSet& record) const;
    std::uint32_t ReadSettings(CDataSender& sender, TimeSettings& record) const;
};
