// The record of any installed bundle.
#include "Update/collect/AppIni.h"

#include "tests/support/BundleBuilder.h"
#include "tests/support/FileURL.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/stat.h>

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

/// A record read from a bundle that the test describes.
class CAppIniTest : public testing::Test {
protected:
    int parse(const BundleBuilder& bundle)
    {
        return m_record.Parse(folderURL(bundle.build(m_folder, "P.app")));
    }

    ScopedTempDir m_folder;
    CAppIni m_record;
};

std::u16string wide(std::size_t length, UniChar unit)
{
    return std::u16string(length, unit);
}

} // namespace

TEST_F(CAppIniTest, IsOfKindThree)
{
    EXPECT_EQ(m_record.kind(), 3);
}

TEST_F(CAppIniTest, NamesItsBundlesFolder)
{
    EXPECT_EQ(m_record.bundlePath(), "");
    ASSERT_EQ(m_record.Parse(folderURL(BundleBuilder().build(m_folder, "\xC3\xA4 100%.app"))), 1);
    EXPECT_EQ(m_record.bundlePath(), m_folder.at("\xC3\xA4 100%.app").string());
}

TEST_F(CAppIniTest, ReadsEveryKey)
{
    ASSERT_EQ(parse(BundleBuilder()
                        .name("Viewer")
                        .version("2.0.0.15")
                        .language("eng")
                        .site("http://127.0.0.1:8080")
                        .url("/u/")
                        .integer("servertimeout", 250)),
        1);
    EXPECT_EQ(m_record.productName(), u"Viewer"sv);
    EXPECT_EQ(m_record.version(), u"2.0.0.15"sv);
    EXPECT_EQ(m_record.language(), u"eng"sv);
    EXPECT_EQ(m_record.site(), u"http://127.0.0.1:8080"sv);
    EXPECT_EQ(m_record.url(), u"/u/"sv);
    EXPECT_EQ(m_record.getSerTimeout(), 250);
    EXPECT_EQ(m_record.xmlFileName(), u"Update_Viewer_2.0.0.15_eng_Mac.xml"sv);
}

TEST_F(CAppIniTest, KeepsTheBundlesURL)
{
    const CFRef url = folderURL(BundleBuilder().build(m_folder, "P.app"));
    ASSERT_EQ(m_record.Parse(url), 1);
    EXPECT_EQ(m_record.bundleURL(), url.get());
}

TEST_F(CAppIniTest, NamesDescriptorAfterExecutableWhenBundleHasNoName)
{
    ASSERT_EQ(parse(BundleBuilder().without("CFBundleName").executable("Foo").version("1.2")), 1);
    EXPECT_EQ(m_record.productName(), u"Foo"sv);
    EXPECT_EQ(m_record.xmlFileName(), u"Update_Foo_1.2_Mac.xml"sv);
}

TEST_F(CAppIniTest, PrefersTheNameToTheExecutable)
{
    ASSERT_EQ(parse(BundleBuilder().name("Bar").executable("Foo")), 1);
    EXPECT_EQ(m_record.productName(), u"Bar"sv);
}

TEST_F(CAppIniTest, HasNoNameWhenBundleHasNeither)
{
    ASSERT_EQ(parse(BundleBuilder().without("CFBundleName")), 1);
    EXPECT_EQ(m_record.productName(), u""sv);
    EXPECT_EQ(m_record.xmlFileName(), u"Update__1.0.0.0_Mac.xml"sv);
}

TEST_F(CAppIniTest, AbsentKeysTakeTheirDefaults)
{
    ASSERT_EQ(parse(BundleBuilder().without("CFBundleVersion")), 1);
    EXPECT_EQ(m_record.version(), u""sv);
    EXPECT_EQ(m_record.language(), u""sv);
    EXPECT_EQ(m_record.site(), kDefaultSite);
    EXPECT_EQ(m_record.url(), u"/downloads/newupdate/Velmora_Tandem/"sv);
    EXPECT_EQ(m_record.getSerTimeout(), 5000);
}

TEST_F(CAppIniTest, EmptySiteAndUrlAreNotAbsent)
{
    ASSERT_EQ(parse(BundleBuilder().site("").url("")), 1);
    EXPECT_EQ(m_record.site(), u""sv);
    EXPECT_EQ(m_record.url(), u""sv);
}

TEST_F(CAppIniTest, TakesAServerTimeoutOfZeroAsItIs)
{
    ASSERT_EQ(parse(BundleBuilder().integer("servertimeout", 0)), 1);
    EXPECT_EQ(m_record.getSerTimeout(), 0);
}

TEST_F(CAppIniTest, TakesANegativeServerTimeoutAsItIs)
{
    ASSERT_EQ(parse(BundleBuilder().integer("servertimeout", -1)), 1);
    EXPECT_EQ(m_record.getSerTimeout(), -1);
}

TEST_F(CAppIniTest, ReadsTheServerTimeoutAs32Bits)
{
    ASSERT_EQ(parse(BundleBuilder().integer("servertimeout", 5'000'000'000)), 1);
    EXPECT_EQ(m_record.getSerTimeout(), 2'147'483'647);
    ASSERT_EQ(parse(BundleBuilder().element("servertimeout", "<real>99.9</real>")), 1);
    EXPECT_EQ(m_record.getSerTimeout(), 99);
}

TEST_F(CAppIniTest, ValuesOfAnotherKindCountAsAbsent)
{
    ASSERT_EQ(parse(BundleBuilder()
                        .element("CFBundleName", "<integer>7</integer>")
                        .executable("Foo")
                        .element("CFBundleVersion", "<real>1.5</real>")
                        .element("language", "<true/>")
                        .element("site", "<array/>")
                        .element("url", "<dict/>")
                        .text("servertimeout", "9")),
        1);
    EXPECT_EQ(m_record.productName(), u"Foo"sv);
    EXPECT_EQ(m_record.version(), u""sv);
    EXPECT_EQ(m_record.language(), u""sv);
    EXPECT_EQ(m_record.site(), kDefaultSite);
    EXPECT_EQ(m_record.url(), kDefaultUrl);
    EXPECT_EQ(m_record.getSerTimeout(), 5000);
}

TEST_F(CAppIniTest, DoesNotReadTheRunMode)
{
    ASSERT_EQ(parse(BundleBuilder().text("runmode", "Silent")), 1);
    EXPECT_EQ(m_record.runMode(), u""sv);
}

TEST_F(CAppIniTest, FileNameTakesEveryCharacterAsItIs)
{
    ASSERT_EQ(parse(BundleBuilder().name("A b/\xC3\xA9%&").version("1 (2)").language("zh")), 1);
    EXPECT_EQ(m_record.xmlFileName(), u"Update_A b/\u00E9%&_1 (2)_zh_Mac.xml"sv);
}

TEST_F(CAppIniTest, CutsTextsThatAreTooLong)
{
    ASSERT_EQ(parse(BundleBuilder()
                        .name(std::string(1500, 'n'))
                        .version(std::string(64, 'v'))
                        .language(std::string(32, 'l'))
                        .site(std::string(1024, 's'))
                        .url(std::string(5000, 'u'))),
        1);
    EXPECT_EQ(m_record.productName(), wide(1023, u'n'));
    EXPECT_EQ(m_record.version(), wide(63, u'v'));
    EXPECT_EQ(m_record.language(), wide(31, u'l'));
    EXPECT_EQ(m_record.site(), wide(1023, u's'));
    EXPECT_EQ(m_record.url(), wide(1023, u'u'));
    EXPECT_EQ(m_record.xmlFileName(), u"Update_" + wide(1016, u'n'));
}

TEST_F(CAppIniTest, CutFileNameEndsWhereItWasCut)
{
    // One unit is free before the limit: half a pair does not go there, nor what comes after the pair.
    ASSERT_EQ(parse(BundleBuilder().name(std::string(1015, 'n') + "\xF0\x9F\x98\x80")), 1);
    EXPECT_EQ(m_record.xmlFileName(), u"Update_" + wide(1015, u'n'));
}

TEST_F(CAppIniTest, KeepsTheLongestTextsThatFit)
{
    ASSERT_EQ(parse(BundleBuilder().version(std::string(63, 'v')).language(std::string(31, 'l'))), 1);
    EXPECT_EQ(m_record.version(), wide(63, u'v'));
    EXPECT_EQ(m_record.language(), wide(31, u'l'));
}

TEST_F(CAppIniTest, AnswersZeroAndChangesNothingWithoutAnInfoPlist)
{
    ASSERT_EQ(parse(BundleBuilder().name("First")), 1);
    const CFURLRef url = m_record.bundleURL();
    EXPECT_EQ(m_record.Parse(folderURL(m_folder.makeFolder("empty"))), 0);
    EXPECT_EQ(m_record.Parse(folderURL(m_folder.at("gone"))), 0);
    EXPECT_EQ(m_record.productName(), u"First"sv);
    EXPECT_EQ(m_record.bundleURL(), url);
}

TEST_F(CAppIniTest, AnswersZeroForAnInfoPlistThatIsNoDictionary)
{
    m_folder.write("P.app/Contents/Info.plist", "<plist><string>x</string></plist>");
    EXPECT_EQ(m_record.Parse(folderURL(m_folder.at("P.app"))), 0);
    EXPECT_EQ(m_record.Parse(nullptr), 0);
}

TEST_F(CAppIniTest, AnswersZeroForAnInfoPlistThatIsNoFileOfASensibleSize)
{
    const std::filesystem::path bundle = BundleBuilder().build(m_folder, "P.app");
    const std::filesystem::path info = bundle / "Contents/Info.plist";
    std::filesystem::resize_file(info, std::uintmax_t {1} << 30);
    EXPECT_EQ(m_record.Parse(folderURL(bundle)), 0);
    std::filesystem::remove(info);
    ASSERT_EQ(::mkfifo(info.c_str(), 0600), 0);
    EXPECT_EQ(m_record.Parse(folderURL(bundle)), 0);
    std::filesystem::remove(info);
    std::filesystem::create_symlink("Info.plist", info);
    EXPECT_EQ(m_record.Parse(folderURL(bundle)), 0);
    std::filesystem::remove(info);
    std::filesystem::create_symlink("/dev/zero", info);
    EXPECT_EQ(m_record.Parse(folderURL(bundle)), 0);
    EXPECT_EQ(m_record.bundleURL(), nullptr);
}

TEST_F(CAppIniTest, AnswersZeroForAnInfoPlistThatDeclaresEntities)
{
    m_folder.write("P.app/Contents/Info.plist",
        "<!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">]>"
        "<plist><dict><key>CFBundleName</key><string>&b;</string></dict></plist>");
    EXPECT_EQ(m_record.Parse(folderURL(m_folder.at("P.app"))), 0);
}

TEST_F(CAppIniTest, ReadsAnInfoPlistInUTF16)
{
    const std::u16string text
        = u"\uFEFF<?xml version='1.0' encoding='UTF-16'?><plist><dict>"
          u"<key>CFBundleName</key><string>Caf\u00E9 \U0001F600</string></dict></plist>";
    std::string bytes;
    for (const UniChar unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    m_folder.write("P.app/Contents/Info.plist", bytes);
    ASSERT_EQ(m_record.Parse(folderURL(m_folder.at("P.app"))), 1);
    EXPECT_EQ(m_record.productName(), u"Caf\u00E9 \U0001F600"sv);
}

TEST_F(CAppIniTest, ReadsABinaryInfoPlistAndEndsTextsAtTheirFirstZero)
{
    // {"CFBundleName": "Foo\0Bar"}: the dictionary, its key and its value, where they begin, the trailer.
    const std::string list = "bplist00"s + "\xD1\x01\x02"s
        + "\x5C"
          "CFBundleName"s
        + "\x57"
          "Foo\0Bar"s
        + "\x08\x0B\x18"s + "\0\0\0\0\0\0\x01\x01"s + "\0\0\0\0\0\0\0\x03"s + "\0\0\0\0\0\0\0\0"s
        + "\0\0\0\0\0\0\0\x20"s;
    m_folder.write("P.app/Contents/Info.plist", list);
    ASSERT_EQ(m_record.Parse(folderURL(m_folder.at("P.app"))), 1);
    EXPECT_EQ(m_record.productName(), u"Foo"sv);
    EXPECT_EQ(m_record.xmlFileName(), u"Update_Foo__Mac.xml"sv);
}

TEST_F(CAppIniTest, LaterOfTwoEqualKeysCounts)
{
    m_folder.write("P.app/Contents/Info.plist",
        "<plist><dict><key>CFBundleVersion</key><string>1</string>"
        "<key>CFBundleVersion</key><string>2</string></dict></plist>");
    ASSERT_EQ(m_record.Parse(folderURL(m_folder.at("P.app"))), 1);
    EXPECT_EQ(m_record.version(), u"2"sv);
}

TEST_F(CAppIniTest, SecondParseReplacesEverything)
{
    ASSERT_EQ(parse(BundleBuilder().name("First").language("eng").integer("servertimeout", 1)), 1);
    const CFRef second = folderURL(BundleBuilder().name("Second").build(m_folder, "Q.app"));
    ASSERT_EQ(m_record.Parse(second), 1);
    EXPECT_EQ(m_record.productName(), u"Second"sv);
    EXPECT_EQ(m_record.language(), u""sv);
    EXPECT_EQ(m_record.getSerTimeout(), 5000);
    EXPECT_EQ(m_record.bundleURL(), second.get());
    EXPECT_EQ(m_record.xmlFileName(), u"Update_Second_1.0.0.0_Mac.xml"sv);
}

TEST_F(CAppIniTest, TellsTheHostProductByItsNameIgnoringCase)
{
    ASSERT_EQ(parse(BundleBuilder().name("VELMORA tandem")), 1);
    EXPECT_TRUE(m_record.isHostProduct());
    ASSERT_EQ(parse(BundleBuilder().name("Velmora Tandem 2")), 1);
    EXPECT_FALSE(m_record.isHostProduct());
}

TEST_F(CAppIniTest, DownloadBaseIsSiteAndUrl)
{
    ASSERT_EQ(parse(BundleBuilder().site("http://h").url("/p/")), 1);
    EXPECT_EQ(m_record.downloadBase(), u"http://h/p/"sv);
}

TEST_F(CAppIniTest, DownloadBaseIsCut)
{
    ASSERT_EQ(parse(BundleBuilder().site(std::string(1000, 's')).url(std::string(100, 'u'))), 1);
    EXPECT_EQ(m_record.downloadBase(), wide(1000, u's') + wide(23, u'u'));
}
