#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/sms.h"

struct SMSOperation;

/// Short messages, resources 0x14 and 0x02. A request goes to the resource that serves it, whichever of the two this
/// handler was made for.
class CSMSHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;
    std::uint32_t DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record) override;
    std::uint32_t FreeDecodedData(std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t List(CDataSender& sender, SmsList& record) const;
    std::uint32_t Submit(CDataSender& sender, const SmsSubmit& record) const;
    std::uint32_t Read(CDataSender& sender, SmsStoredMessage& record) const;
    std::uint32_t Write(CDataSender& sender, SmsStoredMessage& record) const;
    std::uint32_t LocationCommand(CDataSender& sender, const SmsLocationCommand& record) const;
    std::uint32_t ReadDetails(CDataSender& sender, SmsDetails& record) const;
    std::uint32_t ReadAddresses(CDataSender& sender, SmsAddresses& record) const;
    std::uint32_t ListTexts(CDataSender& sender, SmsTextList& record) const;
    std::uint32_t WriteText(CDataSender& sender, const SmsTextToWrite& record) const;
    std::uint32_t Command(CDataSender& sender, const SmsCommand& record) const;

    CMessage NewRequest(const SMSOperation& operation) const;
    /// Sends a request and waits for its reply. ZEL_NOT_HANDLED when another message has come.
    static std::uint32_t Ask(CDataSender& sender, CMessage& message, const SMSOperation& operation,
                             std::uint32_t timeoutMs = kReplyMs);
    /// The same for a reply that begins with a status byte; its result is the request's.
    static std::uint32_t AskForStatus(CDataSender& sender, CMessage& message, const SMSOperation& operation);
};
