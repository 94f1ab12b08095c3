#pragma once

#include "handlers/base/ContentHandler.h"
#include "support/FakeSender.h"
#include "support/Memory.h"

#include <cstring>

/// Null and unreadable records give `expected`, and nothing is sent.
inline void ExpectBadRecordsRefused(CContentHandler& handler, std::uint32_t messageId,
                                    std::uint32_t expected = ZEL_E_ARGUMENT)
{
    for (void* record : {static_cast<void*>(nullptr), kUnreadable})
    {
        FakeSender phone;
        EXPECT_EQ(handler.EncodeRequest(phone, messageId, record), expected) << "record " << record;
        EXPECT_TRUE(phone.Requests().empty());
        EXPECT_TRUE(phone.Raw().empty());
    }
}

/// The request gives `expected` and leaves every byte of the record as it was.
template <typename Record>
void ExpectRecordUntouched(CContentHandler& handler, FakeSender& phone, std::uint32_t messageId, Record record,
                           std::uint32_t expected)
{
    std::uint8_t before[sizeof record];
    std::memcpy(before, &record, sizeof record);
    EXPECT_EQ(handler.EncodeRequest(phone, messageId, &record), expected);
    EXPECT_EQ(std::memcmp(before, &record, sizeof record), 0) << "the record has changed";
}

/// A failed send is the result as it is; a reply with an id that no service uses gives `wrongReply`. Both leave the
/// record alone.
template <typename Record>
void ExpectUnansweredKept(CContentHandler& handler, FakeSender phone, std::uint32_t messageId, const Record& record,
                          std::uint32_t wrongReply = ZEL_OK)
{
    FakeSender failing = phone;
    failing.Fail(0x80040155);
    ExpectRecordUntouched(handler, failing, messageId, record, 0x80040155);
    phone.Reply(0x7F, Bytes(64, 0x01));
    ExpectRecordUntouched(handler, phone, messageId, record, wrongReply);
}
