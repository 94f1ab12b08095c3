#pragma once

#include "message/Platform.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

/// A body of bytes that is written at its end and read at a cursor. Numbers are big-endian; texts are UTF-16, high byte
/// first.
///
/// Reading never fails: past the end every byte reads as 0 and the cursor stays where it is.
class CMsgBase
{
  public:
    CMsgBase() = default;
    CMsgBase(const CMsgBase&) = default;
    CMsgBase(CMsgBase&&) = default;
    CMsgBase& operator=(const CMsgBase&) = default;
    CMsgBase& operator=(CMsgBase&&) = default;
    virtual ~CMsgBase() = default;

    /// Empties the body, whose memory goes, and puts the cursor at its start.
    virtual void Clear();

    void AppendByte(std::uint8_t value);
    void AppendWord(std::uint16_t value);
    void AppendDword(std::uint32_t value);

    /// REQUIRES: `bytes` points to `count` bytes, or `count` is 0.
    void AppendBytes(std::size_t count, const void* bytes);

    void AppendBytes(std::initializer_list<std::uint8_t> bytes) { AppendBytes(bytes.size(), bytes.begin()); }

    /// Appends a zero-terminated text, and two zero bytes if `terminate`. A null text appends nothing at all.
    /// Throws CAtlException (E_OUTOFMEMORY).
    void AppendString(const OLECHAR* text, bool terminate);

    /// Appends the first min(length, maximum) units of `text`, none if that is 0 or less, and two zero bytes if
    /// `terminate`. REQUIRES: `text` points to that many units.
    void AppendStringN(const OLECHAR* text, std::int32_t length, std::int32_t maximum, bool terminate);

    std::uint8_t ReadByte();
    std::uint16_t ReadWord();
    std::uint32_t ReadDword();

    /// Reads `count` bytes into a block that the caller frees with CoTaskMemFree; null if `count` is 0.
    /// Throws CAtlException (E_OUTOFMEMORY).
    std::uint8_t* ReadBytes(std::uint32_t count);

    /// Reads `count` UTF-16 units into a BSTR that the caller frees; an empty one if `count` is 0.
    /// Throws CAtlException (E_OUTOFMEMORY).
    BSTR ReadString(std::uint32_t count);

    /// Reads `count` bytes of UTF-8 into a BSTR that the caller frees. Its length is twice the number of bytes before
    /// the first zero byte, and two more; the text ends at its first zero unit. Null if the bytes convert to nothing.
    /// Throws CAtlException (E_OUTOFMEMORY).
    BSTR ReadUtf8String(std::uint32_t count);

    /// Moves the cursor by `count` bytes, also beyond the end.
    void Skip(std::uint32_t count) { m_position += count; }
    std::uint32_t GetPosition() const { return m_position; }
    void SetPosition(std::uint32_t position) { m_position = position; }

    /// First byte of the body; null if it is empty. Valid until the body changes.
    const std::uint8_t* GetData() const { return m_body.empty() ? nullptr : m_body.data(); }
    /// Length of the body in bytes.
    std::uint32_t GetSize() const { return static_cast<std::uint32_t>(m_body.size()); }

    /// Overwrites the byte at the cursor with 0, if there is one.
    void ZeroAtPosition();

  protected:
    /// Appends the next `count` bytes of `source`, zeros where it has ended.
    void TakeFrom(CMsgBase& source, std::uint32_t count);

  private:
    /// Room for most bodies that are built value by value, so that they are not moved while they grow. One that is
    /// appended at once takes exactly its size, so that a sanitizer sees a read behind its end.
    static constexpr std::size_t kUsualSize = 32;

    /// Where the cursor stands in the body; its end if the cursor is beyond it.
    const std::uint8_t* Cursor() const;
    /// Number of bytes from the cursor to the end.
    std::uint32_t Available() const;
    /// Fills `target` with the next `count` bytes, with zeros where the body has ended.
    void Take(std::uint8_t* target, std::uint32_t count);
    std::uint8_t* Grow(std::size_t count);
    void AppendUnits(const OLECHAR* text, std::size_t count, bool terminate);

    std::vector<std::uint8_t> m_body;
    std::uint32_t m_position = 0;
};
