#pragma once

#include "handlers/base/Owners.h"
#include "message/MsgBase.h"

#include <cstdint>
#include <optional>
#include <utility>

/// Bytes that are being read for a field of a record, owned until they are stored there. Where the phone sent none, the
/// field stays as it is.
class CSMSBlock
{
  public:
    /// Throws CAtlException (E_OUTOFMEMORY).
    void Read(CMsgBase& from, std::uint32_t count) { m_bytes.emplace(from.ReadBytes(count)); }
    void Set(CTaskMemOwner<std::uint8_t> bytes) { m_bytes = std::move(bytes); }
    bool IsRead() const { return m_bytes.has_value(); }

    void StoreIn(std::uint8_t*& field)
    {
        if (m_bytes)
            field = m_bytes->release();
    }

  private:
    std::optional<CTaskMemOwner<std::uint8_t>> m_bytes;
};
