#pragma once

#include "support/FakeSender.h"
#include "support/Memory.h"

#include <initializer_list>

class CContentHandler;

/// A message of the phone.
struct Reply
{
    std::uint8_t id;
    Bytes body;
};

/// What a request may give with a reply that is cut off, beside success and the failure of a further send.
using Results = std::initializer_list<std::uint32_t>;

/// Plays a request again and again, each time with a fault: every reply cut off at every length, and every allocation
/// failing, those of `operator new` as well. No byte outside the replies and the record is read, nothing is left
/// allocated, a missing byte counts as 0, and the results are among those allowed.
///
/// @param phone   What the phone is like: its versions and time parameters.
/// @param record  Its shape is known by the message id; each time a copy of it is used, with copies of what it points
///                to. Null for a request without one.
void Survives(CContentHandler& handler, const FakeSender& phone, std::uint32_t messageId, const void* record,
              const std::vector<Reply>& replies, Results allowed = {});

/// The same for an indication that the handler decodes.
void SurvivesIndication(CContentHandler& handler, std::uint32_t messageId, const Reply& indication,
                        Results allowed = {});
