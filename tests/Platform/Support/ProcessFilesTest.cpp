// What is read from a process's folder in /proc.
#include "Platform/Support/ProcessFiles.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/TempDir.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

using Texts = std::vector<std::string_view>;

} // namespace

TEST(RunningProcessIds, AreAscendingAndHoldTheCaller)
{
    const std::vector<int> ids = runningProcessIds();
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
    EXPECT_TRUE(std::binary_search(ids.begin(), ids.end(), getpid()));
    EXPECT_GT(ids.front(), 0);
}

TEST(ProcessFolder, ReadsNoMoreThanAsked)
{
    const std::string longText(10'000, 'x');
    const RunningProgram running("/bin/sh", {"sh", "-s", longText});
    const ProcessFolder folder(running.pid());
    std::string bytes;
    ASSERT_EQ(folder.read("cmdline", kMaxProcessArgumentBytes, bytes), 0);
    const std::string whole = "sh\0-s\0"s + longText + '\0';
    EXPECT_EQ(bytes, whole);
    for (const std::size_t most :
        {std::size_t {0}, std::size_t {1}, std::size_t {4096}, std::size_t {5000}}) {
        ASSERT_EQ(folder.read("cmdline", most, bytes), 0);
        EXPECT_EQ(bytes, whole.substr(0, most));
    }
}

TEST(ProcessFolder, GivesErrorsAndNoBytes)
{
    RunningProgram running("/usr/bin/cat");
    const ProcessFolder folder(running.pid());
    std::string bytes = "old";
    EXPECT_EQ(folder.read("no such file", 10, bytes), ENOENT);
    EXPECT_EQ(bytes, "");
    bytes = "old";
    EXPECT_EQ(folder.read("task", 10, bytes), EISDIR);
    EXPECT_EQ(bytes, "");
    running.end();
    ProcessExecutable executable;
    EXPECT_NE(folder.read("stat", 10, bytes), 0);
    EXPECT_NE(folder.executable(executable), 0);
    EXPECT_NE(folder.workingFolder(bytes), 0);
}

TEST(ProcessFolder, IsNoneForWhatIsNoProcess)
{
    EXPECT_TRUE(ProcessFolder(getpid()));
    for (const int none : {0, -1, 0x7FFFFFFF})
        EXPECT_FALSE(ProcessFolder(none));
}

TEST(ProcessFolder, TellsWhereTheExecutableIs)
{
    const ScopedTempDir folder;
    const std::filesystem::path file = folder.at("tool");
    copyWaitingProgram(file);
    const RunningProgram running(file);
    ProcessExecutable executable;
    ASSERT_EQ(ProcessFolder(running.pid()).executable(executable), 0);
    EXPECT_EQ(executable.path, file.string());
    EXPECT_EQ(executable.place, ProcessExecutable::kInPlace);
    std::filesystem::rename(file, folder.at("renamed"));
    ASSERT_EQ(ProcessFolder(running.pid()).executable(executable), 0);
    EXPECT_EQ(executable.path, folder.at("renamed").string());
    EXPECT_EQ(executable.place, ProcessExecutable::kInPlace);
    std::filesystem::remove(folder.at("renamed"));
    ASSERT_EQ(ProcessFolder(running.pid()).executable(executable), 0);
    EXPECT_EQ(executable.path, folder.at("renamed").string());
    EXPECT_EQ(executable.place, ProcessExecutable::kRemoved);
    (void)folder.write("renamed (deleted)", "another file of that very name");
    ASSERT_EQ(ProcessFolder(running.pid()).executable(executable), 0);
    EXPECT_EQ(executable.path, folder.at("renamed").string());
    EXPECT_EQ(executable.place, ProcessExecutable::kRemoved);
}

TEST(ProcessFolder, KnowsAnExecutableThatOnlyItsProcessSees)
{
    if (std::system("unshare --mount true 2>/dev/null") != 0)
        GTEST_SKIP() << "this user may not make a mount namespace";
    const ScopedTempDir folder;
    const std::string tool = folder.at("tool").string();
    const std::string script
        = "mount -t tmpfs none '" + folder.path().string() + "' && cp /bin/sh " + tool + " && exec " + tool;
    const RunningProgram running(
        "/usr/bin/unshare", {"unshare", "--mount", "sh", "-c", script}, {"PATH=/usr/bin:/bin"});
    ProcessExecutable executable;
    ASSERT_TRUE(eventually(
        [&] { return ProcessFolder(running.pid()).executable(executable) == 0 && executable.path == tool; }));
    EXPECT_EQ(executable.place, ProcessExecutable::kOutOfSight);
    copyWaitingProgram(tool); // the same path, another file
    ASSERT_EQ(ProcessFolder(running.pid()).executable(executable), 0);
    EXPECT_EQ(executable.place, ProcessExecutable::kOutOfSight);
}

TEST(ProcessFolder, DoesNotShowAnotherUsersExecutable)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "only root can become another user";
    const RunningProgram running("/usr/bin/cat");
    EXPECT_EQ(child::runAsNobody([pid = running.pid()] {
        ProcessExecutable executable;
        std::string bytes;
        const ProcessFolder folder(pid);
        return folder.executable(executable) == EACCES && folder.read("environ", 10, bytes) == EACCES ? 0 : 1;
    }),
        0);
}

TEST(ZeroTerminatedTexts, AreAllTextsAndTheEmptyOnesToo)
{
    EXPECT_EQ(zeroTerminatedTexts(""), Texts {});
    EXPECT_EQ(zeroTerminatedTexts("\0"s), Texts {""});
    const std::string area = "a\0\0bc\0d"s;
    EXPECT_EQ(zeroTerminatedTexts(area), (Texts {"a", "", "bc", "d"}));
}
