// Copies and deletions on a system whose calls are listened to, and some of which fail.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "Cocoa2CarbonLib/FSDeleteObjects.h"
#include "tests/Cocoa2CarbonLib/CopyFixture.h"
#include "tests/support/FileTrees.h"
#include "tests/support/PrivateMounts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/syscall.h>

namespace fs = std::filesystem;

namespace {

/// What the calls below were, in their order, and which of them fail with which error; 0: they work.
struct Calls {
    std::vector<std::string> made;
    int fsyncError = 0;
    int writeError = 0;
    int closeError = 0; ///< of files open for writing alone
    int renameError = 0;
    bool isOnNetwork = false;
    bool tellsOfMounts = true;
};
Calls g_calls;

bool fails(const char* name, int error)
{
    g_calls.made.emplace_back(name);
    errno = error;
    return error != 0;
}

bool isWrittenFile(int file)
{
    struct stat status { };
    return (::fcntl(file, F_GETFL) & O_ACCMODE) == O_WRONLY && ::fstat(file, &status) == 0
        && S_ISREG(status.st_mode);
}

/// Where the first or last call of that name is in their order.
std::ptrdiff_t firstOf(const std::string& name)
{
    return std::find(g_calls.made.begin(), g_calls.made.end(), name) - g_calls.made.begin();
}
std::ptrdiff_t lastOf(const std::string& name)
{
    return g_calls.made.rend() - std::find(g_calls.made.rbegin(), g_calls.made.rend(), name) - 1;
}

class FSCopyCallsTest : public CopyFixture {
protected:
    void TearDown() override { g_calls = {}; }

    OSStatus replaceTree()
    {
        m_temp.write("tree/sub/file", "new");
        m_temp.write("dest/tree/file", "old");
        return replace(m_tree, m_dest);
    }

    void expectTreeIsAsBefore()
    {
        EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("tree"));
        EXPECT_THAT(trees::names(m_dest / "tree"), testing::ElementsAre("file"));
        EXPECT_EQ(readWholeFile(m_dest / "tree/file"), "old");
    }
};

} // namespace

// The platform calls these in place of the C library's.
extern "C" {

int fsync(int file)
{
    return fails("fsync", g_calls.fsyncError) ? -1 : static_cast<int>(::syscall(SYS_fsync, file));
}

int unlinkat(int folder, const char* name, int flags) noexcept
{
    (void)fails("unlinkat", 0); // it works always
    return static_cast<int>(::syscall(SYS_unlinkat, folder, name, flags));
}

ssize_t fgetxattr(int file, const char* name, void* value, size_t bytes) noexcept
{
    (void)fails("fgetxattr", 0); // it works always
    return ::syscall(SYS_fgetxattr, file, name, value, bytes);
}

ssize_t pwrite(int file, const void* buffer, size_t bytes, off_t position)
{
    return fails("pwrite", g_calls.writeError) ? -1 : ::syscall(SYS_pwrite64, file, buffer, bytes, position);
}

// The volume cannot copy by itself: everything goes through pwrite.
ssize_t copy_file_range(int, off64_t*, int, off64_t*, size_t, unsigned)
{
    errno = EOPNOTSUPP;
    return -1;
}

int ioctl(int file, unsigned long request, ...) noexcept // the C library's own signature
{
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (request == FICLONE && fails("FICLONE", EOPNOTSUPP))
        return -1;
    return static_cast<int>(::syscall(SYS_ioctl, file, request, argument));
}

int close(int file)
{
    const bool fails = g_calls.closeError != 0 && isWrittenFile(file);
    const int result = static_cast<int>(::syscall(SYS_close, file));
    if (fails)
        errno = g_calls.closeError;
    return fails ? -1 : result;
}

int renameat2(int folder, const char* name, int newFolder, const char* newName, unsigned flags) noexcept
{
    if (fails("renameat2", g_calls.renameError))
        return -1;
    return static_cast<int>(::syscall(SYS_renameat2, folder, name, newFolder, newName, flags));
}

int statx(int folder, const char* name, int flags, unsigned mask, struct statx* status) noexcept
{
    const int result = static_cast<int>(::syscall(SYS_statx, folder, name, flags, mask, status));
    if (!g_calls.tellsOfMounts) {
        status->stx_attributes_mask &= ~UInt64 {STATX_ATTR_MOUNT_ROOT};
        status->stx_attributes &= ~UInt64 {STATX_ATTR_MOUNT_ROOT};
    }
    return result;
}

int fstatfs(int file, struct statfs* status) noexcept
{
    const int result = static_cast<int>(::syscall(SYS_fstatfs, file, status));
    if (g_calls.isOnNetwork)
        status->f_type = NFS_SUPER_MAGIC;
    return result;
}
}

TEST_F(FSCopyCallsTest, StoresTheCopyBeforeItDeletesWhatThatReplaces)
{
    EXPECT_EQ(replaceTree(), 0);
    EXPECT_EQ(std::count(g_calls.made.begin(), g_calls.made.end(), "fsync"), 3) << "a file and two folders";
    EXPECT_LT(lastOf("fsync"), firstOf("unlinkat"));
}

TEST_F(FSCopyCallsTest, WaitsForNoStorageWhereNothingIsReplaced)
{
    m_temp.write("tree/sub/file", "new");
    EXPECT_EQ(copy(m_tree), 0);
    EXPECT_THAT(g_calls.made, testing::Not(testing::Contains("fsync")));
}

TEST_F(FSCopyCallsTest, PutsTheReplacedObjectBackWhenTheCopyCannotBeStored)
{
    for (const auto& [posixError, error] : {std::pair(EIO, -36), {ENOSPC, -34}, {EDQUOT, -34}}) {
        g_calls.fsyncError = posixError;
        EXPECT_EQ(replaceTree(), error);
        expectTreeIsAsBefore();
    }
}

TEST_F(FSCopyCallsTest, TakesAVolumeWithoutStorageForOneThatHasStored)
{
    g_calls.fsyncError = EINVAL;
    EXPECT_EQ(replaceTree(), 0);
    EXPECT_EQ(readWholeFile(m_dest / "tree/sub/file"), "new");
}

TEST_F(FSCopyCallsTest, LeavesNothingWhenAQuotaIsUsedUp)
{
    m_temp.write("tree/sub/file", "new");
    g_calls.writeError = EDQUOT;
    EXPECT_EQ(copy(m_tree), -34);
    EXPECT_EQ(copy(m_tree / "sub/file"), -34);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyCallsTest, LeavesNothingWhenOnlyTheClosingTellsThatAFileWasNotWritten)
{
    m_temp.write("tree/sub/file", "new");
    g_calls.closeError = EDQUOT;
    EXPECT_EQ(copy(m_tree), -34);
    EXPECT_EQ(copy(m_tree / "sub/file"), -34);
    g_calls.closeError = 0;
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyCallsTest, OpensAllForksBeforeItCopiesTheFirst)
{
    const fs::path file = m_temp.write("file", "x");
    if (!setAttribute(file, "user.one", "1") || !setAttribute(file, "user.two", "2"))
        GTEST_SKIP() << "the file system has no extended attributes";
    EXPECT_EQ(copy(file), 0);
    EXPECT_EQ(std::count(g_calls.made.begin(), g_calls.made.end(), "fgetxattr"), 2);
    EXPECT_LT(lastOf("fgetxattr"), firstOf("pwrite"));
}

TEST_F(FSCopyCallsTest, AsksTheVolumeToCopyExceptIntoADropBox)
{
    m_temp.write("tree/file", "new");
    EXPECT_EQ(copy(m_tree), 0);
    EXPECT_THAT(g_calls.made, testing::Contains("FICLONE"));
    if (!child::canChangeUser())
        GTEST_SKIP() << "a folder that cannot be read needs an ordinary user";
    fs::remove_all(m_dest / "tree");
    const int status = runAsOwner([this] {
        EXPECT_EQ(::chmod(m_dest.c_str(), 0300), 0);
        g_calls = {};
        EXPECT_EQ(copy(m_tree), 0);
        EXPECT_THAT(g_calls.made, testing::Not(testing::Contains("FICLONE")));
        return HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(readWholeFile(m_dest / "tree/file"), "new");
}

TEST_F(FSCopyCallsTest, ReplacesOnVolumesThatCannotRefuseATakenNameThemselves)
{
    for (const int posixError : {EINVAL, ENOSYS}) {
        g_calls.renameError = posixError;
        EXPECT_EQ(replaceTree(), 0);
        EXPECT_EQ(readWholeFile(m_dest / "tree/sub/file"), "new");
        fs::remove_all(m_dest / "tree");
        m_temp.write("dest/tree.DeleteMe", "somebody's");
        EXPECT_EQ(replaceTree(), -48);
        EXPECT_EQ(readWholeFile(m_dest / "tree.DeleteMe"), "somebody's");
        EXPECT_EQ(readWholeFile(m_dest / "tree/file"), "old");
        fs::remove(m_dest / "tree.DeleteMe");
    }
}

TEST_F(FSCopyCallsTest, SaysThatADestinationOnTheNetworkIsNotLocal)
{
    g_calls.isOnNetwork = true;
    std::string printed;
    EXPECT_EQ(copy(m_tree, &printed), 0);
    EXPECT_THAT(
        printed, testing::HasSubstr("\t\t\t\tcopyBufferSize: 256kB, isDirectory: yes, isLocal: no,\n"));
}

TEST_F(FSCopyCallsTest, DeletesNoMountedFileSystemWhereTheSystemDoesNotTellOfMounts)
{
    const fs::path mounted = m_temp.makeFolder("tree/mounted");
    const FSRef ref = refTo(m_tree);
    const int status = child::run([&] {
        if (!mounts::separate() || !mounts::mountNew(mounted, "tmpfs", nullptr))
            return mounts::kCannotMount;
        m_temp.write("tree/mounted/file", "kept");
        g_calls.tellsOfMounts = false;
        testing::internal::CaptureStdout();
        const OSStatus error = FSDeleteObjects(&ref);
        (void)testing::internal::GetCapturedStdout(); // its text is another test's matter
        return error == -47 && readWholeFile(mounted / "file") == "kept" ? 0 : 1;
    });
    if (status == mounts::kCannotMount)
        GTEST_SKIP() << "mounting needs user id 0";
    EXPECT_EQ(status, 0);
}
