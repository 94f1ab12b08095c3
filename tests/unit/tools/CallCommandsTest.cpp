#include "commands/CallCommands.h"

#include "shell/Text.h"

#include <gtest/gtest.h>

#include <zelapi/call.h>

using namespace zelctl;

namespace
{

TEST(CallCommands, EveryElementOfAnIndicationIsDescribed)
{
    const BStr number = ToBStr("+1");
    CallElement elements[] = {{0, 0, 0, 1, 2, 0, 0, {}}, {0, 3, 0, 0x10, 0, 0, 0, {}}, {0, 8, 0, 1, 0, 0, 0, {}}};
    elements[1].value.text = number.get();
    elements[2].value.cause = 0x111;
    const CallRecord record = {0, 5, 3, 0, elements};
    EXPECT_EQ(kCallModule.indications[0].describe(&record),
              (Value{{"call", 5},
                     {"elements",
                      {{{"id", 0}, {"element", "item 7"}, {"parameters", "01 02 00 00"}},
                       {{"id", 3}, {"element", "number"}, {"parameters", "10 00 00 00"}, {"text", "+1"}},
                       {{"id", 8}, {"element", "cause"}, {"parameters", "01 00 00 00"}, {"cause", 0x11}}}}}));
}

}  // namespace
