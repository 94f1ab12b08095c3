#pragma once

#include "message/Platform.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// What the records of the API consist of: for every message id the record's size and what it points to. From this one
// table records are filled, copied, read to the last byte, and freed.

struct Shape;

/// Where a record says how many elements something has; with width 0 the number is fixed.
struct Count
{
    std::size_t offset;
    std::size_t width;
    std::size_t fixed;
};

/// A place in a record that leads to more than a value.
struct Link
{
    enum Kind
    {
        kText,    ///< A BSTR.
        kBlock,   ///< A pointer to a CoTaskMem block of elements.
        kInline,  ///< Elements in the record itself.
    };
    enum Way
    {
        kGiven,     ///< The caller's, and stays so.
        kReceived,  ///< The library stores it for the caller.
        kSwapped,   ///< The caller's; the library frees it when it stores something else.
    };

    Kind kind;
    Way way;
    std::size_t offset;
    Count count;
    const Shape* element;
    /// False for a record that has something else in this place.
    bool (*holds)(const void* record);
};

/// A record or an element; its links by their offset. Where the library stores something in the place of what is given,
/// there are two, the received one first.
struct Shape
{
    std::size_t size;
    std::span<const Link> links;
};

/// Of what an indication delivers, what FreeDecodedData leaves to the receiver.
enum class Left
{
    kNothing,
    kTexts,
    kEverything,
};

struct RecordShape
{
    std::uint32_t messageId;
    Shape shape;
    bool isIndication;
    Left left;
};

/// The table, requests and indications.
std::span<const RecordShape> AllRecordShapes();
/// Null for an id that has none. Requests and indications have ids of their own.
const RecordShape* RecordShapeOf(std::uint32_t messageId);

/// Bytes to fill records with; zeros when they have ended.
struct CByteSource
{
    void Take(void* target, std::size_t size);
    std::uint8_t Byte();

    const std::uint8_t* next;
    std::size_t left;
};

/// Memory to be freed by the receiver of a record.
struct CAllocations
{
    void Free() const;
    bool Contains(const void* pointer) const;

    std::vector<void*> blocks;
    std::vector<BSTR> texts;
};

/// A record that was read to its last byte, as the sanitizer has seen.
struct RecordContents
{
    /// All bytes; those behind pointers follow, and the pointers are 0.
    std::vector<std::uint8_t> bytes;
    /// What the library has stored.
    CAllocations received;
    /// True if some of it was not there before, in another form.
    bool hasNew = false;
    /// What the record says and does not hold; null if there is no such thing.
    const char* broken = nullptr;
};

/// A record of the caller on the heap, of exactly its size, as is everything that is given in it. Frees it all, with
/// what the library has stored in it.
class CCallersRecord
{
  public:
    /// A plausible one.
    CCallersRecord(const Shape& shape, CByteSource& source);
    /// A copy of `record` and what is given in it. What stands in places where the library stores something is copied
    /// as it is, and not followed.
    CCallersRecord(const Shape& shape, const void* record);
    CCallersRecord(const CCallersRecord&) = delete;
    CCallersRecord& operator=(const CCallersRecord&) = delete;
    ~CCallersRecord();

    /// Null for a request without a record.
    void* Get() { return m_record.empty() ? nullptr : m_record.data(); }
    RecordContents Read() const;

  private:
    void Fill(const Shape& shape, std::uint8_t* record, CByteSource& source);
    void Copy(const Shape& shape, std::uint8_t* record);
    void* NewBlock(std::size_t size);
    BSTR NewText(Link::Way way, const void* bytes, std::size_t size);

    const Shape& m_shape;
    std::vector<std::uint8_t> m_record;
    CAllocations m_given;
    /// What stood where the library stores something.
    std::vector<const void*> m_foreign;
};

/// Reads a record in which nothing is given.
RecordContents ReadReceived(const Shape& shape, const void* record);
/// Frees what a request has stored in `record`, and empties it.
void FreeReceived(std::uint32_t messageId, void* record);
/// What the receiver of an indication has to free after FreeDecodedData.
CAllocations LeftToReceiver(const RecordShape& shape, void* record, const RecordContents& contents);
