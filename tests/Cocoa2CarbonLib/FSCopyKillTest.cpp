// A replacing copy that is killed, once after each of the system calls that change something.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "tests/Cocoa2CarbonLib/CopyFixture.h"
#include "tests/support/FileTrees.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <iterator>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace fs = std::filesystem;

namespace {

constexpr int kMaxChanges = 200; ///< far more than the copy makes
constexpr int kCannotTrace = -2;

using Tree = std::map<std::string, std::string>;

/// True for a system call that may change something in a folder or file.
bool isChange(const __ptrace_syscall_info& call)
{
    constexpr UInt64 kChanges[]
        = {SYS_mkdirat, SYS_renameat, SYS_renameat2, SYS_unlinkat, SYS_ioctl, SYS_copy_file_range,
            SYS_pwrite64, SYS_ftruncate, SYS_fsetxattr, SYS_fremovexattr, SYS_fchmod, SYS_utimensat};
    if (call.op != PTRACE_SYSCALL_INFO_ENTRY)
        return false;
    const bool creates = call.entry.nr == SYS_openat && (call.entry.args[2] & O_CREAT) != 0;
    return creates
        || std::find(std::begin(kChanges), std::end(kChanges), call.entry.nr) != std::end(kChanges);
}

/// Lets the stopped child go on until it begins or ends a system call. False when the child itself ended.
bool goOn(pid_t child)
{
    int status = 0;
    EXPECT_EQ(::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr), 0);
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSTOPPED(status) || (WIFEXITED(status) && WEXITSTATUS(status) == 0)) << status;
    return WIFSTOPPED(status);
}

/// Lets the stopped child go on until `changes` changing system calls have returned, then kills it. False
/// when it ended before.
bool killAfterChanges(pid_t child, int changes)
{
    for (int done = 0; done < changes;) {
        if (!goOn(child))
            return false;
        __ptrace_syscall_info call {};
        EXPECT_GT(::ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof call, &call), 0);
        if (isChange(call) && goOn(child))
            ++done;
    }
    int status = 0;
    EXPECT_EQ(::kill(child, SIGKILL), 0);
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return true;
}

/// What killAfterChanges gives for a child that runs `body`; kCannotTrace where that is not allowed.
int runAndKill(int changes, const std::function<int()>& body)
{
    (void)std::fflush(nullptr); // what is buffered by now belongs to this process alone
    const pid_t child = ::fork();
    if (child == 0) {
        if (!std::freopen("/dev/null", "w", stdout) || ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            ::_exit(1);
        (void)std::raise(SIGSTOP); // the parent goes on from here
        ::_exit(body());
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFSTOPPED(status))
        return kCannotTrace;
    const bool follows
        = ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL) == 0;
    EXPECT_TRUE(follows);
    return killAfterChanges(child, changes);
}

class FSCopyKillTest : public CopyFixture {
protected:
    /// True when this very tree stands at `path`.
    static bool isAt(const Tree& tree, const fs::path& path)
    {
        return trees::exists(path) && describeTree(path) == tree;
    }

    bool oldOrNewIsWhole() const
    {
        return isAt(m_old, m_dest / "tree") || isAt(m_old, m_dest / "tree.DeleteMe")
            || isAt(m_new, m_dest / "tree");
    }

    Tree m_old;
    Tree m_new;
};

} // namespace

TEST_F(FSCopyKillTest, KeepsTheReplacedObjectOrTheCopyWholeWheneverItIsKilled)
{
    m_temp.write("tree/sub/file", "new");
    m_temp.write("tree/other", "new");
    m_new = describeTree(m_tree);
    int killed = 0;
    for (int changes = 1; changes < kMaxChanges; ++changes) {
        fs::remove_all(m_dest);
        m_temp.write("dest/tree/sub/file", "old");
        m_old = describeTree(m_dest / "tree");
        const FSRef source = refTo(m_tree);
        const FSRef dest = refTo(m_dest);
        const int result = runAndKill(changes, [&] {
            return FSCopyObject(&source, &dest, 0, 0, kDupeActionReplace, nullptr, false, false, nullptr,
                nullptr, nullptr, nullptr);
        });
        if (result == kCannotTrace)
            GTEST_SKIP() << "following a child is not allowed";
        if (result == 0)
            break;
        ++killed;
        ASSERT_TRUE(oldOrNewIsWhole()) << "after " << changes << " changes";
        // The next copy does all or nothing. It never takes what lies aside: nobody can tell whose that is.
        const OSStatus error = replace(m_tree, m_dest);
        ASSERT_TRUE(error == 0 || error == -48) << error << " after " << changes << " changes";
        ASSERT_TRUE(error == 0 ? isAt(m_new, m_dest / "tree") : oldOrNewIsWhole()) << changes;
    }
    EXPECT_GT(killed, 15);
    EXPECT_TRUE(isAt(m_new, m_dest / "tree")) << "the last copy was left in peace";
}
