#pragma once

#include "message/ByteSet.h"
#include "message/MsgBase.h"

/// One protocol message: the service's resource byte, a message id and a body.
class CMessage : public CMsgBase
{
  public:
    void SetResource(std::uint8_t resource) { m_resource = resource; }
    std::uint8_t GetResource() const { return m_resource; }
    void SetMessageId(std::uint8_t id) { m_messageId = id; }
    std::uint8_t GetMessageId() const { return m_messageId; }

    /// Names a message id that counts as the reply to this request.
    void AddExpectedReply(std::uint8_t id) { m_expectedReplies.Insert(id); }
    const CByteSet& GetExpectedReplies() const { return m_expectedReplies; }

    /// Empties the message; the expected reply ids stay.
    void Clear() override;

  private:
    std::uint8_t m_resource = 0;
    std::uint8_t m_messageId = 0;
    CByteSet m_expectedReplies;
};
