#include "handlers/MessagingHandler.h"

#include "support/HandlerFixture.h"
#include "zelapi/messaging.h"

namespace
{

constexpr std::uint8_t kEvent = 0x84;

class MessagingHandler : public HandlerFixture<CMessagingHandler, 0x66>
{
};

TEST_F(MessagingHandler, DeliversEvents)
{
    const std::pair<Bytes, std::uint16_t> cases[] = {{{0x05, 0x01}, 5}, {{0xFF}, 255}, {{}, 0}};
    for (const auto& [body, event] : cases)
    {
        SCOPED_TRACE(Hex(body));
        MessagingEventRecord* record = nullptr;
        ASSERT_EQ(Decode(kEvent, body, ZEL_MESSAGING_EVENT, record), ZEL_OK);
        EXPECT_EQ(record->size, sizeof *record);
        EXPECT_EQ(record->event, event);
        EXPECT_EQ(record->reserved, 0);
        EXPECT_EQ(m_handler.FreeDecodedData(ZEL_MESSAGING_EVENT, record), ZEL_OK);
    }
    SurvivesIndication(m_handler, ZEL_MESSAGING_EVENT, {kEvent, {0x05}});
}

TEST_F(MessagingHandler, PassesOverOtherMessages)
{
    for (const std::uint8_t id : Bytes{0x00, kEvent - 1, kEvent + 1})
        ExpectNotDecoded(id);
}

TEST_F(MessagingHandler, FreesItsEventsOnly)
{
    std::uint32_t stranger = 1;
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_MESSAGING_EVENT + 1, &stranger), ZEL_NOT_HANDLED);
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_MESSAGING_EVENT, nullptr), ZEL_OK);
    EXPECT_EQ(m_handler.FreeDecodedData(ZEL_MESSAGING_EVENT, kUnreadable), ZEL_OK);
}

TEST_F(MessagingHandler, HasNoRequests)
{
    ExpectNotHandled({0, ZEL_MESSAGING_EVENT});
}

}  // namespace
