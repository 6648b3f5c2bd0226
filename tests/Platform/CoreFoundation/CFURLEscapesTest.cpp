// Percent escapes, and the way that every download's URL takes: resolved first, escaped again afterwards.
#include "Platform/CoreFoundation/CFURL.h"
#include "tests/Platform/CoreFoundation/CFText.h"

#include <gtest/gtest.h>

namespace {

std::u16string resolved(std::u16string_view text)
{
    return textOf(
        adoptCF(CFURLCreateStringByReplacingPercentEscapes(kCFAllocatorDefault, cf(text), cf(u""))));
}

std::u16string escaped(std::u16string_view text)
{
    return textOf(adoptCF(CFURLCreateStringByAddingPercentEscapes(
        kCFAllocatorDefault, cf(text), nullptr, nullptr, kCFStringEncodingUTF8)));
}

struct Case {
    const char* name;
    std::u16string text;
    std::u16string expected;
};

void PrintTo(const Case& each, std::ostream* out)
{
    *out << each.name;
}

std::string nameOf(const testing::TestParamInfo<Case>& info)
{
    return info.param.name;
}

} // namespace

class CFURLResolving : public testing::TestWithParam<Case> { };

TEST_P(CFURLResolving, GivesTheCharacters)
{
    EXPECT_EQ(resolved(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Texts, CFURLResolving,
    testing::Values(Case {"PlainTextStays", u"http://host/a b", u"http://host/a b"}, Case {"Empty", u"", u""},
        Case {"Blank", u"a%20b", u"a b"}, Case {"EitherCaseOfDigits", u"%c3%A9", u"\u00E9"},
        Case {"FourByteSequence", u"%F0%9F%98%80", u"\U0001F600"},
        Case {"UnescapedCharactersBeside", u"\u00E9%C3%A9\U0001F600", u"\u00E9\u00E9\U0001F600"},
        Case {"OnceOnly", u"%2541", u"%41"}, Case {"ReservedToo", u"%3F%26%2B%23%2F", u"?&+#/"},
        Case {"PlusIsNoBlank", u"a+b", u"a+b"}, Case {"Zero", u"%00", std::u16string(1, u'\0')},
        Case {"PercentAtTheEnd", u"100%", u"(null)"}, Case {"PercentBeforeText", u"50% off", u"(null)"},
        Case {"OneDigit", u"%4", u"(null)"}, Case {"NoHexadecimalDigit", u"%4G", u"(null)"},
        Case {"SignIsNoDigit", u"%+1", u"(null)"}, Case {"InvalidUtf8", u"%FF", u"(null)"},
        Case {"CutSequence", u"%C3", u"(null)"}, Case {"SequenceCompletedByText", u"%C3\u00A9", u"(null)"},
        Case {"EscapedSurrogate", u"%ED%A0%80", u"(null)"}, Case {"OverlongSlash", u"%C0%AF", u"(null)"},
        Case {"LoneSurrogate", u"a\xD800", u"(null)"}),
    nameOf);

class CFURLEscaping : public testing::TestWithParam<Case> { };

TEST_P(CFURLEscaping, EscapesWhatMayNotStandInAUrl)
{
    EXPECT_EQ(escaped(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Texts, CFURLEscaping,
    testing::Values(Case {"Empty", u"", u""}, Case {"UnreservedStay", u"AZaz09-._~", u"AZaz09-._~"},
        Case {"ReservedStayButNumberSignAndBrackets", u":/?#[]@!$&'()*+,;=", u":/?%23%5B%5D@!$&'()*+,;="},
        Case {
            "BracketsStayAroundAHost", u"http://u[@[::1]:80/[x]?[y]", u"http://u[@[::1]:80/%5Bx%5D?%5By%5D"},
        Case {"BracketsBeforeAQuery", u"http://[::1]?[", u"http://[::1]?%5B"},
        Case {"BracketsAtTheEndOfAHost", u"http://[::1]", u"http://[::1]"},
        Case {"BracketsWithoutAHost", u"a/[x://[", u"a/%5Bx://%5B"},
        Case {"Blank", u"http://host/a b", u"http://host/a%20b"}, Case {"PercentAlways", u"%20", u"%2520"},
        Case {"OtherAscii", u"\"<>\\^`{|}\x7F\t\n", u"%22%3C%3E%5C%5E%60%7B%7C%7D%7F%09%0A"},
        Case {"Zero", std::u16string(1, u'\0'), u"%00"},
        Case {"OutsideAsciiAsUtf8", u"\u00E9\u20AC", u"%C3%A9%E2%82%AC"},
        Case {"SurrogatePairAsOne", u"\U0001F600", u"%F0%9F%98%80"},
        Case {"LoneSurrogate", u"\xDC00", u"(null)"}),
    nameOf);

class CFURLPreparing : public testing::TestWithParam<Case> { };

TEST_P(CFURLPreparing, GivesAValidUrl)
{
    const std::u16string prepared = escaped(resolved(GetParam().text));
    EXPECT_EQ(prepared, GetParam().expected);
    EXPECT_TRUE(adoptCF(CFURLCreateWithString(kCFAllocatorDefault, cf(prepared), nullptr)));
}

INSTANTIATE_TEST_SUITE_P(Texts, CFURLPreparing,
    testing::Values(Case {"OneBlank", u"http://host/a b", u"http://host/a%20b"},
        Case {"EscapedBlankIsNotEscapedTwice", u"http://host/a%20b", u"http://host/a%20b"},
        Case {"BothAtOnce", u"http://host/a b%20c", u"http://host/a%20b%20c"},
        Case {"NonAscii", u"http://host/\u00E9", u"http://host/%C3%A9"},
        Case {"EscapedPercentStaysEscaped", u"http://host/%2541", u"http://host/%2541"},
        Case {"QueryStays", u"http://host/x?a=1&b=c+d", u"http://host/x?a=1&b=c+d"},
        Case {"AddressInBracketsStays", u"http://[::1]:8080/x", u"http://[::1]:8080/x"},
        Case {"EscapedNumberSignStaysEscaped", u"http://host/a%23b", u"http://host/a%23b"},
        Case {"NumberSignIsPartOfTheName", u"http://host/a#b", u"http://host/a%23b"},
        Case {"EscapedBracketsStayEscaped", u"http://host/a%5B1%5D", u"http://host/a%5B1%5D"},
        Case {"OtherReservedLoseTheirEscape", u"http://host/a%3Fb%26c", u"http://host/a?b&c"}),
    nameOf);

TEST(CFURLEscapesDeathTest, RefuseWhatTheyDoNotSupport)
{
    EXPECT_DEATH(CFURLCreateStringByReplacingPercentEscapes(nullptr, cf(u"a"), cf(u"/")), "failed assertion");
    EXPECT_DEATH(CFURLCreateStringByReplacingPercentEscapes(nullptr, cf(u"a"), nullptr), "failed assertion");
    const auto text = cf(u"a");
    EXPECT_DEATH(CFURLCreateStringByAddingPercentEscapes(nullptr, text, text, nullptr, kCFStringEncodingUTF8),
        "failed assertion");
    EXPECT_DEATH(CFURLCreateStringByAddingPercentEscapes(nullptr, text, nullptr, text, kCFStringEncodingUTF8),
        "failed assertion");
    EXPECT_DEATH(
        CFURLCreateStringByAddingPercentEscapes(nullptr, text, nullptr, nullptr, kCFStringEncodingMacRoman),
        "failed assertion");
}
