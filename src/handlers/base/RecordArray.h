#pragma once

#include "handlers/base/Owners.h"

#include <cstddef>

/// A CoTaskMem array of records and the texts in them, owned until it is complete and released to the caller.
/// `FreeTexts` frees the texts of one record.
template <typename Record, void (*FreeTexts)(const Record&)>
class CRecordArray
{
  public:
    /// Zeroed records; no array at all for a count of 0. Throws CAtlException (E_OUTOFMEMORY).
    explicit CRecordArray(std::size_t count) : m_count(count)
    {
        if (count != 0)
            m_records = AllocateRecords<Record>(count);
    }
    CRecordArray(const CRecordArray&) = delete;
    CRecordArray& operator=(const CRecordArray&) = delete;
    ~CRecordArray()
    {
        for (std::size_t i = 0; m_records && i < m_count; ++i)
            FreeTexts(m_records.get()[i]);
    }

    /// REQUIRES: `index` is below the count.
    Record& operator[](std::size_t index) { return m_records.get()[index]; }

    Record* Release() { return m_records.release(); }

  private:
    CTaskMemOwner<Record> m_records;
    std::size_t m_count;
};
