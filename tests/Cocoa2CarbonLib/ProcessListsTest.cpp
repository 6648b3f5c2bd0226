// Exactly which processes are listed and in which order, where a test's own are all that there are.
#include "Cocoa2CarbonLib/DSProcessesInfo.h"

#include "tests/Cocoa2CarbonLib/ProcessValues.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <functional>
#include <sched.h>
#include <sys/mount.h>
#include <vector>

namespace {

constexpr int kNoNamespace = 3;

/// Runs `body` as the first process of a namespace whose /proc shows no process outside it. kNoNamespace
/// where that is not allowed.
int runAsFirstProcess(const std::function<int()>& body)
{
    return child::run([&body] {
        if (::unshare(CLONE_NEWPID | CLONE_NEWNS) != 0
            || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            return kNoNamespace;
        return child::run(
            [&body] { return ::mount("proc", "/proc", "proc", 0, nullptr) == 0 ? body() : kNoNamespace; });
    });
}

std::vector<SInt32> idsOf(const std::vector<ProcessInfo>& infos)
{
    std::vector<SInt32> ids;
    for (const ProcessInfo& info : infos)
        ids.push_back(value<SInt32>(info, DSProcessPIDNumber));
    return ids;
}

class ProcessLists : public testing::Test {
protected:
    ProcessLists()
    {
        for (const char* const name : {"older process", "newer process"})
            copyWaitingProgram(m_folder.at(name));
    }

    ScopedTempDir m_folder;
};

} // namespace

TEST_F(ProcessLists, HoldAllButTheOldestTheOlderFirst)
{
    const int status = runAsFirstProcess([this] {
        const RunningProgram older(m_folder.at("older process"));
        const RunningProgram newer(m_folder.at("newer process"));
        EXPECT_EQ(allProcesses(), (ProcessTextList {"older process", "newer process"}));
        EXPECT_EQ(idsOf(allProcessesInfo()), (std::vector<SInt32> {older.pid(), newer.pid()}));
        return HasFailure() ? 1 : 0;
    });
    if (status == kNoNamespace)
        GTEST_SKIP() << "a process namespace needs user id 0";
    EXPECT_EQ(status, 0);
}

TEST_F(ProcessLists, ByNameHoldTheOldestTooAndItFirst)
{
    const int status = runAsFirstProcess([this] {
        const RunningProgram older(m_folder.at("older process"));
        const RunningProgram newer(m_folder.at("newer process"));
        // The name of the test program, which is the first process, holds it as well.
        EXPECT_EQ(
            idsOf(getProcessInfoByName("PROCESS")), (std::vector<SInt32> {1, older.pid(), newer.pid()}));
        // Every name holds nothing.
        EXPECT_EQ(idsOf(getProcessInfoByName("")), (std::vector<SInt32> {1, older.pid(), newer.pid()}));
        return HasFailure() ? 1 : 0;
    });
    if (status == kNoNamespace)
        GTEST_SKIP() << "a process namespace needs user id 0";
    EXPECT_EQ(status, 0);
}

TEST_F(ProcessLists, AreEmptyWhereOnlyOneProcessIs)
{
    const int status = runAsFirstProcess([] {
        EXPECT_EQ(allProcesses(), ProcessTextList());
        EXPECT_TRUE(allProcessesInfo().empty());
        EXPECT_EQ(idsOf(getProcessInfoByName("process")), std::vector<SInt32> {1});
        return HasFailure() ? 1 : 0;
    });
    if (status == kNoNamespace)
        GTEST_SKIP() << "a process namespace needs user id 0";
    EXPECT_EQ(status, 0);
}
