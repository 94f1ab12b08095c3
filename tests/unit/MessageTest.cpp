#include "message/Message.h"

#include "support/Bytes.h"

namespace
{

TEST(Message, StartsEmpty)
{
    const CMessage message;
    EXPECT_EQ(message.GetResource(), 0);
    EXPECT_EQ(message.GetMessageId(), 0);
    EXPECT_EQ(message.GetSize(), 0u);
    EXPECT_TRUE(message.GetExpectedReplies().IsEmpty());
}

TEST(Message, ClearForgetsAllButTheExpectedReplies)
{
    CMessage message;
    message.SetResource(0x14);
    message.SetMessageId(0x22);
    message.AddExpectedReply(0x23);
    message.AddExpectedReply(0x21);
    message.AddExpectedReply(0x23);
    message.AppendWord(0x0102);
    message.Skip(1);

    static_cast<CMsgBase&>(message).Clear();

    EXPECT_EQ(message.GetResource(), 0);
    EXPECT_EQ(message.GetMessageId(), 0);
    EXPECT_EQ(message.GetSize(), 0u);
    EXPECT_EQ(message.GetPosition(), 0u);
    Bytes replies;
    message.GetExpectedReplies().ForEach([&](std::uint8_t id) { replies.push_back(id); });
    EXPECT_TRUE(SameBytes({0x21, 0x23}, replies));
}

}  // namespace
