// Copies that fail, at their beginning or half way: what they report, and that they leave nothing.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "tests/Cocoa2CarbonLib/CopyFixture.h"
#include "tests/support/FileTrees.h"
#include "tests/support/PrivateMounts.h"
#include "tests/support/ScopedFileSizeLimit.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class FSCopyFailureTest : public CopyFixture {
protected:
    /// Lets an ordinary user write into the destination and reach everything.
    void openToNobody()
    {
        ASSERT_EQ(::chmod(m_temp.path().c_str(), 0755), 0);
        ASSERT_EQ(::chown(m_dest.c_str(), child::kNobody, child::kNobody), 0);
    }
};

/// Mounts a file system in memory that only the calling process sees. False where that is not allowed.
bool mountSmall(const fs::path& folder, const char* options)
{
    return mounts::separate() && mounts::mountNew(folder, "tmpfs", options);
}

int stopAtSecondChild(UInt32 level, const FSCatalogInfo*, const FSSpec*, const HFSUniStr255*, void* children)
{
    return level == 1 && ++*static_cast<int*>(children) == 2 ? kFSStopCopying : kFSCopyThisItem;
}

} // namespace

TEST_F(FSCopyFailureTest, LeavesNothingWhenAFileCannotBeRead)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "a file that cannot be read needs an ordinary user";
    for (int i = 0; i < 20; ++i)
        m_temp.write("tree/sub" + std::to_string(i) + "/file", "x");
    ASSERT_EQ(::chmod((m_tree / "sub10/file").c_str(), 0), 0);
    openToNobody();
    const int status = child::runAsNobody([&] {
        std::string printed;
        EXPECT_EQ(copy(m_tree, &printed), -5000);
        EXPECT_THAT(withoutLineNumbers(printed),
            testing::EndsWith("\n\n\nFSDeleteObjects -- Deleting " + (m_dest / "tree").string()
                + "\nerr != noErr in File: FSCopyObject.cpp, Function: FSCopyObject, Line: N, Error: "
                  "-5000\n"));
        return HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyFailureTest, LeavesNothingWhenAFolderCannotBeRead)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "a folder that cannot be read needs an ordinary user";
    ASSERT_EQ(::chmod(m_temp.makeFolder("tree/closed").c_str(), 0700), 0);
    openToNobody();
    EXPECT_EQ(child::runAsNobody([&] { return copy(m_tree) == -5000 ? 0 : 1; }), 0);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyFailureTest, LeavesNothingOfReadOnlyFoldersThatWereFinished)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "only an ordinary user is kept from deleting in a read-only folder";
    // Whichever of the two comes first is finished, and closed to its owner, when the second one stops the
    // copy.
    for (const char* const name : {"one", "two"}) {
        m_temp.write("tree/" + std::string(name) + "/sub/file", "x");
        ASSERT_EQ(::chmod((m_tree / name / "sub").c_str(), 0555), 0);
        ASSERT_EQ(::chmod((m_tree / name).c_str(), 0555), 0);
    }
    openToNobody();
    const int status = child::runAsNobody([&] {
        int children = 0;
        CopyCall call;
        call.source = m_tree;
        call.destDir = m_dest;
        call.filterProc = stopAtSecondChild;
        call.yourData = &children;
        return call.run() == -128 && children == 2 ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyFailureTest, LeavesNothingOnAFullVolume)
{
    m_temp.write("tree/sub/big", std::string(3 << 20, 'x'));
    for (int i = 0; i < 10; ++i)
        m_temp.write("tree/file" + std::to_string(i), "x");
    const int status = child::run([&] {
        if (!mountSmall(m_dest, "size=1m"))
            return mounts::kCannotMount;
        EXPECT_EQ(copy(m_tree), -34);
        EXPECT_TRUE(fs::is_empty(m_dest));
        EXPECT_EQ(copy(m_tree / "sub/big"), -34);
        EXPECT_TRUE(fs::is_empty(m_dest));
        return HasFailure() ? 1 : 0;
    });
    if (status == mounts::kCannotMount)
        GTEST_SKIP() << "mounting needs user id 0";
    EXPECT_EQ(status, 0);
}

TEST_F(FSCopyFailureTest, PutsTheReplacedObjectBackOnAFullVolume)
{
    const fs::path big = m_temp.write("big", std::string(3 << 20, 'x'));
    const int status = child::run([&] {
        if (!mountSmall(m_dest, "size=1m"))
            return mounts::kCannotMount;
        m_temp.write("dest/big", "old");
        CopyCall call;
        call.source = big;
        call.destDir = m_dest;
        call.dupeAction = 1;
        std::string printed;
        EXPECT_EQ(call.run(&printed), -34);
        EXPECT_THAT(printed,
            testing::HasSubstr("FSCopyObject -- Cleaning up, this might take a moment.  err : -34\n"));
        EXPECT_EQ(readWholeFile(m_dest / "big"), "old");
        EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("big"));
        return HasFailure() ? 1 : 0;
    });
    if (status == mounts::kCannotMount)
        GTEST_SKIP() << "mounting needs user id 0";
    EXPECT_EQ(status, 0);
}

TEST_F(FSCopyFailureTest, LeavesNothingOfAFileThatMayNotGrow)
{
    m_temp.write("tree/sub/big", std::string(100000, 'x'));
    const int status = child::run([&] {
        if (!std::freopen("/dev/null", "w", stdout))
            return 1;
        const FSRef source = refTo(m_tree);
        const FSRef dest = refTo(m_dest);
        const ScopedFileSizeLimit limit(50000);
        return FSCopyObject(
                   &source, &dest, 0, 0, 0, nullptr, false, false, nullptr, nullptr, nullptr, nullptr)
                == -36
            ? 0
            : 2;
    });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyFailureTest, CopiesThoughNothingCanBePrinted)
{
    m_temp.write("tree/sub/file", "x");
    const int status = child::run([&] {
        if (!std::freopen("/dev/full", "w", stdout))
            return 1;
        const FSRef source = refTo(m_tree);
        const FSRef dest = refTo(m_dest);
        return FSCopyObject(
            &source, &dest, 0, 0, 0, nullptr, false, false, nullptr, nullptr, nullptr, nullptr);
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(describeTree(m_dest / "tree"), describeTree(m_tree));
}

TEST_F(FSCopyFailureTest, CopiesToAnotherVolumeThroughTheBuffer)
{
    m_temp.write("tree/sub/file", std::string(600000, 'x'));
    const int status = child::run([&] {
        if (!mountSmall(m_dest, "size=4m"))
            return mounts::kCannotMount;
        std::string printed;
        EXPECT_EQ(copy(m_tree, &printed), 0);
        EXPECT_THAT(printed, testing::HasSubstr("\t\t\t\tisDropBox: no, PBHCopyFileSync supported: no\n\n"));
        EXPECT_EQ(describeTree(m_dest / "tree"), describeTree(m_tree));
        return HasFailure() ? 1 : 0;
    });
    if (status == mounts::kCannotMount)
        GTEST_SKIP() << "mounting needs user id 0";
    EXPECT_EQ(status, 0);
}

TEST_F(FSCopyFailureTest, ReportsAReadOnlyVolume)
{
    const int status = child::run([&] {
        if (!mountSmall(m_dest, "size=1m")
            || ::mount("none", m_dest.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0)
            return mounts::kCannotMount;
        return copy(m_tree) == -44 ? 0 : 1;
    });
    if (status == mounts::kCannotMount)
        GTEST_SKIP() << "mounting needs user id 0";
    EXPECT_EQ(status, 0);
}

TEST_F(FSCopyFailureTest, RefusesWhatIsMountedInTheSource)
{
    const fs::path mounted = m_temp.makeFolder("tree/mounted");
    const int status = child::run([&] {
        if (!mountSmall(mounted, "size=1m"))
            return mounts::kCannotMount;
        EXPECT_EQ(copy(m_tree), -47);
        EXPECT_TRUE(fs::is_empty(m_dest));
        return HasFailure() ? 1 : 0;
    });
    if (status == mounts::kCannotMount)
        GTEST_SKIP() << "mounting needs user id 0";
    EXPECT_EQ(status, 0);
}

TEST_F(FSCopyFailureTest, RefusesPipesSocketsAndDevices)
{
    const auto make = [this](const char* name, mode_t kind, dev_t device) {
        return ::mknod((m_tree / name).c_str(), kind | 0600, device) == 0;
    };
    ASSERT_TRUE(make("pipe", S_IFIFO, 0));
    ASSERT_TRUE(make("socket", S_IFSOCK, 0));
    EXPECT_EQ(copy(m_tree / "pipe"), -1302);
    EXPECT_EQ(copy(m_tree / "socket"), -1302);
    EXPECT_EQ(copy("/dev/null"), -1302);
    EXPECT_EQ(copy(m_tree), -1302);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyFailureTest, RefusesTheRootFolderAndPathsThatEndInTheFolderAbove)
{
    m_temp.makeFolder("tree/sub");
    EXPECT_EQ(copy("/"), -50);
    EXPECT_EQ(copy(m_tree / "sub" / ".."), -50);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyFailureTest, RefusesADestinationThatIsNoFolder)
{
    CopyCall call;
    call.source = m_tree;
    call.destDir = m_temp.write("file", "kept");
    EXPECT_EQ(call.run(), -120);
    EXPECT_EQ(readWholeFile(m_temp.at("file")), "kept");
}

TEST_F(FSCopyFailureTest, RefusesObjectsThatTookThePlaceOfSourceOrDestination)
{
    const FSRef source = refTo(m_tree);
    const FSRef dest = refTo(m_dest);
    const auto copyRefs = [&] {
        testing::internal::CaptureStdout();
        const OSStatus error = FSCopyObject(
            &source, &dest, 0, 0, 0, nullptr, false, false, nullptr, nullptr, nullptr, nullptr);
        (void)testing::internal::GetCapturedStdout(); // its text is another test's matter
        return error;
    };
    fs::rename(m_dest, m_temp.at("moved"));
    m_temp.makeFolder("dest");
    EXPECT_EQ(copyRefs(), -1401);
    fs::remove(m_dest);
    fs::rename(m_temp.at("moved"), m_dest);
    fs::rename(m_tree, m_temp.at("moved"));
    m_temp.makeFolder("tree");
    EXPECT_EQ(copyRefs(), -1401);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyFailureTest, ReportsAttributesThatTheDestinationCannotHold)
{
    const fs::path file = m_temp.write("tree/file", "x");
    if (!setAttribute(file, "user.origin", "somewhere"))
        GTEST_SKIP() << "the file system has no extended attributes";
    const int status = child::run([&] {
        if (!mounts::separate() || !mounts::mountNew(m_dest, "ramfs", nullptr))
            return mounts::kCannotMount;
        EXPECT_EQ(copy(m_tree), -123);
        EXPECT_TRUE(fs::is_empty(m_dest));
        return HasFailure() ? 1 : 0;
    });
    if (status == mounts::kCannotMount)
        GTEST_SKIP() << "mounting needs user id 0";
    EXPECT_EQ(status, 0);
}
