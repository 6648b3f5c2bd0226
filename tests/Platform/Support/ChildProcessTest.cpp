// What a started child is given, how its end is seen, and that none is left behind.
#include "Platform/Support/ChildProcess.h"
#include "tests/support/FakeHome.h"
#include "tests/support/TempDir.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

ChildRequest shellRequest(const std::string& script)
{
    ChildRequest request;
    request.program = "/bin/sh";
    request.arguments = {"-c", script};
    return request;
}

int runShell(const std::string& script)
{
    ChildProcess child;
    EXPECT_EQ(child.start(shellRequest(script)), 0);
    return child.waitUntilEnded();
}

void expectNoChild()
{
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

class ScopedSignal {
public:
    ScopedSignal(int signalNumber, void (*handler)(int))
        : m_number(signalNumber)
    {
        struct sigaction action { };
        action.sa_handler = handler;
        EXPECT_EQ(sigaction(signalNumber, &action, &m_former), 0);
    }
    ScopedSignal(const ScopedSignal&) = delete;
    ScopedSignal& operator=(const ScopedSignal&) = delete;
    ~ScopedSignal() { EXPECT_EQ(sigaction(m_number, &m_former, nullptr), 0); }

private:
    int m_number;
    struct sigaction m_former { };
};

// Whether the child's signal set of that name, as /proc shows it, holds the signal.
bool holdsSignal(const std::string& status, const std::string& name, int signalNumber)
{
    const std::size_t begin = status.find(name + ":\t");
    EXPECT_NE(begin, std::string::npos);
    const unsigned long long set = std::stoull(status.substr(begin + name.size() + 2, 16), nullptr, 16);
    return (set >> (signalNumber - 1) & 1) != 0;
}

} // namespace

TEST(ChildProcess, GetsItsArgumentsUnchanged)
{
    const ScopedTempDir folder;
    ChildRequest request;
    request.program = "/bin/sh";
    const std::string out = folder.at("out").string();
    request.arguments
        = {"-c", "printf '<%s>' \"$@\" > '" + out + "'", "name", "a b", "", "$(x)", "\xC3\xBC*"};
    ChildProcess child;
    ASSERT_EQ(child.start(request), 0);
    EXPECT_EQ(child.waitUntilEnded(), 0);
    EXPECT_EQ(readWholeFile(out), "<a b><><$(x)><\xC3\xBC*>");
}

TEST(ChildProcess, GivesTheExitStatus)
{
    EXPECT_EQ(runShell("exit 0"), 0);
    EXPECT_EQ(runShell("exit 3"), 3);
    EXPECT_EQ(runShell("exit 255"), 255);
}

TEST(ChildProcess, TellsASignalFromAnExitStatus)
{
    ChildProcess killed;
    ASSERT_EQ(killed.start(shellRequest("kill -9 $$")), 0);
    EXPECT_EQ(killed.waitUntilEnded(), 128 + 9);
    EXPECT_TRUE(killed.endedBySignal());
    ChildProcess ended;
    ASSERT_EQ(ended.start(shellRequest("exit 137")), 0);
    EXPECT_EQ(ended.waitUntilEnded(), 137);
    EXPECT_FALSE(ended.endedBySignal());
}

TEST(ChildProcess, SaysWhyItCouldNotBeStarted)
{
    const ScopedTempDir folder;
    ChildRequest request;
    request.program = folder.at("missing").string();
    ChildProcess missing;
    EXPECT_EQ(missing.start(request), ENOENT);
    EXPECT_TRUE(missing.hasEnded());
    request.program = folder.write("text", "no program").string();
    ChildProcess text;
    EXPECT_EQ(text.start(request), EACCES);
    EXPECT_EQ(text.waitUntilEnded(), ChildProcess::kStatusUnknown);
    expectNoChild();
}

TEST(ChildProcess, ReadsFromNull)
{
    const int kept = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10);
    ASSERT_GE(kept, 10);
    const int ours = open("/dev/zero", O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(dup2(ours, STDIN_FILENO), STDIN_FILENO);
    const int status = runShell("[ \"$(readlink /proc/$$/fd/0)\" = /dev/null ]");
    ASSERT_EQ(dup2(kept, STDIN_FILENO), STDIN_FILENO);
    EXPECT_EQ(close(kept), 0);
    EXPECT_EQ(close(ours), 0);
    EXPECT_EQ(status, 0);
}

TEST(ChildProcess, InheritsNoDescriptorButTheStandardOnes)
{
    const int low = open("/dev/null", O_RDONLY); // without close-on-exec
    const int high = fcntl(low, F_DUPFD, 200);
    ASSERT_GE(high, 200);
    const std::string folder = "/proc/$$/fd/";
    EXPECT_EQ(runShell("[ ! -e " + folder + std::to_string(low) + " -a ! -e " + folder + std::to_string(high)
                  + " ]"),
        0);
    EXPECT_EQ(close(low), 0);
    EXPECT_EQ(close(high), 0);
}

TEST(ChildProcess, GetsANullOutputWhereOursIsClosed)
{
    const int kept = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10);
    ASSERT_GE(kept, 10);
    ASSERT_EQ(close(STDOUT_FILENO), 0);
    const int status = runShell("[ \"$(readlink /proc/$$/fd/1)\" = /dev/null ]");
    ASSERT_EQ(dup2(kept, STDOUT_FILENO), STDOUT_FILENO);
    EXPECT_EQ(close(kept), 0);
    EXPECT_EQ(status, 0);
}

TEST(ChildProcess, WritesItsOutputToNullButNotItsErrorsWhenItIsToHaveNone)
{
    ChildRequest request = shellRequest("echo listing; echo complaint >&2");
    request.withoutOutput = true;
    ChildProcess child;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ASSERT_EQ(child.start(request), 0);
    EXPECT_EQ(child.waitUntilEnded(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "complaint\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(ChildProcess, InheritsTheEnvironmentButTheDroppedVariables)
{
    const ScopedEnvironment kept("TANDEM_KEPT", "1");
    const ScopedEnvironment longer("TANDEM_DROPPED2", "1");
    const ScopedEnvironment dropped("TANDEM_DROPPED", "1");
    ChildRequest request
        = shellRequest("[ \"$TANDEM_KEPT$TANDEM_DROPPED2\" = 11 -a \"${TANDEM_DROPPED-unset}\" = unset ]");
    request.droppedVariables = {"TANDEM_DROPPED"};
    ChildProcess child;
    ASSERT_EQ(child.start(request), 0);
    EXPECT_EQ(child.waitUntilEnded(), 0);
}

TEST(ChildProcess, HasAnEmptyEnvironmentOnRequest)
{
    ChildRequest request;
    request.program = "/usr/bin/env"; // prints what it has
    request.withoutEnvironment = true;
    testing::internal::CaptureStdout();
    ChildProcess child;
    ASSERT_EQ(child.start(request), 0);
    EXPECT_EQ(child.waitUntilEnded(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(ChildProcess, EndsWhenItIsAskedTo)
{
    ChildProcess child;
    child.askToEnd(); // there is none yet
    ASSERT_EQ(child.start(shellRequest("exec sleep 60")), 0);
    child.askToEnd();
    EXPECT_EQ(child.waitUntilEnded(), 128 + SIGTERM);
    EXPECT_TRUE(child.endedBySignal());
    child.askToEnd(); // nobody
}

TEST(ChildProcess, LeavesOurSessionWhenItMayHaveNoTerminal)
{
    // The sixth field of stat is the session, whose leader has its number as process id.
    const std::string script
        = "read -r pid name state parent group session rest < /proc/$$/stat; exec [ $session = ";
    ChildRequest request = shellRequest(script + "$$ ]");
    request.withoutTerminal = true;
    ChildProcess alone;
    ASSERT_EQ(alone.start(request), 0);
    EXPECT_EQ(alone.waitUntilEnded(), 0);
    EXPECT_EQ(runShell(script + std::to_string(getsid(0)) + " ]"), 0);
}

TEST(ChildProcess, StartsWithDefaultSignals)
{
    const ScopedSignal ignored(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t former;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ASSERT_EQ(sigprocmask(SIG_BLOCK, &blocked, &former), 0);
    const ScopedTempDir folder;
    const std::string out = folder.at("status").string();
    EXPECT_EQ(runShell("exec cat /proc/self/status > '" + out + "'"), 0);
    ASSERT_EQ(sigprocmask(SIG_SETMASK, &former, nullptr), 0);
    const std::string status = readWholeFile(out);
    EXPECT_FALSE(holdsSignal(status, "SigBlk", SIGTERM));
    EXPECT_FALSE(holdsSignal(status, "SigIgn", SIGPIPE));
}

TEST(ChildProcess, IsSeenToEndWithoutWaiting)
{
    const ScopedTempDir folder;
    const std::string gate = folder.at("gate").string();
    ASSERT_EQ(mkfifo(gate.c_str(), 0600), 0);
    ChildProcess child;
    ASSERT_EQ(child.start(shellRequest("read -r line < '" + gate + "'; exit 5")), 0);
    EXPECT_FALSE(child.hasEnded());
    EXPECT_EQ(child.status(), ChildProcess::kStatusUnknown);
    const int fd = open(gate.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(write(fd, "go\n", 3), 3);
    ASSERT_EQ(close(fd), 0);
    EXPECT_EQ(child.waitUntilEnded(), 5);
    EXPECT_TRUE(child.hasEnded());
    EXPECT_EQ(child.status(), 5);
    EXPECT_EQ(child.waitUntilEnded(), 5);
}

TEST(ChildProcess, IsReapedWhenItsObjectGoes)
{
    {
        ChildProcess child;
        ASSERT_EQ(child.start(shellRequest("exit 0")), 0);
    }
    expectNoChild();
}

TEST(ChildProcess, IsWaitedForThroughInterruptions)
{
    const ScopedSignal interrupting(SIGALRM, [](int) {});
    const itimerval everyMillisecond {{0, 1000}, {0, 1000}};
    ASSERT_EQ(setitimer(ITIMER_REAL, &everyMillisecond, nullptr), 0);
    EXPECT_EQ(runShell("sleep 0.05; exit 6"), 6);
    const itimerval never {};
    ASSERT_EQ(setitimer(ITIMER_REAL, &never, nullptr), 0);
}

TEST(ChildProcess, KeepsItsStatusWhereChildSignalsAreIgnored)
{
    const ScopedSignal ignored(SIGCHLD, SIG_IGN);
    EXPECT_EQ(runShell("exit 7"), 7);
    struct sigaction now { };
    ASSERT_EQ(sigaction(SIGCHLD, nullptr, &now), 0);
    EXPECT_TRUE(now.sa_handler == SIG_IGN);
}

TEST(ChildProcess, LeavesTheHandlingOfChildSignalsWhenNoneWasStarted)
{
    const ScopedSignal ignored(SIGCHLD, SIG_IGN);
    ChildRequest request;
    request.program = "/nowhere/program";
    ChildProcess child;
    EXPECT_EQ(child.start(request), ENOENT);
    struct sigaction now { };
    ASSERT_EQ(sigaction(SIGCHLD, nullptr, &now), 0);
    EXPECT_TRUE(now.sa_handler == SIG_IGN);
}

TEST(ChildProcess, HasNoStatusWhenSomebodyElseReapedIt)
{
    ChildProcess child;
    ASSERT_EQ(child.start(shellRequest("exit 0")), 0);
    ASSERT_GT(waitpid(-1, nullptr, 0), 0);
    EXPECT_EQ(child.waitUntilEnded(), ChildProcess::kStatusUnknown);
    EXPECT_TRUE(child.hasEnded());
}
