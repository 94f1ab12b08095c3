#include "handlers/MessagingHandler.h"

#include "support/HandlerChecks.h"
#include "zelapi/messaging.h"

namespace
{

CMessage Indication(std::uint8_t id, const Bytes& body)
{
    CMessage message;
    message.SetResource(0x66);
    message.SetMessageId(id);
    message.AppendBytes(body.size(), body.data());
    return message;
}

TEST(MessagingHandler, DeliversEvents)
{
    const std::pair<Bytes, std::uint16_t> cases[] = {{{0x05, 0x01}, 5}, {{0xFF}, 255}, {{}, 0}};
    for (const auto& [body, event] : cases)
    {
        SCOPED_TRACE(Hex(body));
        const CLeakCheck leaks;
        CMessagingHandler handler;
        CMessage message = Indication(0x84, body);
        std::uint32_t messageId = 0;
        void* record = nullptr;
        ASSERT_EQ(handler.DecodeMessage(message, messageId, record), ZEL_OK);
        EXPECT_EQ(messageId, 0x6601u);
        const auto& decoded = *static_cast<const MessagingEventRecord*>(record);
        EXPECT_EQ(decoded.size, 8u);
        EXPECT_EQ(decoded.event, event);
        EXPECT_EQ(decoded.reserved, 0);
        EXPECT_EQ(handler.FreeDecodedData(messageId, record), ZEL_OK);
    }
}

TEST(MessagingHandler, PassesOverOtherMessages)
{
    CMessagingHandler handler;
    for (const std::uint8_t id : Bytes{0x00, 0x83, 0x85})
    {
        CMessage message = Indication(id, {0x05});
        std::uint32_t messageId = 77;
        void* record = nullptr;
        EXPECT_EQ(handler.DecodeMessage(message, messageId, record), ZEL_NOT_HANDLED);
        EXPECT_EQ(messageId, 77u);
        EXPECT_EQ(record, nullptr);
    }
}

TEST(MessagingHandler, NeedsMemory)
{
    CMessagingHandler handler;
    FailEachAllocation([&] {
        CMessage message = Indication(0x84, {0x05});
        std::uint32_t messageId = 0;
        void* record = nullptr;
        const std::uint32_t result = handler.DecodeMessage(message, messageId, record);
        handler.FreeDecodedData(ZEL_MESSAGING_EVENT, record);
        return result;
    });
}

TEST(MessagingHandler, FreesItsEventsOnly)
{
    CMessagingHandler handler;
    std::uint32_t stranger = 1;
    EXPECT_EQ(handler.FreeDecodedData(0x6602, &stranger), ZEL_NOT_HANDLED);
    EXPECT_EQ(handler.FreeDecodedData(ZEL_MESSAGING_EVENT, nullptr), ZEL_OK);
    EXPECT_EQ(handler.FreeDecodedData(ZEL_MESSAGING_EVENT, kUnreadable), ZEL_OK);
}

TEST(MessagingHandler, HasNoRequests)
{
    CMessagingHandler handler;
    ExpectBadRecordsRefused(handler, ZEL_MESSAGING_EVENT, ZEL_NOT_HANDLED);
    ExpectBadRecordsRefused(handler, 0, ZEL_NOT_HANDLED);
}

}  // namespace
