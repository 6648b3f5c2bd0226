#include "Platform/Carbon/Gestalt.h"

#include <gtest/gtest.h>

namespace {

TEST(Gestalt, GivesTheSystemVersionThatTheLayerFollows)
{
    SInt32 version = 0;
    EXPECT_EQ(Gestalt(0x73797376, &version), 0);
    EXPECT_EQ(version, 0x1040);
}

TEST(Gestalt, RefusesOtherSelectors)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    SInt32 answer = 0;
    EXPECT_DEATH(Gestalt(0x73797320, &answer), "failed assertion");
}

} // namespace
