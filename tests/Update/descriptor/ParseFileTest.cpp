// How a descriptor is loaded, in which order it is read, and what stays.
#include "tests/Update/descriptor/Suite.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;

namespace {

using Names = std::vector<std::string>;

/// Whether a document is rejected as having nothing to update, as opposed to an unmet dependency.
void expectRejected(const Suite& suite, std::string_view xml)
{
    const auto interpreter = suite.load(xml);
    EXPECT_FALSE(suite.parse(*interpreter));
    EXPECT_EQ(interpreter->status(), 1);
    EXPECT_TRUE(interpreter->filesToUpdate().empty());
}

std::string withRoot(std::string_view root)
{
    const std::string name(root);
    return "<" + name + "><FILES><FILE name='Top' check='version' version='2'/></FILES></" + name + ">";
}

} // namespace

TEST(CXMLInterpret, HasDefaults)
{
    const CXMLInterpret interpreter(nullptr);
    EXPECT_EQ(interpreter.status(), 1);
    EXPECT_TRUE(interpreter.filesToUpdate().empty());
    EXPECT_TRUE(interpreter.tempDir().empty());
    EXPECT_TRUE(interpreter.constants().items().empty());
}

TEST(ParseFile, AcceptsTheRootInAnyCase)
{
    const Suite suite;
    for (const char* root : {"UPDATEINFO", "UpdateInfo", "updateinfo"})
        EXPECT_TRUE(suite.parse(*suite.load(withRoot(root)))) << root;
}

TEST(ParseFile, RejectsADocumentWithoutTheRoot)
{
    const Suite suite;
    expectRejected(suite, withRoot("UPDATE"));
    expectRejected(suite, "<other>" + withRoot("UPDATEINFO") + "</other>");
}

TEST(ParseFile, FindsTheRootBehindOtherNodes)
{
    const Suite suite;
    EXPECT_TRUE(
        suite.parse(*suite.load("<?xml version='1.0'?><!--UPDATEINFO--><!DOCTYPE UPDATEINFO><?UPDATEINFO x?>"
            + withRoot("UPDATEINFO"))));
}

TEST(ParseFile, RejectsWhatIsNoXml)
{
    const Suite suite;
    expectRejected(suite, "");
    expectRejected(suite, "no XML");
    expectRejected(suite, "<UPDATEINFO><FILES><FILE name='Top'");
}

TEST(ParseFile, RejectsAMissingFile)
{
    const Suite suite;
    OpacLumFSRef* const ref = Lum0FSRCreateWithPath(suite.home().folder().at("missing").u16string().c_str());
    CXMLInterpret interpreter(ref);
    Lum0FSRRelease(ref);
    EXPECT_FALSE(suite.parse(interpreter));
    EXPECT_EQ(interpreter.status(), 1);
}

TEST(ParseFile, RejectsAnInterpreterWithoutAFile)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    EXPECT_FALSE(suite.parse(interpreter));
    EXPECT_EQ(interpreter.status(), 1);
}

TEST(ParseFile, RejectsADocumentThatDeclaresEntities)
{
    const Suite suite;
    expectRejected(suite, "<!DOCTYPE UPDATEINFO [<!ENTITY v '2'>]>" + withRoot("UPDATEINFO"));
}

TEST(ParseFile, RejectsADocumentThatIsTooLarge)
{
    const Suite suite;
    std::string xml = withRoot("UPDATEINFO");
    xml.resize(67'108'864, ' ');
    EXPECT_TRUE(suite.parse(*suite.load(xml)));
    expectRejected(suite, xml + " ");
}

TEST(ParseFile, ReadsElementsThatAreNestedDeeply)
{
    const Suite suite;
    std::string xml = "<UPDATEINFO>";
    for (int i = 0; i < 50'000; ++i)
        xml += "<FILES>";
    for (int i = 0; i < 50'000; ++i)
        xml += "</FILES>";
    xml += "<FILES><FILE name='Top' check='version' version='2'/></FILES></UPDATEINFO>";
    const auto interpreter = suite.load(xml);
    EXPECT_TRUE(suite.parse(*interpreter));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
}

TEST(ParseFile, KeepsEverythingWhenTheProductsOwnFileIsNewer)
{
    const Suite suite;
    const auto interpreter = suite.load(
        DescriptorBuilder().file(fileNamed("other", "0.1")).file(fileNamed("TOP", "1.0.0.1")).xml());
    EXPECT_TRUE(suite.parse(*interpreter));
    EXPECT_EQ(interpreter->status(), 1);
    EXPECT_EQ(namesOf(*interpreter), (Names {"other", "TOP"}));
}

TEST(ParseFile, DropsEverythingWhenTheProductsOwnFileIsNotNewer)
{
    const Suite suite;
    for (const char* version : {"1.0.0.0", "0.9"})
        expectRejected(
            suite, DescriptorBuilder().file(fileNamed("other", "9.0")).file(fileNamed("Top", version)).xml());
}

TEST(ParseFile, DropsEverythingWithoutAFileOfTheProduct)
{
    const Suite suite;
    expectRejected(suite, DescriptorBuilder().file(fileNamed("other", "9.0")).xml());
    expectRejected(suite, DescriptorBuilder().xml());
}

TEST(ParseFile, DropsABadFileOnly)
{
    const Suite suite;
    const auto interpreter = suite.parsed(
        DescriptorBuilder().raw("<FILES><FILE name='bad' check='version'/></FILES>").file(fileNamed("Top")));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
}

TEST(ParseFile, PassesOverOtherBlocks)
{
    const Suite suite;
    const auto interpreter
        = suite.parsed(DescriptorBuilder()
                           .raw("<REGISTRY><FILES><FILE name='1'/></FILES></REGISTRY>"
                                "<EVENTS><FILE name='2'/></EVENTS><FEATURES/><Unknown/>text"
                                "<!-- FILES -->")
                           .file(fileNamed("Top")));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
}

TEST(ParseFile, FindsNothingInNodesThatOnlyHaveABlocksName)
{
    const Suite suite;
    std::string nodes;
    for (const char* name : {"CONSTANTS", "GENERAL", "DEPENDENCIES", "FILES", "SECTIONS"}) {
        const std::string block(name);
        nodes += "<!--" + block + "--><?" + block + " x?><![CDATA[" + block + "]]><" + block + "/>" + block;
    }
    const auto interpreter = suite.parsed(DescriptorBuilder().raw(nodes).file(fileNamed("Top")));
    EXPECT_EQ(interpreter->status(), 1);
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
}

TEST(ParseFile, ReadsTheBlocksOfTheRootOnly)
{
    const Suite suite;
    expectRejected(suite, "<UPDATEINFO>" + withRoot("UPDATEINFO") + "</UPDATEINFO>");
    expectRejected(suite, "<UPDATEINFO/>");
}

TEST(ParseFile, RejectsADocumentWithAnAttributeGivenTwice)
{
    const Suite suite;
    expectRejected(suite,
        "<UPDATEINFO><FILES><FILE name='Top' check='version' version='1' version='2'/></FILES></UPDATEINFO>");
}

TEST(ParseFile, EmptiesTheWorkFolderBeforeItLooksForTheRoot)
{
    const Suite suite;
    std::filesystem::create_directories(suite.workFolder());
    expectRejected(suite, "no XML");
    EXPECT_TRUE(std::filesystem::exists(suite.workFolder())) << "what does not parse is not interpreted";
    expectRejected(suite, withRoot("UPDATE"));
    EXPECT_FALSE(std::filesystem::exists(suite.workFolder()));
}

TEST(ParseFile, IgnoresTheCaseOfBlockNames)
{
    const Suite suite;
    const auto interpreter
        = suite.parsed(DescriptorBuilder()
                           .raw("<constants><constant name='%v%' value='7'/></constants><general><version>%v%"
                                "</version></general>")
                           .raw("<files><file name='Top' check='version' version='2'/></files>"));
    EXPECT_EQ(interpreter->general().version, (Version {7, 0, 0, 0}));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
}

TEST(ParseFile, ShowsAGeneralSectionTheConstantsBeforeItOnly)
{
    const Suite suite;
    const auto before = suite.parsed(
        DescriptorBuilder().general("VERSION", "%v%").constant("%v%", "3.0").file(fileNamed("Top")));
    EXPECT_EQ(before->general().version, (Version {0, 0, 0, 0}));
    const auto after = suite.parsed(
        DescriptorBuilder().constant("%v%", "3.0").general("VERSION", "%v%").file(fileNamed("Top")));
    EXPECT_EQ(after->general().version, (Version {3, 0, 0, 0}));
}

TEST(ParseFile, GivesFilesTheTypeTheSiteAndTheConstantsOfTheWholeDescriptor)
{
    const Suite suite;
    DescriptorFile file = fileNamed("Top");
    file.location = "%dir%/top.zip";
    const auto interpreter
        = suite.parsed(DescriptorBuilder().file(file).constant("%dir%", "d").type("common"));
    ASSERT_EQ(interpreter->filesToUpdate().size(), 1U);
    EXPECT_EQ(interpreter->filesToUpdate()[0]->ownerCode(), 5);
    EXPECT_TRUE(interpreter->filesToUpdate()[0]->IsWebURLInDownload(u"http://top/d/top.zip"));
}

TEST(ParseFile, SubstitutesFixedConstantsFirst)
{
    const Suite suite;
    DescriptorFile file = fileNamed("Top");
    file.unzip = "%app%/a.zip";
    const auto interpreter = suite.parsed(DescriptorBuilder().constant("%app%", "/elsewhere").file(file));
    ASSERT_EQ(interpreter->filesToUpdate().size(), 1U);
    EXPECT_EQ(interpreter->filesToUpdate()[0]->GetActionByType(4)->location().view(),
        (suite.bundle("Top") / "a.zip").u16string());
}

TEST(ParseFile, ReadsDependenciesBeforeFilesAndSectionsAfterThem)
{
    const Suite suite;
    const auto dependency = suite.offer("Dependency");
    const auto section = suite.offer("Section");
    const auto interpreter
        = suite.parsed(DescriptorBuilder().section(section).file(fileNamed("Top")).dependency(dependency));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Dependency", "Top", "Section"}));
}

TEST(ParseFile, ReadsEveryBlockOfAKind)
{
    const Suite suite;
    const auto interpreter = suite.parsed(DescriptorBuilder()
                                              .section(suite.offer("S1"))
                                              .section(suite.offer("S2"))
                                              .dependency(suite.offer("D1"))
                                              .dependency(suite.offer("D2"))
                                              .file(fileNamed("Top"))
                                              .file(fileNamed("F2")));
    EXPECT_EQ(namesOf(*interpreter), (Names {"D1", "D2", "Top", "F2", "S1", "S2"}));
}

TEST(ParseFile, KeepsGatheredFilesAndOthersWhenItsOwnAreNotNewer)
{
    const Suite suite;
    const auto interpreter = suite.parsed(DescriptorBuilder()
                                              .section(suite.offer("Section"))
                                              .file(fileNamed("TOP", "1.0.0.0"))
                                              .file(fileNamed("other")));
    EXPECT_EQ(namesOf(*interpreter), (Names {"other", "Section"}));
}

TEST(ParseFile, KeepsGatheredFilesWithoutFilesOfItsOwn)
{
    const Suite suite;
    const auto interpreter = suite.load(DescriptorBuilder().section(suite.offer("Section")).xml());
    EXPECT_TRUE(suite.parse(*interpreter));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Section"}));
}

TEST(ParseFile, KeepsGatheredFilesForAProductWithoutAName)
{
    const Suite suite;
    const auto interpreter = suite.load(DescriptorBuilder()
                                            .section(suite.offer("Section"))
                                            .file(fileNamed("other"))
                                            .raw("<FILES><FILE size='1'/></FILES>")
                                            .xml());
    EXPECT_TRUE(interpreter->ParseFile(u"", u"1.0.0.0", u"", u"S/"));
    EXPECT_EQ(namesOf(*interpreter), (Names {"other", "Section"}));
}

TEST(ParseFile, ForgetsWhatItGatheredWhenCalledAgain)
{
    const Suite suite;
    const auto section = suite.offer("Section");
    const auto interpreter = suite.load(DescriptorBuilder().section(section).file(fileNamed("other")).xml());
    EXPECT_TRUE(suite.parse(*interpreter));
    std::filesystem::remove_all(section);
    EXPECT_FALSE(suite.parse(*interpreter));
    EXPECT_TRUE(interpreter->filesToUpdate().empty());
}

TEST(ParseFile, TakesNullArguments)
{
    const Suite suite;
    const auto interpreter = suite.load(DescriptorBuilder().file(fileNamed("Top")).xml());
    EXPECT_FALSE(interpreter->ParseFile(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(interpreter->status(), 1);
}

TEST(ParseFile, AppendsTheFixedConstantsAgainWhenCalledAgain)
{
    const Suite suite;
    const auto interpreter
        = suite.load(DescriptorBuilder().constant("%c%", "v").file(fileNamed("Top")).xml());
    EXPECT_TRUE(suite.parse(*interpreter));
    EXPECT_EQ(interpreter->constants().items().size(), 5U);
    EXPECT_TRUE(suite.parse(*interpreter));
    ASSERT_EQ(interpreter->constants().items().size(), 10U);
    EXPECT_EQ(interpreter->constants().items()[5].name, u"%updatertemp%"sv);
}

TEST(ParseFile, AppendsItsFilesAgainWhenCalledAgain)
{
    const Suite suite;
    const auto interpreter = suite.load(DescriptorBuilder().file(fileNamed("Top")).xml());
    EXPECT_TRUE(suite.parse(*interpreter));
    EXPECT_TRUE(suite.parse(*interpreter));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top", "Top"}));
}

TEST(ParseFile, InterpretsAHundredThousandFilesWithTheirActionsAndALongText)
{
    const Suite suite;
    std::string block = "<FILES><FILE name='long' title='" + std::string(1'000'000, 't') + "'/>";
    for (int i = 0; i < 100'000; ++i) {
        const std::string archive = "<destination>%updatertemp%/" + std::to_string(i) + "</destination>";
        block += "<FILE name='Top' check='version' version='2'><action type='download'>" + archive
            + "<location>%d%/a</location></action><action type='unzip'>" + archive + "</action></FILE>";
    }
    const auto interpreter = suite.parsed(DescriptorBuilder().constant("%d%", "d").raw(block + "</FILES>"));
    ASSERT_EQ(interpreter->filesToUpdate().size(), 100'001U);
    EXPECT_EQ(interpreter->filesToUpdate()[0]->title().view(), std::u16string(1023, u't'));
    const CFileSec& last = *interpreter->filesToUpdate().back();
    ASSERT_EQ(last.actions().size(), 2U);
    EXPECT_EQ(last.actions()[0]->destination().view(), (suite.workFolder() / "99999").u16string());
    EXPECT_EQ(last.actions()[0]->location(), u"d/a"sv);
    EXPECT_EQ(last.actions()[1]->destination().view(), (suite.workFolder() / "99999").u16string());
}
