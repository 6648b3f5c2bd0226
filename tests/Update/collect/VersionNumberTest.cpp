// Version numbers: how texts become four integers, and their order.
#include "Update/collect/VersionNumber.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using namespace std::string_view_literals;

namespace {

Version parsed(std::u16string text)
{
    Version version = {9, 9, 9, 9};
    EXPECT_EQ(CheckVersionSupport(version.data(), text.data()), 1);
    return version;
}

int compared(const Version& a, const Version& b)
{
    return CompareVerion(a.data(), b.data());
}

struct VersionCase {
    const char* name;
    std::u16string text;
    Version version;
};

class CheckVersionSupportParses : public testing::TestWithParam<VersionCase> { };

} // namespace

TEST_P(CheckVersionSupportParses, Text)
{
    EXPECT_EQ(parsed(GetParam().text), GetParam().version);
}

INSTANTIATE_TEST_SUITE_P(Table, CheckVersionSupportParses,
    testing::Values(VersionCase {"FourParts", u"2.1.3.7", {2, 1, 3, 7}},
        VersionCase {"Commas", u"2,1,3", {2, 1, 3, 0}}, VersionCase {"OnePart", u"5", {5, 0, 0, 0}},
        VersionCase {"TwoParts", u"5.6", {5, 6, 0, 0}}, VersionCase {"FiveParts", u"1.2.3.4.5", {1, 2, 3, 4}},
        VersionCase {"PointBeforeComma", u"1,2.3", {1, 3, 0, 0}},
        VersionCase {"CommasAfterThePoints", u"1.2,3,4", {1, 2, 3, 4}},
        VersionCase {"FourCommas", u"4,3,2,1", {4, 3, 2, 1}}, VersionCase {"Empty", u"", {0, 0, 0, 0}},
        VersionCase {"PartWithoutDigits", u"1.x.3", {1, 0, 3, 0}},
        VersionCase {"DigitsThenLetters", u"1.2b3.4", {1, 2, 4, 0}},
        VersionCase {"EmptyParts", u"..7", {0, 0, 7, 0}},
        VersionCase {"EndsWithSeparator", u"3.", {3, 0, 0, 0}},
        VersionCase {"EndsWithTheThirdSeparator", u"1.2.3.", {1, 2, 3, 0}},
        VersionCase {"EndsWithAFourthSeparator", u"1.2.3.4.", {1, 2, 3, 4}},
        VersionCase {"SeparatorsAlone", u".....", {0, 0, 0, 0}},
        VersionCase {"CommaAlone", u",", {0, 0, 0, 0}}, VersionCase {"Text", u"beta", {0, 0, 0, 0}},
        VersionCase {"TextBeforeDigits", u"v2.b3.4", {0, 0, 4, 0}},
        VersionCase {"CommasBeforeTheOnlyPoint", u"1,2,3.4", {1, 4, 0, 0}},
        VersionCase {"CommaInTheFourthPart", u"1.2.3.4,5", {1, 2, 3, 4}},
        VersionCase {"Blanks", u" 1. 2 .3", {1, 2, 3, 0}},
        VersionCase {"OtherDigits", u"\uFF11.2", {0, 2, 0, 0}},
        VersionCase {"Edges", u"2147483647.-2147483648.2147483648.-2147483649",
            {2147483647, -2147483647 - 1, 2147483647, -2147483647 - 1}},
        VersionCase {"Negative", u"-1.-2.3.-4", {-1, -2, 3, -4}},
        VersionCase {"LeadingZeros", u"01.002.0003.00004", {1, 2, 3, 4}},
        VersionCase {"OutOfRange", u"99999999999.-99999999999", {2147483647, -2147483647 - 1, 0, 0}}),
    [](const auto& test) { return test.param.name; });

TEST(CheckVersionSupport, WritesZerosAtTheSeparators)
{
    std::u16string text = u"1.2,3.4.5";
    Version version;
    CheckVersionSupport(version.data(), text.data());
    // The points end the first three parts; the comma lies within the second one.
    EXPECT_EQ(text,
        std::u16string(u"1\0"
                       u"2,3\0"
                       u"4\0"
                       u"5",
            9));
    EXPECT_EQ(version, (Version {1, 2, 4, 5}));
}

TEST(CheckVersionSupport, LeavesTheFourthPartsSeparatorsAlone)
{
    std::u16string text = u"1.2.3.4.5";
    Version version;
    CheckVersionSupport(version.data(), text.data());
    EXPECT_EQ(text,
        std::u16string(u"1\0"
                       u"2\0"
                       u"3\0"
                       u"4.5",
            9));
}

TEST(CompareVerion, ComparesNumbersAndNotTexts)
{
    EXPECT_EQ(compared({1, 0, 0, 10}, {1, 0, 0, 9}), 1);
    EXPECT_EQ(compared({2, 0, 0, 0}, {10, 0, 0, 0}), -1);
}

TEST(CompareVerion, EqualVersionsGiveZero)
{
    EXPECT_EQ(compared({1, 2, 3, 4}, {1, 2, 3, 4}), 0);
    EXPECT_EQ(compared({0, 0, 0, 0}, {0, 0, 0, 0}), 0);
}

TEST(CompareVerion, EarlierPartsDecide)
{
    EXPECT_EQ(compared({1, 2, 0, 0}, {1, 1, 9, 9}), 1);
    EXPECT_EQ(compared({1, 1, 9, 9}, {1, 2, 0, 0}), -1);
    EXPECT_EQ(compared({1, 1, 2, 0}, {1, 1, 1, 9}), 1);
    EXPECT_EQ(compared({1, 1, 1, 8}, {1, 1, 1, 9}), -1);
}

TEST(CompareVerion, ComparesNegativePartsAsSigned)
{
    EXPECT_EQ(compared({-1, 0, 0, 0}, {0, 0, 0, 0}), -1);
    EXPECT_EQ(compared({1, 0, 0, -1}, {1, 0, 0, -2}), 1);
    EXPECT_EQ(compared({2147483647, 0, 0, 0}, {-2147483647 - 1, 0, 0, 0}), 1);
}

TEST(VersionText, PrintsAllFourParts)
{
    EXPECT_EQ(versionText(Version {1, 0, 20, 3}.data()), u"1.0.20.3"sv);
    EXPECT_EQ(
        versionText(Version {-2147483647 - 1, -1, 0, 2147483647}.data()), u"-2147483648.-1.0.2147483647"sv);
}
