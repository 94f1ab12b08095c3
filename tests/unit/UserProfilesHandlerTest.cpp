#include "handlers/UserProfilesHandler.h"

#include "support/HandlerChecks.h"
#include "support/Text.h"

#include <algorithm>
#include <iterator>
#include <tuple>

namespace
{

constexpr std::uint8_t kResource = 0x39;
constexpr std::uint8_t kSettingIds[] = {12, 5, 6, 7};

class UserProfilesHandler : public testing::Test
{
  protected:
    UserProfilesHandler() { m_handler.SetResource(kResource); }

    std::uint32_t Run(std::uint32_t messageId, std::uint8_t replyId, const Bytes& reply)
    {
        m_phone.Reply(replyId, reply);
        return m_handler.EncodeRequest(m_phone, messageId, &m_record);
    }
    std::uint32_t Read(const Bytes& reply) { return Run(ZEL_PROFILES_READ_SETTINGS, 0x02, reply); }
    std::uint32_t Write(const Bytes& reply) { return Run(ZEL_PROFILES_WRITE_SETTINGS, 0x04, reply); }

    /// Frees what a read has brought.
    void FreeSettings()
    {
        for (std::uint32_t i = 0; i < m_record.count; ++i)
            if (m_record.settings[i].setting_id == 12)
                SysFreeString(m_record.settings[i].value.text);
        CoTaskMemFree(m_record.settings);
        m_record.count = 0;
        m_record.settings = nullptr;
    }

    CUserProfilesHandler m_handler;
    FakeSender m_phone;
    ProfileRecord m_record = {0x11, 0xA0, 0xA1, 4, 0xA3, {kSettingIds}, 0, nullptr};
};

const Bytes kSettingsReply = {
    0x77, 7,                                            // passed over; seven sub-blocks
    2,    12, 12, 1, 3,    4, 0x55, 2, 0, 'H', 0, 'i',  // setting 12, status 1, profile 3, 4: a text of two units
    2,    12, 5,  1, 3,    4, 0x55, 8, 9, 8,   7, 6,    // 32 bits
    9,    12, 5,  1, 3,    4, 0x55, 8, 9, 8,   7, 6,    // not known
    2,    12, 6,  1, 3,    4, 0x55, 2, 9, 8,   0, 0,    // 16 bits
    2,    12, 7,  1, 3,    4, 0x55, 1, 9, 0,   0, 0,    // 8 bits
    2,    8,  12, 2, 3,    4, 0x55, 2,                  // refused with status 2
    2,    12, 8,  1, 0xFF, 4, 0x55, 3, 9, 8,   7, 6,    // a type that nobody knows
};

TEST_F(UserProfilesHandler, ReadsSettingsOfEveryType)
{
    const CLeakCheck leaks;
    EXPECT_EQ(Read(kSettingsReply), ZEL_OK);
    EXPECT_TRUE(SameRequest(m_phone.Last(), kResource, 0x01,
                            {0xA0, 4, 1, 4, 0xA1, 12, 1, 4, 0xA1, 5, 1, 4, 0xA1, 6, 1, 4, 0xA1, 7}));
    ASSERT_EQ(m_record.count, 7u);
    // Profile bytes, status, type, setting id, number.
    const std::uint32_t expected[][6] = {{3, 4, 1, 2, 12, 0},     {3, 4, 1, 8, 5, 0x09080706}, {},
                                         {3, 4, 1, 2, 6, 0x0908}, {3, 4, 1, 1, 7, 9},          {0, 0, 2, 0, 12, 0},
                                         {0xFF, 4, 1, 3, 8, 0}};
    for (std::size_t i = 0; i < std::size(expected); ++i)
    {
        const auto& [leading, profile, second, status, type, id, value] = m_record.settings[i];
        const std::uint32_t actual[] = {profile, second, status, type, id, i == 0 ? 0 : value.u32};
        EXPECT_TRUE(std::equal(std::begin(actual), std::end(actual), expected[i])) << i;
        EXPECT_EQ(leading, 0u);
    }
    EXPECT_EQ(UnitsOf(m_record.settings[0].value.text), u"Hi");
    EXPECT_EQ(m_record.settings[5].value.text, nullptr);
    FreeSettings();
}

TEST_F(UserProfilesHandler, ReadsOnlyWhatTheReplyHolds)
{
    const CLeakCheck leaks;
    for (const Bytes& part : Truncations(kSettingsReply))
    {
        EXPECT_EQ(Read(part), ZEL_OK);
        EXPECT_EQ(m_record.count, part.size() < 2 ? 0u : 7u);
        EXPECT_EQ(m_record.settings == nullptr, part.size() < 2);
        FreeSettings();
    }
    // A length beyond the reply; an empty text; an empty sub-block, behind which nothing is read.
    const Bytes texts = {0, 4, 2, 12, 12, 1, 3, 4, 0, 0xFF, 0, 'H', 0, 'i', 2, 8, 12, 1, 3, 4, 0, 0, 2, 2, 2, 8, 5, 2};
    EXPECT_EQ(Read(texts), ZEL_OK);
    EXPECT_EQ(UnitsOf(m_record.settings[0].value.text), u"Hi" + std::u16string(253, 0));
    ASSERT_NE(m_record.settings[1].value.text, nullptr);
    EXPECT_EQ(SysStringLen(m_record.settings[1].value.text), 0u);
    EXPECT_EQ(m_record.settings[3].setting_id, 0);
    FreeSettings();
    FailEachAllocation([&] {
        const std::uint32_t result = Read(texts);
        FreeSettings();
        return result;
    });
}

TEST_F(UserProfilesHandler, WritesSettingsAndReadsTheAnswersInOrder)
{
    const CBStrOwner text = MakeText(u"a\u20AC");
    ProfileSetting settings[7] = {{0, 3, 4, 9, 8, 12, {}}, {0, 3, 4, 9, 1, 5, {}}, {0, 3, 4, 9, 2, 6, {}},
                                  {0, 3, 4, 9, 8, 7, {}},  {0, 3, 4, 9, 3, 8, {}}, {0, 3, 4, 9, 1, 12, {}},
                                  {0, 3, 4, 9, 1, 12, {}}};
    settings[0].value.text = text.get();
    settings[1].value.u8 = 0xA1;
    settings[2].value.u16 = 0xB1B2;
    settings[3].value.u32 = 0xC1C2C3C4;
    settings[6].value.text = static_cast<BSTR>(kUnreadable);
    m_record.p0 = 7;
    m_record.in.settings = settings;
    EXPECT_EQ(Write({0x77, 3, 4, 8, 30, 31, 32, 0, 0, 0, 9, 4, 1, 1, 4, 8, 33, 34, 0x81, 0, 0, 0}), ZEL_OK);
    const Bytes expected = {
        1, 7,                                                          //
        3, 16, 12, 3, 4, 0, 0, 6, 0,    'a',  0x20, 0xAC, 0, 0, 0, 0,  // text: 4 bytes + 2
        3, 12, 5,  3, 4, 0, 0, 1, 0xA1, 0,    0,    0,                 // 8 bits
        3, 12, 6,  3, 4, 0, 0, 2, 0xB1, 0xB2, 0,    0,                 // 16 bits
        3, 16, 7,  3, 4, 0, 0, 8, 0xC1, 0xC2, 0xC3, 0xC4, 0, 0, 0, 1,  // 32 bits
        3, 8,  8,  3, 4, 0, 0, 0,                                      // another type
        3, 12, 12, 3, 4, 0, 0, 2, 0,    0,    0,    0,                 // no text
        3, 12, 12, 3, 4, 0, 0, 2, 0,    0,    0,    0,                 // an unreadable one
    };
    EXPECT_TRUE(SameRequest(m_phone.Last(), kResource, 0x03, expected));
    const std::uint32_t answers[][4] = {{30, 31, 32, 4}, {33, 34, 0x81, 1}, {6, 3, 9, 2}};
    for (std::size_t i = 0; i < std::size(answers); ++i)
    {
        const std::uint32_t actual[] = {settings[i].setting_id, settings[i].profile, settings[i].status,
                                        settings[i].type};
        EXPECT_TRUE(std::equal(std::begin(actual), std::end(actual), answers[i])) << i;
    }
    // More answers than settings.
    m_record.p0 = 1;
    EXPECT_EQ(Write({0, 2, 4, 8, 1, 2, 3, 0, 0, 0, 4, 8, 9, 9, 9, 0, 0, 0}), ZEL_OK);
    EXPECT_EQ(settings[1].setting_id, 33);
}

TEST_F(UserProfilesHandler, ATextHasAtMost33Bytes)
{
    for (const std::size_t units : {16u, 17u, 128u})
    {
        const CBStrOwner text = MakeText(std::u16string(units, u'x'));
        ProfileSetting setting = {0, 0, 0, 0, 0, 12, {}};
        setting.value.text = text.get();
        m_record.p0 = 1;
        m_record.in.settings = &setting;
        EXPECT_EQ(Write({}), units == 16 ? ZEL_OK : 0x3907u);
        EXPECT_EQ(setting.type, static_cast<std::uint8_t>(2 * units));
    }
    ASSERT_EQ(m_phone.Requests().size(), 1u);
    EXPECT_EQ(m_phone.Last().body[9], 34);
}

TEST_F(UserProfilesHandler, ByteRequestsReportTheirStatus)
{
    m_record = {0x11, 0xA0, 0xA1, 0xA2, 0xA3, {nullptr}, 5, nullptr};
    const std::tuple<std::uint32_t, std::uint8_t, Bytes> cases[] = {
        {0x3903, 0x09, {0, 0}}, {0x3904, 0x05, {0, 0}}, {0x3905, 0x07, {0xA0, 0xA1, 0xA2, 0xA3, 0, 0}}};
    for (const auto& [api, request, body] : cases)
    {
        const auto reply = static_cast<std::uint8_t>(request + 1);
        for (const std::uint8_t status : Bytes{0, 2, 0x80, 0xFF})
        {
            m_phone.Reply(reply, {status, 1, 2, 3, 4, 5});
            ExpectRecordUntouched(m_handler, m_phone, api, m_record, status == 0 ? 0u : 0x3900u | status);
            EXPECT_TRUE(SameRequest(m_phone.Last(), kResource, request, body));
        }
        m_phone.Reply(reply, {1, 0xB0, 0xB1, 0xB2});
        ProfileRecord record = m_record;
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, api, &record), ZEL_OK);
        const bool reads = api == 0x3904;
        EXPECT_EQ(record.p0, reads ? 0xB0 : 0xA0);
        EXPECT_EQ(record.p2, reads ? 0xB2 : 0xA2);
        EXPECT_EQ(record.p3, reads ? 0 : 0xA3);
        ExpectUnansweredKept(m_handler, m_phone, api, m_record);
    }
}

TEST_F(UserProfilesHandler, BadRecordsAndOtherMessages)
{
    for (const std::uint32_t api : {0x3901u, 0x3902u, 0x3905u})
        ExpectBadRecordsRefused(m_handler, api);
    m_record.p0 = 1;
    for (const std::uint32_t api : {0x3901u, 0x3902u})
    {
        ProfileSetting setting = {};
        m_record.in.settings = &setting;
        ExpectUnansweredKept(m_handler, m_phone, api, m_record);
        m_record.in.setting_ids = static_cast<const std::uint8_t*>(kUnreadable);
        ExpectRecordUntouched(m_handler, m_phone, api, m_record, ZEL_E_FAIL);
    }
    EXPECT_TRUE(m_phone.Requests().empty());
    for (void* record : {static_cast<void*>(nullptr), kUnreadable})
    {
        m_phone.Reply(0x0A, {1});
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, 0x3903, record), ZEL_OK);
        m_phone.Reply(0x06, {3});
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, 0x3904, record), 0x3903u);
        m_phone.Reply(0x06, {1, 1, 2, 3, 4});
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, 0x3904, record), ZEL_E_FAIL);
    }
    for (const std::uint32_t api : {0x3900u, 0x3906u})
        EXPECT_EQ(m_handler.EncodeRequest(m_phone, api, nullptr), ZEL_NOT_HANDLED);
}

}  // namespace
