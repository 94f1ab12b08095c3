#include "message/MsgBase.h"

#include "message/AtlException.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace
{

std::uint16_t Word(const std::uint8_t* bytes)
{
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

using Text = std::unique_ptr<OLECHAR, decltype(&SysFreeString)>;

/// Throws CAtlException if there is no `text`.
Text Owned(BSTR text)
{
    if (text == nullptr)
        throw CAtlException(E_OUTOFMEMORY);
    return Text(text, &SysFreeString);
}

}  // namespace

void CMsgBase::Clear()
{
    m_body = std::vector<std::uint8_t>();
    m_position = 0;
}

std::uint8_t* CMsgBase::Grow(std::size_t count)
{
    const std::size_t end = m_body.size();
    m_body.resize(end + count);
    return m_body.data() + end;
}

void CMsgBase::AppendByte(std::uint8_t value)
{
    if (m_body.capacity() == 0)
        m_body.reserve(kUsualSize);
    m_body.push_back(value);
}

void CMsgBase::AppendWord(std::uint16_t value)
{
    AppendByte(static_cast<std::uint8_t>(value >> 8));
    AppendByte(static_cast<std::uint8_t>(value));
}

void CMsgBase::AppendDword(std::uint32_t value)
{
    AppendWord(static_cast<std::uint16_t>(value >> 16));
    AppendWord(static_cast<std::uint16_t>(value));
}

void CMsgBase::AppendBytes(std::size_t count, const void* bytes)
{
    const auto* first = static_cast<const std::uint8_t*>(bytes);
    m_body.insert(m_body.end(), first, first + count);
}

void CMsgBase::AppendUnits(const OLECHAR* text, std::size_t count, bool terminate)
{
    std::uint8_t* out = Grow(2 * (count + (terminate ? 1 : 0)));
    for (std::size_t i = 0; i < count; ++i)
    {
        const auto unit = static_cast<std::uint16_t>(text[i]);
        out[2 * i] = static_cast<std::uint8_t>(unit >> 8);
        out[2 * i + 1] = static_cast<std::uint8_t>(unit);
    }
}

void CMsgBase::AppendString(const OLECHAR* text, bool terminate)
{
    if (text == nullptr)
        return;
    const Text copy = Owned(SysAllocString(text));
    AppendUnits(copy.get(), SysStringLen(copy.get()), terminate);
}

void CMsgBase::AppendStringN(const OLECHAR* text, std::int32_t length, std::int32_t maximum, bool terminate)
{
    AppendUnits(text, static_cast<std::size_t>(std::max(0, std::min(length, maximum))), terminate);
}

std::uint32_t CMsgBase::Available() const
{
    const auto size = GetSize();
    return m_position < size ? size - m_position : 0;
}

const std::uint8_t* CMsgBase::Cursor() const
{
    return m_body.data() + (m_body.size() - Available());
}

void CMsgBase::Take(std::uint8_t* target, std::uint32_t count)
{
    const auto present = std::min(count, Available());
    if (present != 0)
        std::memcpy(target, Cursor(), present);
    if (count != present)
        std::memset(target + present, 0, count - present);
    m_position += present;
}

void CMsgBase::TakeFrom(CMsgBase& source, std::uint32_t count)
{
    const std::size_t end = m_body.size() + count;
    const std::uint32_t present = std::min(count, source.Available());
    AppendBytes(present, source.Cursor());
    source.m_position += present;
    m_body.resize(end);
}

std::uint8_t CMsgBase::ReadByte()
{
    if (Available() == 0)
        return 0;
    return m_body[m_position++];
}

std::uint16_t CMsgBase::ReadWord()
{
    std::uint8_t bytes[2];
    Take(bytes, sizeof bytes);
    return Word(bytes);
}

std::uint32_t CMsgBase::ReadDword()
{
    std::uint8_t bytes[4];
    Take(bytes, sizeof bytes);
    return static_cast<std::uint32_t>(Word(bytes)) << 16 | Word(bytes + 2);
}

std::uint8_t* CMsgBase::ReadBytes(std::uint32_t count)
{
    if (count == 0)
        return nullptr;
    auto* block = static_cast<std::uint8_t*>(CoTaskMemAlloc(count));
    if (block == nullptr)
        throw CAtlException(E_OUTOFMEMORY);
    Take(block, count);
    return block;
}

BSTR CMsgBase::ReadString(std::uint32_t count)
{
    BSTR text = Owned(SysAllocStringLen(nullptr, count)).release();
    // An odd last byte is the high half of a unit.
    const std::uint32_t present = std::min(count, Available() / 2 + Available() % 2);
    auto* const bytes = reinterpret_cast<std::uint8_t*>(text);
    Take(bytes, 2 * count);
    for (std::size_t i = 0; i < present; ++i)
        text[i] = static_cast<OLECHAR>(Word(bytes + 2 * i));
    return text;
}

BSTR CMsgBase::ReadUtf8String(std::uint32_t count)
{
    std::vector<std::uint8_t> scratch(count);
    Take(scratch.data(), count);
    const auto end = std::find(scratch.begin(), scratch.end(), std::uint8_t{0});
    const auto limit = static_cast<std::uint32_t>(end - scratch.begin()) + 1;

    Text text = Owned(SysAllocStringLen(nullptr, 2 * limit));
    std::fill_n(text.get(), 2 * std::size_t{limit}, OLECHAR{0});
    const int units = MultiByteToWideChar(CP_UTF8, 0, reinterpret_cast<const char*>(scratch.data()),
                                          static_cast<int>(count), text.get(), static_cast<int>(limit));
    return units == 0 ? nullptr : text.release();
}

void CMsgBase::ZeroAtPosition()
{
    if (Available() != 0)
        m_body[m_position] = 0;
}
