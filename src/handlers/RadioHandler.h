#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/radio.h"

/// The phone's radio service, resource 0x3E.
class CRadioHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t List(CDataSender& sender, RadioList& record) const;
    std::uint32_t WriteItem(CDataSender& sender, const RadioItemRecord& record) const;
    std::uint32_t ReadSetting(CDataSender& sender, RadioSetting& record) const;
    std::uint32_t WriteSetting(CDataSender& sender, const RadioSetting& record) const;
    std::uint32_t Request3(CDataSender& sender, const RadioSetting& record) const;

    /// The result that a reply without data gives: the phone's status, or 0 for any message that brings none.
    std::uint32_t StatusOf(CMessage& reply) const;
    /// Sends a request that only a status answers.
    std::uint32_t Command(CDataSender& sender, CMessage& message) const;
};
