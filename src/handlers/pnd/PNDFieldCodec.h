#pragma once

#include "handlers/base/CallersData.h"
#include "message/MsgBase.h"
#include "zelapi/pnd.h"

/// Writes and reads the fields of PND entries, one sub-block per field.
class CPNDFieldCodec
{
  public:
    /// @param hasWideLength63  The phone gives the length of a type 63 text in 16 bits instead of 8.
    explicit CPNDFieldCodec(bool hasWideLength63) : m_hasWideLength63(hasWideLength63) {}

    /// Appends one field. An attribute of 0 becomes 0x80, in the field too. A type without a value, a group included,
    /// is its attribute alone.
    void Write(CMsgBase& message, PndField& field) const;

    /// Appends a field of an entry that is to be stored: like Write, but a group comes with its texts, each in a
    /// sub-block of its own behind it.
    void WriteToStore(CMsgBase& message, PndField& field) const;

    /// Reads `count` fields into an array for the application; null if `count` is 0.
    /// Throws ZEL_E_FAIL for a malformed field, CAtlException (E_OUTOFMEMORY).
    PndField* Read(CMsgBase& message, std::uint8_t count) const;

  private:
    void ReadField(CMsgBase& block, PndField& field, std::uint16_t type) const;

    bool m_hasWideLength63;
};

/// The text of a field, of an unknown type too. Empty for a number, which names no text, and for one that cannot be
/// read.
CTextView PndTextOf(const PndField& field);
