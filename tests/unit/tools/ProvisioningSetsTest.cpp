#include "commands/ProvisioningSets.h"

#include "shell/Failure.h"

#include <gmock/gmock.h>

using namespace zelctl;
using testing::HasSubstr;

namespace
{

const Value kWhole = Value::parse(R"({"number":5,"name":"N\u00E9","name_value":255,"value_4":65535,"value_6":0,)"
                                  R"("block_a":"AA BB","length_b":9,"block_c":"","content_size":0})");
const Value kBare = Value::parse(R"({"number":0,"name":null,"name_value":null,"value_4":null,"value_6":null,)"
                                 R"("block_a":null,"length_b":null,"block_c":null,"content_size":0})");

TEST(ProvisioningSets, WhatIsDescribedCanBeSent)
{
    for (const Value& sets : {Value::array(), Value::array({kWhole, kBare})})
        EXPECT_EQ(DescribeSets(CSetsToSend(sets).List()), sets);
    CSetsToSend sparse(Value::parse(R"([{"number":1,"content_file":"content-1.bin"}])"));
    EXPECT_EQ(sparse.List().sets[0].access, nullptr);
    EXPECT_EQ(sparse.List().sets[0].name, nullptr);
}

TEST(ProvisioningSets, WhatIsWrongInThemIsNamed)
{
    const struct
    {
        const char* field;
        Value value;
        const char* reason;
    } cases[] = {{"number", 256u, "\"number\" is not a number from 0 to 255"},
                 {"number", -1, "\"number\" is not a number"},
                 {"number", "1", "\"number\" is not a number"},
                 {"value_4", 65536u, "from 0 to 65535"},
                 {"value_6", nullptr, "not all of them"},
                 {"name_value", nullptr, "not all of them"},
                 {"name", 3, "\"name\" is not a text"},
                 {"name", std::string(256, 'n'), "more than 255 bytes"},
                 {"block_a", "A", "\"block_a\": "},
                 {"block_c", std::string(512, '0'), "more than 255 bytes"},
                 {"block_b", 1, "no field \"block_b\""}};
    for (const auto& [field, value, reason] : cases)
    {
        Value set = kWhole;
        set[field] = value;
        try
        {
            const CSetsToSend sets(Value::array({set}));
            ADD_FAILURE() << field << " is taken: " << value;
        }
        catch (const CFailure& failure)
        {
            EXPECT_THAT(failure.Text().meaning, HasSubstr(reason));
        }
    }
    for (const Value& sets :
         {Value(), Value(3), Value::array({3}), Value::array({Value::object()}), Value(std::vector<Value>(256, kBare))})
        EXPECT_THROW(CSetsToSend{sets}, CFailure) << sets;
}

}  // namespace
