#pragma once

#include "handlers/base/ContentHandler.h"
#include "handlers/pnd/PNDFieldCodec.h"
#include "zelapi/pnd.h"

/// The phone's entry stores, resource 3.
class CPNDHandler : public CContentHandler
{
  public:
    std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) override;
    std::uint32_t DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record) override;
    std::uint32_t FreeDecodedData(std::uint32_t messageId, void* record) override;

  private:
    std::uint32_t Command21(CDataSender& sender, const PndCommandRecord& record) const;
    std::uint32_t Command23(CDataSender& sender, const PndCommandRecord& record) const;
    std::uint32_t Command28(CDataSender& sender, const PndCommand28Record& record) const;
    std::uint32_t Command15(CDataSender& sender, const PndCommand15Record& record) const;
    std::uint32_t ReadEntry(CDataSender& sender, PndReadRecord& record) const;
    std::uint32_t WriteEntry(CDataSender& sender, PndWriteRecord& record) const;
    std::uint32_t ReadFields(CDataSender& sender, PndReadRecord& record) const;
    std::uint32_t WriteFields(CDataSender& sender, PndWriteRecord& record) const;
    std::uint32_t List(CDataSender& sender, PndListRecord& record) const;
    std::uint32_t ReadStore14(CDataSender& sender, PndStore14Record& record) const;
    std::uint32_t WriteStore14(CDataSender& sender, const PndStore14Record& record) const;
    std::uint32_t ReadStore16(CDataSender& sender, PndReadStore16Record& record) const;
    std::uint32_t WriteStore16(CDataSender& sender, PndWriteRecord& record) const;
    std::uint32_t StoreState(CDataSender& sender, PndStoreStateRecord& record) const;

    std::uint32_t FetchEntry(CDataSender& sender, CMessage& message, PndEntry& entry) const;
    std::uint32_t StoreEntry(CDataSender& sender, PndWriteRecord& record, std::uint8_t store) const;

    /// The request that reads an entry, up to where it says which one.
    CMessage ReadRequest(std::uint8_t kind, std::uint8_t mode, std::uint8_t value6, std::uint8_t store) const;

    /// Sends a request that only a status answers.
    std::uint32_t ExchangeStatus(CDataSender& sender, CMessage& message, std::uint8_t replyId) const;

    /// Sends a request that a run of records answers. The number of sub-blocks of the run, with the cursor at its
    /// start; 0 if none has come or a status instead of them, then `result` is the request's.
    std::uint8_t ExchangeRun(CDataSender& sender, CMessage& message, std::uint8_t replyId, std::uint32_t& result) const;

    /// Result of a reply whose first sub-block is a status or, with id `dataId`, what `read` takes.
    template <typename Read>
    std::uint32_t ReadReply(CMessage& message, std::uint16_t dataId, Read&& read) const;

    /// Where the phone keeps what older ones have in store 16.
    std::uint8_t Store16(CDataSender& sender) const;
    CPNDFieldCodec FieldCodec(CDataSender& sender) const;
    /// False if the phone's version of this service is not known.
    bool IsAtLeast(CDataSender& sender, std::uint8_t major, std::uint8_t minor) const;
};
