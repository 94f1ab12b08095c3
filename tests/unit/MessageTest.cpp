#include "message/Message.h"

#include "support/Bytes.h"

namespace
{

Bytes RepliesOf(const CMessage& message)
{
    Bytes replies;
    message.GetExpectedReplies().ForEach([&](std::uint8_t id) { replies.push_back(id); });
    return replies;
}

TEST(Message, ClearForgetsAllButTheExpectedReplies)
{
    CMessage message;
    EXPECT_EQ(RepliesOf(message), Bytes());
    message.SetResource(0x14);
    message.SetMessageId(0x22);
    for (const std::uint8_t id : Bytes{0xFF, 0x23, 0x00, 0x23})
        message.AddExpectedReply(id);
    message.AppendWord(0x0102);
    message.Skip(1);

    static_cast<CMsgBase&>(message).Clear();

    for (const CMessage& empty : {message, CMessage()})
    {
        EXPECT_EQ(empty.GetResource(), 0);
        EXPECT_EQ(empty.GetMessageId(), 0);
        EXPECT_EQ(empty.GetSize(), 0u);
        EXPECT_EQ(empty.GetPosition(), 0u);
    }
    EXPECT_TRUE(SameBytes({0x00, 0x23, 0xFF}, RepliesOf(message)));
}

}  // namespace
