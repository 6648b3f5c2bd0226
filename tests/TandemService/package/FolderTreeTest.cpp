// Removing whole trees: any depth, never through a mount.
#include "TandemService/package/FolderTree.h"
#include "tests/TandemService/package/SmallDisk.h"
#include "tests/support/TempDir.h"

#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// Makes `depth` folders, each within the one before.
void makeDeep(const fs::path& top, int depth)
{
    Descriptor folder(open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(mkdirat(folder.get(), "deeper", 0700), 0);
        folder = openFolderAt(folder.get(), "deeper");
        ASSERT_TRUE(folder);
    }
}

class FolderTrees : public ::testing::Test {
protected:
    FolderTrees()
        : m_folder(open(m_scratch.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
    }

    ScopedTempDir m_scratch;
    Descriptor m_folder;
};

} // namespace

TEST_F(FolderTrees, AreRemovedWhateverTheirDepth)
{
    for (const int depth : {1, 199, 200, 201, 450}) {
        makeDeep(m_scratch.makeFolder("tree"), depth);
        EXPECT_TRUE(removeTreeAt(m_folder.get(), "tree")) << depth;
        EXPECT_TRUE(fs::is_empty(m_scratch.path())) << depth;
    }
}

TEST_F(FolderTrees, AreRemovedThoughTheirFoldersAreClosed)
{
    (void)m_scratch.write("tree/closed/file", "x");
    (void)m_scratch.write("tree/readonly/file", "x");
    ASSERT_EQ(chmod(m_scratch.at("tree/closed").c_str(), 0000), 0);
    ASSERT_EQ(chmod(m_scratch.at("tree/readonly").c_str(), 0500), 0);
    EXPECT_TRUE(removeTreeAt(m_folder.get(), "tree"));
    EXPECT_TRUE(fs::is_empty(m_scratch.path()));
}

TEST_F(FolderTrees, LoseTheirLinksButNotWhatTheseNameNorItsRights)
{
    const fs::path outside = m_scratch.makeFolder("outside");
    ASSERT_EQ(chmod(outside.c_str(), 0500), 0);
    (void)m_scratch.makeFolder("tree");
    fs::create_directory_symlink(outside, m_scratch.at("tree/link"));
    EXPECT_TRUE(removeTreeAt(m_folder.get(), "tree"));
    struct stat status = {};
    ASSERT_EQ(stat(outside.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFDIR | 0500U);
}

TEST_F(FolderTrees, KeepWhatIsMountedInThem)
{
    (void)m_scratch.makeFolder("tree/before");
    const SmallDisk disk(m_scratch.makeFolder("tree/disk"), "size=1m");
    SKIP_UNLESS_MOUNTED(disk);
    (void)m_scratch.write("tree/disk/gold", "mine");
    EXPECT_TRUE(holdsMountAt(m_folder.get(), "tree"));
    EXPECT_FALSE(removeTreeAt(m_folder.get(), "tree"));
    EXPECT_EQ(errno, EBUSY);
    EXPECT_EQ(readWholeFile(m_scratch.at("tree/disk/gold")), "mine");
    EXPECT_FALSE(fs::exists(m_scratch.at("tree/before")));
}

TEST_F(FolderTrees, KeepAFolderOfTheSameFileSystemThatIsMountedInThem)
{
    (void)m_scratch.write("outside/gold", "mine");
    const fs::path place = m_scratch.makeFolder("tree/place");
    const BoundFolder bound(m_scratch.at("outside"), place);
    SKIP_UNLESS_MOUNTED(bound);
    EXPECT_TRUE(holdsMountAt(m_folder.get(), "tree"));
    EXPECT_FALSE(removeTreeAt(m_folder.get(), "tree"));
    EXPECT_EQ(readWholeFile(m_scratch.at("outside/gold")), "mine");
}

TEST_F(FolderTrees, HoldNoMountWhereNothingIsMounted)
{
    (void)m_scratch.write("tree/a/b/c", "x");
    fs::create_directory_symlink("/proc", m_scratch.at("tree/link"));
    EXPECT_FALSE(holdsMountAt(m_folder.get(), "tree"));
    EXPECT_FALSE(holdsMountAt(m_folder.get(), "missing"));
}
