// The base of every product's record: its defaults, and the block that its owner attaches.
#include "Update/collect/PListParse.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string_view>

using namespace std::string_view_literals;

TEST(CPListParse, BeginsEmptyWithTheDefaultTimeout)
{
    CPListParse record;
    EXPECT_EQ(record.kind(), 0);
    EXPECT_EQ(record.getSerTimeout(), 5000);
    EXPECT_EQ(record.userData(), nullptr);
    EXPECT_EQ(record.bundleURL(), nullptr);
    EXPECT_TRUE(record.site().empty() && record.url().empty() && record.version().empty());
    EXPECT_TRUE(record.language().empty() && record.xmlFileName().empty() && record.productName().empty());
    EXPECT_TRUE(record.runMode().empty());
}

TEST(CPListParse, ReadsNothing)
{
    CPListParse record;
    EXPECT_EQ(record.Parse(), 0);
    EXPECT_EQ(record.Parse(nullptr), 0);
}

TEST(CPListParse, EmptyNameAndVersionKeepTheirSeparators)
{
    CPListParse record;
    record.Validate();
    EXPECT_EQ(record.xmlFileName(), u"Update___Mac.xml"sv);
}

TEST(CPListParse, SetUserDataKeepsACopy)
{
    CPListParse record;
    std::array<char, 4> bytes = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(record.SetUserData(bytes.data(), 4), 1);
    bytes.fill('x');
    ASSERT_NE(record.userData(), nullptr);
    EXPECT_EQ(std::memcmp(record.userData(), "abcd", 4), 0);
}

TEST(CPListParse, SetUserDataReplacesTheBlock)
{
    CPListParse record;
    EXPECT_EQ(record.SetUserData("one", 4), 1);
    EXPECT_EQ(record.SetUserData("longer", 7), 1);
    EXPECT_STREQ(static_cast<const char*>(record.userData()), "longer");
}

TEST(CPListParse, SetUserDataWithoutDataKeepsABlockAndAnswersZero)
{
    CPListParse record;
    EXPECT_EQ(record.SetUserData("one", 4), 1);
    EXPECT_EQ(record.SetUserData(nullptr, 2056), 0);
    ASSERT_NE(record.userData(), nullptr);
    std::memset(record.userData(), 0, 2056); // all of it is there to write to
}

TEST(CPListParse, SetUserDataThatCannotBeAllocatedLeavesNoBlock)
{
    CPListParse record;
    EXPECT_EQ(record.SetUserData("one", 4), 1);
    EXPECT_EQ(record.SetUserData("one", -1), 0);
    EXPECT_EQ(record.userData(), nullptr);
}
