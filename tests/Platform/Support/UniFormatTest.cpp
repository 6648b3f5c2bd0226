// The formatter of texts from resources.
#include "Platform/Support/UniFormat.h"
#include "Platform/Support/Unicode.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

std::string formatted(std::u16string_view format, std::initializer_list<FormatValue> values)
{
    return utf8FromWide(formatText(format, values));
}

} // namespace

TEST(FormatText, FillsItsConversionsInOrder)
{
    EXPECT_EQ(formatted(u"%s: %d of %d", {u"Studio", SInt64 {3}, SInt64 {-7}}), "Studio: 3 of -7");
    EXPECT_EQ(formatted(u"%d", {std::numeric_limits<SInt64>::min()}), "-9223372036854775808");
}

TEST(FormatText, WritesDecimalsWithAPointAndRoundsThem)
{
    EXPECT_EQ(formatted(u"%.2f M", {1.005e3}), "1005.00 M");
    EXPECT_EQ(formatted(u"%.0f %.1f %.9f", {2.75, 2.75, 0.5}), "3 2.8 0.500000000");
    EXPECT_EQ(formatted(u"%.2f", {-0.125}), "-0.12") << "the nearest even one, as 0.125 is exact";
}

TEST(FormatText, WritesTheWholePartOfANumberAsAnInteger)
{
    EXPECT_EQ(formatted(u"%d", {1024.0}), "1024");
    EXPECT_EQ(formatted(u"%d", {-3.99}), "-3");
    EXPECT_EQ(formatted(u"%d", {4294967295.0}), "4294967295");
    EXPECT_EQ(formatted(u"%d", {1e300}), "%d") << "no integer holds it";
}

TEST(FormatText, HasRoomForTheLongestNumber)
{
    const std::string text = formatted(u"%.9f", {std::numeric_limits<double>::max()});
    EXPECT_EQ(text.size(), 309u + 1 + 9);
    EXPECT_EQ(text.substr(0, 6), "179769");
}

TEST(FormatText, WritesAPercentSignForTwo)
{
    EXPECT_EQ(formatted(u"%d%% of 100%%", {SInt64 {5}}), "5% of 100%");
}

TEST(FormatText, LeavesAConversionWithoutAFittingValueAsItIs)
{
    EXPECT_EQ(formatted(u"%s and %s", {u"one"}), "one and %s");
    EXPECT_EQ(formatted(u"%s %d", {SInt64 {5}}), "%s 5") << "it takes no value";
    EXPECT_EQ(formatted(u"%d %.2f", {u"text"}), "%d %.2f");
    EXPECT_EQ(formatted(u"%.2f", {SInt64 {5}}), "%.2f");
}

TEST(FormatText, KnowsNoOtherConversion)
{
    for (const char* format :
        {"%n", "%x", "%5d", "%ld", "%1$s", "%*d", "%.f", "%.10f", "%f", "%", "a%", "%.2", "%S"})
        EXPECT_EQ(formatted(wideFromUtf8(format), {SInt64 {5}, 2.5, u"s"}), format);
}

TEST(FormatText, DoesNotReadConversionsInItsValues)
{
    EXPECT_EQ(formatted(u"%s %d", {u"%d %s %%", SInt64 {1}}), "%d %s %% 1");
}
