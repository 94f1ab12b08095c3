#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/profiles.h"

/// The phone's user profiles, resource 0x39. They deliver no indications.
class CUserProfilesHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t ReadSettings(CDataSender& sender, ProfileRecord& record) const;
    std::uint32_t WriteSettings(CDataSender& sender, ProfileRecord& record) const;
    std::uint32_t Operation(CDataSender& sender) const;
    std::uint32_t ReadBytes(CDataSender& sender, void* record) const;
    std::uint32_t WriteBytes(CDataSender& sender, const ProfileRecord& record) const;

    /// The result for a status byte, of which 1 stands for success and 0 is none.
    std::uint32_t ProfileResult(std::uint8_t status) const;
};
