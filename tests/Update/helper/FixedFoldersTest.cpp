// The two fixed folders in the user's caches folder.
#include "Platform/Support/Unicode.h"
#include "Update/helper/FixedFolders.h"
#include "tests/support/FakeHome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

std::string created(const UniChar* subFolder, SInt32 selector)
{
    return utf8FromWide(createFixedFolder(subFolder, selector));
}

mode_t modeOf(const fs::path& path)
{
    struct stat info { };
    return ::stat(path.c_str(), &info) == 0 ? info.st_mode : 0;
}

} // namespace

TEST(FixedFolders, Selector0IsTheWorkFolder)
{
    const FakeHome home;
    const fs::path path = home.cache() / "VelmoraTandemUpdater";
    EXPECT_EQ(created(nullptr, 0), path.string());
    EXPECT_EQ(modeOf(path), S_IFDIR | 0700u);
}

TEST(FixedFolders, EveryOtherSelectorIsTheDescriptorFolder)
{
    const FakeHome home;
    for (const SInt32 selector : {1, 2, -1})
        EXPECT_EQ(created(u"", selector), (home.cache() / "com.Velmora.Tandem.XMLFile").string()) << selector;
}

TEST(FixedFolders, ExistingFolderIsKeptWithWhatItHolds)
{
    const FakeHome home;
    ASSERT_FALSE(created(nullptr, 0).empty());
    const fs::path file = home.cache() / "VelmoraTandemUpdater" / "kept";
    fs::create_directory(file);
    EXPECT_FALSE(created(nullptr, 0).empty());
    EXPECT_TRUE(fs::exists(file));
}

TEST(FixedFolders, SubFolderIsMadeWhenMissingAndFoundAgain)
{
    const FakeHome home;
    const fs::path path = home.cache() / "VelmoraTandemUpdater" / "s\xC3\xBC\x62";
    EXPECT_EQ(created(u"s\u00FCb", 0), path.string());
    EXPECT_EQ(modeOf(path), S_IFDIR | 0700u);
    EXPECT_EQ(created(u"s\u00FCb", 0), path.string());
}

TEST(FixedFolders, NameThatIsNoSingleFolderGivesNothing)
{
    const FakeHome home;
    for (const UniChar* name : {u"a/b", u"..", u"."})
        EXPECT_EQ(created(name, 0), "") << utf8FromWide(name);
    EXPECT_EQ(created(std::u16string(300, u'x').c_str(), 0), "");
}

TEST(FixedFolders, LinksAreNotFollowed)
{
    const FakeHome home;
    const fs::path elsewhere = home.folder().makeFolder("elsewhere");
    ASSERT_FALSE(created(nullptr, 0).empty());
    fs::create_symlink(elsewhere, home.cache() / "VelmoraTandemUpdater" / "sub");
    EXPECT_EQ(created(u"sub", 0), "");
    fs::create_symlink(elsewhere, home.cache() / "com.Velmora.Tandem.XMLFile");
    EXPECT_EQ(created(nullptr, 1), "");
    EXPECT_TRUE(fs::is_empty(elsewhere));
}

TEST(FixedFolders, FileInTheirPlaceGivesNothing)
{
    const FakeHome home;
    home.folder().write("cache/VelmoraTandemUpdater", "a file");
    EXPECT_EQ(created(nullptr, 0), "");
    ASSERT_FALSE(created(nullptr, 1).empty());
    home.folder().write("cache/com.Velmora.Tandem.XMLFile/sub", "a file");
    EXPECT_EQ(created(u"sub", 1), "");
}

TEST(FixedFolders, PathOfMoreThan1023BytesGivesNothing)
{
    const FakeHome home;
    const std::string name = "/VelmoraTandemUpdater";
    std::string caches = home.cache().string();
    while (caches.size() + 200 < 1023 - name.size())
        caches += "/" + std::string(150, 'c');
    caches += "/" + std::string(1023 - name.size() - caches.size() - 1, 'c');
    fs::create_directories(caches + "c");
    {
        const ScopedEnvironment cache("XDG_CACHE_HOME", caches);
        EXPECT_EQ(created(nullptr, 0), caches + name);
        EXPECT_EQ(created(u"s", 0), "") << "a sub-folder's path passes the limit of a path";
    }
    const ScopedEnvironment cache("XDG_CACHE_HOME", caches + "c");
    EXPECT_EQ(created(nullptr, 0), "");
}

TEST(FixedFolders, CachesFolderThatCannotBeMadeGivesNothing)
{
    const FakeHome home;
    const ScopedEnvironment cache("XDG_CACHE_HOME", home.folder().write("file", "x").string() + "/below");
    EXPECT_EQ(created(nullptr, 0), "");
}
