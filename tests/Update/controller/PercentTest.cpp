// How far a download or an install has come.
#include "Update/UpdateInter.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

struct PercentCase {
    const char* name;
    SInt32 done;
    SInt32 total;
    SInt32 percent;
};

constexpr SInt32 kMost = std::numeric_limits<SInt32>::max();

class Percent : public ::testing::TestWithParam<PercentCase> { };

} // namespace

TEST_P(Percent, IsRoundedHalfUpAndHeldAtAHundred)
{
    EXPECT_EQ(percentOf(GetParam().done, GetParam().total), GetParam().percent);
}

INSTANTIATE_TEST_SUITE_P(Table, Percent,
    ::testing::Values(PercentCase {"nothing", 0, 200, 0}, PercentCase {"halfOfOneRoundsUp", 1, 200, 1},
        PercentCase {"lessThanHalfRoundsDown", 1, 201, 0}, PercentCase {"middle", 100, 200, 50},
        PercentCase {"halfBelowTheEndRoundsUp", 199, 200, 100}, PercentCase {"all", 200, 200, 100},
        PercentCase {"moreThanAnnounced", 300, 200, 100}, PercentCase {"totalOfZero", 0, 0, 100},
        PercentCase {"totalOfZeroWithBytes", 5, 0, 100}, PercentCase {"negativeTotal", 5, -1, 100},
        PercentCase {"noOverflowAtTheLargestSizes", kMost / 2, kMost, 50}, PercentCase {"oneThird", 1, 3, 33},
        PercentCase {"twoThirds", 2, 3, 67}),
    [](const auto& row) { return row.param.name; });

TEST(Sizes, AreHeldAtTheLargest32BitValue)
{
    EXPECT_EQ(addSizes(1, 2), 3);
    EXPECT_EQ(addSizes(kMost, 1), kMost);
    EXPECT_EQ(addSizes(std::numeric_limits<SInt32>::min(), -1), std::numeric_limits<SInt32>::min());
}
