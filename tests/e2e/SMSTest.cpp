#include "zelapi/sms.h"

#include "e2e/LinkService.h"

namespace
{

using SMSTest = EndToEnd;
using Bytes = std::vector<std::uint8_t>;

struct Message
{
    std::uint32_t result;
    int kind = -1;
    Bytes data = {};
    int second = -1;
};

/// What the phone says of a stored message; all that it gives is freed.
Message ReadStored(ZelConnection phone, std::uint16_t location)
{
    SmsStoredMessage record = {};
    record.location = location;
    Message message = {ZelSendMessage(phone, ZEL_SMS_READ, &record)};
    const SmsParameterGroup& group = record.parameters;
    message.kind = record.content.kind;
    message.data.assign(group.user_data, group.user_data + group.user_data_length);
    if (record.time != nullptr)
        message.second = record.time->second;
    for (std::uint8_t* block : {record.content.first_block, record.content.second_block, group.first_address,
                                group.second_address, group.extra, group.user_data})
        CoTaskMemFree(block);
    CoTaskMemFree(record.time);
    return message;
}

std::vector<std::uint16_t> Locations(ZelConnection phone)
{
    SmsList list = {};
    EXPECT_EQ(ZelSendMessage(phone, ZEL_SMS_LIST, &list), ZEL_OK);
    std::vector<std::uint16_t> locations(list.values, list.values + list.count);
    CoTaskMemFree(list.values);
    return locations;
}

Counter* g_arrived = nullptr;
Bytes g_data;

void __stdcall Receive(std::uint32_t, std::uint32_t messageId, void* record)
{
    if (messageId == ZEL_SMS_RECEIVED)
    {
        const SmsParameterGroup& group = static_cast<SmsReceivedMessage*>(record)->parameters;
        g_data.assign(group.user_data, group.user_data + group.user_data_length);
    }
    g_arrived->Add();
}

TEST_F(SMSTest, MessagesAreListedStoredReadDeletedAndArrive)
{
    const LinkService service(Shipped("sms"));
    const NothingLeft nothing(service);
    Counter arrived;
    g_arrived = &arrived;
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    ASSERT_EQ(ZelRegisterCallback(phone.Handle(), ZEL_REGISTER, &Receive), ZEL_OK);
    EXPECT_EQ(Locations(phone.Handle()), (std::vector<std::uint16_t>{1, 2, 3}));

    Bytes data = {'H', 'i'};
    SmsTime time = {2024, 2, 29, 23, 59, 58, 0, 0};
    SmsStoredMessage stored = {};
    stored.content.kind = ZEL_SMS_KIND_2;
    stored.time = &time;
    stored.parameters.user_data = data.data();
    stored.parameters.user_data_length = 2;
    ASSERT_EQ(ZelSendMessage(phone.Handle(), ZEL_SMS_WRITE, &stored), ZEL_OK);
    EXPECT_EQ(stored.location, 4);
    const Message read = ReadStored(phone.Handle(), 4);
    EXPECT_EQ(read.result, ZEL_OK);
    EXPECT_EQ(read.kind, 2);
    EXPECT_EQ(read.data, data);
    EXPECT_EQ(read.second, 58);

    SmsLocationCommand remove = {0, {}, 4};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_SMS_LOCATION_COMMAND, &remove), ZEL_OK);
    EXPECT_EQ(ReadStored(phone.Handle(), 4).result, 0x1405u);

    // Of what was stored, one event; then a message, an event and a signal.
    ASSERT_TRUE(arrived.WaitFor(4));
    EXPECT_EQ(std::string(g_data.begin(), g_data.end()), "I am on the train.");
    EXPECT_EQ(Locations(phone.Handle()), (std::vector<std::uint16_t>{1, 2, 3, 51}));
}

}  // namespace
