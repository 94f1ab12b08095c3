#pragma once

#include "message/MsgBase.h"

/// One tagged record inside a body: id, filler, length, payload, and padding up to a multiple of 4 bytes. The length
/// counts all of it.
class CSubBlock : public CMsgBase
{
  public:
    /// Chooses the header; call it before any use.
    ///
    /// @param idWidth      1 or 2 bytes.
    /// @param fillerMode   2: one filler byte between id and length; 4: three (only when reading); 0, 1, 3: none.
    /// @param lengthWidth  1 or 2 bytes, or 4 (only when reading).
    /// @param fillerCount  Filler bytes that a length counts when reading; 0 stands for one if fillerMode is 2 or more.
    void SetFormat(std::uint32_t idWidth, std::uint32_t fillerMode, std::uint32_t lengthWidth,
                   std::uint32_t fillerCount);

    void SetId(std::uint16_t id) { m_id = id; }
    std::uint16_t GetId() const { return m_id; }

    /// Reads the sub-block at the cursor of `message` and moves the cursor behind it. False for a null or unreadable
    /// message, an unknown format, or an empty payload.
    bool ReadFrom(CMsgBase* message);

    /// Appends this sub-block to `message`, its padding included; the padding stays in the payload. False for a null or
    /// unreadable message, or a format that cannot be written.
    bool WriteTo(CMsgBase* message);

    /// The most bytes of payload that the length field can name, padding included. REQUIRES: a format for writing.
    std::uint32_t GetLongestPayload() const;

    /// Empties the payload; the id becomes 0xFFFF and the length 0.
    void Clear() override;

  private:
    bool ReadId(CMsgBase& message);
    bool SkipFiller(CMsgBase& message) const;
    bool ReadLength(CMsgBase& message);
    std::uint32_t WrittenHeaderSize() const { return m_idWidth + m_lengthWidth + (m_fillerMode > 1 ? 1 : 0); }
    std::uint16_t PayloadSize() const;
    void Pad();
    bool WriteId(CMsgBase& message) const;
    bool WriteFiller(CMsgBase& message) const;
    bool WriteLength(CMsgBase& message) const;

    std::uint32_t m_idWidth = 0;
    std::uint32_t m_lengthWidth = 0;
    std::uint32_t m_fillerMode = 0;
    std::uint32_t m_fillerCount = 0;
    std::uint16_t m_id = 0xFFFF;
    std::uint16_t m_length = 0;
};
