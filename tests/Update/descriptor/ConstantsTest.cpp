// The constants of a descriptor and their substitution.
#include "Update/descriptor/Constants.h"

#include "tests/Update/descriptor/ParsedTree.h"

#include <gtest/gtest.h>

#include <random>

using namespace std::string_view_literals;

namespace {

CConstants parsed(std::string_view block)
{
    CConstants constants;
    EXPECT_EQ(constants.ParseConstants(ParsedTree(block).root()), 1);
    return constants;
}

std::u16string mapped(const CConstants& constants, const UniChar* text)
{
    WideText dest;
    EXPECT_EQ(constants.MappingConstants(dest, text), 1);
    return std::u16string(dest.view());
}

std::u16string replaced(std::u16string_view text, std::u16string_view find, std::u16string_view replacement)
{
    WideText buffer(text);
    (void)StrRplace(buffer, find, replacement);
    return std::u16string(buffer.view());
}

} // namespace

TEST(CConstants, StartsEmpty)
{
    EXPECT_TRUE(CConstants().items().empty());
}

TEST(CConstants, RefusesAnElementOfAnotherNameAndAddsNothing)
{
    CConstants constants;
    EXPECT_EQ(
        constants.ParseConstants(ParsedTree("<GENERAL><constant name='a' value='b'/></GENERAL>").root()), 0);
    EXPECT_EQ(constants.ParseConstants(nullptr), 0);
    EXPECT_TRUE(constants.items().empty());
}

TEST(CConstants, ReadsConstantsInDocumentOrder)
{
    const CConstants constants = parsed("<CONSTANTS><constant name='%a%' value='1'/><constant name='%b%' "
                                        "value='2'/><constant name='%a%' value='3'/></CONSTANTS>");
    ASSERT_EQ(constants.items().size(), 3U);
    EXPECT_EQ(constants.items()[0].name, u"%a%"sv);
    EXPECT_EQ(constants.items()[0].value, u"1"sv);
    EXPECT_EQ(constants.items()[1].name, u"%b%"sv);
    EXPECT_EQ(constants.items()[1].value, u"2"sv);
    EXPECT_EQ(constants.items()[2].name, u"%a%"sv);
    EXPECT_EQ(constants.items()[2].value, u"3"sv);
}

TEST(CConstants, IgnoresCaseOfElementNames)
{
    const CConstants constants = parsed("<constants><CONSTANT name='%a%' value='1'/></constants>");
    EXPECT_EQ(mapped(constants, u"%a%"), u"1"sv);
}

TEST(CConstants, HeedsCaseOfAttributeNames)
{
    const CConstants constants = parsed("<CONSTANTS><constant name='%a%' Value='1'/></CONSTANTS>");
    EXPECT_EQ(mapped(constants, u"[%a%]"), u"[]"sv);
}

TEST(CConstants, SkipsChildrenThatAreNoConstants)
{
    const CConstants constants
        = parsed("<CONSTANTS><constant/><other name='%a%' value='1'/><!--constant-->constant</CONSTANTS>");
    EXPECT_TRUE(constants.items().empty());
}

TEST(CConstants, AddsSeveralBlocksToOneTable)
{
    CConstants constants = parsed("<CONSTANTS><constant name='%a%' value='1'/></CONSTANTS>");
    EXPECT_EQ(constants.ParseConstants(
                  ParsedTree("<CONSTANTS><constant name='%b%' value='2'/></CONSTANTS>").root()),
        1);
    EXPECT_EQ(mapped(constants, u"%a%%b%"), u"12"sv);
}

TEST(CConstants, StoresNamesAndValuesUnsubstituted)
{
    const CConstants constants = parsed("<CONSTANTS><constant name='%a%' value='1'/><constant name='%b%' "
                                        "value='%a%'/></CONSTANTS>");
    EXPECT_EQ(constants.items()[1].value, u"%a%"sv);
}

TEST(CConstants, SubstitutesEmptyTextForAConstantWithoutValue)
{
    EXPECT_EQ(mapped(parsed("<CONSTANTS><constant name='%a%'/></CONSTANTS>"), u"x%a%y"), u"xy"sv);
}

TEST(CConstants, KeepsButNeverSubstitutesAConstantWithoutName)
{
    const CConstants constants = parsed("<CONSTANTS><constant value='1'/></CONSTANTS>");
    ASSERT_EQ(constants.items().size(), 1U);
    EXPECT_EQ(mapped(constants, u"text"), u"text"sv);
    EXPECT_EQ(mapped(constants, u""), u""sv);
}

TEST(CConstants, ExpandsLaterConstantsInAValue)
{
    const CConstants constants = parsed("<CONSTANTS><constant name='%a%' value='x%b%'/><constant name='%b%' "
                                        "value='y'/></CONSTANTS>");
    EXPECT_EQ(mapped(constants, u"%a%"), u"xy"sv);
}

TEST(CConstants, LeavesEarlierConstantsInAValue)
{
    const CConstants constants = parsed("<CONSTANTS><constant name='%b%' value='y'/><constant name='%a%' "
                                        "value='x%b%'/></CONSTANTS>");
    EXPECT_EQ(mapped(constants, u"%a%"), u"x%b%"sv);
}

TEST(CConstants, ExpandsAValueThatHoldsItsOwnNameOnce)
{
    const CConstants constants = constantsWith(u"%a%", u"[%a%]");
    EXPECT_EQ(mapped(constants, u"%a%%a%"), u"[%a%][%a%]"sv);
}

TEST(CConstants, HeedsCaseWhenSubstituting)
{
    EXPECT_EQ(mapped(constantsWith(u"%app%", u"/A"), u"%APP%"), u"%APP%"sv);
}

TEST(CConstants, UsesTheFirstOfTwoConstantsOfOneName)
{
    const CConstants constants = parsed("<CONSTANTS><constant name='%a%' value='1'/><constant name='%a%' "
                                        "value='2'/></CONSTANTS>");
    EXPECT_EQ(mapped(constants, u"%a%"), u"1"sv);
}

TEST(CConstants, LeavesUnknownNamesInTheText)
{
    EXPECT_EQ(mapped(constantsWith(u"%a%", u"1"), u"%unknown%/%a%"), u"%unknown%/1"sv);
}

TEST(CConstants, LeavesTheDestinationAloneForANullText)
{
    WideText dest(u"kept");
    EXPECT_EQ(CConstants().MappingConstants(dest, nullptr), 0);
    EXPECT_EQ(dest, u"kept"sv);
}

TEST(CConstants, MapsATextWithinItsOwnBuffer)
{
    WideText text(u"ab%a%");
    EXPECT_EQ(constantsWith(u"%a%", u"1").MappingConstants(text, text.c_str() + 1), 1);
    EXPECT_EQ(text, u"b1"sv);
}

TEST(CConstants, KnowsNoMeaningOfPercentSigns)
{
    EXPECT_EQ(mapped(constantsWith(u"%app%", u"/A"), u"%%app%%"), u"%/A%"sv);
    EXPECT_EQ(mapped(constantsWith(u"%app%", u"/A"), u"%app%app%"), u"/Aapp%"sv);
    EXPECT_EQ(mapped(constantsWith(u"%%", u"%"), u"100%%%"), u"100%%"sv);
    EXPECT_EQ(mapped(constantsWith(u"app", u"/A"), u"%app%"), u"%/A%"sv);
    EXPECT_EQ(mapped(constantsWith(u" ", u""), u" a b "), u"ab"sv);
}

TEST(CConstants, ReplacesInsideOfALongerWord)
{
    EXPECT_EQ(mapped(constantsWith(u"aba", u"x"), u"ababa"), u"xba"sv);
    EXPECT_EQ(mapped(constantsWith(u"aab", u"x"), u"aaab"), u"ax"sv);
}

TEST(CConstants, ReplacesAtBothEndsOfAFullBuffer)
{
    const std::u16string middle(1017, u'm');
    const CConstants constants = constantsWith(u"%a%", u"bcd");
    EXPECT_EQ(mapped(constants, (u"%a%" + middle + u"%a%").c_str()), u"bcd" + middle + u"bcd");
    EXPECT_EQ(constants.mappedPath(u"%a%" + middle + u"%a%").view(), u"bcd" + middle + u"bcd");
}

TEST(CConstants, CutsATextBeforeItSubstitutes)
{
    // The name begins at the last unit that fits.
    const std::u16string text = std::u16string(1022, u'm') + u"%a%";
    EXPECT_EQ(mapped(constantsWith(u"%a%", u""), text.c_str()), std::u16string(1022, u'm') + u"%");
    EXPECT_EQ(constantsWith(u"%a%", u"").mappedText(text).view(), std::u16string(1022, u'm') + u"%");
}

TEST(CConstants, KeepsSurrogatePairsWhole)
{
    EXPECT_EQ(mapped(constantsWith(u"%\U0001F600%", u"\U0001F601"), u"a%\U0001F600%b"), u"a\U0001F601b"sv);
    const std::u16string text = std::u16string(1020, u'm') + u"%a%";
    EXPECT_EQ(mapped(constantsWith(u"%a%", u"mm\U0001F600"), text.c_str()), std::u16string(1022, u'm'));
    EXPECT_EQ(mapped(constantsWith(u"%a%", u"m\U0001F600"), text.c_str()),
        std::u16string(1021, u'm') + u"\U0001F600");
}

TEST(CConstants, ReadsTextsAsTheDocumentMeansThem)
{
    const CConstants constants = parsed(
        "<CONSTANTS><constant name=\"&#37;a&amp;b&#x25;\" value='&lt;\xC3\xA9&quot;\n&#9;\xF0\x9F\x98\x80'/>"
        "</CONSTANTS>");
    // A line break in an attribute is a blank; one that is written as a reference stays.
    EXPECT_EQ(mapped(constants, u"%a&b%"), u"<\u00E9\" \t\U0001F600"sv);
}

TEST(CConstants, ReadsTheNodesOfABlockWithAttributesOfItsOwn)
{
    const CConstants constants = parsed(
        "<CONSTANTS a='b'><constant name='%a%' value='1' extra='x'>text<constant name='%b%' value='2'/>"
        "</constant></CONSTANTS>");
    ASSERT_EQ(constants.items().size(), 1U);
    EXPECT_EQ(mapped(constants, u"%a%%b%"), u"1%b%"sv);
}

TEST(CConstants, CutsAnOverlongResultAt1023Units)
{
    const CConstants constants = constantsWith(u"%a%", std::u16string(1000, u'v'));
    EXPECT_EQ(mapped(constants, u"%a%%a%"), std::u16string(1023, u'v'));
    EXPECT_EQ(constants.mappedText(u"%a%%a%").view(), std::u16string(1023, u'v'));
}

TEST(CConstants, CutsOverlongNamesAndValuesAt1023Units)
{
    const std::string text(1'000'000, 'n');
    const CConstants constants
        = parsed("<CONSTANTS><constant name='" + text + "' value='" + text + "'/></CONSTANTS>");
    EXPECT_EQ(constants.items()[0].name.size(), 1023U);
    EXPECT_EQ(constants.items()[0].value.size(), 1023U);
}

TEST(CConstants, MapsAPathThatFitsJustSo)
{
    const CConstants constants = constantsWith(u"%a%", u"/" + std::u16string(1000, u'v'));
    const std::u16string rest(22, u'r');
    EXPECT_EQ(constants.mappedPath(u"%a%" + rest).view(), u"/" + std::u16string(1000, u'v') + rest);
}

TEST(CConstants, MapsAPathThatDoesNotFitToNothing)
{
    const CConstants constants = constantsWith(u"%a%", u"/" + std::u16string(1000, u'v'));
    EXPECT_TRUE(constants.mappedPath(u"%a%" + std::u16string(23, u'r')).empty());
    EXPECT_TRUE(constants.mappedPath(std::u16string(1024, u'r')).empty());
}

TEST(CConstants, MapsAPathWithACutValueToNothing)
{
    const CConstants constants
        = parsed("<CONSTANTS><constant name='%a%' value='/" + std::string(1100, 'v') + "'/></CONSTANTS>");
    EXPECT_TRUE(constants.mappedPath(u"%a%").empty());
    EXPECT_EQ(constants.mappedPath(u"/other").view(), u"/other"sv);
}

TEST(CConstants, DefinesNoMoreThanItsLimit)
{
    std::string block = "<CONSTANTS>";
    for (std::size_t i = 0; i < kMaxDescriptorConstants + 10; ++i)
        block += "<constant name='%c" + std::to_string(i) + "%' value='1'/>";
    const CConstants constants = parsed(block + "</CONSTANTS>");
    EXPECT_EQ(constants.items().size(), 4096U);
    EXPECT_EQ(mapped(constants, u"%c4095%"), u"1"sv);
    EXPECT_EQ(mapped(constants, u"%c4096%"), u"%c4096%"sv);
}

TEST(CConstants, StopsSubstitutingWhenNothingIsLeftToSpend)
{
    CConstants constants = constantsWith(u"%a%", u"b");
    EXPECT_EQ(constants.unitsLeft(), 4'294'967'296U);
    EXPECT_EQ(constants.mappedText(u"%a%").view(), u"b"sv);
    EXPECT_EQ(constants.mappedPath(u"/%a%").view(), u"/b"sv);
    constants.setUnitsLeft(0);
    EXPECT_EQ(constants.mappedText(u"%a%").view(), u"%a%"sv);
    EXPECT_TRUE(constants.mappedPath(u"/%a%").empty());
    EXPECT_TRUE(constants.mappedPath(u"/other").empty());
}

TEST(CConstants, StopsInTheMiddleOfATextRatherThanSearchOn)
{
    CConstants constants = constantsWith(u"%a%", u"%b%");
    tagStrCon later;
    later.name = WideText(u"%b%");
    later.value = WideText(u"c");
    constants.AddItem(later);
    constants.setUnitsLeft(100); // less than one replacement
    EXPECT_EQ(mapped(constants, u"%a%"), u"%b%"sv);
    EXPECT_TRUE(constants.mappedPath(u"%a%").empty());
}

TEST(CConstants, CountsEveryUnitThatIsCompared)
{
    // At each of 523 places the first 500 units agree: some 260,000 units for one search.
    CConstants constants = constantsWith(u"%%%%%%%%%%" + std::u16string(490, u'%') + u"a", u"b");
    constants.setUnitsLeft(1'000'000);
    const std::u16string text(1023, u'%');
    EXPECT_EQ(constants.mappedPath(text).view(), text);
    EXPECT_EQ(constants.mappedPath(text).view(), text);
    EXPECT_EQ(constants.mappedPath(text).view(), text);
    EXPECT_TRUE(constants.mappedPath(text).empty());
}

TEST(CConstants, CountsLongNamesAndReplacements)
{
    CConstants names;
    tagStrCon item;
    item.name = WideText(std::u16string(1023, u'n'));
    for (int i = 0; i < 100; ++i)
        names.AddItem(item);
    names.setUnitsLeft(100'000);
    EXPECT_TRUE(names.mappedPath(u"/short").empty());

    const CConstants replacing = constantsWith(u"%a%", u"b");
    const UInt64 before = replacing.unitsLeft();
    EXPECT_EQ(replacing.mappedPath(u"%a%").view(), u"b"sv);
    EXPECT_GT(before - replacing.unitsLeft(), 1024U);
}

TEST(StrRplace, ReplacesEveryOccurrence)
{
    EXPECT_EQ(replaced(u"a-b-c", u"-", u"+"), u"a+b+c"sv);
    EXPECT_EQ(replaced(u"%x%", u"%x%", u""), u""sv);
    EXPECT_EQ(replaced(u"aXa", u"a", u"long"), u"longXlong"sv);
}

TEST(StrRplace, GoesOnBehindTheReplacement)
{
    EXPECT_EQ(replaced(u"aaaa", u"aa", u"a"), u"aa"sv);
    EXPECT_EQ(replaced(u"aaa", u"aa", u"b"), u"ba"sv);
}

TEST(StrRplace, DoesOneReplacementAfterTheOther)
{
    // Texts of two letters, in which names overlap themselves and each other, against the rule step by step.
    std::minstd_rand random;
    const auto letters = [&](std::size_t most) {
        std::u16string text(random() % (most + 1), u'a');
        for (char16_t& letter : text)
            letter = random() % 2 == 0 ? u'a' : u'b';
        return text;
    };
    for (int round = 0; round < 20'000; ++round) {
        const std::u16string text = letters(24);
        const std::u16string find = letters(3) + u"a";
        const std::u16string replacement = letters(5);
        std::u16string expected = text;
        for (std::size_t at = expected.find(find); at != std::u16string::npos; at = expected.find(find, at)) {
            expected = expected.substr(0, at) + replacement + expected.substr(at + find.size());
            at += replacement.size();
        }
        ASSERT_EQ(replaced(text, find, replacement), expected) << round;
    }
}

TEST(StrRplace, TrimsAndFoldsNothing)
{
    EXPECT_EQ(replaced(u"% a%", u"%a%", u"1"), u"% a%"sv);
    EXPECT_EQ(replaced(u"%A%", u"%a%", u"1"), u"%A%"sv);
}

TEST(StrRplace, ChangesNothingForAnEmptyPattern)
{
    WideText text(u"text");
    EXPECT_EQ(StrRplace(text, u"", u"1"), Replaced::Nothing);
    EXPECT_EQ(text, u"text"sv);
}

TEST(StrRplace, SaysWhetherTheResultWasCut)
{
    WideText text(std::u16string(1023, u'a'));
    EXPECT_EQ(StrRplace(text, u"a", u"b"), Replaced::Whole);
    EXPECT_EQ(text.view(), std::u16string(1023, u'b'));
    EXPECT_EQ(StrRplace(text, u"b", u"cc"), Replaced::Cut);
    EXPECT_EQ(text.view(), std::u16string(1023, u'c'));
}
