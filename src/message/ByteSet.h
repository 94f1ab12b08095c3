#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>

/// An ordered set of bytes (message ids, resource bytes) that never allocates.
class CByteSet
{
  public:
    void Insert(std::uint8_t value) { m_members.set(value); }
    void Erase(std::uint8_t value) { m_members.reset(value); }
    bool Contains(std::uint8_t value) const { return m_members.test(value); }
    std::size_t Size() const { return m_members.count(); }
    bool IsEmpty() const { return m_members.none(); }

    /// Calls `visit(byte)` for each member in ascending order.
    template <typename Visitor>
    void ForEach(Visitor&& visit) const
    {
        for (std::size_t value = 0; value < m_members.size(); ++value)
            if (m_members.test(value))
                visit(static_cast<std::uint8_t>(value));
    }

  private:
    std::bitset<256> m_members;
};
