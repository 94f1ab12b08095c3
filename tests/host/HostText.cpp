#include <windows.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace
{

constexpr char16_t kReplacement = 0xFFFD;

struct SequenceForm
{
    unsigned length;
    std::uint8_t leadBits;
    std::uint8_t secondFirst;
    std::uint8_t secondLast;
};

/// The well-formed sequences by their first byte; nothing for a byte that starts none.
std::optional<SequenceForm> FormOf(std::uint8_t lead)
{
    if (lead < 0x80)
        return SequenceForm{1, lead, 0, 0};
    if (lead >= 0xC2 && lead <= 0xDF)
        return SequenceForm{2, static_cast<std::uint8_t>(lead & 0x1F), 0x80, 0xBF};
    // The second byte's range keeps out overlong forms, surrogates and what lies above U+10FFFF.
    if (lead >= 0xE0 && lead <= 0xEF)
        return SequenceForm{3, static_cast<std::uint8_t>(lead & 0x0F),
                            static_cast<std::uint8_t>(lead == 0xE0 ? 0xA0 : 0x80),
                            static_cast<std::uint8_t>(lead == 0xED ? 0x9F : 0xBF)};
    if (lead >= 0xF0 && lead <= 0xF4)
        return SequenceForm{4, static_cast<std::uint8_t>(lead & 0x07),
                            static_cast<std::uint8_t>(lead == 0xF0 ? 0x90 : 0x80),
                            static_cast<std::uint8_t>(lead == 0xF4 ? 0x8F : 0xBF)};
    return std::nullopt;
}

/// Takes one character from the front of `text`; nothing for a malformed one, of which the longest beginning goes.
std::optional<char32_t> TakeCharacter(std::string_view& text)
{
    const auto form = FormOf(static_cast<std::uint8_t>(text.front()));
    text.remove_prefix(1);
    if (!form)
        return std::nullopt;
    char32_t character = form->leadBits;
    for (unsigned i = 1; i < form->length; ++i)
    {
        const std::uint8_t first = i == 1 ? form->secondFirst : 0x80;
        const std::uint8_t last = i == 1 ? form->secondLast : 0xBF;
        const auto next = text.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(text.front());
        if (next < first || next > last)
            return std::nullopt;
        character = character << 6 | (next & 0x3Fu);
        text.remove_prefix(1);
    }
    return character;
}

void AppendUtf16(std::u16string& text, char32_t character)
{
    if (character < 0x10000)
    {
        text.push_back(static_cast<char16_t>(character));
        return;
    }
    text.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
    text.push_back(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
}

std::u16string ToUtf16(std::string_view text)
{
    std::u16string units;
    while (!text.empty())
        AppendUtf16(units, TakeCharacter(text).value_or(kReplacement));
    return units;
}

bool IsHigh(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLow(char16_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

char32_t TakeCharacter(std::u16string_view& text)
{
    const char16_t unit = text.front();
    text.remove_prefix(1);
    if (IsHigh(unit) && !text.empty() && IsLow(text.front()))
    {
        const char16_t low = text.front();
        text.remove_prefix(1);
        return 0x10000u + (static_cast<char32_t>(unit - 0xD800) << 10) + static_cast<char32_t>(low - 0xDC00);
    }
    return IsHigh(unit) || IsLow(unit) ? kReplacement : unit;
}

void AppendUtf8(std::string& text, char32_t character)
{
    const auto put = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (character < 0x80)
        return put(character);
    if (character < 0x800)
    {
        put(0xC0 | character >> 6);
    }
    else
    {
        if (character < 0x10000)
            put(0xE0 | character >> 12);
        else
        {
            put(0xF0 | character >> 18);
            put(0x80 | (character >> 12 & 0x3F));
        }
        put(0x80 | (character >> 6 & 0x3F));
    }
    put(0x80 | (character & 0x3F));
}

std::string ToUtf8(std::u16string_view text)
{
    std::string bytes;
    while (!text.empty())
        AppendUtf8(bytes, TakeCharacter(text));
    return bytes;
}

/// The source of a conversion; a negative length stands for "up to and with the terminator".
template <typename Char>
std::basic_string_view<Char> Source(const Char* text, int length)
{
    return {text, length < 0 ? std::char_traits<Char>::length(text) + 1 : static_cast<std::size_t>(length)};
}

/// Both conversions answer alike: the number of units written or, for a target of length 0, needed; 0 if they do not
/// fit, and then the target holds as much as did.
template <typename Char>
int Deliver(const std::basic_string<Char>& converted, Char* target, int targetLength)
{
    const auto length = static_cast<int>(converted.size());
    if (targetLength == 0)
        return length;
    std::copy_n(converted.data(), std::min(length, targetLength), target);
    return length <= targetLength ? length : 0;
}

template <typename SourceChar, typename TargetChar>
bool AreArguments(UINT codePage, const SourceChar* source, int sourceLength, const TargetChar* target, int targetLength)
{
    return codePage == CP_UTF8 && source != nullptr && sourceLength != 0 && targetLength >= 0 &&
           (target != nullptr || targetLength == 0);
}

}  // namespace

int MultiByteToWideChar(UINT codePage, DWORD, const char* source, int sourceLength, WCHAR* target, int targetLength)
{
    if (!AreArguments(codePage, source, sourceLength, target, targetLength))
        return 0;
    return Deliver(ToUtf16(Source(source, sourceLength)), target, targetLength);
}

int WideCharToMultiByte(UINT codePage, DWORD, const WCHAR* source, int sourceLength, char* target, int targetLength,
                        const char* defaultChar, BOOL* usedDefaultChar)
{
    if (!AreArguments(codePage, source, sourceLength, target, targetLength) || defaultChar != nullptr ||
        usedDefaultChar != nullptr)
        return 0;
    return Deliver(ToUtf8(Source(source, sourceLength)), target, targetLength);
}
