// The host application's own record.
#include "Update/collect/UpdateIni.h"

#include "tests/support/BundleBuilder.h"
#include "tests/support/FileURL.h"

#include <gtest/gtest.h>

#include <string_view>
using namespace std::string_view_literals;

namespace {

/// A record read from the main bundle that the test describes.
class CUpdateIniTest : public testing::Test {
protected:
    ~CUpdateIniTest() override { CFBundleSetMainBundle(nullptr); }

    int parse(const BundleBuilder& host)
    {
        CFBundleSetMainBundle(folderURL(host.build(m_folder, "Host.app")));
        return m_record.Parse();
    }

    ScopedTempDir m_folder;
    CUpdateIni m_record;
};

} // namespace

TEST_F(CUpdateIniTest, IsOfKindOne)
{
    EXPECT_EQ(m_record.kind(), 1);
}

TEST_F(CUpdateIniTest, AnswersZeroWithoutAMainBundle)
{
    CFBundleSetMainBundle(nullptr);
    EXPECT_EQ(m_record.Parse(), 0);
}

TEST_F(CUpdateIniTest, ReadsEveryKey)
{
    ASSERT_EQ(parse(BundleBuilder()
                        .version("2.0.0.15")
                        .language("eng")
                        .site("http://127.0.0.1:1")
                        .url("/u/")
                        .integer("servertimeout", 0)
                        .text("runmode", "Silent")),
        1);
    EXPECT_EQ(m_record.version(), u"2.0.0.15"sv);
    EXPECT_EQ(m_record.language(), u"eng"sv);
    EXPECT_EQ(m_record.site(), u"http://127.0.0.1:1"sv);
    EXPECT_EQ(m_record.url(), u"/u/"sv);
    EXPECT_EQ(m_record.getSerTimeout(), 0);
    EXPECT_EQ(m_record.runMode(), u"Silent"sv);
    EXPECT_EQ(m_record.xmlFileName(), u"Update_Velmora Tandem_2.0.0.15_eng_Mac.xml"sv);
}

TEST_F(CUpdateIniTest, IsAlwaysNamedVelmoraTandem)
{
    ASSERT_EQ(parse(BundleBuilder().name("Something Else").executable("Other").version("2.0.0.15")), 1);
    EXPECT_EQ(m_record.productName(), u"Velmora Tandem"sv);
    EXPECT_TRUE(m_record.isHostProduct());
    EXPECT_EQ(m_record.xmlFileName(), u"Update_Velmora Tandem_2.0.0.15_Mac.xml"sv);
}

TEST_F(CUpdateIniTest, AbsentKeysTakeTheirDefaults)
{
    ASSERT_EQ(parse(BundleBuilder().without("CFBundleVersion")), 1);
    EXPECT_EQ(m_record.runMode(), u"Interaction"sv);
    EXPECT_EQ(m_record.version(), u""sv);
    EXPECT_EQ(m_record.language(), u""sv);
    EXPECT_EQ(m_record.site(), kDefaultSite);
    EXPECT_EQ(m_record.url(), u"/downloads/newupdate/Velmora_Tandem/"sv);
    EXPECT_EQ(m_record.getSerTimeout(), 5000);
}

TEST_F(CUpdateIniTest, RunModeOfAnotherKindCountsAsAbsent)
{
    ASSERT_EQ(parse(BundleBuilder().integer("runmode", 1)), 1);
    EXPECT_EQ(m_record.runMode(), u"Interaction"sv);
}

TEST_F(CUpdateIniTest, KeepsTheHostBundlesURL)
{
    ASSERT_EQ(parse(BundleBuilder()), 1);
    const CFRef path = adoptCF(CFURLCopyFileSystemPath(m_record.bundleURL(), kCFURLPOSIXPathStyle));
    ASSERT_TRUE(path);
    EXPECT_EQ(std::u16string(CFStringGetView(path)), m_folder.at("Host.app").u16string());
}
