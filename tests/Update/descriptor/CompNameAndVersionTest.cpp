// How the files of one name compare with a version.
#include "tests/Update/descriptor/Suite.h"

#include <gtest/gtest.h>

namespace {

/// A descriptor of "Top" that is not rejected for its own sake.
DescriptorBuilder top()
{
    return DescriptorBuilder().file(fileNamed("Top"));
}

} // namespace

TEST(CompNameAndVersion, ComparesTheFilesOfThatName)
{
    const Suite suite;
    const auto interpreter = suite.parsed(top().file(fileNamed("A", "1.0.0.1")));
    EXPECT_EQ(interpreter->CompNameAndVersion(u"A", u"1.0.0.0", 0), 1);
    EXPECT_EQ(interpreter->CompNameAndVersion(u"a", u"1.0.0.1", 0), 0);
    EXPECT_EQ(interpreter->CompNameAndVersion(u"A", u"1,0,1", 0), -1);
    EXPECT_EQ(interpreter->CompNameAndVersion(u"B", u"0", 0), -1);
}

TEST(CompNameAndVersion, IsMinusOneWithoutNameOrVersion)
{
    const Suite suite;
    const auto interpreter = suite.parsed(top());
    EXPECT_EQ(interpreter->CompNameAndVersion(nullptr, u"0", 0), -1);
    EXPECT_EQ(interpreter->CompNameAndVersion(u"Top", nullptr, 0), -1);
}

TEST(CompNameAndVersion, StopsAtANewerFile)
{
    const Suite suite;
    const auto interpreter = suite.parsed(top().file(fileNamed("A", "1.1")).file(fileNamed("A", "0.9")));
    EXPECT_EQ(interpreter->CompNameAndVersion(u"A", u"1.0", 0), 1);
    EXPECT_EQ(interpreter->CompNameAndVersion(u"A", u"1.0", 1), 1);
}

TEST(CompNameAndVersion, LetsALaterFileOverwriteAnOlderOrEqualOne)
{
    const Suite suite;
    const auto interpreter = suite.parsed(
        top().file(fileNamed("A", "0.9")).file(fileNamed("A", "1.0")).file(fileNamed("A", "0.8")));
    EXPECT_EQ(interpreter->CompNameAndVersion(u"A", u"1.0", 0), -1);
    EXPECT_EQ(interpreter->CompNameAndVersion(u"A", u"1.0", 1), 0);
    EXPECT_EQ(interpreter->CompNameAndVersion(u"A", u"0.95", 0), 1);
}

TEST(CompNameAndVersion, ReadsAnOverlongVersionText)
{
    const Suite suite;
    const auto interpreter = suite.parsed(top());
    EXPECT_EQ(
        interpreter->CompNameAndVersion(u"Top", (u"2.0.0.0." + std::u16string(5000, u'9')).c_str(), 0), 0);
}

TEST(CompNameAndVersion, ReadsTheFirst255UnitsOfAVersionText)
{
    const Suite suite;
    const auto interpreter = suite.parsed(top().file(fileNamed("A", "1.7")));
    const auto padded = [](std::size_t units) { return u"1." + std::u16string(units - 3, u'0') + u"7"; };
    EXPECT_EQ(interpreter->CompNameAndVersion(u"A", padded(255).c_str(), 0), 0);
    EXPECT_EQ(interpreter->CompNameAndVersion(u"A", padded(256).c_str(), 0), 1) << "the 7 is cut off";
}
