// Addresses and the URLs they become.
#include "Platform/Support/Unicode.h"
#include "Update/download/UrlRules.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Case {
    const char* name;
    std::u16string address;
    std::string url; ///< empty: no URL
};

class UrlRules : public ::testing::TestWithParam<Case> { };

} // namespace

TEST_P(UrlRules, AddressBecomesURL)
{
    const CFRef url = createDownloadURL(GetParam().address);
    if (GetParam().url.empty()) {
        EXPECT_FALSE(url);
        return;
    }
    ASSERT_TRUE(url);
    EXPECT_EQ(utf8FromWide(CFStringGetView(CFURLGetString(url))), GetParam().url);
}

INSTANTIATE_TEST_SUITE_P(Addresses, UrlRules,
    ::testing::Values(Case {"HostAndPathGetTheWebScheme", u"host/a", "http://host/a"},
        Case {"BlankIsEscaped", u"host/a b", "http://host/a%20b"},
        Case {"EscapedBlankIsNotEscapedTwice", u"host/a%20b", "http://host/a%20b"},
        Case {"EscapedAndBareMixed", u"host/a%20b c", "http://host/a%20b%20c"},
        Case {"WebSchemeStays", u"http://host/a", "http://host/a"},
        Case {"WebSchemeInAnyCaseStays", u"HtTp://host/a", "HtTp://host/a"},
        Case {"FileSchemeStays", u"file:///tmp/a b", "file:///tmp/a%20b"},
        Case {"FileSchemeInAnyCaseStays", u"FILE:///tmp/a", "FILE:///tmp/a"},
        Case {"SecureSchemeIsNotKnown", u"https://host/x", "http://https://host/x"},
        Case {"OtherSchemeIsNotKnown", u"ftp://host/x", "http://ftp://host/x"},
        Case {"SchemeWithOneSlashIsNotKnown", u"http:/host", "http://http:/host"},
        Case {"FileSchemeWithOneSlashIsNotKnown", u"file:/tmp", "http://file:/tmp"},
        Case {"WideTextIsEscapedAsUtf8", u"host/\u00fc\u4e2d", "http://host/%C3%BC%E4%B8%AD"},
        Case {"EscapedWideTextIsEscapedOnce", u"host/%C3%BC", "http://host/%C3%BC"},
        Case {"PairIsEscapedAsFourBytes", u"host/\U0001F600", "http://host/%F0%9F%98%80"},
        Case {"EscapedPercentStaysOneLevel", u"host/100%25", "http://host/100%25"},
        Case {"PlainLetterEscapeIsResolved", u"host/%41", "http://host/A"},
        Case {"QueryStays", u"host/a?b=c&d=e", "http://host/a?b=c&d=e"},
        Case {"NumberSignIsPartOfTheName", u"host/a #2.zip", "http://host/a%20%232.zip"},
        Case {"EscapedNumberSignStaysEscaped", u"host/a%20%232.zip", "http://host/a%20%232.zip"},
        Case {"BracketsAreEscapedButAroundAHost", u"[::1]:80/a[2].zip", "http://[::1]:80/a%5B2%5D.zip"},
        Case {"NameAndPasswordStay", u"http://user:p@host/a", "http://user:p@host/a"},
        Case {"EscapedZeroStaysEscaped", u"host/a%00b", "http://host/a%00b"},
        Case {"EscapedLineBreaksStayEscaped", u"host/a%0d%0ab", "http://host/a%0D%0Ab"},
        Case {"BarePercentIsNoAddress", u"host/100%", ""}, Case {"HalfEscapeIsNoAddress", u"host/%4", ""},
        Case {"NoHexIsNoAddress", u"host/%zz", ""}, Case {"BrokenUtf8IsNoAddress", u"host/%C3", ""},
        Case {"EmptyAddressIsTheBareScheme", u"", "http://"}),
    [](const auto& row) { return row.param.name; });
