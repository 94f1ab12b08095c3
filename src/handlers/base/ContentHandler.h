#pragma once

#include "handlers/base/DataSender.h"
#include "handlers/base/TimeConverter.h"
#include "message/ExceptionFrame.h"
#include "message/Message.h"
#include "zelapi/zelapi.h"

#include <initializer_list>

/// Serves one service of the phone: turns requests and their records into messages, replies and indications into
/// records.
class CContentHandler
{
  public:
    CContentHandler() = default;
    CContentHandler(const CContentHandler&) = delete;
    CContentHandler& operator=(const CContentHandler&) = delete;
    virtual ~CContentHandler() = default;

    /// Runs one request to its end. ZEL_NOT_HANDLED for an unknown id.
    virtual std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record) = 0;

    /// Turns an indication into a record for FreeDecodedData. ZEL_NOT_HANDLED if it is none.
    virtual std::uint32_t DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record);

    /// Frees what DecodeMessage made for this id.
    virtual std::uint32_t FreeDecodedData(std::uint32_t messageId, void* record);

    void SetResource(std::uint8_t resource) { m_resource = resource; }
    std::uint8_t GetResource() const { return m_resource; }

  protected:
    /// How long most requests wait for their reply, in milliseconds.
    static constexpr std::uint32_t kReplyMs = 60000;

    /// A request of this service; `replies` are the message ids that may answer it.
    CMessage Request(std::uint8_t id, std::initializer_list<std::uint8_t> replies = {}) const;

    /// Sends a request and waits for its reply. True if `replyId` has come; otherwise `result` is the request's: the
    /// failure of the send, or 0 for a reply with another id.
    static bool Exchange(CDataSender& sender, CMessage& message, std::uint8_t replyId, std::uint32_t& result);

    /// The result for a status byte of the phone: 0, or (resource byte << 8) | status.
    std::uint32_t StatusResult(std::uint8_t status) const;

    /// Converts a local time; time and zone are stored where their pointers can be followed. Result of the conversion.
    static std::uint32_t LocalToUtc(const SYSTEMTIME& local, SYSTEMTIME* utc, ZoneInformation* zone);

    /// The caller's record. Throws ZEL_E_ARGUMENT if it is null or unreadable.
    template <typename Record>
    static Record& RecordOf(void* record)
    {
        if (!IsReadable(record))
            ThrowCode(ZEL_E_ARGUMENT);
        return *static_cast<Record*>(record);
    }

  private:
    std::uint8_t m_resource = 0;
};
