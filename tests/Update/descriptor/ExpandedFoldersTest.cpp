// The check that folders hold what their archives expanded to.
#include "Update/descriptor/ExpandedFolders.h"

#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

FSRef refTo(const fs::path& path)
{
    FSRef ref;
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr), 0) << path;
    return ref;
}

/// A folder of `entries` files in which `archives` archives were counted.
tagFSRefCount folderOf(const ScopedTempDir& parent, const std::string& name, int entries, SInt32 archives)
{
    const fs::path path = parent.makeFolder(name);
    for (int i = 0; i < entries; ++i)
        (void)parent.write(name + "/" + std::to_string(i), "");
    return {refTo(path), archives};
}

/// A folder that is gone since it was counted.
tagFSRefCount goneFolder(const ScopedTempDir& parent)
{
    const fs::path path = parent.makeFolder("gone");
    const tagFSRefCount folder {refTo(path), 1};
    fs::remove(path);
    return folder;
}

} // namespace

TEST(HoldExpandedItems, NeedsTwiceAsManyEntriesAsArchives)
{
    struct Case {
        int entries;
        SInt32 archives;
        bool passes;
    };
    for (const Case& c : {Case {1, 1, false}, Case {2, 1, true}, Case {3, 2, false}, Case {4, 2, true},
             Case {0, 1, false}, Case {10, 5, true}, Case {9, 5, false}, Case {11, 5, true}}) {
        const ScopedTempDir parent;
        EXPECT_EQ(holdExpandedItems({folderOf(parent, "a", c.entries, c.archives)}), c.passes)
            << c.entries << " entries, " << c.archives << " archives";
    }
}

TEST(HoldExpandedItems, AcceptsNoFolders)
{
    EXPECT_TRUE(holdExpandedItems({}));
}

TEST(HoldExpandedItems, FailsWhenAnyFolderFails)
{
    const ScopedTempDir parent;
    const tagFSRefCount good = folderOf(parent, "good", 2, 1);
    const tagFSRefCount bad = folderOf(parent, "bad", 1, 1);
    EXPECT_TRUE(holdExpandedItems({good, good}));
    EXPECT_FALSE(holdExpandedItems({good, bad}));
    EXPECT_FALSE(holdExpandedItems({bad, good}));
}

TEST(HoldExpandedItems, CarriesTheVerdictOverAFolderThatCannotBeOpened)
{
    const ScopedTempDir parent;
    const tagFSRefCount good = folderOf(parent, "good", 2, 1);
    const tagFSRefCount bad = folderOf(parent, "bad", 1, 1);
    const tagFSRefCount gone = goneFolder(parent);
    EXPECT_TRUE(holdExpandedItems({good, gone}));
    EXPECT_TRUE(holdExpandedItems({good, gone, good}));
    EXPECT_FALSE(holdExpandedItems({good, gone, bad}));
    EXPECT_FALSE(holdExpandedItems({gone, good})); // before the first folder the verdict is false
}

TEST(CountArchivesByFolder, CountsEachFolderOnceInOrder)
{
    const ScopedTempDir parent;
    const FSRef b1 = refTo(parent.write("b/1.zip", ""));
    const FSRef a1 = refTo(parent.write("a/1.zip", ""));
    const FSRef b2 = refTo(parent.write("b/2.zip", ""));
    const std::vector<tagFSRefCount> folders = countArchivesByFolder({b1, a1, b2, b1});
    ASSERT_EQ(folders.size(), 2u);
    EXPECT_EQ(folders[0].folder.path, parent.at("b").string());
    EXPECT_EQ(folders[0].count, 3);
    EXPECT_EQ(folders[1].folder.path, parent.at("a").string());
    EXPECT_EQ(folders[1].count, 1);
}

TEST(CountArchivesByFolder, ComparesFoldersAndNotTheirNames)
{
    const ScopedTempDir parent;
    (void)parent.write("real/1.zip", "");
    (void)parent.write("real/2.zip", "");
    fs::create_directory_symlink(parent.at("real"), parent.at("link"));
    const std::vector<tagFSRefCount> folders
        = countArchivesByFolder({refTo(parent.at("real/1.zip")), refTo(parent.at("link/2.zip"))});
    ASSERT_EQ(folders.size(), 1u);
    EXPECT_EQ(folders[0].count, 2);
}

TEST(CountArchivesByFolder, LeavesOutAnArchiveThatIsGone)
{
    const ScopedTempDir parent;
    const FSRef archive = refTo(parent.write("a/1.zip", ""));
    fs::remove(parent.at("a/1.zip"));
    EXPECT_TRUE(countArchivesByFolder({archive}).empty());
}
