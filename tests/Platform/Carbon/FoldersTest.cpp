// The standard folders, and the look-up and making of folders by name.
#include "Platform/Carbon/Folders.h"

#include "tests/support/FakeHome.h"
#include "tests/support/FileTrees.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

mode_t modeOf(const fs::path& path)
{
    struct stat status { };
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

class FoldersTest : public testing::Test {
protected:
    FoldersTest()
        : m_formerMask(::umask(022))
    {
        fs::create_directories(m_home.cache());
        EXPECT_EQ(FSFindFolder(kUserDomain, kCachedDataFolderType, kDontCreateFolder, &m_caches), 0);
    }
    ~FoldersTest() override { ::umask(m_formerMask); }

    OSStatus lookUp(std::u16string_view name, FSRef& child) const
    {
        return FSMakeFSRefUnicode(&m_caches, static_cast<UInt32>(name.size()), name.data(), &child);
    }
    OSStatus create(std::u16string_view name, FSRef& child, UInt32 mode = 0700) const
    {
        const UInt32 length = static_cast<UInt32>(name.size());
        return FSCreateDirectoryUnicode(&m_caches, length, name.data(), mode, &child);
    }

    mode_t m_formerMask;
    FakeHome m_home;
    FSRef m_caches;
    FSRef m_child;
};

} // namespace

TEST_F(FoldersTest, FindsTheUsersCachesInTheVariablesFolder)
{
    EXPECT_EQ(m_caches.path, m_home.cache().string());
}

TEST_F(FoldersTest, FindsTheUsersCachesBelowTheHomeWithoutTheVariable)
{
    const ScopedEnvironment none("XDG_CACHE_HOME");
    ASSERT_EQ(FSFindFolder(kUserDomain, kCachedDataFolderType, kCreateFolder, &m_child), 0);
    EXPECT_EQ(m_child.path, (m_home.home() / ".cache").string());
}

TEST_F(FoldersTest, IgnoresARelativeOrEmptyVariable)
{
    for (const char* value : {"relative/caches", ""}) {
        const ScopedEnvironment relative("XDG_CACHE_HOME", value);
        ASSERT_EQ(FSFindFolder(kUserDomain, kCachedDataFolderType, kCreateFolder, &m_child), 0);
        EXPECT_EQ(m_child.path, (m_home.home() / ".cache").string());
    }
}

TEST_F(FoldersTest, FindsTheLocalFoldersBelowTheRoot)
{
    ASSERT_EQ(FSFindFolder(kLocalDomain, kFrameworksFolderType, kCreateFolder, &m_child), 0);
    EXPECT_EQ(m_child.path, (m_home.root() / "Library/Frameworks").string());
    ASSERT_EQ(FSFindFolder(kLocalDomain, kApplicationSupportFolderType, kCreateFolder, &m_child), 0);
    EXPECT_EQ(m_child.path, (m_home.root() / "Library/Application Support").string());
}

TEST_F(FoldersTest, StripsTrailingSlashesOfTheRoot)
{
    const ScopedEnvironment root("VELMORA_ROOT", "/some/where//");
    EXPECT_EQ(localDomainRoot(), "/some/where");
    const ScopedEnvironment slash("VELMORA_ROOT", "/");
    EXPECT_EQ(localDomainRoot(), "");
    const ScopedEnvironment none("VELMORA_ROOT");
    EXPECT_EQ(localDomainRoot(), "");
    const ScopedEnvironment relative("VELMORA_ROOT", "some/where");
    EXPECT_EQ(localDomainRoot(), (fs::current_path() / "some/where").string());
}

TEST_F(FoldersTest, RefusesOtherPairsOfDomainAndType)
{
    EXPECT_EQ(FSFindFolder(kLocalDomain, kCachedDataFolderType, kCreateFolder, &m_child), -50);
    EXPECT_EQ(FSFindFolder(kUserDomain, kFrameworksFolderType, kCreateFolder, &m_child), -50);
    EXPECT_EQ(FSFindFolder(kUserDomain, kApplicationSupportFolderType, kCreateFolder, &m_child), -50);
    EXPECT_EQ(FSFindFolder(kUserDomain, kCachedDataFolderType, kCreateFolder, nullptr), -50);
}

TEST_F(FoldersTest, MakesAMissingFolderOnlyWhenAsked)
{
    EXPECT_EQ(FSFindFolder(kLocalDomain, kFrameworksFolderType, kDontCreateFolder, &m_child), -43);
    EXPECT_FALSE(trees::exists(m_home.root() / "Library"));
    EXPECT_EQ(FSFindFolder(kLocalDomain, kFrameworksFolderType, kCreateFolder, &m_child), 0);
    EXPECT_EQ(FSFindFolder(kLocalDomain, kFrameworksFolderType, kDontCreateFolder, &m_child), 0);
}

TEST_F(FoldersTest, MakesUserFoldersPrivateAndLocalFoldersReadable)
{
    const ScopedEnvironment deep("XDG_CACHE_HOME", (m_home.path() / "new/caches").string());
    ASSERT_EQ(FSFindFolder(kUserDomain, kCachedDataFolderType, kCreateFolder, &m_child), 0);
    EXPECT_EQ(modeOf(m_home.path() / "new"), 0700u);
    EXPECT_EQ(modeOf(m_home.path() / "new/caches"), 0700u);
    ASSERT_EQ(FSFindFolder(kLocalDomain, kFrameworksFolderType, kCreateFolder, &m_child), 0);
    EXPECT_EQ(modeOf(m_home.root() / "Library"), 0755u);
    EXPECT_EQ(modeOf(m_home.root() / "Library/Frameworks"), 0755u);
}

TEST_F(FoldersTest, ReportsAFileInAFoldersPlace)
{
    const fs::path file = m_home.folder().write("file", "x");
    const ScopedEnvironment caches("XDG_CACHE_HOME", file.string());
    EXPECT_EQ(FSFindFolder(kUserDomain, kCachedDataFolderType, kCreateFolder, &m_child), -120);
    const ScopedEnvironment below("XDG_CACHE_HOME", (file / "caches").string());
    EXPECT_EQ(FSFindFolder(kUserDomain, kCachedDataFolderType, kCreateFolder, &m_child), -120);
}

TEST_F(FoldersTest, MakesAndFindsAChildByName)
{
    FSRef found;
    EXPECT_EQ(lookUp(u"Grüße", found), -43);
    ASSERT_EQ(create(u"Grüße", m_child), 0);
    EXPECT_EQ(m_child.path, (m_home.cache() / "Grüße").string());
    EXPECT_EQ(modeOf(m_child.path), 0700u);
    ASSERT_EQ(lookUp(u"Grüße", found), 0);
    EXPECT_EQ(FSCompareFSRefs(&found, &m_child), 0);
    EXPECT_EQ(found.path, m_child.path);
}

TEST_F(FoldersTest, MakesAChildWithTheModeLessTheUmask)
{
    ASSERT_EQ(create(u"open", m_child, 0777), 0);
    EXPECT_EQ(modeOf(m_child.path), 0755u);
}

TEST_F(FoldersTest, ReportsANameThatExistsAlready)
{
    ASSERT_EQ(create(u"twice", m_child), 0);
    EXPECT_EQ(create(u"twice", m_child), -48);
    fs::create_symlink("nowhere", m_home.cache() / "link");
    EXPECT_EQ(create(u"link", m_child), -48);
}

TEST_F(FoldersTest, FollowsNoLinkInAChildsPlace)
{
    const fs::path outside = m_home.folder().makeFolder("outside");
    fs::create_directory_symlink(outside, m_home.cache() / "link");
    EXPECT_EQ(lookUp(u"link", m_child), -54);
}

TEST_F(FoldersTest, FollowsNoLinkThatTookTheParentsPlace)
{
    const fs::path outside = m_home.folder().makeFolder("outside/name");
    fs::rename(m_home.cache(), m_home.path() / "moved");
    fs::create_directory_symlink(outside.parent_path(), m_home.cache());
    EXPECT_EQ(lookUp(u"name", m_child), -1401);
    EXPECT_EQ(create(u"new", m_child), -1401);
    EXPECT_FALSE(trees::exists(outside.parent_path() / "new"));
}

TEST_F(FoldersTest, ReportsAParentThatIsGone)
{
    fs::remove(m_home.cache());
    EXPECT_EQ(lookUp(u"name", m_child), -43);
    EXPECT_EQ(create(u"name", m_child), -43);
}

TEST_F(FoldersTest, RefusesNamesThatAreNoChilds)
{
    using namespace std::string_view_literals;
    for (const std::u16string_view name :
        {u""sv, u"."sv, u".."sv, u"a/b"sv, u"/"sv, u"a\0b"sv, u"\0"sv, u"a\xD800"sv}) {
        EXPECT_EQ(lookUp(name, m_child), -37);
        EXPECT_EQ(create(name, m_child), -37);
    }
    EXPECT_EQ(FSMakeFSRefUnicode(&m_caches, 1, nullptr, &m_child), -50);
    EXPECT_EQ(FSMakeFSRefUnicode(nullptr, 1, u"a", &m_child), -50);
    EXPECT_EQ(FSMakeFSRefUnicode(&m_caches, 1, u"a", nullptr), -50);
    EXPECT_EQ(FSCreateDirectoryUnicode(nullptr, 1, u"a", 0700, &m_child), -50);
    EXPECT_EQ(FSCreateDirectoryUnicode(&m_caches, 1, u"a", 0700, nullptr), -50);
}

TEST_F(FoldersTest, LeavesOutATrailingZeroOfTheName)
{
    ASSERT_EQ(create(std::u16string_view(u"zero\0", 5), m_child), 0);
    EXPECT_EQ(m_child.path, (m_home.cache() / "zero").string());
}

TEST_F(FoldersTest, TakesNamesOf255BytesAndNoMore)
{
    EXPECT_EQ(create(std::u16string(255, u'n'), m_child), 0);
    EXPECT_EQ(create(std::u16string(255, u'n') + u'\0', m_child), -48) << "the zero is not counted";
    EXPECT_EQ(create(std::u16string(256, u'n'), m_child), -1410);
    EXPECT_EQ(create(std::u16string(128, u'\u00FC'), m_child), -1410) << "256 bytes of UTF-8";
}

TEST_F(FoldersTest, FlushesTheVolumeOfTheCachesFolder)
{
    EXPECT_EQ(FlushVol(nullptr, 0), 0);
    fs::remove(m_home.cache());
    EXPECT_EQ(FlushVol(nullptr, 0), -43);
}

TEST_F(FoldersTest, FlushesNoVolumeButTheDefaultOne)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(FlushVol(nullptr, 1), "failed assertion");
    EXPECT_DEATH(FlushVol("disk", 0), "failed assertion");
}
