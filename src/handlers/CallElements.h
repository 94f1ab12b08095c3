#pragma once

#include "handlers/base/Owners.h"
#include "handlers/base/RecordArray.h"
#include "message/SubBlock.h"
#include "zelapi/call.h"

#include <cstddef>
#include <cstdint>

/// The result for a cause that the phone names: 0, or 0x100 | cause.
inline std::uint32_t CauseResult(std::uint8_t cause)
{
    return cause == 0 ? ZEL_OK : 0x100u | cause;
}

/// Frees the text of an element that holds one.
void FreeElementText(const CallElement& element);

/// Elements that the phone sends, owned with their texts until they are complete.
class CCallElements
{
  public:
    /// Room for so many elements; no array at all for 0. Throws CAtlException (E_OUTOFMEMORY).
    explicit CCallElements(std::size_t room) : m_elements(room) {}

    /// Reads a sub-block of a call's status: an element, two for a number, none for an unknown sub-block. The call that
    /// it names becomes `callId`.
    void ReadStatusBlock(CSubBlock& block, std::uint8_t& callId);

    /// Reads the next item of a status indication: an element, none for an unknown item.
    void ReadItem(CMsgBase& message);

    std::uint8_t Count() const { return static_cast<std::uint8_t>(m_count); }
    CallElement* Release() { return m_elements.Release(); }

  private:
    /// Takes an element with its text; one that has no room is dropped.
    void Add(const CallElement& element);

    CRecordArray<CallElement, &FreeElementText> m_elements;
    std::size_t m_count = 0;
};
