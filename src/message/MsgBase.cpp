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

BSTR AllocateText(UINT units)
{
    BSTR text = SysAllocStringLen(nullptr, units);
    if (text == nullptr)
        throw CAtlException(E_OUTOFMEMORY);
    return text;
}

}  // namespace

void CMsgBase::Clear()
{
    m_body.clear();
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
    m_body.push_back(value);
}

void CMsgBase::AppendWord(std::uint16_t value)
{
    const std::uint8_t bytes[] = {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    AppendBytes(sizeof bytes, bytes);
}

void CMsgBase::AppendDword(std::uint32_t value)
{
    const std::uint8_t bytes[] = {static_cast<std::uint8_t>(value >> 24), static_cast<std::uint8_t>(value >> 16),
                                  static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    AppendBytes(sizeof bytes, bytes);
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
    const std::unique_ptr<OLECHAR, decltype(&SysFreeString)> copy(SysAllocString(text), &SysFreeString);
    if (!copy)
        throw CAtlException(E_OUTOFMEMORY);
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
    source.Take(Grow(count), count);
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
    BSTR text = AllocateText(count);
    const auto whole = std::min(count, Available() / 2);
    const std::uint8_t* bytes = Cursor();
    for (std::uint32_t i = 0; i < whole; ++i)
        text[i] = static_cast<OLECHAR>(Word(bytes + 2 * std::size_t{i}));
    m_position += 2 * whole;
    // An odd last byte is the high half of a unit.
    for (std::uint32_t i = whole; i < count; ++i)
        text[i] = static_cast<OLECHAR>(ReadWord());
    return text;
}

BSTR CMsgBase::ReadUtf8String(std::uint32_t count)
{
    std::vector<std::uint8_t> scratch(count);
    Take(scratch.data(), count);
    const auto end = std::find(scratch.begin(), scratch.end(), std::uint8_t{0});
    const auto limit = static_cast<std::uint32_t>(end - scratch.begin()) + 1;

    BSTR text = AllocateText(2 * limit);
    std::fill_n(text, 2 * std::size_t{limit}, OLECHAR{0});
    if (MultiByteToWideChar(CP_UTF8, 0, reinterpret_cast<const char*>(scratch.data()), static_cast<int>(count), text,
                            static_cast<int>(limit)) == 0)
    {
        SysFreeString(text);
        return nullptr;
    }
    return text;
}

void CMsgBase::ZeroAtPosition()
{
    if (Available() != 0)
        m_body[m_position] = 0;
}
