#include "PNDEntry.h"

#include "Failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace zelctl;

namespace
{

using Words = std::vector<std::string>;

TEST(PNDEntry, FieldsAreReadFromTheCommandLine)
{
    CPndFieldsToSend sent(
        Words{"7=a=b", "11/2@0x81=+44", "80@1=Land", "51=4294967295", "87=2006,5,17,12,255", "75=Street", "58="});
    const PndField* fields = sent.Data();
    ASSERT_EQ(sent.Count(), 6);
    EXPECT_EQ(FromBStr(fields[0].value.text), "a=b");
    EXPECT_EQ(fields[0].attribute, 0);
    EXPECT_EQ(fields[1].sub_attribute, 2);
    EXPECT_EQ(fields[1].attribute, 0x81);
    EXPECT_EQ(fields[2].type, 74);
    EXPECT_EQ(fields[2].attribute, 1);
    EXPECT_EQ(FromBStr(fields[2].texts[0]), "Street");
    EXPECT_EQ(FromBStr(fields[2].texts[5]), "Land");
    EXPECT_EQ(fields[3].value.number, 4294967295U);
    EXPECT_EQ(fields[4].value.compound.word, 2006);
    EXPECT_EQ(fields[4].value.compound.bytes[3], 255);
    EXPECT_EQ(fields[5].type, 58);
}

TEST(PNDEntry, WrongFieldsAreExplained)
{
    const std::string tooLong(127, 'x');
    const std::pair<Words, const char*> wrong[] = {
        {{"7"}, "not a field of the form TYPE=VALUE"},
        {{"=x"}, "TYPE: \"\" is not a number"},
        {{"0=x"}, "TYPE: 0 is not between 1 and 255"},
        {{"7@256=x"}, "ATTRIBUTE: 256 is not between"},
        {{"7/1=x"}, "only type 11 has a sub-attribute"},
        {{"7=" + tooLong}, "type 7: the text is too long"},
        {{"25=256"}, "VALUE: 256 is not between 0 and 255"},
        {{"12=65536"}, "is not between 0 and 65535"},
        {{"87=1,2,3,4"}, "five numbers"},
        {{"87=1,256,3,4,5"}, "256 is not between"},
        {{"74=x"}, "75=TEXT"},
        {{"75="}, "1 to 126 characters"},
        {{"80=" + tooLong}, "1 to 126 characters"},
        {{"75=a", "75=b"}, "type 75: it is given twice"},
        {{"58=x"}, "type 58: it takes no value"},
        {Words(256, "7=x"), "at most 255 fields"},
    };
    for (const auto& [words, message] : wrong)
    {
        std::string said;
        try
        {
            const CPndFieldsToSend sent(words);
        }
        catch (const CUsageError& error)
        {
            said = error.what();
        }
        EXPECT_THAT(said, testing::HasSubstr(message));
    }
}

TEST(PNDEntry, ReceivedFieldsLoseTheirTerminators)
{
    PndField fields[3] = {};
    fields[0].type = 11;
    fields[0].sub_attribute = 3;
    fields[0].value.text = SysAllocStringLen(L"A\0", 2);
    fields[1].type = 74;
    fields[1].attribute = 0x80;
    fields[1].texts[2] = SysAllocStringLen(L"Lyon\0", 5);
    fields[2].value.number = 7;
    auto* array = static_cast<PndField*>(CoTaskMemAlloc(sizeof fields));
    std::copy(std::begin(fields), std::end(fields), array);
    const CPndReceivedFields received({1, 2, 3, array});
    EXPECT_EQ(received.FirstText(), "A");
    EXPECT_EQ(received.Describe(), Value::parse(R"([{"type": 11, "attribute": "0x00", "sub_attribute": 3, "value": "A"},
                  {"type": 74, "attribute": "0x80", "value": [null, null, "Lyon", null, null, null]},
                  {"type": 0, "attribute": "0x00", "value": null}])"));
}

}  // namespace
