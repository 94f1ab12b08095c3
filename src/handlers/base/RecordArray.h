#pragma once

#include "handlers/base/Owners.h"

#include <algorithm>
#include <cstddef>

template <typename Record>
void OwnNothing(const Record&)
{
}

/// A CoTaskMem array of records and of what they own, owned until it is complete and released to the caller.
/// `FreeOwned` frees what one record owns; a record of zeros owns nothing.
template <typename Record, void (*FreeOwned)(const Record&) = &OwnNothing<Record>>
class CRecordArray
{
  public:
    CRecordArray() = default;

    /// Zeroed records; no array at all for a count of 0. Throws CAtlException (E_OUTOFMEMORY).
    explicit CRecordArray(std::size_t count)
    {
        if (count != 0)
            Reserve(count);
        m_count = count;
    }
    CRecordArray(const CRecordArray&) = delete;
    CRecordArray& operator=(const CRecordArray&) = delete;
    ~CRecordArray() { std::for_each(begin(), end(), FreeOwned); }

    /// A zeroed record behind the last one, to be filled in place; references to others end.
    /// Throws CAtlException (E_OUTOFMEMORY).
    Record& Append()
    {
        if (m_count == m_capacity)
            Reserve(std::max(kFirstCapacity, 2 * m_capacity));
        return begin()[m_count++];
    }

    /// REQUIRES: `index` is below the count.
    Record& operator[](std::size_t index) { return begin()[index]; }

    Record* begin() const { return m_records.get(); }
    Record* end() const { return begin() + m_count; }
    std::size_t Count() const { return m_count; }

    /// Gives the array to the caller; null if it has no records.
    Record* Release()
    {
        m_capacity = m_count = 0;
        return m_records.release();
    }

  private:
    static constexpr std::size_t kFirstCapacity = 8;

    void Reserve(std::size_t capacity)
    {
        auto records = AllocateRecords<Record>(capacity);
        std::copy(begin(), end(), records.get());
        m_records = std::move(records);
        m_capacity = capacity;
    }

    CTaskMemOwner<Record> m_records;
    std::size_t m_count = 0;
    std::size_t m_capacity = 0;
};
