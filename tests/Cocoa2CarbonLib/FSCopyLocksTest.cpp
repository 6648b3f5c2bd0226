// Copies of, into and over what is locked.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "tests/Cocoa2CarbonLib/CopyFixture.h"
#include "tests/support/FileTrees.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

class FSCopyLocksTest : public CopyFixture {
protected:
    void SetUp() override
    {
        if (!trees::setImmutable(m_tree, true))
            GTEST_SKIP() << "immutable files need CAP_LINUX_IMMUTABLE and a file system that knows them";
        trees::setImmutable(m_tree, false);
        m_temp.write("tree/file", "new");
    }
};

} // namespace

TEST_F(FSCopyLocksTest, CopiesALockedSourceWithoutItsLock)
{
    trees::setImmutable(m_tree / "file", true);
    trees::setImmutable(m_tree, true);
    EXPECT_EQ(copy(m_tree), 0);
    trees::setImmutable(m_tree, false);
    trees::setImmutable(m_tree / "file", false);
    EXPECT_EQ(readWholeFile(m_dest / "tree/file"), "new");
    EXPECT_EQ(fs::remove_all(m_dest / "tree"), 2u) << "nothing of the copy is locked";
}

TEST_F(FSCopyLocksTest, MakesNothingInALockedFolder)
{
    trees::setImmutable(m_dest, true);
    EXPECT_EQ(copy(m_tree), -54);
    trees::setImmutable(m_dest, false);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyLocksTest, ReplacesNoLockedObject)
{
    m_temp.write("dest/tree/file", "old");
    trees::setImmutable(m_dest / "tree", true);
    EXPECT_EQ(replace(m_tree, m_dest), -54);
    trees::setImmutable(m_dest / "tree", false);
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("tree"));
    EXPECT_EQ(readWholeFile(m_dest / "tree/file"), "old");
}

TEST_F(FSCopyLocksTest, ReplacesAFolderThatHoldsLockedFiles)
{
    const fs::path locked = m_temp.write("dest/tree/sub/locked", "old");
    trees::setImmutable(locked, true);
    trees::setImmutable(m_dest / "tree/sub", true);
    EXPECT_EQ(replace(m_tree, m_dest), 0);
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("tree"));
    EXPECT_THAT(trees::names(m_dest / "tree"), testing::ElementsAre("file"));
}
