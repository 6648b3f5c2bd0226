// Text: encodings, comparison, conversion.
#include "tests/Platform/CoreFoundation/CFText.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::u16string decoded(const char* bytes, CFStringEncoding encoding)
{
    return textOf(adoptCF(CFStringCreateWithCString(kCFAllocatorDefault, bytes, encoding)));
}

} // namespace

TEST(CFString, HoldsItsUnitsAsGiven)
{
    const std::u16string text(u"a\0\xD800z", 4);
    const auto string = adoptCF(CFStringCreateWithView(text));
    EXPECT_EQ(CFStringGetLength(string), 4);
    EXPECT_EQ(CFStringGetView(string), text);
    EXPECT_EQ(textOf(adoptCF(CFStringCreateWithView({}))), u"");
}

TEST(CFString, RefusesNull)
{
    EXPECT_EQ(CFStringCreateWithCString(nullptr, nullptr, kCFStringEncodingUTF8), nullptr);
}

TEST(CFString, ReadsUtf8)
{
    EXPECT_EQ(decoded("", kCFStringEncodingUTF8), u"");
    EXPECT_EQ(
        decoded("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", kCFStringEncodingUTF8), u"a\u00E9\u20AC\U0001F600");
}

TEST(CFString, RefusesInvalidUtf8)
{
    for (const char* bytes : {"\x80", "\xC0\xAF", "\xC3", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"})
        EXPECT_EQ(CFStringCreateWithCString(nullptr, bytes, kCFStringEncodingUTF8), nullptr) << bytes;
}

TEST(CFString, ReadsMacRoman)
{
    EXPECT_EQ(decoded("A\x80\x8E\xA5\xC9\xDB\xF0\xFF", kCFStringEncodingMacRoman),
        u"A\u00C4\u00E9\u2022\u2026\u20AC\uF8FF\u02C7");
}

TEST(CFString, ReadsWindowsLatin1)
{
    EXPECT_EQ(
        decoded("A\x80\x9F\xA0\xE9\xFF", kCFStringEncodingWindowsLatin1), u"A\u20AC\u0178\u00A0\u00E9\u00FF");
}

TEST(CFString, RefusesBytesWithoutAMeaningInWindowsLatin1)
{
    for (const char* bytes : {"\x81", "\x8D", "\x8F", "\x90", "\x9D"})
        EXPECT_EQ(CFStringCreateWithCString(nullptr, bytes, kCFStringEncodingWindowsLatin1), nullptr);
    EXPECT_NE(
        adoptCF(CFStringCreateWithCString(nullptr, "\x82", kCFStringEncodingWindowsLatin1)).get(), nullptr);
}

TEST(CFStringDeathTest, RefusesOtherEncodings)
{
    EXPECT_DEATH(CFStringCreateWithCString(nullptr, "a", 0x0600), "failed assertion");
}

TEST(CFString, GivesTheUnitsOfARange)
{
    const auto string = cf(u"abcdef");
    UniChar buffer[4] = {u'-', u'-', u'-', u'-'};
    CFStringGetCharacters(string, CFRangeMake(2, 3), buffer);
    EXPECT_EQ(std::u16string(buffer, 4), u"cde-");
    CFStringGetCharacters(string, CFRangeMake(6, 0), buffer);
    EXPECT_EQ(std::u16string(buffer, 4), u"cde-");
}

TEST(CFStringDeathTest, RangeMustLieWithin)
{
    UniChar buffer[8];
    for (const CFRange range :
        {CFRange {4, 3}, CFRange {7, 0}, CFRange {-1, 1}, CFRange {0, -1}, CFRange {1, 0x7FFFFFFF}})
        EXPECT_DEATH(CFStringGetCharacters(cf(u"abcdef"), range, buffer), "failed assertion");
}

TEST(CFString, ComparesByUnit)
{
    EXPECT_EQ(CFStringCompare(cf(u"abc"), cf(u"abc"), 0), kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(cf(u"abc"), cf(u"abd"), 0), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(cf(u"abc"), cf(u"ab"), 0), kCFCompareGreaterThan);
    EXPECT_EQ(CFStringCompare(cf(u"ABC"), cf(u"abc"), 0), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(cf(u"\uFFFD"), cf(u"a"), 0), kCFCompareGreaterThan);
}

TEST(CFString, ComparesWithoutCaseWhenAsked)
{
    EXPECT_EQ(
        CFStringCompare(cf(u"UpdateInfo"), cf(u"UPDATEINFO"), kCFCompareCaseInsensitive), kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(cf(u"\u00C4\u0416"), cf(u"\u00E4\u0436"), kCFCompareCaseInsensitive),
        kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(cf(u"B"), cf(u"a"), kCFCompareCaseInsensitive), kCFCompareGreaterThan);
}

TEST(CFStringDeathTest, RefusesOtherWaysOfComparing)
{
    EXPECT_DEATH(CFStringCompare(cf(u"a"), cf(u"a"), 4), "failed assertion");
}

TEST(CFString, GivesTheIntegerItBeginsWith)
{
    EXPECT_EQ(CFStringGetIntValue(cf(u" -42px")), -42);
    EXPECT_EQ(CFStringGetIntValue(cf(u"px")), 0);
    EXPECT_EQ(CFStringGetIntValue(cf(u"99999999999")), 2147483647);
    EXPECT_EQ(CFStringGetIntValue(cf(u"-99999999999")), -2147483647 - 1);
}
