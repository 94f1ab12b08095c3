#include "support/RecordShapes.h"

#include <algorithm>
#include <cstring>

namespace
{

/// Most elements that a given array has, by whether they point to more.
constexpr std::size_t kMostElements = 8;
constexpr std::size_t kMostValues = 255;
constexpr std::size_t kMostUnits = 31;
constexpr std::uint8_t kNoText = 0x80;

std::size_t CountOf(const Link& link, const std::uint8_t* record)
{
    // Little-endian, as the machine is.
    std::uint64_t count = link.count.fixed;
    std::memcpy(&count, record + link.count.offset, link.count.width);
    return static_cast<std::size_t>(count);
}

void SetCount(const Link& link, std::uint8_t* record, std::uint64_t count)
{
    std::memcpy(record + link.count.offset, &count, link.count.width);
}

void* PointerAt(const Link& link, const std::uint8_t* record)
{
    void* pointer = nullptr;
    std::memcpy(&pointer, record + link.offset, sizeof pointer);
    return pointer;
}

void SetPointer(const Link& link, std::uint8_t* record, const void* pointer)
{
    std::memcpy(record + link.offset, &pointer, sizeof pointer);
}

bool Holds(const Link& link, const std::uint8_t* record)
{
    return link.holds == nullptr || link.holds(record);
}

/// Reads a record from link to link.
class CReader
{
  public:
    CReader(const CAllocations& given, const std::vector<const void*>& foreign) : m_given(given), m_foreign(foreign) {}

    RecordContents Read(const Shape& shape, const std::uint8_t* record)
    {
        ReadElements(shape, record, 1);
        return std::move(m_contents);
    }

  private:
    /// Appending copies the bytes, and the sanitizer looks on.
    std::size_t Append(const void* block, std::size_t size)
    {
        const auto* first = static_cast<const std::uint8_t*>(block);
        m_contents.bytes.insert(m_contents.bytes.end(), first, first + size);
        return m_contents.bytes.size() - size;
    }

    void ReadElements(const Shape& shape, const std::uint8_t* elements, std::size_t count)
    {
        Follow(shape, elements, count, Append(elements, count * shape.size));
    }

    /// `at` is where the contents have the elements.
    void Follow(const Shape& shape, const std::uint8_t* elements, std::size_t count, std::size_t at)
    {
        for (std::size_t i = 0; i < count && !shape.links.empty(); ++i, at += shape.size)
            for (const Link& link : shape.links)
                FollowLink(link, elements + i * shape.size, at + link.offset);
    }

    void FollowLink(const Link& link, const std::uint8_t* record, std::size_t at)
    {
        if (link.kind == Link::kInline)
            return Follow(*link.element, record + link.offset, link.count.fixed, at);
        void* const pointer = PointerAt(link, record);
        if (pointer == nullptr)
            return Check(link.way != Link::kReceived || !Holds(link, record) || link.count.width == 0 ||
                             CountOf(link, record) == 0,
                         "a count comes with its array");
        if (m_given.Contains(pointer))
            std::memset(m_contents.bytes.data() + at, 0, sizeof pointer);
        if (!IsReadable(pointer) || !Holds(link, record) || !IsFollowed(link.way, pointer))
            return;
        std::memset(m_contents.bytes.data() + at, 0, sizeof pointer);
        m_contents.hasNew |= link.way != Link::kSwapped && !m_given.Contains(pointer);
        if (link.kind == Link::kText)
            ReadText(static_cast<BSTR>(pointer));
        else
            ReadBlock(link, pointer, CountOf(link, record));
    }

    bool IsFollowed(Link::Way way, const void* pointer) const
    {
        const bool isGiven = m_given.Contains(pointer);
        if (way == Link::kGiven)
            return isGiven;
        return (way != Link::kReceived || !isGiven) && std::ranges::find(m_foreign, pointer) == m_foreign.end();
    }

    void ReadText(BSTR text)
    {
        Append(text, SysStringByteLen(text));
        Check(text[SysStringLen(text)] == 0, "a text has a terminator");
        if (!m_given.Contains(text))
            m_contents.received.texts.push_back(text);
    }

    void ReadBlock(const Link& link, void* block, std::size_t count)
    {
        if (!m_given.Contains(block))
            m_contents.received.blocks.push_back(block);
        ReadElements(*link.element, static_cast<const std::uint8_t*>(block), count);
    }

    void Check(bool kept, const char* promise)
    {
        if (!kept)
            m_contents.broken = promise;
    }

    const CAllocations& m_given;
    const std::vector<const void*>& m_foreign;
    RecordContents m_contents;
};

}  // namespace

void CByteSource::Take(void* target, std::size_t size)
{
    const std::size_t taken = std::min(size, left);
    std::memset(target, 0, size);
    std::copy_n(next, taken, static_cast<std::uint8_t*>(target));
    next += taken;
    left -= taken;
}

std::uint8_t CByteSource::Byte()
{
    std::uint8_t value = 0;
    Take(&value, 1);
    return value;
}

void CAllocations::Free() const
{
    std::ranges::for_each(blocks, &CoTaskMemFree);
    std::ranges::for_each(texts, &SysFreeString);
}

bool CAllocations::Contains(const void* pointer) const
{
    return std::ranges::find(blocks, pointer) != blocks.end() || std::ranges::find(texts, pointer) != texts.end();
}

CCallersRecord::CCallersRecord(const Shape& shape, CByteSource& source) : m_shape(shape), m_record(shape.size)
{
    Fill(shape, m_record.data(), source);
}

CCallersRecord::CCallersRecord(const Shape& shape, const void* record) : m_shape(shape), m_record(shape.size)
{
    std::copy_n(static_cast<const std::uint8_t*>(record), shape.size, m_record.data());
    Copy(shape, m_record.data());
}

CCallersRecord::~CCallersRecord()
{
    Read().received.Free();
    m_given.Free();
}

RecordContents CCallersRecord::Read() const
{
    return CReader(m_given, m_foreign).Read(m_shape, m_record.data());
}

void* CCallersRecord::NewBlock(std::size_t size)
{
    // Also for no bytes, as the caller's array may be empty.
    return m_given.blocks.emplace_back(CoTaskMemAlloc(size));
}

BSTR CCallersRecord::NewText(Link::Way way, const void* bytes, std::size_t size)
{
    const BSTR text = SysAllocStringByteLen(static_cast<const char*>(bytes), static_cast<UINT>(size));
    if (way != Link::kSwapped)
        m_given.texts.push_back(text);
    return text;
}

void CCallersRecord::Fill(const Shape& shape, std::uint8_t* record, CByteSource& source)
{
    std::size_t at = 0;
    for (const Link& link : shape.links)
    {
        if (at < link.offset)
            source.Take(record + at, link.offset - at);
        at = std::max(at, link.offset);
        if (link.kind == Link::kInline)
        {
            for (std::size_t i = 0; i < link.count.fixed; ++i, at += link.element->size)
                Fill(*link.element, record + at, source);
            continue;
        }
        const bool isGiven = link.way != Link::kReceived;
        if (isGiven && !Holds(link, record))
            continue;
        at = link.offset + sizeof(void*);
        SetPointer(link, record, nullptr);
        if (!isGiven)
        {
            SetCount(link, record, 0);
            continue;
        }
        if (link.kind == Link::kText)
        {
            const std::uint8_t choice = source.Byte();
            OLECHAR units[kMostUnits];
            const std::size_t size = choice % (kMostUnits + 1) * sizeof *units;
            source.Take(units, size);
            if (choice < kNoText)
                SetPointer(link, record, NewText(link.way, units, size));
            continue;
        }
        const std::size_t most = link.element->links.empty() ? kMostValues : kMostElements;
        const std::size_t count =
            link.count.width == 0 ? source.Byte() % 2 * link.count.fixed : CountOf(link, record) % (most + 1);
        SetCount(link, record, count);
        if (link.count.width == 0 && count == 0)
            continue;
        auto* const block = static_cast<std::uint8_t*>(NewBlock(count * link.element->size));
        SetPointer(link, record, block);
        if (link.element->links.empty())
            source.Take(block, count * link.element->size);
        for (std::size_t i = 0; i < count && !link.element->links.empty(); ++i)
            Fill(*link.element, block + i * link.element->size, source);
    }
    if (at < shape.size)
        source.Take(record + at, shape.size - at);
}

void CCallersRecord::Copy(const Shape& shape, std::uint8_t* record)
{
    for (const Link& link : shape.links)
    {
        if (link.kind == Link::kInline)
        {
            for (std::size_t i = 0; i < link.count.fixed; ++i)
                Copy(*link.element, record + link.offset + i * link.element->size);
            continue;
        }
        const void* const pointer = PointerAt(link, record);
        if (!IsReadable(pointer) || !Holds(link, record))
            continue;
        if (link.way == Link::kReceived)
            m_foreign.push_back(pointer);
        else if (link.kind == Link::kText)
        {
            const auto text = static_cast<BSTR>(const_cast<void*>(pointer));
            SetPointer(link, record, NewText(link.way, text, SysStringByteLen(text)));
        }
        else
        {
            const std::size_t count = CountOf(link, record);
            auto* const block = static_cast<std::uint8_t*>(NewBlock(count * link.element->size));
            std::memcpy(block, pointer, count * link.element->size);
            SetPointer(link, record, block);
            for (std::size_t i = 0; i < count && !link.element->links.empty(); ++i)
                Copy(*link.element, block + i * link.element->size);
        }
    }
}

RecordContents ReadReceived(const Shape& shape, const void* record)
{
    return CReader({}, {}).Read(shape, static_cast<const std::uint8_t*>(record));
}

void FreeReceived(std::uint32_t messageId, void* record)
{
    const Shape& shape = RecordShapeOf(messageId)->shape;
    ReadReceived(shape, record).received.Free();
    std::memset(record, 0, shape.size);
}

CAllocations LeftToReceiver(const RecordShape& shape, void* record, const RecordContents& contents)
{
    CAllocations left;
    if (shape.left != Left::kNothing)
        left.texts = contents.received.texts;
    if (shape.left == Left::kEverything)
    {
        left.blocks = contents.received.blocks;
        left.blocks.push_back(record);
    }
    return left;
}
