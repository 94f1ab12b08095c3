#pragma once

#include "handlers/base/ContentHandler.h"
#include "zelapi/call.h"

/// The phone's call service, resource 0x01.
class CCallHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;
    std::uint32_t DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record) override;
    std::uint32_t FreeDecodedData(std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t Create(CDataSender& sender, CallRecord& record) const;
    std::uint32_t CreateVariant(CDataSender& sender, CallRecord& record) const;
    static std::uint32_t SendCreate(CDataSender& sender, CMessage& message, CallRecord& record);
    std::uint32_t Query(CDataSender& sender, CallRecord& record) const;
    std::uint32_t Request9(CDataSender& sender, CallRecord& record) const;
    std::uint32_t QueryStatus(CDataSender& sender, CallRecord& record) const;
    std::uint32_t Control(CDataSender& sender, CallRecord& record, std::uint8_t operation) const;
    std::uint32_t ControlCall(CDataSender& sender, CallRecord& record, std::uint8_t operation,
                              std::uint8_t callId) const;
};
