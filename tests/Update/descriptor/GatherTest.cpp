// Following sections and dependencies into other bundles' descriptors, and what is taken over.
#include "Platform/Support/ErrorNumbers.h"
#include "Update/collect/AppIni.h"
#include "tests/Update/descriptor/Suite.h"
#include "tests/support/FileURL.h"
#include "tests/support/ScopedServer.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace std::string_view_literals;
namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

/// A descriptor of "Top" that is not rejected for its own sake.
DescriptorBuilder top()
{
    return DescriptorBuilder().file(fileNamed("Top"));
}

void expectUnmet(const Suite& suite, const DescriptorBuilder& descriptor)
{
    const auto interpreter = suite.load(descriptor.xml());
    EXPECT_FALSE(suite.parse(*interpreter));
    EXPECT_EQ(interpreter->status(), 0);
}

void expectOnlyOwn(const Suite& suite, const DescriptorBuilder& descriptor)
{
    const auto interpreter = suite.load(descriptor.xml());
    EXPECT_TRUE(suite.parse(*interpreter));
    EXPECT_EQ(interpreter->status(), 1);
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
}

/// A record without a bundle, as a property list might give it.
class RecordWithoutBundle : public CPListParse {
public:
    explicit RecordWithoutBundle(const Suite& suite)
        : CPListParse(kBaseKind)
    {
        m_site = WideText(u"file://" + suite.home().folder().at("site").u16string());
        m_url = WideText(u"/");
        m_productName = WideText(u"Loose");
        m_version = VersionText(u"1.0.0.0");
        Validate();
    }
};

constexpr SInt32 kNoVersion[4] = {0, 0, 0, 0};

} // namespace

TEST(CalcSectionUpdate, TakesOverWhatOffersAtLeastTheRequiredVersion)
{
    const Suite suite;
    const auto section = suite.offer("Section");
    EXPECT_EQ(namesOf(*suite.parsed(top().section(section, "2.0.0.0"))), (Names {"Top", "Section"}));
    EXPECT_EQ(namesOf(*suite.parsed(top().section(section, "1.9"))), (Names {"Top", "Section"}));
    EXPECT_EQ(namesOf(*suite.parsed(top().section(section, "2.1"))), (Names {"Top"}));
}

TEST(CalcSectionUpdate, EndsAtAChildsFirstFileThatIsNewEnough)
{
    const Suite suite;
    suite.publish("Section",
        DescriptorBuilder()
            .file(fileNamed("Section", "1.5"))
            .file(fileNamed("SECTION", "2.0"))
            .file(fileNamed("Section", "1.2")));
    const auto section = suite.install("Section");
    EXPECT_EQ(namesOf(*suite.parsed(top().section(section, "2.0"))).size(), 4U)
        << "the older one behind it does not count";
    EXPECT_EQ(namesOf(*suite.parsed(top().section(section, "2.0.0.1"))), (Names {"Top"}));
}

TEST(CalcSectionUpdate, TakesOverAllFilesOfAChildInOrder)
{
    const Suite suite;
    const auto section
        = suite.offer("Section", DescriptorBuilder().file(fileNamed("1")).file(fileNamed("2")));
    EXPECT_EQ(namesOf(*suite.parsed(top().section(section))), (Names {"Top", "1", "2", "Section"}));
}

TEST(CalcSectionUpdate, LeavesOutAnUpToDateBundle)
{
    const Suite suite;
    const auto section = suite.install("Section", "2.0.0.0");
    suite.publish("Section", DescriptorBuilder().file(fileNamed("Section", "2.0.0.0")), "2.0.0.0");
    expectOnlyOwn(suite, top().section(section, "1.0"));
    EXPECT_EQ(suite.fetched(), 1U);
}

TEST(CalcSectionUpdate, LeavesOutABundleThatIsNotInstalled)
{
    const Suite suite;
    expectOnlyOwn(suite, top().section(suite.bundle("Missing")));
}

TEST(CalcSectionUpdate, LeavesOutABundleWithoutAPropertyList)
{
    const Suite suite;
    fs::create_directories(suite.bundle("Empty"));
    expectOnlyOwn(suite, top().section(suite.bundle("Empty")));
}

TEST(CalcSectionUpdate, LeavesOutABundleWhoseDescriptorCannotBeFetched)
{
    const Suite suite;
    expectOnlyOwn(suite, top().section(suite.install("Unpublished")));
}

TEST(CalcSectionUpdate, LeavesOutABundleWhoseDescriptorIsNoXml)
{
    const Suite suite;
    (void)suite.home().folder().write("site/Update_Bad_1.0.0.0_Mac.xml", "no XML");
    expectOnlyOwn(suite, top().section(suite.install("Bad")));
}

TEST(CalcSectionUpdate, LeavesOutABundleWhoseNameIsAPath)
{
    const Suite suite;
    suite.publish("../Name", DescriptorBuilder().file(fileNamed("../Name")));
    fs::create_directories(suite.descriptorFolder() / "Update_..");
    const fs::path section = suite.install("../Name");
    expectOnlyOwn(suite, top().section(section));
    EXPECT_EQ(suite.fetched(), 0U);
    EXPECT_TRUE(fs::is_empty(suite.descriptorFolder() / "Update_.."));
}

TEST(CalcSectionUpdate, GoesOnBehindASectionThatIsLeftOut)
{
    const Suite suite;
    const auto interpreter
        = suite.parsed(top().section(suite.install("Unpublished")).section(suite.offer("Section")));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top", "Section"}));
}

TEST(CalcSectionUpdate, LeavesOutABundleThatVanishesMidway)
{
    const Suite suite;
    const auto first = suite.offer("First");
    const auto vanishing = suite.offer("Vanishing");
    suite.onFetch([&] { fs::remove_all(vanishing); });
    const auto interpreter = suite.parsed(top().raw("<SECTIONS><SECTION location='" + first.string()
        + "'/><SECTION location='" + vanishing.string() + "'/></SECTIONS>"));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top", "First"}));
    EXPECT_EQ(suite.fetched(), 1U);
}

TEST(CaclDependencyUpdate, TakesOverWhatADependencyOffers)
{
    const Suite suite;
    const auto interpreter = suite.parsed(top().dependency(suite.offer("Common"), "2.0"));
    EXPECT_EQ(interpreter->status(), 1);
    EXPECT_EQ(namesOf(*interpreter), (Names {"Common", "Top"}));
}

TEST(CaclDependencyUpdate, AcceptsADependencyThatOffersLessThanRequired)
{
    const Suite suite;
    expectOnlyOwn(suite, top().dependency(suite.offer("Common"), "9.0"));
}

TEST(CaclDependencyUpdate, RejectsADependencyThatIsNotInstalled)
{
    const Suite suite;
    expectUnmet(suite, top().dependency(suite.bundle("Missing")));
}

TEST(CaclDependencyUpdate, RejectsADependencyWithoutAttributes)
{
    const Suite suite;
    expectUnmet(suite, top().raw("<DEPENDENCIES><DEPENDENCY/></DEPENDENCIES>"));
    expectUnmet(suite, top().raw("<DEPENDENCIES><!--DEPENDENCY--></DEPENDENCIES>"));
}

TEST(CaclDependencyUpdate, RejectsALocationThatDoesNotFit)
{
    const Suite suite;
    // Cut at 1023 units, the path would name the root folder.
    expectUnmet(suite, top().dependency(std::string(1024, '/') + "x"));
}

TEST(CaclDependencyUpdate, IgnoresADependencyWithoutALocation)
{
    const Suite suite;
    expectOnlyOwn(suite, top().raw("<DEPENDENCIES><DEPENDENCY type='common'/></DEPENDENCIES>"));
}

TEST(CaclDependencyUpdate, RejectsABundleWithoutAPropertyList)
{
    const Suite suite;
    fs::create_directories(suite.bundle("Empty"));
    expectUnmet(suite, top().dependency(suite.bundle("Empty")));
}

TEST(CaclDependencyUpdate, RejectsABundleWhoseDescriptorCannotBeFetched)
{
    const Suite suite;
    expectUnmet(suite, top().dependency(suite.install("Unpublished")));
}

TEST(CaclDependencyUpdate, AcceptsABundleWhoseDescriptorIsNotOnTheServer)
{
    const Suite suite;
    ScopedServer server;
    server.on("/Update_Common_1.0.0.0_Mac.xml", answer::status(404));
    server.expect("/Update_Common_1.0.0.0_Mac.xml", 1);
    expectOnlyOwn(suite, top().dependency(suite.install("Common", "1.0.0.0", server.url(""))));
}

TEST(CaclDependencyUpdate, RejectsAnUnreachableServer)
{
    const Suite suite;
    ScopedServer server;
    server.on("/Update_Common_1.0.0.0_Mac.xml", ServerScript().reset());
    expectUnmet(suite, top().dependency(suite.install("Common", "1.0.0.0", server.url(""))));
}

TEST(CaclDependencyUpdate, AcceptsABundleWhoseDescriptorIsNoXml)
{
    const Suite suite;
    (void)suite.home().folder().write("site/Update_Bad_1.0.0.0_Mac.xml", "no XML");
    expectOnlyOwn(suite, top().dependency(suite.install("Bad")));
}

TEST(CaclDependencyUpdate, StopsAtTheFirstUnmetDependency)
{
    const Suite suite;
    expectUnmet(suite,
        top().raw("<DEPENDENCIES><DEPENDENCY type='common' location='/missing'/><DEPENDENCY type='common' "
                  "location='"
            + suite.offer("Common").string() + "'/></DEPENDENCIES>"));
    EXPECT_EQ(suite.fetched(), 0U);
}

TEST(CaclDependencyUpdate, RejectsABundleThatVanishesMidway)
{
    const Suite suite;
    const auto first = suite.offer("First");
    const auto vanishing = suite.offer("Vanishing");
    suite.onFetch([&] { fs::remove_all(vanishing); });
    expectUnmet(suite, top().dependency(first).dependency(vanishing));
}

TEST(DownloadAndGatherUpdate, WaitsAsLongAsTheOtherBundleSays)
{
    const Suite suite;
    ScopedServer server;
    server.on("/Update_Slow_1.0.0.0_Mac.xml", ServerScript().stall());
    const fs::path slow = BundleBuilder()
                              .name("Slow")
                              .site(server.url(""))
                              .url("/")
                              .integer("servertimeout", 100)
                              .build(suite.home().folder(), "apps/Slow.bundle");
    const auto begin = std::chrono::steady_clock::now();
    expectUnmet(suite, top().dependency(slow));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(4'000))
        << "less than the default";
}

TEST(DownloadAndGatherUpdate, InterpretsAChildForItsOwnBundleAndSite)
{
    const Suite suite;
    DescriptorFile file = fileNamed("extra");
    file.unzip = "%app%/x.zip";
    const auto section = suite.offer("Section", DescriptorBuilder().type("app").file(file));
    const auto interpreter = suite.parsed(DescriptorBuilder().type("common").section(section));
    ASSERT_EQ(interpreter->filesToUpdate().size(), 2U);
    const CFileSec& taken = *interpreter->filesToUpdate()[0];
    EXPECT_EQ(taken.ownerCode(), 3);
    EXPECT_EQ(taken.GetActionByType(4)->location().view(), (section / "x.zip").u16string());
    EXPECT_TRUE(taken.IsWebURLInDownload(
        (u"file://" + suite.home().folder().at("site").u16string() + u"/extra.zip").c_str()));
}

TEST(DownloadAndGatherUpdate, KeepsGrandchildrenOnlyWhenTheChildPasses)
{
    const Suite suite;
    const auto grandchild = suite.offer("Grandchild");
    const auto child = suite.offer("Child", DescriptorBuilder().section(grandchild));
    EXPECT_EQ(namesOf(*suite.parsed(top().section(child, "2.0"))), (Names {"Top", "Child", "Grandchild"}));
    EXPECT_EQ(namesOf(*suite.parsed(top().section(child, "2.1"))), (Names {"Top"}));
}

TEST(DownloadAndGatherUpdate, LosesGrandchildrenOfAnUpToDateChild)
{
    const Suite suite;
    const auto child = suite.install("Child", "2.0.0.0");
    suite.publish("Child",
        DescriptorBuilder().section(suite.offer("Grandchild")).file(fileNamed("Child", "2.0.0.0")),
        "2.0.0.0");
    EXPECT_EQ(namesOf(*suite.parsed(top().section(child, "1.0"))), (Names {"Top"}));
    EXPECT_EQ(suite.fetched(), 2U);
}

TEST(DownloadAndGatherUpdate, FetchesADescriptorOnceHoweverManyPointAtIt)
{
    const Suite suite;
    const auto shared = suite.offer("Shared");
    const auto left = suite.offer("Left", DescriptorBuilder().section(shared));
    const auto right = suite.offer("Right", DescriptorBuilder().section(shared));
    const auto interpreter = suite.parsed(top().section(left).section(right));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top", "Left", "Shared", "Right", "Shared"}));
    EXPECT_EQ(suite.fetched(), 3U);
}

TEST(DownloadAndGatherUpdate, GivesTheFetchsErrorNumber)
{
    const Suite suite;
    RecordWithoutBundle record(suite);
    const auto interpreter = suite.load(top().xml());
    EXPECT_EQ(interpreter->DownloadAndGatherUpdate(&record, kNoVersion), dirNFErr);
    suite.publish("Loose", DescriptorBuilder());
    EXPECT_EQ(interpreter->DownloadAndGatherUpdate(&record, kNoVersion), noErr);
    EXPECT_TRUE(interpreter->filesToUpdate().empty());
}

TEST(DownloadAndGatherUpdate, GathersNothingFromABundleThatIsBeingInterpreted)
{
    const Suite suite;
    suite.publish("Top", top());
    const auto interpreter = suite.parsed(top());
    CAppIni itself;
    ASSERT_EQ(itself.Parse(folderURL(suite.bundle("Top"))), 1);
    EXPECT_EQ(interpreter->DownloadAndGatherUpdate(&itself, kNoVersion), noErr);
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
    EXPECT_EQ(suite.fetched(), 0U);
}

TEST(DownloadAndGatherUpdate, UsesItsOwnApplicationFolderForARecordWithoutBundle)
{
    const Suite suite;
    DescriptorFile file = fileNamed("Loose");
    file.unzip = "%app%/x.zip";
    suite.publish("Loose", DescriptorBuilder().file(file));
    RecordWithoutBundle record(suite);
    const auto interpreter = suite.load(top().xml());
    EXPECT_TRUE(interpreter->InitFixedConst(u"/Apps/Top"));
    EXPECT_EQ(interpreter->DownloadAndGatherUpdate(&record, kNoVersion), noErr);
    ASSERT_EQ(interpreter->filesToUpdate().size(), 1U);
    EXPECT_EQ(interpreter->filesToUpdate()[0]->GetActionByType(4)->location(), u"/Apps/Top/x.zip"sv);
}

TEST(DownloadAndGatherUpdate, DefinesNoApplicationFolderThatDoesNotFit)
{
    const Suite suite;
    DescriptorFile file = fileNamed("Loose");
    file.unzip = "%app%/x.zip";
    suite.publish("Loose", DescriptorBuilder().file(file));
    RecordWithoutBundle record(suite);
    // Twice 600 units: cut at 1023, the path would be another one.
    const auto interpreter = suite.load(top().constant("/A", "/" + std::string(599, 'a')).xml());
    EXPECT_TRUE(interpreter->ParseFile(u"Top", u"1.0.0.0", u"/A/A", u"S/"));
    EXPECT_EQ(interpreter->DownloadAndGatherUpdate(&record, kNoVersion), noErr);
    ASSERT_EQ(namesOf(*interpreter), (Names {"Top", "Loose"}));
    EXPECT_EQ(interpreter->filesToUpdate()[1]->GetActionByType(4)->location(), u"%app%/x.zip"sv);
}
