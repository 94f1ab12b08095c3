#pragma once

#include "message/Message.h"
#include "support/Bytes.h"

#include <initializer_list>
#include <string_view>

/// The parts, one after the other.
inline Bytes Join(std::initializer_list<Bytes> parts)
{
    Bytes whole;
    for (const Bytes& part : parts)
        whole.insert(whole.end(), part.begin(), part.end());
    return whole;
}

/// A text as it travels: UTF-16, high byte first.
inline Bytes WireText(std::u16string_view text)
{
    Bytes bytes;
    for (const char16_t unit : text)
        bytes.insert(bytes.end(), {static_cast<std::uint8_t>(unit >> 8), static_cast<std::uint8_t>(unit)});
    return bytes;
}

/// A message as the phone sends it.
inline CMessage MessageOf(std::uint8_t id, const Bytes& body)
{
    CMessage message;
    message.SetMessageId(id);
    message.AppendBytes(body.size(), body.data());
    return message;
}
