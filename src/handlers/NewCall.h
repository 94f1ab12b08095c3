#pragma once

#include "message/Message.h"
#include "zelapi/call.h"

#include <cstdint>
#include <span>
#include <vector>

/// A call that is to be created: its elements as they are sent, while the caller's are still as they were.
class CNewCall
{
  public:
    /// Throws ZEL_E_ARGUMENT if the record's elements cannot be read.
    explicit CNewCall(const CallRecord& record);

    /// The first element with this id; null if there is none.
    CallElement* Find(std::uint16_t id);

    /// Appends the number of elements and a sub-block for each. Throws ZEL_E_ARGUMENT for one that is too long.
    void AppendTo(CMessage& message) const;

    /// Leaves in the caller's elements what has been made of them, their numbers without "+".
    /// Throws CAtlException (E_OUTOFMEMORY); then all of them are as they were.
    void UpdateCallers() const;

  private:
    std::span<CallElement> m_callers;
    std::vector<CallElement> m_elements;
};
