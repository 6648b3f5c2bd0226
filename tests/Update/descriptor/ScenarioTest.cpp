// Whole descriptors, as a publisher might write them: everything that is left of them, worked out by hand.
#include "Platform/Support/Unicode.h"
#include "tests/Update/descriptor/Suite.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;
namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

constexpr std::string_view kTop = R"(<?xml version="1.0"?>
<!DOCTYPE UPDATEINFO SYSTEM "update.dtd">
<!-- UPDATEINFO -->
<UpdateInfo made="by hand">
  <GENERAL><TYPE>common</TYPE><VERSION>%next%</VERSION><SHOWERRORS>true</SHOWERRORS></GENERAL>
  <SECTIONS>
    <SECTION section="1" version="2.1" location="%app%/Contents/%plug%"/>
    <SECTION section="2" version="0" location="%app%/Contents/Gone%ext%"/>
  </SECTIONS>
  <CONSTANTS>
    <constant name="%next%" value="1,1"/>
    <constant name="%plug%" value="Plug%ext%"/>
    <constant name="%ext%" value=".bundle"/>
  </CONSTANTS>
  <REGISTRY><FILES><FILE name="never"/></FILES></REGISTRY>
  <FILES>
    <FILE name="notes" size="12">
      <action type="download">
        <destination>%updatertemp%/notes%ext%</destination>
        <location>n%ext%</location>
      </action>
    </FILE>
    <FILE name="TOP" check="VERSION" version="%next%" size="1"/>
    <FILE name="TOP" check="VERSION" version="1,1" size="007" title="Top &amp; more %ext%"/>
    <FILE name="broken" check="version"/>
  </FILES>
  <GENERAL>
    <VERSION>%next%</VERSION><TYPE>nonsense</TYPE><CLOSEAPPLICATION>restartSYSTEM</CLOSEAPPLICATION>
  </GENERAL>
  <DEPENDENCIES>
    <DEPENDENCY type="Common" version="1.5" location="%VelCommon%/Velmora Common%ext%"/>
  </DEPENDENCIES>
</UpdateInfo>)";

constexpr std::string_view kCommon
    = "<UPDATEINFO><FILES><FILE name='velmora common' check='version' version='1.5'/><FILE name='extra'>"
      "<action type='download'><location>%next%.zip</location></action></FILE></FILES>"
      "<GENERAL><TYPE>Section</TYPE></GENERAL></UPDATEINFO>";

constexpr std::string_view kPlug
    = "<UPDATEINFO><GENERAL><TYPE>app</TYPE></GENERAL>"
      "<FILES><FILE name='Plug' check='version' version='2.1.0.5'/></FILES></UPDATEINFO>";

/// The product on top, a common bundle among the machine's frameworks, and one inside of the product's own.
class InstalledSuite : public testing::Test {
protected:
    void installAll(const std::string& common, const std::string& plug) const
    {
        install("Velmora Common", common, "root/Library/Frameworks/Velmora Common.bundle", kCommon);
        install("Plug", plug, "apps/Top.bundle/Contents/Plug.bundle", kPlug);
    }

    Suite m_suite;

private:
    void install(const std::string& name, const std::string& version, const std::string& place,
        std::string_view descriptor) const
    {
        const ScopedTempDir& folder = m_suite.home().folder();
        (void)BundleBuilder()
            .name(name)
            .version(version)
            .site("file://" + folder.at("site").string())
            .url("/")
            .build(folder, place);
        (void)folder.write("site/Update_" + name + "_" + version + "_Mac.xml", descriptor);
    }
};

std::string utf16Bytes(std::u16string_view text, bool bigEndian)
{
    std::string bytes;
    for (const char16_t unit : text) {
        const char high = static_cast<char>(unit >> 8);
        const char low = static_cast<char>(unit & 0xFF);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

/// A descriptor of the product "Spaeth", written with an a umlaut of those bytes.
std::string descriptorOfSpaeth(std::string_view encoding, std::string_view umlaut)
{
    return "<?xml version='1.0' encoding='" + std::string(encoding) + "'?><UPDATEINFO><FILES><FILE name='Sp"
        + std::string(umlaut) + "th' check='version' version='2' title='" + std::string(umlaut)
        + "'/></FILES></UPDATEINFO>";
}

} // namespace

TEST_F(InstalledSuite, OffersWhatEveryDescriptorHasNew)
{
    installAll("1.4", "2.0");
    const auto interpreter = m_suite.load(kTop);
    ASSERT_TRUE(m_suite.parse(*interpreter));
    EXPECT_EQ(interpreter->status(), 1);
    EXPECT_EQ(namesOf(*interpreter), (Names {"velmora common", "extra", "notes", "TOP", "TOP", "Plug"}));
    std::vector<SInt32> owners;
    std::vector<SInt32> marks;
    for (const auto& file : interpreter->filesToUpdate()) {
        owners.push_back(file->ownerCode());
        marks.push_back(file->mark());
    }
    EXPECT_EQ(owners, (std::vector<SInt32> {2, 2, 5, 5, 5, 3}));
    EXPECT_EQ(marks, (std::vector<SInt32> {1, 1, 0, 0, 0, 0}));
    EXPECT_FALSE(fs::exists(m_suite.workFolder()));
}

TEST_F(InstalledSuite, ReadsTheGeneralSectionsInTheirOrder)
{
    installAll("1.4", "2.0");
    const auto interpreter = m_suite.load(kTop);
    ASSERT_TRUE(m_suite.parse(*interpreter));
    EXPECT_EQ(interpreter->general().version, (Version {1, 1, 0, 0}));
    EXPECT_EQ(interpreter->general().descriptorType, 5);
    EXPECT_EQ(interpreter->general().closeApplication, 3);
    EXPECT_EQ(interpreter->general().showErrors, 1);
}

TEST_F(InstalledSuite, ReadsEveryFilesFields)
{
    installAll("1.4", "2.0");
    const auto interpreter = m_suite.load(kTop);
    ASSERT_TRUE(m_suite.parse(*interpreter));
    const auto& files = interpreter->filesToUpdate();
    ASSERT_EQ(files.size(), 6U);
    EXPECT_EQ(files[2]->size(), 12);
    EXPECT_TRUE(files[2]->IsWebURLInDownload(u"http://top/n.bundle"));
    EXPECT_EQ(files[2]->GetActionByType(0)->destination().view(),
        (m_suite.workFolder() / "notes.bundle").u16string());
    EXPECT_EQ(files[3]->version(), (Version {0, 0, 0, 0})) << "a file's version is not substituted";
    EXPECT_EQ(files[4]->version(), (Version {1, 1, 0, 0}));
    EXPECT_EQ(files[4]->size(), 7);
    EXPECT_EQ(files[4]->title(), u"Top & more %ext%"sv);
    // The child does not know its parent's constants.
    const std::u16string site = u"file://" + m_suite.home().folder().at("site").u16string();
    EXPECT_TRUE(files[1]->IsWebURLInDownload((site + u"/%next%.zip").c_str()));
}

TEST_F(InstalledSuite, OffersOnlyTheOthersWhenTheProductItselfIsUpToDate)
{
    installAll("1.4", "2.0");
    const auto interpreter = m_suite.load(kTop);
    const std::u16string app = m_suite.bundle("Top").u16string();
    EXPECT_TRUE(interpreter->ParseFile(u"Top", u"1.1", app.c_str(), u"http://top/"));
    EXPECT_EQ(namesOf(*interpreter), (Names {"velmora common", "extra", "notes", "Plug"}));
}

TEST_F(InstalledSuite, OffersNothingOnceEverythingIsInstalled)
{
    installAll("1.5", "2.1.0.5");
    const auto interpreter = m_suite.load(kTop);
    const std::u16string app = m_suite.bundle("Top").u16string();
    EXPECT_FALSE(interpreter->ParseFile(u"Top", u"1.1", app.c_str(), u"http://top/"));
    EXPECT_EQ(interpreter->status(), 1);
    EXPECT_TRUE(interpreter->filesToUpdate().empty());
    EXPECT_EQ(m_suite.fetched(), 2U);
}

TEST_F(InstalledSuite, IsRejectedWithoutTheCommonBundle)
{
    installAll("1.4", "2.0");
    fs::remove_all(m_suite.home().root() / "Library/Frameworks/Velmora Common.bundle");
    const auto interpreter = m_suite.load(kTop);
    EXPECT_FALSE(m_suite.parse(*interpreter));
    EXPECT_EQ(interpreter->status(), 0);
    EXPECT_EQ(m_suite.fetched(), 0U) << "the sections were not looked at";
}

TEST(Scenario, NeverFindsAFixedConstantInTheValueOfAnother)
{
    const Suite suite;
    DescriptorFile file = fileNamed("Top");
    file.unzip = "%inside%/a.zip";
    const auto interpreter = suite.parsed(DescriptorBuilder()
                                              .constant("%inside%", "%app%/Contents")
                                              .file(file)
                                              .section("%inside%/Plug.bundle"));
    ASSERT_EQ(interpreter->filesToUpdate().size(), 1U);
    EXPECT_EQ(interpreter->filesToUpdate()[0]->GetActionByType(4)->location(), u"%app%/Contents/a.zip"sv);
}

TEST(Scenario, FindsTheDescriptorsConstantsInTheValueOfAFixedOne)
{
    const Suite suite;
    DescriptorFile file = fileNamed("Top");
    file.unzip = "%bundle%/a.zip";
    const auto interpreter = suite.parsed(DescriptorBuilder().constant("Top.bundle", "T").file(file));
    ASSERT_EQ(interpreter->filesToUpdate().size(), 1U);
    EXPECT_EQ(interpreter->filesToUpdate()[0]->GetActionByType(4)->location().view(),
        (suite.bundle("Top").parent_path() / "T/a.zip").u16string());
}

TEST(Scenario, ReadsTheSameInEveryEncoding)
{
    const Suite suite;
    const std::u16string wide = wideFromUtf8(descriptorOfSpaeth("UTF-16", "\xC3\xA4"));
    const std::pair<const char*, std::string> documents[] = {
        {"UTF-8", descriptorOfSpaeth("UTF-8", "\xC3\xA4")},
        {"UTF-8 with a mark", "\xEF\xBB\xBF" + descriptorOfSpaeth("utf-8", "\xC3\xA4")},
        {"a reference", descriptorOfSpaeth("US-ASCII", "&#xE4;")},
        {"ISO-8859-1", descriptorOfSpaeth("iso-8859-1", "\xE4")},
        {"windows-1252", descriptorOfSpaeth("Windows-1252", "\xE4")},
        {"UTF-16, low byte first", "\xFF\xFE" + utf16Bytes(wide, false)},
        {"UTF-16, high byte first", "\xFE\xFF" + utf16Bytes(wide, true)},
    };
    for (const auto& [encoding, document] : documents) {
        const auto interpreter = suite.load(document);
        EXPECT_TRUE(interpreter->ParseFile(u"SP\u00C4TH", u"1", u"", u"S/")) << encoding;
        ASSERT_EQ(interpreter->filesToUpdate().size(), 1U) << encoding;
        EXPECT_EQ(interpreter->filesToUpdate()[0]->title(), u"\u00E4"sv) << encoding;
    }
}

TEST(Scenario, ComparesVersionsInWhateverFormTheyCome)
{
    struct Case {
        const char16_t* installed;
        const char* offered;
        bool isNewer;
    };
    const Suite suite;
    for (const Case& one : {Case {u"1.0.0.0", "1.0.0.1", true}, Case {u"1.0.0.9", "1.0.0.10", true},
             Case {u"10", "9.9.9.9", false}, Case {u"2", "2.0.0.0", false}, Case {u"1,9,9", "1.10", true},
             Case {u"1.9.9", "1,9,10", true},
             Case {u"1.9.9", "1,9.9", false}, // 1.9.0.0: the point ends the first part, "1,9", which is 1
             Case {u"1.9.9", "1,9.10", true}, // 1.10.0.0
             Case {u"1.2.3.4", "1.2.3.4.5", false}, Case {u"", "0.0.0.0", false}, Case {u"", "0.0.0.1", true},
             Case {u"v1.5", "0.6", true}, // 0.5.0.0
             Case {u"1.5b2", "1.5.0.1", true}, Case {u"-1", "0", true}, Case {u"1", "", false},
             Case {u"1.0", "%app%", false}, Case {u"99999999999", "2147483647", false}}) {
        const auto interpreter = suite.load("<UPDATEINFO><FILES><FILE name='Top' check='version' version='"
            + std::string(one.offered) + "'/></FILES></UPDATEINFO>");
        EXPECT_EQ(interpreter->ParseFile(u"Top", one.installed, u"/9", u"S/"), one.isNewer)
            << utf8FromWide(one.installed) << " " << one.offered;
    }
}

TEST(Scenario, OffersNothingForAFileWhoseVersionIsNotChecked)
{
    const Suite suite;
    const auto interpreter
        = suite.load("<UPDATEINFO><FILES><FILE name='Top' version='9'/><FILE name='Top' check='size' "
                     "version='9'/></FILES></UPDATEINFO>");
    EXPECT_FALSE(suite.parse(*interpreter));
}

TEST(Scenario, AcceptsADependencyWhoseOwnDependencyIsMissing)
{
    const Suite suite;
    const auto common = suite.offer("Common", DescriptorBuilder().dependency(suite.bundle("Missing")));
    const auto interpreter = suite.load(DescriptorBuilder().dependency(common).file(fileNamed("Top")).xml());
    EXPECT_TRUE(suite.parse(*interpreter));
    EXPECT_EQ(interpreter->status(), 1);
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
}

TEST(Scenario, IsRejectedByTheLastOfSeveralDependencies)
{
    const Suite suite;
    const auto interpreter = suite.load(DescriptorBuilder()
                                            .dependency(suite.offer("Common"))
                                            .raw("<DEPENDENCIES/>")
                                            .dependency(suite.bundle("Missing"))
                                            .raw("<DEPENDENCIES/>")
                                            .file(fileNamed("Top"))
                                            .xml());
    EXPECT_FALSE(suite.parse(*interpreter));
    EXPECT_EQ(interpreter->status(), 0);
}
