#include "message/ByteSet.h"

#include "support/Bytes.h"

namespace
{

Bytes Members(const CByteSet& set)
{
    Bytes members;
    set.ForEach([&](std::uint8_t value) { members.push_back(value); });
    return members;
}

TEST(ByteSet, KeepsEachByteOnceInAscendingOrder)
{
    CByteSet set;
    EXPECT_TRUE(set.IsEmpty());
    for (const std::uint8_t value : Bytes{0xFF, 0x00, 0x80, 0x7F, 0xFF, 0x80})
        set.Insert(value);
    EXPECT_TRUE(SameBytes({0x00, 0x7F, 0x80, 0xFF}, Members(set)));
    EXPECT_EQ(set.Size(), 4u);
    EXPECT_FALSE(set.IsEmpty());
}

TEST(ByteSet, ForgetsWhatIsErased)
{
    CByteSet set;
    set.Insert(1);
    set.Insert(2);
    set.Erase(1);
    set.Erase(3);
    EXPECT_FALSE(set.Contains(1));
    EXPECT_TRUE(set.Contains(2));
    EXPECT_TRUE(SameBytes({2}, Members(set)));
}

}  // namespace
