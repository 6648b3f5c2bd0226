// The fixed folders of the interpreter and the constants that name folders.
#include "tests/Update/descriptor/Suite.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace std::string_view_literals;
namespace fs = std::filesystem;

namespace {

mode_t modeOf(const fs::path& path)
{
    struct stat status { };
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

std::u16string created(const UniChar* subFolder, SInt32 selector)
{
    return std::u16string(CXMLInterpret::CreateFixedDir(subFolder, selector).view());
}

std::vector<std::u16string> constantNames(const CXMLInterpret& interpreter)
{
    std::vector<std::u16string> names;
    for (const tagStrCon& item : interpreter.constants().items())
        names.emplace_back(item.name.view());
    return names;
}

std::u16string mapped(const CXMLInterpret& interpreter, const UniChar* text)
{
    WideText dest;
    (void)interpreter.constants().MappingConstants(dest, text);
    return std::u16string(dest.view());
}

using Names = std::vector<std::u16string>;

} // namespace

TEST(CreateFixedDir, MakesTheFolderThatTheSelectorNames)
{
    const Suite suite;
    EXPECT_EQ(created(nullptr, 0), (suite.home().cache() / "VelmoraTandemUpdater").u16string());
    EXPECT_EQ(created(u"", 1), (suite.home().cache() / "com.Velmora.Tandem.XMLFile").u16string());
    EXPECT_EQ(created(nullptr, -7), (suite.home().cache() / "com.Velmora.Tandem.XMLFile").u16string());
    EXPECT_EQ(modeOf(suite.workFolder()), 0700U);
    EXPECT_EQ(modeOf(suite.descriptorFolder()), 0700U);
}

TEST(CreateFixedDir, MakesASubFolder)
{
    const Suite suite;
    EXPECT_EQ(created(u"\u00FCb", 0), (suite.workFolder() / fs::path(u"\u00FCb")).u16string());
    EXPECT_EQ(modeOf(suite.workFolder() / fs::path(u"\u00FCb")), 0700U);
    EXPECT_EQ(created(u"\u00FCb", 0), (suite.workFolder() / fs::path(u"\u00FCb")).u16string());
}

TEST(CreateFixedDir, IsEmptyWhenTheFolderCannotBeMade)
{
    const Suite suite;
    EXPECT_EQ(created(u"a/b", 0), u""sv);
    (void)suite.home().folder().write("file", "x");
    const ScopedEnvironment cache("XDG_CACHE_HOME", suite.home().folder().at("file").string());
    EXPECT_EQ(created(nullptr, 0), u""sv);
}

TEST(CreateFixedDir, FollowsNoSymbolicLink)
{
    const Suite suite;
    const fs::path elsewhere = suite.home().folder().makeFolder("elsewhere");
    fs::create_directories(suite.home().cache());
    fs::create_directory_symlink(elsewhere, suite.workFolder());
    EXPECT_EQ(created(nullptr, 0), u""sv);
    EXPECT_EQ(created(u"sub", 0), u""sv);
    EXPECT_TRUE(fs::is_empty(elsewhere));
}

TEST(CreateFixedDir, MakesNothingAtTheEndOfALink)
{
    const Suite suite;
    fs::create_directories(suite.home().cache());
    fs::create_symlink(suite.home().folder().at("nowhere"), suite.workFolder());
    EXPECT_EQ(created(nullptr, 0), u""sv);
    CXMLInterpret interpreter(nullptr);
    EXPECT_FALSE(interpreter.InitFixedConst(u"/A"));
    EXPECT_FALSE(interpreter.RealCreateDir());
    EXPECT_FALSE(fs::exists(suite.home().folder().at("nowhere")));
    EXPECT_TRUE(fs::is_symlink(suite.workFolder()));
}

TEST(CreateFixedDir, RefusesALinkInPlaceOfTheSubFolder)
{
    const Suite suite;
    (void)created(nullptr, 0); // makes the work folder
    fs::create_directory_symlink(suite.home().folder().makeFolder("elsewhere"), suite.workFolder() / "sub");
    EXPECT_EQ(created(u"sub", 0), u""sv);
}

TEST(InitFixedConst, FailsAndLeavesAFileInPlaceOfTheWorkFolder)
{
    const Suite suite;
    const fs::path file = suite.home().folder().write("cache/VelmoraTandemUpdater", "x");
    CXMLInterpret interpreter(nullptr);
    EXPECT_FALSE(interpreter.InitFixedConst(nullptr));
    EXPECT_FALSE(interpreter.RealCreateDir());
    EXPECT_EQ(readWholeFile(file), "x");
}

TEST(InitFixedConst, AddsTheFixedConstantsInOrder)
{
    const Suite suite;
    const fs::path frameworks = suite.home().root() / "Library/Frameworks";
    fs::create_directories(frameworks);
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.InitFixedConst(u"/Apps/A.bundle"));
    EXPECT_EQ(constantNames(interpreter),
        (Names {u"%updatertemp%", u"%VelCommon%", u"%app%", u"%bundle%", u"%framework%"}));
    EXPECT_EQ(mapped(interpreter, u"%updatertemp%"), suite.workFolder().u16string());
    EXPECT_EQ(mapped(interpreter, u"%VelCommon%"), frameworks.u16string());
    EXPECT_EQ(mapped(interpreter, u"%app%"), u"/Apps/A.bundle"sv);
    EXPECT_EQ(mapped(interpreter, u"%bundle%"), u"/Apps/A.bundle"sv);
    EXPECT_EQ(mapped(interpreter, u"%framework%"), u"/Apps/A.bundle"sv);
}

TEST(InitFixedConst, LeavesOutAMissingFrameworksFolderAndDoesNotMakeIt)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.InitFixedConst(u"/A"));
    EXPECT_EQ(constantNames(interpreter), (Names {u"%updatertemp%", u"%app%", u"%bundle%", u"%framework%"}));
    EXPECT_EQ(mapped(interpreter, u"%VelCommon%/x"), u"%VelCommon%/x"sv);
    EXPECT_FALSE(fs::exists(suite.home().root() / "Library/Frameworks"));
}

TEST(InitFixedConst, LeavesOutTheBundleWithoutAPath)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.InitFixedConst(nullptr));
    EXPECT_TRUE(interpreter.InitFixedConst(u""));
    EXPECT_EQ(constantNames(interpreter), (Names {u"%updatertemp%", u"%updatertemp%"}));
    EXPECT_EQ(mapped(interpreter, u"%app%%bundle%%framework%"), u"%app%%bundle%%framework%"sv);
}

TEST(InitFixedConst, LeavesOutABundlePathThatDoesNotFit)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.InitFixedConst((u"/" + std::u16string(1023, u'a')).c_str()));
    EXPECT_EQ(constantNames(interpreter), (Names {u"%updatertemp%"}));
}

TEST(InitFixedConst, DeletesTheWorkFolderWithAllItHolds)
{
    const Suite suite;
    fs::create_directories(suite.workFolder() / "old/deep");
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.InitFixedConst(nullptr));
    EXPECT_FALSE(fs::exists(suite.workFolder()));
    EXPECT_EQ(interpreter.tempDir().view(), suite.workFolder().u16string());
}

TEST(InitFixedConst, FailsWhenTheWorkFolderCannotBeMade)
{
    const Suite suite;
    (void)suite.home().folder().write("file", "x");
    const ScopedEnvironment cache("XDG_CACHE_HOME", suite.home().folder().at("file").string());
    const auto interpreter = suite.load(DescriptorBuilder().file(fileNamed("Top")).xml());
    EXPECT_FALSE(interpreter->InitFixedConst(u"/A"));
    EXPECT_TRUE(interpreter->constants().items().empty());
    EXPECT_FALSE(suite.parse(*interpreter));
    EXPECT_EQ(interpreter->status(), 1);
}

TEST(InitFixedConst, RunsForAChildToo)
{
    const Suite suite;
    const auto section = suite.offer("Section");
    suite.onFetch([&] { fs::create_directories(suite.workFolder() / "left"); });
    const auto interpreter = suite.parsed(DescriptorBuilder().section(section));
    EXPECT_EQ(namesOf(*interpreter).size(), 1U);
    EXPECT_FALSE(fs::exists(suite.workFolder()));
}

TEST(RealCreateDir, MakesTheWorkFolder)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.InitFixedConst(nullptr));
    EXPECT_TRUE(interpreter.RealCreateDir());
    EXPECT_TRUE(fs::is_directory(suite.workFolder()));
}

TEST(RealCreateDir, NamesTheWorkFolderWhenNothingElseDid)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.RealCreateDir());
    EXPECT_EQ(interpreter.tempDir().view(), suite.workFolder().u16string());
}

TEST(RealCreateDir, LeavesAnExistingFolderAlone)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.RealCreateDir());
    fs::create_directories(suite.workFolder() / "kept");
    EXPECT_TRUE(interpreter.RealCreateDir());
    EXPECT_TRUE(fs::exists(suite.workFolder() / "kept"));
}

TEST(RealCreateDir, LeavesAlsoAFileInItsPlaceAlone)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.InitFixedConst(nullptr));
    (void)suite.home().folder().write("cache/VelmoraTandemUpdater", "x");
    EXPECT_TRUE(interpreter.RealCreateDir());
    EXPECT_TRUE(fs::is_regular_file(suite.workFolder()));
}

TEST(RealCreateDir, FollowsNoSymbolicLink)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.InitFixedConst(nullptr));
    fs::create_directory_symlink(suite.home().folder().makeFolder("elsewhere"), suite.workFolder());
    EXPECT_FALSE(interpreter.RealCreateDir());
}

TEST(ClearAllFileInFixedDir, DeletesTheWorkFolderAndStillNamesIt)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.RealCreateDir());
    fs::create_directories(suite.workFolder() / "unpacked/deep");
    EXPECT_TRUE(interpreter.ClearAllFileInFixedDir());
    EXPECT_FALSE(fs::exists(suite.workFolder()));
    EXPECT_EQ(interpreter.tempDir().view(), suite.workFolder().u16string());
}

TEST(ClearAllFileInFixedDir, IsFalseForAMissingOrUnnamedFolder)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    EXPECT_FALSE(interpreter.ClearAllFileInFixedDir());
    EXPECT_TRUE(interpreter.InitFixedConst(nullptr));
    EXPECT_FALSE(interpreter.ClearAllFileInFixedDir());
    EXPECT_FALSE(fs::exists(suite.workFolder()));
}

TEST(ClearAllFileInFixedDir, FollowsNoSymbolicLink)
{
    const Suite suite;
    const fs::path elsewhere = suite.home().folder().makeFolder("elsewhere");
    (void)suite.home().folder().write("elsewhere/kept", "x");
    CXMLInterpret interpreter(nullptr);
    EXPECT_TRUE(interpreter.InitFixedConst(nullptr));
    fs::create_directory_symlink(elsewhere, suite.workFolder());
    EXPECT_FALSE(interpreter.ClearAllFileInFixedDir());
    EXPECT_TRUE(fs::exists(elsewhere / "kept"));
}

TEST(TempSubFolder, HoldsTheWork)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    InterpreterAccess::setSubFolder(interpreter, u"sub");
    EXPECT_TRUE(interpreter.InitFixedConst(nullptr));
    EXPECT_EQ(mapped(interpreter, u"%updatertemp%"), (suite.workFolder() / "sub").u16string());
    EXPECT_TRUE(interpreter.RealCreateDir());
    EXPECT_TRUE(fs::is_directory(suite.workFolder() / "sub"));
    EXPECT_TRUE(interpreter.RealCreateDir());
    EXPECT_TRUE(interpreter.ClearAllFileInFixedDir());
    EXPECT_FALSE(fs::exists(suite.workFolder() / "sub"));
    EXPECT_TRUE(fs::exists(suite.workFolder()));
}

TEST(TempSubFolder, IsAChildsToo)
{
    const Suite suite;
    DescriptorFile file = fileNamed("extra");
    file.unzip = "%updatertemp%/x.zip";
    const auto interpreter = suite.load(
        DescriptorBuilder().section(suite.offer("Section", DescriptorBuilder().file(file))).xml());
    InterpreterAccess::setSubFolder(*interpreter, u"sub");
    EXPECT_TRUE(suite.parse(*interpreter));
    EXPECT_EQ(interpreter->filesToUpdate()[0]->GetActionByType(4)->location().view(),
        (suite.workFolder() / "sub/x.zip").u16string());
}

TEST(TempSubFolder, IsNotSoughtBehindASymbolicLink)
{
    const Suite suite;
    CXMLInterpret interpreter(nullptr);
    InterpreterAccess::setSubFolder(interpreter, u"sub");
    EXPECT_TRUE(interpreter.InitFixedConst(nullptr));
    fs::remove_all(suite.workFolder());
    (void)suite.home().folder().write("elsewhere/sub/kept", "x");
    fs::create_directory_symlink(suite.home().folder().at("elsewhere"), suite.workFolder());
    EXPECT_FALSE(interpreter.ClearAllFileInFixedDir());
    EXPECT_TRUE(fs::exists(suite.home().folder().at("elsewhere/sub/kept")));
    EXPECT_FALSE(interpreter.RealCreateDir());
}
