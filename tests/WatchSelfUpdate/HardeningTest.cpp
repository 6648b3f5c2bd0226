// What the tool puts off before it does anything, seen in a child process.
#include "WatchSelfUpdate/Hardening.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

// Whether `prepare`, hardenProcess and `holds` all succeed in a child process.
bool inHardenedChild(const std::function<void()>& prepare, const std::function<bool()>& holds)
{
    const pid_t child = fork();
    EXPECT_GE(child, 0);
    if (child == 0) {
        prepare();
        const bool wasHardened = hardenProcess();
        _exit(wasHardened && holds() ? 0 : 1);
    }
    int state = -1;
    EXPECT_EQ(waitpid(child, &state, 0), child);
    return WIFEXITED(state) && WEXITSTATUS(state) == 0;
}

bool isOpen(int fd)
{
    return fcntl(fd, F_GETFD) != -1;
}

bool isNull(int fd)
{
    struct stat info { };
    struct stat null { };
    return fstat(fd, &info) == 0 && stat("/dev/null", &null) == 0 && info.st_rdev == null.st_rdev;
}

} // namespace

TEST(HardenProcess, EmptiesTheEnvironment)
{
    EXPECT_TRUE(inHardenedChild([] { (void)setenv("TANDEM_VARIABLE", "1", 1); },
        [] { return !std::getenv("TANDEM_VARIABLE") && !std::getenv("PATH") && (!environ || !*environ); }));
}

TEST(HardenProcess, ClosesInheritedDescriptors)
{
    EXPECT_TRUE(inHardenedChild(
        [] {
            (void)dup2(STDERR_FILENO, 3);
            (void)dup2(STDERR_FILENO, 250);
        },
        [] { return !isOpen(3) && !isOpen(250) && isOpen(0) && isOpen(1) && isOpen(2); }));
}

TEST(HardenProcess, OpensClosedStandardDescriptorsOnNull)
{
    EXPECT_TRUE(inHardenedChild(
        [] {
            (void)close(0);
            (void)close(1);
            (void)close(2);
        },
        [] { return isNull(0) && isNull(1) && isNull(2) && !isOpen(3); }));
}

TEST(HardenProcess, LeavesTheWorkingDirectoryAndSetsAPrivateUmask)
{
    EXPECT_TRUE(inHardenedChild([] { (void)umask(0); },
        [] {
            char folder[16] = {};
            return umask(0) == 077 && getcwd(folder, sizeof(folder)) && std::string(folder) == "/";
        }));
}
