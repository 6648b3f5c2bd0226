// An object's flags, its unlocking and deletion, and the walk over a folder's children.
#include "Platform/Carbon/FSIterator.h"

#include "tests/support/FileTrees.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr char kNeedsLocks[] = "immutable files need CAP_LINUX_IMMUTABLE and a file system that knows them";

FSRef refTo(const fs::path& path)
{
    FSRef ref;
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr), 0) << path;
    return ref;
}

UInt16 flagsOf(const fs::path& path)
{
    const FSRef ref = refTo(path);
    FSCatalogInfo info {0xFFFF};
    EXPECT_EQ(FSGetCatalogInfo(&ref, &info, nullptr), 0);
    return info.nodeFlags;
}

class FSCatalogTest : public testing::Test {
protected:
    /// Opens a walk over the folder; the test closes it.
    FSIterator open(const fs::path& folder) const
    {
        const FSRef ref = refTo(folder);
        FSIterator iterator = nullptr;
        EXPECT_EQ(FSOpenIterator(&ref, &iterator), 0);
        return iterator;
    }
    OSStatus next(FSIterator iterator) const
    {
        UInt32 actual = 0;
        FSCatalogInfo info;
        return FSGetCatalogInfoBulk(iterator, 1, &actual, &info);
    }

    ScopedTempDir m_temp;
    const fs::path m_folder = m_temp.makeFolder("folder");
    FSIterator m_none = nullptr;
};

} // namespace

TEST_F(FSCatalogTest, TellsFoldersFromFilesAndLinks)
{
    const fs::path file = m_temp.write("file", "x");
    fs::create_directory_symlink(m_folder, m_temp.at("link"));
    EXPECT_EQ(flagsOf(m_folder), 0x0010);
    EXPECT_EQ(flagsOf(file), 0);
    EXPECT_EQ(flagsOf(m_temp.at("link")), 0) << "a link is described itself";
}

TEST_F(FSCatalogTest, SeesAndClearsLocks)
{
    const fs::path file = m_temp.write("file", "x");
    const FSRef ref = refTo(file);
    if (!trees::setImmutable(file, true))
        GTEST_SKIP() << kNeedsLocks;
    EXPECT_EQ(flagsOf(file), 0x0001);
    EXPECT_EQ(FSDeleteObject(&ref), -54);
    EXPECT_EQ(FSUnlockObject(&ref), 0);
    EXPECT_EQ(flagsOf(file), 0);
    ASSERT_TRUE(trees::setAppendOnly(file, true));
    EXPECT_EQ(flagsOf(file), 0x0001);
    EXPECT_EQ(FSUnlockObject(&ref), 0);
    EXPECT_EQ(flagsOf(file), 0);
    EXPECT_EQ(FSUnlockObject(&ref), 0) << "nothing to clear is no error";
}

TEST_F(FSCatalogTest, UnlocksNoLinksTargetAndNoPipe)
{
    const fs::path file = m_temp.write("file", "x");
    fs::create_symlink(file, m_temp.at("link"));
    const FSRef link = refTo(m_temp.at("link"));
    EXPECT_EQ(FSUnlockObject(&link), -54);
    ASSERT_EQ(::mkfifo(m_temp.at("pipe").c_str(), 0600), 0);
    const FSRef pipe = refTo(m_temp.at("pipe"));
    EXPECT_EQ(FSUnlockObject(&pipe), -54);
}

TEST_F(FSCatalogTest, GivesTheParentFolder)
{
    const FSRef file = refTo(m_temp.write("folder/file", "x"));
    const FSRef folder = refTo(m_folder);
    FSRef parent;
    ASSERT_EQ(FSGetCatalogInfo(&file, nullptr, &parent), 0);
    EXPECT_EQ(FSCompareFSRefs(&parent, &folder), 0);
    EXPECT_EQ(parent.path, m_folder.string());
    const FSRef top = refTo("/tmp");
    ASSERT_EQ(FSGetCatalogInfo(&top, nullptr, &parent), 0);
    EXPECT_EQ(parent.path, "/");
}

TEST_F(FSCatalogTest, RefusesTheRootTheFolderAboveAndNull)
{
    const FSRef root = refTo("/");
    const FSRef above = refTo(m_folder / "..");
    for (const FSRef* ref : {&root, &above, static_cast<const FSRef*>(nullptr)}) {
        EXPECT_EQ(FSGetCatalogInfo(ref, nullptr, nullptr), -50);
        EXPECT_EQ(FSUnlockObject(ref), -50);
        EXPECT_EQ(FSDeleteObject(ref), -50);
    }
}

TEST_F(FSCatalogTest, DeletesFilesLinksAndEmptyFoldersOnly)
{
    m_temp.write("folder/file", "x");
    fs::create_directory_symlink(m_folder, m_temp.at("link"));
    const FSRef folder = refTo(m_folder);
    const FSRef file = refTo(m_folder / "file");
    const FSRef link = refTo(m_temp.at("link"));
    EXPECT_EQ(FSDeleteObject(&link), 0);
    EXPECT_EQ(FSDeleteObject(&folder), -47);
    EXPECT_EQ(FSDeleteObject(&file), 0);
    EXPECT_EQ(FSDeleteObject(&file), -43);
    EXPECT_EQ(FSDeleteObject(&folder), 0);
    EXPECT_TRUE(trees::names(m_temp.path()).empty());
}

TEST_F(FSCatalogTest, RefusesAnotherObjectInTheReferencesPlace)
{
    const fs::path file = m_temp.write("file", "x");
    const FSRef ref = refTo(file);
    fs::rename(file, m_temp.at("moved"));
    m_temp.write("file", "another");
    EXPECT_EQ(FSGetCatalogInfo(&ref, nullptr, nullptr), -1401);
    EXPECT_EQ(FSDeleteObject(&ref), -1401);
    EXPECT_TRUE(trees::exists(file));
}

TEST_F(FSCatalogTest, GivesEachChildOnceWithItsFlags)
{
    m_temp.write("folder/file", "x");
    m_temp.makeFolder("folder/sub");
    fs::create_directory_symlink("sub", m_folder / "link");
    const FSIterator walk = open(m_folder);
    UInt32 actual = 0;
    std::array<FSCatalogInfo, 8> infos {};
    EXPECT_EQ(FSGetCatalogInfoBulk(walk, 8, &actual, infos.data()), -1417) << "together with the last ones";
    ASSERT_EQ(actual, 3u);
    EXPECT_EQ(infos[0].nodeFlags + infos[1].nodeFlags + infos[2].nodeFlags, 0x0010) << "one folder";
    EXPECT_EQ(FSGetCatalogInfoBulk(walk, 8, &actual, infos.data()), -1417);
    EXPECT_EQ(actual, 0u);
    EXPECT_EQ(FSCloseIterator(walk), 0);
}

TEST_F(FSCatalogTest, GivesNoMoreAtOnceThanAsked)
{
    trees::makeFiles(m_folder, 7);
    const FSIterator walk = open(m_folder);
    UInt32 actual = 0;
    EXPECT_EQ(FSGetCatalogInfoBulk(walk, 5, &actual, nullptr), 0);
    EXPECT_EQ(actual, 5u);
    EXPECT_EQ(FSGetCatalogInfoBulk(walk, 5, &actual, nullptr), -1417);
    EXPECT_EQ(actual, 2u);
    EXPECT_EQ(FSCloseIterator(walk), 0);
}

TEST_F(FSCatalogTest, RefusesWrongArguments)
{
    const FSRef folder = refTo(m_folder);
    UInt32 actual = 0;
    EXPECT_EQ(FSOpenIterator(nullptr, &m_none), -50);
    EXPECT_EQ(FSOpenIterator(&folder, nullptr), -50);
    const FSIterator walk = open(m_folder);
    EXPECT_EQ(FSGetCatalogInfoBulk(walk, 0, &actual, nullptr), -50);
    EXPECT_EQ(FSGetCatalogInfoBulk(walk, 1, nullptr, nullptr), -50);
    EXPECT_EQ(FSGetCatalogInfoBulk(nullptr, 1, &actual, nullptr), -50);
    EXPECT_EQ(FSUnlockChild(walk), -50) << "no child was given yet";
    EXPECT_EQ(FSDeleteChild(walk), -50);
    EXPECT_EQ(FSOpenChildIterator(walk, &m_none), -50);
    EXPECT_EQ(FSCloseIterator(walk), 0);
    EXPECT_EQ(FSCloseIterator(nullptr), -50);
}

TEST_F(FSCatalogTest, OpensNoWalkThroughALinkOrOverAFile)
{
    fs::create_directory_symlink(m_folder, m_temp.at("link"));
    const FSRef link = refTo(m_temp.at("link"));
    const FSRef file = refTo(m_temp.write("file", "x"));
    EXPECT_EQ(FSOpenIterator(&link, &m_none), -120);
    EXPECT_EQ(FSOpenIterator(&file, &m_none), -120);
    const FSRef folder = refTo(m_folder);
    fs::rename(m_folder, m_temp.at("moved"));
    fs::create_directory(m_folder);
    EXPECT_EQ(FSOpenIterator(&folder, &m_none), -1401) << "another folder took its place";
}

TEST_F(FSCatalogTest, EntersNoChildThatBecameALink)
{
    m_temp.makeFolder("folder/sub");
    const fs::path outside = m_temp.makeFolder("outside/inner");
    const FSIterator walk = open(m_folder);
    ASSERT_EQ(next(walk), 0);
    fs::remove(m_folder / "sub");
    fs::create_directory_symlink(outside.parent_path(), m_folder / "sub");
    EXPECT_EQ(FSOpenChildIterator(walk, &m_none), -120);
    EXPECT_NE(FSDeleteChild(walk), 0) << "it was a folder when it was given";
    EXPECT_EQ(FSCloseIterator(walk), 0);
    EXPECT_TRUE(trees::exists(outside));
}

TEST_F(FSCatalogTest, WalksTheFolderItOpenedWhateverTakesItsPlace)
{
    m_temp.write("folder/own", "x");
    m_temp.write("outside/kept", "x");
    const FSIterator walk = open(m_folder);
    fs::rename(m_folder, m_temp.at("moved"));
    fs::create_directory_symlink(m_temp.at("outside"), m_folder);
    ASSERT_EQ(next(walk), 0);
    EXPECT_EQ(FSDeleteChild(walk), 0);
    EXPECT_EQ(next(walk), -1417);
    EXPECT_EQ(FSCloseIterator(walk), 0);
    EXPECT_TRUE(trees::exists(m_temp.at("outside/kept")));
    EXPECT_TRUE(fs::is_empty(m_temp.at("moved")));
}

TEST_F(FSCatalogTest, LeavesOutChildrenThatVanish)
{
    trees::makeFiles(m_folder, 3);
    const FSIterator walk = open(m_folder);
    ASSERT_EQ(next(walk), 0);
    for (int i = 0; i < 3; ++i)
        fs::remove(m_folder / ("file" + std::to_string(i)));
    EXPECT_EQ(next(walk), -1417);
    EXPECT_EQ(FSCloseIterator(walk), 0);
}

TEST_F(FSCatalogTest, ComesBackUpThroughLevelsThatWereClosed)
{
    constexpr int kLevels = 3 * kMaxOpenLevels;
    trees::makeChain(m_folder, kLevels, "d");
    std::vector<FSIterator> walks {open(m_folder)};
    for (int i = 0; i < kLevels; ++i) {
        ASSERT_EQ(next(walks.back()), 0);
        FSIterator below = nullptr;
        ASSERT_EQ(FSOpenChildIterator(walks.back(), &below), 0);
        walks.push_back(below);
    }
    EXPECT_EQ(next(walks.back()), -1417);
    for (; walks.size() > 1; walks.pop_back()) {
        ASSERT_EQ(FSCloseIterator(walks.back()), 0);
        ASSERT_EQ(FSDeleteChild(walks[walks.size() - 2]), 0);
    }
    EXPECT_EQ(FSCloseIterator(walks.back()), 0);
    EXPECT_TRUE(fs::is_empty(m_folder));
}
