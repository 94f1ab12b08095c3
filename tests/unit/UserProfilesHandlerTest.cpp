#include "handlers/UserProfilesHandler.h"

#include "support/HandlerFixture.h"
#include "support/Text.h"
#include "zelapi/profiles.h"

#include <iterator>
#include <tuple>
#include <utility>

namespace
{

constexpr std::uint8_t kSettingIds[] = {12, 5, 6, 7};

/// A setting's leading word, profile bytes, status, type, id, number and text.
using Setting = std::tuple<std::uint32_t, int, int, std::uint32_t, int, int, std::uint32_t, std::u16string>;

class UserProfilesHandler : public HandlerFixture<CUserProfilesHandler, 0x39>
{
  protected:
    std::uint32_t Write(const Bytes& reply) { return Ask(ZEL_PROFILES_WRITE_SETTINGS, &m_record, 0x04, reply); }

    /// Takes the settings that have come.
    std::uint32_t Read(const Bytes& reply)
    {
        const std::uint32_t result = Ask(ZEL_PROFILES_READ_SETTINGS, &m_record, 0x02, reply);
        EXPECT_EQ(m_record.settings == nullptr, m_record.count == 0);
        m_read.clear();
        const CTaskMemOwner<ProfileSetting> settings(std::exchange(m_record.settings, nullptr));
        for (std::uint32_t i = 0; i < m_record.count; ++i)
        {
            const auto& [leading, profile, second, status, type, id, value] = settings.get()[i];
            const CBStrOwner text(id == 12 ? value.text : nullptr);
            EXPECT_EQ(text != nullptr, id == 12 && status == 1);
            m_read.emplace_back(leading, profile, second, status, type, id, id == 12 ? 0 : value.u32,
                                UnitsOf(text.get()));
        }
        m_record.count = 0;
        return result;
    }

    ProfileRecord m_record = {0x11, 0xA0, 0xA1, 4, 0xA3, {kSettingIds}, 0, nullptr};
    std::vector<Setting> m_read;
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
    EXPECT_EQ(Read(kSettingsReply), ZEL_OK);
    EXPECT_TRUE(Sent(0x01, {0xA0, 4, 1, 4, 0xA1, 12, 1, 4, 0xA1, 5, 1, 4, 0xA1, 6, 1, 4, 0xA1, 7}));
    const std::vector<Setting> expected = {
        {0, 3, 4, 1, 2, 12, 0, u"Hi"},   {0, 3, 4, 1, 8, 5, 0x09080706, u""}, {},
        {0, 3, 4, 1, 2, 6, 0x0908, u""}, {0, 3, 4, 1, 1, 7, 9, u""},          {0, 0, 0, 2, 0, 12, 0, u""},
        {0, 0xFF, 4, 1, 3, 8, 0, u""}};
    EXPECT_EQ(m_read, expected);
}

TEST_F(UserProfilesHandler, ReadsOnlyWhatTheReplyHolds)
{
    Survives(ZEL_PROFILES_READ_SETTINGS, &m_record, 0x02, kSettingsReply);
    // A length beyond the reply; an empty text; an empty sub-block, behind which nothing is read.
    const Bytes texts = {0, 4, 2, 12, 12, 1, 3, 4, 0, 0xFF, 0, 'H', 0, 'i', 2, 8, 12, 1, 3, 4, 0, 0, 2, 2, 2, 8, 5, 2};
    EXPECT_EQ(Read(texts), ZEL_OK);
    const std::vector<Setting> expected = {
        {0, 3, 4, 1, 0xFF, 12, 0, u"Hi" + std::u16string(253, 0)}, {0, 3, 4, 1, 0, 12, 0, u""}, {}, {}};
    EXPECT_EQ(m_read, expected);
    EXPECT_EQ(Read({0}), ZEL_OK);
    EXPECT_EQ(m_read.size(), 0u);
}

TEST_F(UserProfilesHandler, WritesSettingsAndReadsTheAnswersInOrder)
{
    const CBStrOwner text = MakeText(u"a\u20AC");
    ProfileSetting settings[] = {{0, 3, 4, 9, 8, 12, {.text = text.get()}},
                                 {0, 3, 4, 9, 1, 5, {.u8 = 0xA1}},
                                 {0, 3, 4, 9, 2, 6, {.u16 = 0xB1B2}},
                                 {0, 3, 4, 9, 8, 7, {.u32 = 0xC1C2C3C4}},
                                 {0, 3, 4, 9, 3, 8, {}},
                                 {0, 3, 4, 9, 1, 12, {.text = nullptr}},
                                 {0, 3, 4, 9, 1, 12, {.text = static_cast<BSTR>(kUnreadable)}}};
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
    EXPECT_TRUE(Sent(0x03, expected));
    const std::tuple<unsigned, unsigned, std::uint32_t, unsigned> answers[] = {
        {30, 31, 32, 4}, {33, 34, 0x81, 1}, {6, 3, 9, 2}};
    for (std::size_t i = 0; i < std::size(answers); ++i)
        EXPECT_EQ(std::tuple(settings[i].setting_id, settings[i].profile, settings[i].status, settings[i].type),
                  answers[i])
            << i;
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
        ProfileSetting setting = {0, 0, 0, 0, 0, 12, {.text = text.get()}};
        m_record.p0 = 1;
        m_record.in.settings = &setting;
        EXPECT_EQ(Write({}), units == 16 ? ZEL_OK : ZEL_PROFILES_TEXT_TOO_LONG);
        EXPECT_EQ(setting.type, static_cast<std::uint8_t>(2 * units));
    }
    ASSERT_EQ(m_phone.Requests().size(), 1u);
    EXPECT_EQ(m_phone.Last().body[9], 34);
}

TEST_F(UserProfilesHandler, ByteRequestsReportTheirStatus)
{
    m_record = {0x11, 0xA0, 0xA1, 0xA2, 0xA3, {nullptr}, 5, nullptr};
    const std::tuple<std::uint32_t, std::uint8_t, Bytes> cases[] = {
        {ZEL_PROFILES_OPERATION, 0x09, {0, 0}},
        {ZEL_PROFILES_READ_BYTES, 0x05, {0, 0}},
        {ZEL_PROFILES_WRITE_BYTES, 0x07, {0xA0, 0xA1, 0xA2, 0xA3, 0, 0}}};
    for (const auto& [api, request, body] : cases)
    {
        const auto reply = static_cast<std::uint8_t>(request + 1);
        ExpectOutcomes(api, m_record,
                       {{reply, {0, 1, 2, 3, 4, 5}, ZEL_OK},
                        {reply, {2, 1, 2, 3, 4, 5}, 0x3902},
                        {reply, {0x80, 1, 2, 3, 4, 5}, 0x3980},
                        {reply, {0xFF, 1, 2, 3, 4, 5}, 0x39FF}});
        EXPECT_TRUE(Sent(request, body));
        ProfileRecord record = m_record;
        EXPECT_EQ(Ask(api, &record, reply, {1, 0xB0, 0xB1, 0xB2}), ZEL_OK);
        EXPECT_EQ((Bytes{record.p0, record.p1, record.p2, record.p3}),
                  api == ZEL_PROFILES_READ_BYTES ? (Bytes{0xB0, 0xB1, 0xB2, 0}) : (Bytes{0xA0, 0xA1, 0xA2, 0xA3}));
        ExpectUnanswered(api, m_record);
    }
}

TEST_F(UserProfilesHandler, BadRecordsAndOtherMessages)
{
    ProfileSetting setting = {};
    m_record.p0 = 1;
    m_record.in.settings = &setting;
    for (const std::uint32_t api : {ZEL_PROFILES_READ_SETTINGS, ZEL_PROFILES_WRITE_SETTINGS})
        ExpectUnanswered(api, m_record);
    for (void* bad : {static_cast<void*>(nullptr), kUnreadable})
    {
        m_record.in.settings = static_cast<ProfileSetting*>(bad);
        for (const std::uint32_t api : {ZEL_PROFILES_READ_SETTINGS, ZEL_PROFILES_WRITE_SETTINGS})
            ExpectRefused(api, m_record, ZEL_E_ARGUMENT);
        EXPECT_EQ(Ask(ZEL_PROFILES_OPERATION, bad, 0x0A, {1}), ZEL_OK);
        EXPECT_EQ(Ask(ZEL_PROFILES_READ_BYTES, bad, 0x06, {3}), 0x3903u);
        EXPECT_EQ(Ask(ZEL_PROFILES_READ_BYTES, bad, 0x06, {1, 1, 2, 3, 4}), ZEL_E_FAIL);
    }
    m_record.p0 = m_record.p2 = 0;
    for (const auto& [api, reply] : {std::pair{ZEL_PROFILES_READ_SETTINGS, 0x02}, {ZEL_PROFILES_WRITE_SETTINGS, 0x04}})
        EXPECT_EQ(Ask(api, &m_record, static_cast<std::uint8_t>(reply), {}), ZEL_OK) << "no elements, no array";
    for (const std::uint32_t api : {ZEL_PROFILES_READ_SETTINGS, ZEL_PROFILES_WRITE_SETTINGS, ZEL_PROFILES_WRITE_BYTES})
        ExpectBadRecordsRefused(m_handler, api);
    ExpectNotHandled({ZEL_PROFILES_READ_SETTINGS - 1, ZEL_PROFILES_WRITE_BYTES + 1});
    ExpectNoIndications(ZEL_PROFILES_READ_SETTINGS);
}

}  // namespace
