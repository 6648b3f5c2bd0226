// Finding the place of the helper tool in the user's caches folder.
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Update/helper/MoreSecurity.h"
#include "tests/support/FakeHome.h"
#include "tests/support/FileURL.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

CFRef<CFStringRef> text(std::u16string_view units)
{
    return adoptCF(CFStringCreateWithView(units));
}

std::string pathOf(CFURLRef url)
{
    UInt8 bytes[1024] = {};
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url, true, bytes, sizeof(bytes)));
    return reinterpret_cast<const char*>(bytes);
}

// The tool's place in the caches folder.
int locate(CFStringRef subFolder, std::u16string_view toolName, bool createFolder, CFRef<CFURLRef>& tool)
{
    CFURLRef found = nullptr;
    const int err = MoreSecCopyHelperToolURL(
        kUserDomain, kCachedDataFolderType, subFolder, text(toolName), createFolder, &found);
    tool = adoptCF(found);
    return err;
}

struct stat statOf(const fs::path& file)
{
    struct stat info { };
    EXPECT_EQ(lstat(file.c_str(), &info), 0) << file;
    return info;
}

} // namespace

TEST(MoreSecCopyHelperToolURL, LiesInTheCachesFolderBelowTheSubfolder)
{
    const FakeHome home;
    CFRef<CFURLRef> tool;
    ASSERT_EQ(locate(text(u"VelmoraWatchSelfUpdate"), u"WatchSelfUpdate", true, tool), 0);
    EXPECT_EQ(pathOf(tool), (home.cache() / "VelmoraWatchSelfUpdate/WatchSelfUpdate").string());
    EXPECT_FALSE(fs::exists(home.cache() / "VelmoraWatchSelfUpdate/WatchSelfUpdate"));
}

TEST(MoreSecCopyHelperToolURL, GivesTheFolderItselfForAnEmptyToolName)
{
    const FakeHome home;
    CFRef<CFURLRef> tool;
    ASSERT_EQ(locate(text(u"Work"), u"", true, tool), 0);
    EXPECT_EQ(pathOf(tool), (home.cache() / "Work").string());
}

TEST(MoreSecCopyHelperToolURL, NeedsNoSubfolder)
{
    const FakeHome home;
    CFRef<CFURLRef> tool;
    ASSERT_EQ(locate(nullptr, u"tool", true, tool), 0);
    EXPECT_EQ(pathOf(tool), (home.cache() / "tool").string());
}

TEST(MoreSecCopyHelperToolURL, MakesMissingFoldersForTheUserAlone)
{
    const FakeHome home;
    fs::remove_all(home.cache());
    CFRef<CFURLRef> tool;
    ASSERT_EQ(locate(text(u"Work"), u"", true, tool), 0);
    EXPECT_EQ(statOf(home.cache()).st_mode, mode_t(S_IFDIR | 0700));
    EXPECT_EQ(statOf(home.cache() / "Work").st_mode, mode_t(S_IFDIR | 0700));
}

TEST(MoreSecCopyHelperToolURL, FailsForMissingFoldersThatItMayNotMake)
{
    const FakeHome home;
    fs::create_directories(home.cache());
    CFRef<CFURLRef> tool;
    EXPECT_EQ(locate(text(u"Work"), u"", false, tool), fnfErr);
    EXPECT_EQ(tool.get(), nullptr);
    fs::remove_all(home.cache());
    EXPECT_EQ(locate(nullptr, u"", false, tool), fnfErr);
    EXPECT_EQ(tool.get(), nullptr);
    EXPECT_FALSE(fs::exists(home.cache()));
}

TEST(MoreSecCopyHelperToolURL, TakesASubfolderThatExists)
{
    const FakeHome home;
    fs::create_directories(home.cache() / "Work");
    CFRef<CFURLRef> tool;
    EXPECT_EQ(locate(text(u"Work"), u"x", false, tool), 0);
    EXPECT_EQ(locate(text(u"Work"), u"x", true, tool), 0);
}

TEST(MoreSecCopyHelperToolURL, RefusesASymbolicLinkForTheSubfolder)
{
    const FakeHome home;
    fs::create_directories(home.cache());
    fs::create_directories(home.path() / "elsewhere");
    fs::create_directory_symlink(home.path() / "elsewhere", home.cache() / "Work");
    CFRef<CFURLRef> tool;
    EXPECT_EQ(locate(text(u"Work"), u"tool", true, tool), permErr);
    EXPECT_EQ(tool.get(), nullptr);
}

TEST(MoreSecCopyHelperToolURL, RefusesAFileForTheSubfolder)
{
    const FakeHome home;
    (void)home.folder().write("cache/Work", "a file");
    CFRef<CFURLRef> tool;
    EXPECT_EQ(locate(text(u"Work"), u"", true, tool), dirNFErr);
    EXPECT_EQ(tool.get(), nullptr);
}

TEST(MoreSecCopyHelperToolURL, TakesASubfolderNameOf255Units)
{
    const FakeHome home;
    const std::u16string name(255, u'n');
    CFRef<CFURLRef> tool;
    EXPECT_EQ(locate(text(name), u"", true, tool), 0);
    EXPECT_TRUE(fs::is_directory(home.cache() / std::string(255, 'n')));
}

TEST(MoreSecCopyHelperToolURLDeathTest, AssertsItsArguments)
{
    const FakeHome home;
    CFURLRef tool = nullptr;
    const auto call = [&tool](std::u16string_view subFolder, CFStringRef toolName, CFURLRef* result) {
        (void)MoreSecCopyHelperToolURL(
            kUserDomain, kCachedDataFolderType, text(subFolder), toolName, 0, result);
    };
    const CFRef name = text(u"tool");
    EXPECT_DEATH(
        call(u"W", nullptr, &tool), "MoreSecurity.cpp:[0-9]+: failed assertion `toolName != NULL'\n");
    EXPECT_DEATH(call(u"W", name, nullptr), "failed assertion `tool != NULL'\n");
    const CFRef former = folderURL("/former");
    CFURLRef taken = former;
    EXPECT_DEATH(call(u"W", name, &taken), "failed assertion `\\*tool == NULL'\n");
    const std::u16string longName(256, u'n');
    EXPECT_DEATH(call(longName, name, &tool),
        "failed assertion `CFStringGetLength\\(subFolderName\\) <= "
        "\\(sizeof\\(subFolderNameU\\.unicode\\) / sizeof\\(UniChar\\)\\)'\n");
}
