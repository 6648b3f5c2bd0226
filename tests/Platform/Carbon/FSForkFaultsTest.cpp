// Forks on a system whose calls do less than they are asked for, are interrupted, or fail half way.
#include "Platform/Carbon/FSFork.h"

#include "Platform/Support/Descriptor.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <functional>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// How the system's calls below behave; by default as they are.
struct Faults {
    std::size_t mostBytes = SIZE_MAX; ///< for one call
    int interruptions = 0;            ///< how many calls to come are interrupted
    int error = 0;                    ///< of calls behind `errorBehind`; 0: none
    off_t errorBehind = 0;
    bool copiesNothing = false;
    bool hasClone = true;
    std::function<void()> beforeSeek;
};
Faults g_faults;

/// True when a call that begins at `position` fails; errno tells why. Otherwise `bytes` is what it may do.
bool fails(off_t position, std::size_t& bytes)
{
    if (g_faults.interruptions > 0) {
        --g_faults.interruptions;
        errno = EINTR;
        return true;
    }
    bytes = std::min(bytes, g_faults.mostBytes);
    errno = g_faults.error;
    return g_faults.error != 0 && position >= g_faults.errorBehind;
}

class FSForkFaultsTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(FSOpenForkForReading(m_from.get(), "", &m_source), 0);
        ASSERT_EQ(FSOpenForkForWriting(m_to.get(), "", &m_dest), 0);
        g_faults.hasClone = false;
    }
    void TearDown() override
    {
        g_faults = {};
        FSCloseFork(m_source);
        FSCloseFork(m_dest);
    }
    std::string copied() const { return readWholeFile(m_temp.at("dest")); }

    ScopedTempDir m_temp;
    const std::string m_content = std::string(5000, 'x') + "end";
    const Descriptor m_from {::open(m_temp.write("source", m_content).c_str(), O_RDWR | O_CLOEXEC)};
    const Descriptor m_to {::open(m_temp.write("dest", "").c_str(), O_RDWR | O_CLOEXEC)};
    FSForkRef m_source = nullptr;
    FSForkRef m_dest = nullptr;
};

} // namespace

// The platform calls these in place of the C library's.
extern "C" {

ssize_t copy_file_range(int from, off64_t* fromAt, int to, off64_t* toAt, size_t bytes, unsigned flags)
{
    if (fails(*fromAt, bytes))
        return -1;
    return g_faults.copiesNothing ? 0 : ::syscall(SYS_copy_file_range, from, fromAt, to, toAt, bytes, flags);
}

ssize_t pread(int file, void* buffer, size_t bytes, off_t position)
{
    return fails(position, bytes) ? -1 : ::syscall(SYS_pread64, file, buffer, bytes, position);
}

ssize_t pwrite(int file, const void* buffer, size_t bytes, off_t position)
{
    if (fails(position, bytes))
        return -1;
    return g_faults.copiesNothing ? 0 : ::syscall(SYS_pwrite64, file, buffer, bytes, position);
}

off_t lseek(int file, off_t position, int whence) noexcept
{
    if (whence == SEEK_DATA && g_faults.beforeSeek)
        g_faults.beforeSeek();
    return ::syscall(SYS_lseek, file, position, whence);
}

int ioctl(int file, unsigned long request, ...) noexcept // the C library's own signature
{
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (request == FICLONE && !g_faults.hasClone) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_ioctl, file, request, argument));
}
}

TEST_F(FSForkFaultsTest, LetsTheVolumeCopyInPiecesAndAfterInterruptions)
{
    g_faults.mostBytes = 999;
    g_faults.interruptions = 3;
    const OSStatus error = PBHCopyFileSync(m_source, m_dest);
    if (error == -4)
        GTEST_SKIP() << "the file system cannot copy by itself";
    EXPECT_EQ(error, 0);
    EXPECT_EQ(g_faults.interruptions, 0);
    EXPECT_EQ(copied(), m_content);
}

TEST_F(FSForkFaultsTest, TellsWhenTheVolumeCannotCopyByItself)
{
    for (const int posixError : {EXDEV, EOPNOTSUPP, ENOSYS, EINVAL, EPERM, ETXTBSY}) {
        g_faults.error = posixError;
        EXPECT_EQ(PBHCopyFileSync(m_source, m_dest), -4) << posixError;
    }
    g_faults.error = 0;
    g_faults.copiesNothing = true;
    EXPECT_EQ(PBHCopyFileSync(m_source, m_dest), -4);
}

TEST_F(FSForkFaultsTest, TellsWhenTheVolumesOwnCopyFails)
{
    for (const auto& [posixError, error] : {std::pair(ENOSPC, -34), {EDQUOT, -34}, {EIO, -36}}) {
        g_faults.error = posixError;
        EXPECT_EQ(PBHCopyFileSync(m_source, m_dest), error) << posixError;
    }
}

TEST_F(FSForkFaultsTest, ReadsAndWritesEverythingInPiecesAndAfterInterruptions)
{
    g_faults.mostBytes = 7;
    g_faults.interruptions = 2;
    std::string bytes(m_content.size(), '\0');
    EXPECT_EQ(FSReadFork(m_source, 0, static_cast<UInt32>(bytes.size()), bytes.data()), 0);
    EXPECT_EQ(bytes, m_content);
    g_faults.interruptions = 2;
    EXPECT_EQ(FSWriteFork(m_dest, 0, static_cast<UInt32>(bytes.size()), bytes.data()), 0);
    EXPECT_EQ(g_faults.interruptions, 0);
    EXPECT_EQ(copied(), m_content);
}

TEST_F(FSForkFaultsTest, ReportsAVolumeThatBecomesFullHalfWay)
{
    g_faults.mostBytes = 1000;
    g_faults.errorBehind = 3000;
    for (const auto& [posixError, error] : {std::pair(ENOSPC, -34), {EDQUOT, -34}, {EIO, -36}}) {
        g_faults.error = posixError;
        EXPECT_EQ(FSWriteFork(m_dest, 0, 5000, m_content.data()), error) << posixError;
    }
    g_faults.error = 0;
    g_faults.copiesNothing = true;
    EXPECT_EQ(FSWriteFork(m_dest, 0, 5000, m_content.data()), -36) << "no endless trying";
}

TEST_F(FSForkFaultsTest, TakesAFileThatIsCutMeanwhileForNoneThatEndsInAHole)
{
    g_faults.beforeSeek = [this] { ASSERT_EQ(::ftruncate(m_from.get(), 0), 0); };
    UInt64 start = 0;
    UInt64 end = 0;
    EXPECT_EQ(FSNextForkData(m_source, 0, &start, &end), -39);
}
