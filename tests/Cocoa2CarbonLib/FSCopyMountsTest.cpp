// Copies where something is mounted in, or over, the source or the destination.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "tests/Cocoa2CarbonLib/CopyFixture.h"
#include "tests/support/FileTrees.h"
#include "tests/support/PrivateMounts.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

class FSCopyMountsTest : public CopyFixture {
protected:
    /// Shows `what` at `where` as well and runs `body`, in a child. False where mounting is not allowed.
    bool withBind(const fs::path& what, const fs::path& where, const std::function<void()>& body)
    {
        const int status = child::run([&] {
            if (!mounts::separate() || !mounts::bind(what, where))
                return mounts::kCannotMount;
            body();
            return HasFailure() ? 1 : 0;
        });
        EXPECT_TRUE(status == 0 || status == mounts::kCannotMount) << status;
        return status != mounts::kCannotMount;
    }
};

constexpr char kNeedsMounting[] = "mounting needs user id 0";

} // namespace

TEST_F(FSCopyMountsTest, RefusesAFolderOfTheSameVolumeThatIsMountedInTheSource)
{
    const fs::path mounted = m_temp.makeFolder("tree/mounted");
    m_temp.write("elsewhere/file", "x");
    const bool ran = withBind(m_temp.at("elsewhere"), mounted, [&] {
        EXPECT_EQ(copy(m_tree), -47);
        EXPECT_TRUE(fs::is_empty(m_dest));
    });
    if (!ran)
        GTEST_SKIP() << kNeedsMounting;
}

TEST_F(FSCopyMountsTest, CopiesAFolderThatIsItselfMounted)
{
    m_temp.write("elsewhere/file", "x");
    const bool ran = withBind(m_temp.at("elsewhere"), m_tree, [&] { expectCopies(); });
    if (!ran)
        GTEST_SKIP() << kNeedsMounting;
}

TEST_F(FSCopyMountsTest, SeesADestinationInsideTheSourceThroughAMount)
{
    const fs::path inside = m_temp.makeFolder("tree/sub");
    const bool ran = withBind(inside, m_dest, [&] {
        EXPECT_EQ(copy(m_tree), -122);
        EXPECT_TRUE(fs::is_empty(inside));
    });
    const bool ranWithSource = withBind(m_tree, m_dest, [&] {
        EXPECT_EQ(copy(m_tree), -122);
        EXPECT_THAT(trees::names(m_tree), testing::ElementsAre("sub"));
    });
    if (!ran || !ranWithSource)
        GTEST_SKIP() << kNeedsMounting;
}

TEST_F(FSCopyMountsTest, ReplacesNoSourceThatAMountShowsInTheDestination)
{
    const fs::path file = m_temp.write("tree/file", "kept");
    const fs::path folder = m_temp.makeFolder("tree/folder");
    const bool ran = withBind(m_tree, m_dest, [&] {
        for (const fs::path& source : {file, folder, m_dest / "file", m_dest / "folder"}) {
            EXPECT_EQ(replace(source, m_dest), -47) << source;
            EXPECT_EQ(replace(source, m_tree), -47) << source;
        }
        EXPECT_THAT(trees::names(m_tree), testing::ElementsAre("file", "folder"));
        EXPECT_EQ(readWholeFile(file), "kept");
    });
    if (!ran)
        GTEST_SKIP() << kNeedsMounting;
}

TEST_F(FSCopyMountsTest, ReplacesNoFileThatAMountShowsAsTheSource)
{
    const fs::path file = m_temp.write("dest/file", "kept");
    const fs::path shown = m_temp.write("tree/file", "");
    const bool ran = withBind(file, shown, [&] {
        EXPECT_EQ(replace(shown, m_dest), -47);
        EXPECT_EQ(readWholeFile(file), "kept");
        EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("file"));
    });
    if (!ran)
        GTEST_SKIP() << kNeedsMounting;
}

TEST_F(FSCopyMountsTest, CopiesAndReplacesInALayeredVolume)
{
    const fs::path lower = m_temp.makeFolder("lower");
    const fs::path upper = m_temp.makeFolder("upper");
    const std::string options = "lowerdir=" + lower.string() + ",upperdir=" + upper.string()
        + "/data,workdir=" + upper.string() + "/work";
    const int status = child::run([&] {
        // Two volumes below: objects get other numbers when they are copied from the lower to the upper one.
        if (!mounts::separate() || !mounts::mountNew(lower, "tmpfs", nullptr)
            || !mounts::mountNew(upper, "tmpfs", nullptr))
            return mounts::kCannotMount;
        m_temp.makeFolder("upper/data");
        m_temp.makeFolder("upper/work");
        m_temp.write("lower/file", "old");
        m_temp.write("lower/tree/sub/file", "old");
        if (!mounts::mountNew(m_dest, "overlay", options.c_str()))
            return mounts::kCannotMount;
        EXPECT_EQ(replace(m_temp.write("file", "new"), m_dest), 0);
        EXPECT_EQ(readWholeFile(m_dest / "file"), "new");
        EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("file", "tree"));
        CopyCall call;
        call.source = m_dest / "tree";
        call.destDir = m_dest;
        call.dupeAction = kDupeActionRename;
        EXPECT_EQ(call.run(), 0);
        EXPECT_EQ(describeTree(m_dest / "tree_1"), describeTree(m_dest / "tree"));
        return HasFailure() ? 1 : 0;
    });
    if (status == mounts::kCannotMount)
        GTEST_SKIP() << kNeedsMounting;
    EXPECT_EQ(status, 0);
}

TEST_F(FSCopyMountsTest, ReplacesNothingThatSomethingIsMountedOn)
{
    m_temp.write("tree/file", "new");
    const fs::path mounted = m_temp.makeFolder("dest/tree");
    m_temp.write("elsewhere/file", "kept");
    const bool ran = withBind(m_temp.at("elsewhere"), mounted, [&] {
        EXPECT_EQ(replace(m_tree, m_dest), -47);
        EXPECT_EQ(readWholeFile(mounted / "file"), "kept");
        EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("tree"));
    });
    if (!ran)
        GTEST_SKIP() << kNeedsMounting;
}
