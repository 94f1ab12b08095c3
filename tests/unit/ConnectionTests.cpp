#include "support/TypeLibrary.h"

#include <gtest/gtest.h>

namespace
{

/// COM marshals the link service's interfaces in every test.
class MarshallingEnvironment : public testing::Environment
{
    void SetUp() override { ASSERT_EQ(S_OK, RegisterTypeLibrary()); }
};

const auto* const g_environment = testing::AddGlobalTestEnvironment(new MarshallingEnvironment);

}  // namespace
