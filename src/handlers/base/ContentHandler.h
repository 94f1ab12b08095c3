#pragma once

#include "handlers/base/Conversation.h"
#include "handlers/base/Owners.h"
#include "message/Platform.h"
#include "zelapi/zelapi.h"

#include <concepts>
#include <cstdint>
#include <span>

/// One operation of a service: an API message id and what runs for it. An operation ends by returning, which is result
/// 0, or by throwing its result.
struct Operation
{
    std::uint32_t id;
    void (*run)(CConversation& phone, void* record);
};

/// The caller's record, as whatever record an operation takes. Throws ZEL_E_ARGUMENT if it is null or unreadable.
class CRecordArgument
{
  public:
    explicit CRecordArgument(void* record) : m_record(record) {}

    template <typename Record>
    operator Record&() const
    {
        if (!IsReadable(m_record))
            ThrowCode(ZEL_E_ARGUMENT);
        return *static_cast<Record*>(m_record);
    }

  private:
    void* m_record;
};

/// Makes an operation of `Run`, which takes the phone, and as it likes: no record, a reference to its record, or the
/// record's unchecked address.
template <auto Run>
void Serve(CConversation& phone, void* record)
{
    if constexpr (std::invocable<decltype(Run), CConversation&>)
        Run(phone);
    else if constexpr (std::invocable<decltype(Run), CConversation&, void*>)
        Run(phone, record);
    else
        Run(phone, CRecordArgument(record));
}

/// One message that the phone sends on its own: its message id, the API message that it becomes, and the making and
/// freeing of that one's record.
struct Indication
{
    std::uint8_t message;
    std::uint32_t id;
    /// Throws the result where there is nothing to deliver.
    void* (*decode)(CMessage& message);
    void (*free)(void* record);
};

/// Makes an indication's decoder of `Read`, which returns an owned record.
template <auto Read>
void* Decode(CMessage& message)
{
    return Read(message).release();
}

/// Serves one service of the phone: turns requests and their records into messages, replies and indications into
/// records.
class CContentHandler
{
  public:
    CContentHandler(const CContentHandler&) = delete;
    CContentHandler& operator=(const CContentHandler&) = delete;
    virtual ~CContentHandler() = default;

    /// Runs one request to its end. ZEL_NOT_HANDLED for an unknown id.
    virtual std::uint32_t EncodeRequest(CDataSender& sender, std::uint32_t messageId, void* record);

    /// Turns an indication into a record for FreeDecodedData. ZEL_NOT_HANDLED if it is none.
    virtual std::uint32_t DecodeMessage(CMessage& message, std::uint32_t& messageId, void*& record);

    /// Frees what DecodeMessage made for this id. ZEL_NOT_HANDLED for another id, ZEL_E_FAIL from a service without
    /// indications.
    virtual std::uint32_t FreeDecodedData(std::uint32_t messageId, void* record);

    void SetResource(std::uint8_t resource) { m_resource = resource; }
    std::uint8_t GetResource() const { return m_resource; }

  protected:
    /// REQUIRES: the tables live as long as the handler.
    explicit CContentHandler(std::span<const Operation> operations, std::span<const Indication> indications = {})
        : m_operations(operations), m_indications(indications)
    {
    }

  private:
    std::span<const Operation> m_operations;
    std::span<const Indication> m_indications;
    std::uint8_t m_resource = 0;
};
