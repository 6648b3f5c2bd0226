// The three standard descriptors of a program that was started without them.
#include "TandemService/package/StandardDescriptors.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool isNull(int descriptor)
{
    struct stat found = {};
    struct stat null = {};
    return fstat(descriptor, &found) == 0 && stat("/dev/null", &null) == 0 && found.st_rdev == null.st_rdev;
}

} // namespace

TEST(StandardDescriptors, AreOpenedWhereTheyAreMissing)
{
    const pid_t child = fork();
    if (child == 0) {
        int ends[2] = {};
        if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0)
            _exit(1);
        (void)close(STDIN_FILENO); // open until now
        (void)close(STDERR_FILENO);
        openMissingStandardDescriptors();
        _exit(isNull(STDIN_FILENO) && !isNull(STDOUT_FILENO) && isNull(STDERR_FILENO) ? 0 : 2);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(StandardDescriptors, AreLeftAloneWhereTheyAreOpen)
{
    const int before = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(close(before), 0);
    openMissingStandardDescriptors();
    const int after = open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(after, before);
    EXPECT_EQ(close(after), 0);
}
