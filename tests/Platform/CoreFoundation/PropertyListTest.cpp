// Property lists in XML, and the files that lists of either form are read from.
#include "tests/Platform/CoreFoundation/PropertyListSupport.h"
#include "tests/support/FileURL.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>

using namespace property_list;
using namespace std::string_literals;

namespace {

std::string nestedArrays(int levels)
{
    std::string list;
    for (int i = 0; i < levels; ++i)
        list += "<array>";
    for (int i = 0; i < levels; ++i)
        list += "</array>";
    return xml(list);
}

/// The list in a scratch file of those bytes.
Value readFile(std::string_view bytes)
{
    const ScopedTempDir folder;
    return adoptCF(CFPropertyListCreateFromFile(folderURL(folder.write("a.plist", bytes))));
}

} // namespace

TEST(XMLPropertyList, ReadsEachKind)
{
    EXPECT_TRUE(reads(xml("<string>a &amp; b</string>"), text(u"a & b")));
    EXPECT_TRUE(reads(xml("<integer>42</integer>"), integer(42)));
    EXPECT_TRUE(reads(xml("<real>1.5</real>"), real(1.5)));
    EXPECT_TRUE(reads(xml("<true/>"), boolean(true)));
    EXPECT_TRUE(reads(xml("<false></false>"), boolean(false)));
    EXPECT_TRUE(reads(xml("<date>2001-01-02T00:00:01Z</date>"), date(86'401)));
    EXPECT_TRUE(reads(xml("<data>aGVsbG8=</data>"), blob("hello")));
    EXPECT_TRUE(reads(xml("<array><true/><string>x</string></array>"), array({boolean(true), text(u"x")})));
    EXPECT_TRUE(
        reads(xml("<dict><key>k</key><integer>1</integer></dict>"), dictionary({{u"k", integer(1)}})));
}

TEST(XMLPropertyList, ReadsAWholeInfoPlist)
{
    const std::string list
        = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
          "<!DOCTYPE plist PUBLIC \"-//V//DTD PLIST 1.0//EN\" \"http://127.0.0.1:1/p.dtd\">\n"
          "<!-- made by hand -->\n"
          "<plist version=\"1.0\">\n<dict>\n\t<key>CFBundleName</key>\n\t<string>Caf\xC3\xA9</string>\n"
          "\t<key>nested</key>\n\t<dict><key>a</key><array/></dict>\n</dict>\n</plist>\n";
    EXPECT_TRUE(reads(list,
        dictionary({{u"CFBundleName", text(u"Caf\u00E9")}, {u"nested", dictionary({{u"a", array({})}})}})));
}

TEST(XMLPropertyList, EmptyElementsAreEmptyValues)
{
    EXPECT_TRUE(reads(xml("<string/>"), text(u"")));
    EXPECT_TRUE(reads(xml("<data/>"), blob("")));
    EXPECT_TRUE(reads(xml("<array/>"), array({})));
    EXPECT_TRUE(reads(xml("<dict/>"), dictionary({})));
    EXPECT_TRUE(reads(xml("<dict><key/><true/></dict>"), dictionary({{u"", boolean(true)}})));
}

TEST(XMLPropertyList, StringsKeepTheirBlanks)
{
    EXPECT_TRUE(reads(xml("<string> a\n </string>"), text(u" a\n ")));
    EXPECT_TRUE(reads(xml("<string> </string>"), text(u" ")));
}

TEST(XMLPropertyList, StringsJoinTextCdataAndWhatCommentsPart)
{
    EXPECT_TRUE(reads(xml("<string>a<!-- c -->b<![CDATA[<c>]]>&lt;<?p?>d</string>"), text(u"ab<c><d")));
}

TEST(XMLPropertyList, LaterOfTwoEqualKeysStays)
{
    EXPECT_TRUE(reads(
        xml("<dict><key>k</key><true/><key>k</key><false/></dict>"), dictionary({{u"k", boolean(false)}})));
}

TEST(XMLPropertyList, ReadsOtherEncodings)
{
    EXPECT_TRUE(reads(
        "<?xml version='1.0' encoding='windows-1252'?>" + xml("<string>\x80</string>"), text(u"\u20AC")));
}

struct TextCase {
    const char* name;
    std::string element;
    Value expected; ///< null: the list is refused
};

class XMLPropertyListValue : public testing::TestWithParam<TextCase> { };

TEST_P(XMLPropertyListValue, IsReadOrRefused)
{
    const Value value = read(xml(GetParam().element));
    ASSERT_EQ(value != nullptr, GetParam().expected != nullptr);
    EXPECT_TRUE(!value || CFEqual(value, GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(Integers, XMLPropertyListValue,
    testing::Values(TextCase {"Negative", "<integer>-7</integer>", integer(-7)},
        TextCase {"Plus", "<integer>+7</integer>", integer(7)},
        TextCase {"Blanks", "<integer> \n7\t</integer>", integer(7)},
        TextCase {"LeadingZeros", "<integer>007</integer>", integer(7)},
        TextCase {"Hexadecimal", "<integer>0xfF</integer>", integer(255)},
        TextCase {"NegativeHexadecimal", "<integer>-0X10</integer>", integer(-16)},
        TextCase {"Largest", "<integer>9223372036854775807</integer>", integer(9223372036854775807)},
        TextCase {
            "Least", "<integer>-9223372036854775808</integer>", integer(std::numeric_limits<SInt64>::min())},
        TextCase {"AboveTheLargest", "<integer>18446744073709551615</integer>", real(18446744073709551616.0)},
        TextCase {"BelowTheLeast", "<integer>-9223372036854775809</integer>", nullptr},
        TextCase {"FarTooLarge", "<integer>18446744073709551616</integer>", nullptr},
        TextCase {"Empty", "<integer></integer>", nullptr},
        TextCase {"SignAlone", "<integer>-</integer>", nullptr},
        TextCase {"TwoSigns", "<integer>--1</integer>", nullptr},
        TextCase {"Fraction", "<integer>1.5</integer>", nullptr},
        TextCase {"Letters", "<integer>12a</integer>", nullptr},
        TextCase {"InnerBlank", "<integer>1 2</integer>", nullptr},
        TextCase {"PrefixAlone", "<integer>0x</integer>", nullptr},
        TextCase {"FullWidthDigits", "<integer>\xEF\xBC\x91</integer>", nullptr}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Reals, XMLPropertyListValue,
    testing::Values(TextCase {"Exponent", "<real>-2.5e3</real>", real(-2500)},
        TextCase {"Plus", "<real>+0.5</real>", real(0.5)}, TextCase {"Whole", "<real> 3 </real>", real(3)},
        TextCase {"Infinity", "<real>inf</real>", real(std::numeric_limits<double>::infinity())},
        TextCase {
            "NegativeInfinity", "<real>-infinity</real>", real(-std::numeric_limits<double>::infinity())},
        TextCase {"Empty", "<real/>", nullptr}, TextCase {"Comma", "<real>1,5</real>", nullptr},
        TextCase {"TwoSigns", "<real>+-1</real>", nullptr},
        TextCase {"TooLarge", "<real>1e999</real>", nullptr},
        TextCase {"Letters", "<real>one</real>", nullptr}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Dates, XMLPropertyListValue,
    testing::Values(TextCase {"Epoch", "<date>2001-01-01T00:00:00Z</date>", date(0)},
        TextCase {"Before", "<date>2000-12-31T23:59:59Z</date>", date(-1)},
        // 1,096 days in 2001 to 2003 with 2004's January and February: 1,095 + 31 + 28 = 1,154.
        TextCase {"LeapDay", "<date>2004-02-29T12:30:15Z</date>", date(1154 * 86'400.0 + 45'015)},
        TextCase {"NoLeapDay", "<date>2003-02-29T00:00:00Z</date>", nullptr},
        TextCase {"MonthTooLarge", "<date>2003-13-01T00:00:00Z</date>", nullptr},
        TextCase {"DayZero", "<date>2003-01-00T00:00:00Z</date>", nullptr},
        TextCase {"HourTooLarge", "<date>2003-01-01T24:00:00Z</date>", nullptr},
        TextCase {"MinuteTooLarge", "<date>2003-01-01T00:60:00Z</date>", nullptr},
        TextCase {"SecondTooLarge", "<date>2003-01-01T00:00:60Z</date>", nullptr},
        TextCase {"NoZone", "<date>2003-01-01T00:00:00</date>", nullptr},
        TextCase {"Signs", "<date>2003--1-01T00:00:00Z</date>", nullptr},
        TextCase {"Empty", "<date/>", nullptr}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Data, XMLPropertyListValue,
    testing::Values(TextCase {"OneByte", "<data>AA==</data>", blob("\0"s)},
        TextCase {"TwoBytes", "<data>//8=</data>", blob("\xFF\xFF")},
        TextCase {"ThreeBytes", "<data>+/Az</data>", blob("\xFB\xF0\x33")},
        TextCase {"Blanks", "<data>\n\taGVs\r\n bG8 =\n</data>", blob("hello")},
        TextCase {"Unpadded", "<data>aGVsbG8</data>", nullptr},
        TextCase {"PaddedTooMuch", "<data>a===</data>", nullptr},
        TextCase {"PaddedInside", "<data>aG==bG8=</data>", nullptr},
        TextCase {"OtherCharacter", "<data>aGV-</data>", nullptr},
        TextCase {"OutsideAscii", "<data>aGV\xC3\xA9</data>", nullptr}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Structure, XMLPropertyListValue,
    testing::Values(TextCase {"NoValue", "", nullptr}, TextCase {"TwoValues", "<true/><true/>", nullptr},
        TextCase {"TextInThePlist", "x<true/>", nullptr},
        TextCase {"TextInADictionary", "<dict>x</dict>", nullptr},
        TextCase {"TextInAnArray", "<array>x</array>", nullptr},
        TextCase {"TextInTrue", "<true>1</true>", nullptr},
        TextCase {"KeyWithoutValue", "<dict><key>k</key></dict>", nullptr},
        TextCase {"ValueWithoutKey", "<dict><true/></dict>", nullptr},
        TextCase {"TwoKeys", "<dict><key>a</key><key>b</key><true/></dict>", nullptr},
        TextCase {"TwoValuesForAKey", "<dict><key>a</key><true/><true/></dict>", nullptr},
        TextCase {"KeyInAnArray", "<array><key>k</key></array>", nullptr},
        TextCase {"KeyAlone", "<key>k</key>", nullptr}, TextCase {"UnknownElement", "<set/>", nullptr},
        TextCase {"NameInAnotherCase", "<Dict/>", nullptr},
        TextCase {"ElementInAString", "<string><true/></string>", nullptr},
        TextCase {"ElementInAKey", "<dict><key><string/></key><true/></dict>", nullptr},
        TextCase {"PlistInside", "<plist><true/></plist>", nullptr},
        TextCase {"UnknownEntity", "<string>&e;</string>", nullptr},
        TextCase {"Unclosed", "<array>", nullptr}),
    [](const auto& test) { return test.param.name; });

TEST(XMLPropertyList, RefusesWhatIsNoPropertyList)
{
    for (const char* bytes : {"", " ", "hello", "<dict/>", "<html><body/></html>", "{ a = b; }", "<plist/>",
             "<!DOCTYPE plist [<!ENTITY e 'x'>]><plist><string>&e;</string></plist>", "bplist", "bplist01"})
        EXPECT_FALSE(read(bytes)) << bytes;
}

TEST(XMLPropertyList, ReadsUpTo512Levels)
{
    EXPECT_TRUE(read(nestedArrays(512)));
    EXPECT_FALSE(read(nestedArrays(513)));
    EXPECT_FALSE(read(nestedArrays(1'000'000)));
}

TEST(XMLPropertyList, ReadsUpToAMillionValues)
{
    std::string elements;
    for (int i = 0; i < 333'333; ++i)
        elements += "<true/><true/><true/>";
    EXPECT_TRUE(read(xml("<array>" + elements + "</array>")));
    EXPECT_FALSE(read(xml("<array>" + elements + "<true/></array>")));
}

TEST(XMLPropertyList, CountsKeysAsValues)
{
    std::string elements;
    for (int i = 0; i < 500'000; ++i)
        elements += "<key/><true/>";
    EXPECT_FALSE(read(xml("<dict>" + elements + "</dict>")));
}

TEST(PropertyListFile, ReadsBothForms)
{
    const Value xmlValue = readFile(xml("<string>x</string>"));
    ASSERT_TRUE(xmlValue);
    EXPECT_TRUE(CFEqual(xmlValue, text(u"x")));
    const Value binaryValue = readFile(BinaryList().object("\x51x").bytes());
    ASSERT_TRUE(binaryValue);
    EXPECT_TRUE(CFEqual(binaryValue, text(u"x")));
}

TEST(PropertyListFile, FollowsASymbolicLink)
{
    const ScopedTempDir folder;
    const auto file = folder.write("a.plist", xml("<true/>"));
    std::filesystem::create_symlink(file, folder.at("link"));
    EXPECT_TRUE(adoptCF(CFPropertyListCreateFromFile(folderURL(folder.at("link")))));
}

TEST(PropertyListFile, IsNullForWhatIsNoReadableFile)
{
    const ScopedTempDir folder;
    ASSERT_EQ(::mkfifo(folder.at("pipe").c_str(), 0600), 0);
    EXPECT_EQ(CFPropertyListCreateFromFile(folderURL(folder.at("pipe"))), nullptr);
    EXPECT_EQ(CFPropertyListCreateFromFile(folderURL(folder.at("gone"))), nullptr);
    EXPECT_EQ(CFPropertyListCreateFromFile(folderURL(folder.path())), nullptr);
    EXPECT_EQ(CFPropertyListCreateFromFile(folderURL("/dev/zero")), nullptr);
    EXPECT_EQ(CFPropertyListCreateFromFile(nullptr), nullptr);
    EXPECT_FALSE(readFile(""));
}

TEST(PropertyListFile, IsNullForMoreThan64MiB)
{
    std::string list = xml("<true/>");
    list.resize(64 * 1024 * 1024, ' ');
    EXPECT_TRUE(readFile(list));
    EXPECT_FALSE(readFile(list + " "));
}

TEST(PropertyListFile, TakesNoMemoryForAFileThatIsTooLarge)
{
    const ScopedTempDir folder;
    const auto file = folder.write("a.plist", xml("<true/>"));
    std::filesystem::resize_file(file, std::uintmax_t {1} << 40);
    EXPECT_EQ(CFPropertyListCreateFromFile(folderURL(file)), nullptr);
}
