#include "e2e/LinkService.h"
#include "zelapi/full_access.h"

#include <thread>

namespace
{

using RequestTest = EndToEnd;

TEST_F(RequestTest, ClockIsSetAndReadAgain)
{
    const LinkService service(kPhone);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);

    TimeRecord record = {};
    record.set = {0, 0, 0, 1, ZEL_TIME_VALID, 2026, 11, 24, 13, 5, 9, {}};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_TIME_SET, &record), ZEL_OK);
    const TimeNow now = ReadClock(phone.Handle());
    EXPECT_EQ(now.lead_1, ZEL_TIME_VALID);
    EXPECT_EQ(now.year, 2026);
    EXPECT_EQ(now.month, 11);
    EXPECT_EQ(now.day, 24);
    EXPECT_EQ(now.hour, 13);
    EXPECT_EQ(now.minute, 5);
    EXPECT_EQ(now.second, 9);
}

TEST_F(RequestTest, FromThreadsOfEveryApartment)
{
    const LinkService service(kPhone);
    for (const Apartment opening : {Apartment::None, Apartment::Single, Apartment::Multiple})
        for (const Apartment sending : {Apartment::None, Apartment::Single, Apartment::Multiple})
            RunOnThread(opening, [&] {
                Connection phone;
                ASSERT_EQ(phone.Result(), ZEL_OK);
                EXPECT_EQ(FileName(phone.Handle(), 1), u"A");
                RunOnThread(sending, [&] { EXPECT_EQ(FileName(phone.Handle(), 2), u"B"); });
                EXPECT_EQ(phone.Close(), ZEL_OK);
            });
}

TEST_F(RequestTest, OfTwoConnectionsAndManyThreadsAtOnce)
{
    const LinkService service(kPhone);
    const Connection first;
    const Connection second;
    ASSERT_EQ(first.Result(), ZEL_OK);
    ASSERT_EQ(second.Result(), ZEL_OK);

    std::vector<std::thread> threads;
    for (const std::uint32_t id : {1u, 2u})
        for (const Connection* phone : {&first, &second})
            threads.emplace_back([id, phone] {
                for (int i = 0; i < 50; ++i)
                    EXPECT_EQ(FileName(phone->Handle(), id), id == 1 ? u"A" : u"B");
            });
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(RequestTest, OfUnknownServicesAndIds)
{
    const LinkService service(kPhone);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    TimeRecord record = {};
    EXPECT_EQ(ZelSendMessage(phone.Handle(), 0x1904, &record), ZEL_NOT_HANDLED);
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_MESSAGING_EVENT, &record), ZEL_NOT_HANDLED);
    EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_TIME_READ, nullptr), ZEL_E_ARGUMENT);
}

TEST_F(RequestTest, WithHandlesThatAreNone)
{
    const LinkService service(kPhone);
    Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    ZelConnection closed = phone.Handle();
    EXPECT_EQ(phone.Close(), ZEL_OK);
    int foreign = 0;

    TimeRecord record = {};
    std::uint32_t version = 0;
    IZelNotification* const target = nullptr;
    for (ZelConnection handle : {ZelConnection(nullptr), reinterpret_cast<ZelConnection>(std::uintptr_t{8}), closed,
                                 static_cast<ZelConnection>(&foreign)})
    {
        EXPECT_EQ(ZelSendMessage(handle, ZEL_TIME_READ, &record), ZEL_E_HANDLE);
        EXPECT_EQ(ZelMsgSupportQuery(handle, ZEL_TIME_READ, &version), ZEL_E_HANDLE);
        EXPECT_EQ(ZelRegisterCallback(handle, ZEL_REGISTER, nullptr), ZEL_E_HANDLE);
        EXPECT_EQ(ZelRegisterNotification(handle, ZEL_REGISTER, ZEL_TIME_READ), ZEL_E_HANDLE);
        EXPECT_EQ(ZelRegisterNotificationIF(handle, ZEL_REGISTER, target), ZEL_E_HANDLE);
        EXPECT_EQ(ZelCloseConnection(handle), ZEL_E_HANDLE);
    }
}

TEST_F(RequestTest, AnswersOfAnyShapeAreSurvived)
{
    struct Case
    {
        const char* actions;
        std::uint32_t result;
        std::u16string name;
    };
    const Case cases[] = {
        {"bytes", ZEL_OK, u""},
        {"bytes 85", ZEL_OK, u""},  // a status that is missing reads as 0, a length as 0
        {"bytes 85 00 00 00 02 00 41", ZEL_OK, std::u16string(u"A\0", 2)},
        {"bytes 85 00 00 FF FF", ZEL_OK, std::u16string(65535, u'\0')},
        {"bytes 85 00 00 u16(30000) repeat(30000, 00 42) repeat(100000, 43)", ZEL_OK, std::u16string(30000, u'B')},
        {"reply 0x99 00 00 units16(utf16\"A\")", ZEL_OK, u""},
        {"reply 0x85 07", 0x6D07, u""},
        {"fail 0x80070005", 0x80070005, u""},
        {"fail 0x8001010A", 0x8001010A, u""},
    };
    std::string scenario = kPhone;
    for (std::size_t i = 0; i < std::size(cases); ++i)
        scenario = "on 0x6D 0x84 00 00 u32(" + std::to_string(100 + i) + ")\n    " + cases[i].actions + "\n" + scenario;
    const LinkService service(scenario);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        SCOPED_TRACE(cases[i].actions);
        std::uint32_t result = 0;
        EXPECT_EQ(FileName(phone.Handle(), static_cast<std::uint32_t>(100 + i), &result), cases[i].name);
        EXPECT_EQ(result, cases[i].result);
        EXPECT_EQ(FileName(phone.Handle(), 1), u"A");
    }
}

TEST_F(RequestTest, AccessIsTheServicesAndAskedOnce)
{
    const LinkService service(std::string("access 0x2A\n") + kPhone);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    for (int i = 0; i < 2; ++i)
    {
        AccessRecord record = {};
        EXPECT_EQ(ZelSendMessage(phone.Handle(), ZEL_FULL_ACCESS_QUERY, &record), ZEL_OK);
        EXPECT_EQ(record.access, 0x2A);
    }
}

TEST_F(RequestTest, TimeOutIsHonouredAndALateReplyReachesNobody)
{
    // The version query waits 2 seconds. Its late reply must not be taken for the next resource's.
    const LinkService service(std::string("on 0x14 0xF0 12 00\n    delay 2500ms\n    reply 0xF0 01 63 63\n") + kPhone);
    const Connection phone;
    ASSERT_EQ(phone.Result(), ZEL_OK);
    std::uint32_t version = 0;
    EXPECT_EQ(ZelMsgSupportQuery(phone.Handle(), 0x1401, &version), ZEL_NOT_SUPPORTED);
    EXPECT_EQ(ZelMsgSupportQuery(phone.Handle(), 0x0201, &version), ZEL_NOT_SUPPORTED);
    EXPECT_EQ(ReadClock(phone.Handle()).year, 2006);
    EXPECT_EQ(service.TraceCount("0x800705B4"), 1);
}

}  // namespace
