// Conversions between UTF-8 and UTF-16, paths, comparison without case, and leading integers.
#include "Platform/Support/Unicode.h"

#include <gtest/gtest.h>

namespace {

const std::u16string kReplacement(1, u'\xFFFD');

} // namespace

TEST(Unicode, WritesEachLengthOfUtf8AtItsEnds)
{
    EXPECT_EQ(utf8FromWide(u"\x01\x7F"), "\x01\x7F");
    EXPECT_EQ(utf8FromWide(u"\x80\x7FF"), "\xC2\x80\xDF\xBF");
    EXPECT_EQ(utf8FromWide(u"\x800\xFFFF"), "\xE0\xA0\x80\xEF\xBF\xBF");
    EXPECT_EQ(utf8FromWide(u"\U00010000\U0010FFFF"), "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
}

TEST(Unicode, ReadsEachLengthOfUtf8AtItsEnds)
{
    EXPECT_EQ(wideFromUtf8("\x01\x7F"), u"\x01\x7F");
    EXPECT_EQ(wideFromUtf8("\xC2\x80\xDF\xBF"), u"\x80\x7FF");
    EXPECT_EQ(wideFromUtf8("\xE0\xA0\x80\xEF\xBF\xBF"), u"\x800\xFFFF");
    EXPECT_EQ(wideFromUtf8("\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"), u"\U00010000\U0010FFFF");
}

TEST(Unicode, WritesALoneSurrogateAsTheReplacement)
{
    EXPECT_EQ(utf8FromWide(u"a\xD800"), "a\xEF\xBF\xBD");
    EXPECT_EQ(utf8FromWide(u"\xDC00z"), "\xEF\xBF\xBDz");
    EXPECT_EQ(utf8FromWide(u"\xD800\xD800\xDC00"), "\xEF\xBF\xBD\xF0\x90\x80\x80");
}

TEST(Unicode, ReadsEachInvalidByteAsTheReplacement)
{
    struct {
        const char* bytes;
        std::size_t replaced;
    } constexpr kCases[] = {{"\x80", 1}, {"\xC0\xAF", 2}, {"\xC1\xBF", 2}, {"\xE0\x9F\xBF", 3},
        {"\xF0\x8F\xBF\xBF", 4}, {"\xED\xA0\x80", 3}, {"\xED\xBF\xBF", 3}, {"\xF4\x90\x80\x80", 4},
        {"\xF5\x80", 2}, {"\xC3", 1}, {"\xE2\x82", 2}};
    for (const auto& each : kCases) {
        std::u16string expected = u"<";
        for (std::size_t i = 0; i < each.replaced; ++i)
            expected += kReplacement;
        EXPECT_EQ(wideFromUtf8(std::string("<") + each.bytes + ">"), expected + u">") << each.bytes;
        EXPECT_FALSE(isValidUtf8(each.bytes));
    }
    EXPECT_TRUE(isValidUtf8("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"));
    EXPECT_TRUE(isValidUtf8(""));
}

TEST(Unicode, PathFitsUpToItsBytesAndIsNeverCut)
{
    std::string path = "former";
    EXPECT_TRUE(pathFromWide(std::u16string(1023, u'x'), path));
    EXPECT_EQ(path.size(), 1023u);
    EXPECT_FALSE(pathFromWide(std::u16string(1024, u'x'), path));
    EXPECT_EQ(path, "");
    EXPECT_TRUE(pathFromWide(u"\u00E9", path, 2));
    EXPECT_EQ(path, "\xC3\xA9");
    EXPECT_FALSE(pathFromWide(u"\u00E9", path, 1));
}

TEST(Unicode, PathHoldsNothingThatAPathCannot)
{
    for (const std::u16string& text : {std::u16string(), std::u16string(u"a\0b", 3),
             std::u16string(u"a\xD800"), std::u16string(u"\xDC00")}) {
        std::string path = "former";
        EXPECT_FALSE(pathFromWide(text, path));
        EXPECT_EQ(path, "");
    }
}

TEST(Unicode, PathIsReadBackWholeOrNotAtAll)
{
    std::u16string wide;
    EXPECT_TRUE(wideFromPath("/a\xC3\xA9", wide));
    EXPECT_EQ(wide, u"/a\u00E9");
    EXPECT_FALSE(wideFromPath("/a\xC3", wide));
    EXPECT_EQ(wide, u"");
    EXPECT_TRUE(wideFromPath(std::string(1023, 'x'), wide));
    EXPECT_FALSE(wideFromPath(std::string(1024, 'x'), wide));
    EXPECT_EQ(wide, u"");
}

TEST(Unicode, ComparesWithoutCase)
{
    EXPECT_TRUE(equalIgnoringCase(u"UpdateInfo", u"UPDATEINFO"));
    EXPECT_TRUE(equalIgnoringCase(u"\u00C4\u00D6\u00DE \u0178", u"\u00E4\u00F6\u00FE \u0178"));
    EXPECT_TRUE(equalIgnoringCase(u"\u0100\u0136\u014A\u0139\u017D", u"\u0101\u0137\u014B\u013A\u017E"));
    EXPECT_TRUE(equalIgnoringCase(u"\u0391\u03A9 \u0401\u0416", u"\u03B1\u03C9 \u0451\u0436"));
    EXPECT_TRUE(equalIgnoringCase(u"\u0178", u"\u00FF"));
    EXPECT_TRUE(equalIgnoringCase(
        u"\u0386\u0388\u038A\u038C\u038E\u038F\u03AB", u"\u03AC\u03AD\u03AF\u03CC\u03CD\u03CE\u03CB"));
    EXPECT_TRUE(equalIgnoringCase(u"\u0400\u040F\u0410\u042F\u0490\u04BE\u04C0\u04C1\u04D0\u052E",
        u"\u0450\u045F\u0430\u044F\u0491\u04BF\u04CF\u04C2\u04D1\u052F"));
    EXPECT_TRUE(equalIgnoringCase(u"\u0218\u021A\u01A0\u01AF\u01CD", u"\u0219\u021B\u01A1\u01B0\u01CE"))
        << "Romanian, Vietnamese and Pinyin letters";
    EXPECT_TRUE(equalIgnoringCase(u"\u1E00\u1EA0\u1EBE\u1EFE", u"\u1E01\u1EA1\u1EBF\u1EFF"));
    EXPECT_TRUE(equalIgnoringCase(u"\u0531\u0556 \uFF21\uFF3A", u"\u0561\u0586 \uFF41\uFF5A"));
    EXPECT_FALSE(equalIgnoringCase(u"\u00DF", u"\u00FF")) << "sharp s has no capital";
    EXPECT_FALSE(equalIgnoringCase(u"\u0101", u"\u0102")) << "neighbours";
    EXPECT_FALSE(equalIgnoringCase(u"\u03C2", u"\u03A3")) << "the final sigma is a letter of its own";
    EXPECT_FALSE(equalIgnoringCase(u"\u00D7", u"\u00F7")) << "multiplication and division signs";
    EXPECT_FALSE(equalIgnoringCase(u"\u0130", u"\u0131")) << "dotted and dotless letter";
    EXPECT_FALSE(equalIgnoringCase(u"[", u"{"));
    EXPECT_FALSE(equalIgnoringCase(u"@", u"`"));
    EXPECT_FALSE(equalIgnoringCase(u"abc", u"ab"));
}

TEST(Unicode, OrdersWithoutCase)
{
    EXPECT_EQ(compareIgnoringCase(u"a", u"B"), -1);
    EXPECT_EQ(compareIgnoringCase(u"B", u"a"), 1);
    EXPECT_EQ(compareIgnoringCase(u"ab", u"A"), 1);
    EXPECT_EQ(compareIgnoringCase(u"", u"a"), -1);
    EXPECT_EQ(compareIgnoringCase(u"", u""), 0);
}

TEST(Unicode, ReadsTheIntegerThatATextBeginsWith)
{
    EXPECT_EQ(leadingInteger(u"42"), 42);
    EXPECT_EQ(leadingInteger(u"-7 apples"), -7);
    EXPECT_EQ(leadingInteger(u" \t\n+3.9"), 3);
    for (const std::u16string_view none : {u"", u" ", u"x1", u"-", u"+-1", u"- 1", u"\u0661"})
        EXPECT_EQ(leadingInteger(none), 0);
    EXPECT_EQ(leadingInteger(u"2147483647"), 2147483647);
    EXPECT_EQ(leadingInteger(u"2147483648"), 2147483647);
    EXPECT_EQ(leadingInteger(u"-2147483648"), -2147483647 - 1);
    EXPECT_EQ(leadingInteger(u"-2147483649"), -2147483647 - 1);
    EXPECT_EQ(leadingInteger(u"99999999999999999999999"), 2147483647);
}
