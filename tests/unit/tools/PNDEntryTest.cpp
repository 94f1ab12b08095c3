#include "commands/PNDEntry.h"

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
    const CReceived<PndEntry> received(PndEntry{1, 2, 3, array});
    EXPECT_EQ(FirstPndText(FieldsOf(received.record)), "A");
    EXPECT_EQ(DescribePndFields(FieldsOf(received.record)),
              Value::parse(R"([{"type": 11, "attribute": "0x00", "sub_attribute": 3, "value": "A"},
                  {"type": 74, "attribute": "0x80", "value": [null, null, "Lyon", null, null, null]},
                  {"type": 0, "attribute": "0x00", "value": null}])"));
}

}  // namespace
