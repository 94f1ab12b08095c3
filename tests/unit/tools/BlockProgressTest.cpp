#include "BlockProgress.h"

#include <gtest/gtest.h>

namespace
{

TEST(ProgressBar, FillsUp)
{
    constexpr std::uint64_t kMegabyte = 1 << 20;
    EXPECT_EQ(zelctl::ProgressBar("writing", 0, 1), "writing [....................]   0 %, 0.0 of 0.0 MiB");
    EXPECT_EQ(zelctl::ProgressBar("a", 4 * kMegabyte, 8 * kMegabyte), "a [##########..........]  50 %, 4.0 of 8.0 MiB");
    EXPECT_EQ(zelctl::ProgressBar("a", 0xFFFFFFFF, 0xFFFFFFFF), "a [####################] 100 %, 4096.0 of 4096.0 MiB");
}

}  // namespace
