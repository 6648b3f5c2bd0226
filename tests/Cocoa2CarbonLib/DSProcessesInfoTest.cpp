// What is told about running processes: programs that each test starts itself.
#include "Cocoa2CarbonLib/DSProcessesInfo.h"

#include "tests/Cocoa2CarbonLib/ProcessValues.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/TempDir.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <map>
#include <pthread.h>
#include <pwd.h>
#include <set>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

using Texts = ProcessTextList;

/// Where the process stands in a list of dictionaries, or -1.
int indexOf(const std::vector<ProcessInfo>& infos, int pid)
{
    for (std::size_t i = 0; i < infos.size(); ++i) {
        if (!infos[i].empty() && value<SInt32>(infos[i], DSProcessPIDNumber) == pid)
            return static_cast<int>(i);
    }
    return -1;
}

class DSProcessesInfo : public testing::Test {
protected:
    /// A program of that name, not yet running.
    fs::path program(std::string_view name) const
    {
        copyWaitingProgram(m_folder.at(name));
        return m_folder.at(name);
    }

    ScopedTempDir m_folder;
};

} // namespace

TEST_F(DSProcessesInfo, HasThirteenKeys)
{
    const std::map<std::string_view, std::string_view> texts = {{DSProcessName, "Process Name"},
        {DSProcessPIDNumber, "Process PID Number"}, {DSProcessStartTime, "Process Start Time"},
        {DSProcessFlags, "Process Flags"}, {DSProcessFlagValue, "Process Flag Value"},
        {DSProcessStatus, "Process Status"}, {DSProcessStatusValue, "Process Status Value"},
        {DSProcessSystemPriority, "Process System Priority"}, {DSProcessNiceValue, "Process Nice Value"},
        {DSProcessParentPID, "Process Parent PID"}, {DSProcessOwner, "Process Owner"},
        {DSProcessArguments, "Process Arguments"}, {DSProcessEnvironment, "Process Environment"}};
    std::set<std::string_view> keys;
    for (const auto& [constant, text] : texts) {
        EXPECT_EQ(constant, text);
        keys.insert(text);
    }
    EXPECT_EQ(keys.size(), 13u);
    const ProcessInfo info = getProcessInfoByPID(getpid());
    std::set<std::string_view> found;
    for (const auto& [key, ignored] : info)
        found.insert(key);
    EXPECT_EQ(found, keys);
}

TEST_F(DSProcessesInfo, TellsEachValueOfAProgram)
{
    const std::time_t before = std::time(nullptr);
    const RunningProgram running(program("Tool"), {"Tool", "-s", "x", "--mode=fast"}, {"HOME=/root", "A=1"});
    const std::time_t after = std::time(nullptr);
    const int pid = running.pid();
    ASSERT_TRUE(
        eventually([pid] { return value<UInt32>(getProcessInfoByPID(pid), DSProcessStatusValue) == 3; }));
    const ProcessInfo info = getProcessInfoByPID(pid);
    EXPECT_EQ(value<std::string>(info, DSProcessName), "Tool");
    EXPECT_EQ(value<SInt32>(info, DSProcessPIDNumber), pid);
    EXPECT_EQ(value<SInt32>(info, DSProcessParentPID), getpid());
    EXPECT_EQ(value<std::string>(info, DSProcessStatus),
        "Process being created by fork Currently runnable Sleeping on an address ");
    EXPECT_EQ(value<std::string>(info, DSProcessArguments),
        m_folder.at("Tool").string() + " Tool -s x --mode=fast");
    EXPECT_EQ(value<Texts>(info, DSProcessEnvironment), (Texts {"HOME=/root", "A=1"}));
    const SInt64 start = value<ProcessDate>(info, DSProcessStartTime).secondsSince1970;
    EXPECT_GE(start, before - 1);
    EXPECT_LE(start, after + 1);
}

TEST_F(DSProcessesInfo, TellsFlagsAndTheirTexts)
{
    const RunningProgram running(program("Tool"));
    const int pid = running.pid();
    ASSERT_TRUE(
        eventually([pid] { return value<UInt32>(getProcessInfoByPID(pid), DSProcessStatusValue) == 3; }));
    const ProcessInfo info = getProcessInfoByPID(pid);
    // In memory, asleep, exec called; a terminal when the tests have one.
    const UInt32 flags = value<UInt32>(info, DSProcessFlagValue);
    EXPECT_EQ(flags & ~UInt32 {0x2}, 0x4u | 0x80u | 0x4000u);
    Texts texts = {"Process loaded into memory", "Process in interruptible sleep", "Process called exec"};
    if ((flags & 0x2) != 0)
        texts.insert(texts.begin(), "Process has a controlling terminal");
    EXPECT_EQ(value<Texts>(info, DSProcessFlags), texts);
}

TEST_F(DSProcessesInfo, TellsPriorityAndNiceValue)
{
    const RunningProgram running(program("Tool"));
    const auto pid = static_cast<id_t>(running.pid());
    const int nice = getpriority(PRIO_PROCESS, pid) + 5;
    ASSERT_EQ(setpriority(PRIO_PROCESS, pid, nice), 0);
    const ProcessInfo info = getProcessInfoByPID(running.pid());
    EXPECT_EQ(value<SInt32>(info, DSProcessNiceValue), nice);
    EXPECT_EQ(value<SInt32>(info, DSProcessSystemPriority), 120 + nice);
}

TEST_F(DSProcessesInfo, TellsTheEffectiveUsersName)
{
    const struct passwd* const user = getpwuid(geteuid());
    const std::string name = user ? user->pw_name : "UNKNOWN USER";
    EXPECT_EQ(value<std::string>(getProcessInfoByPID(getpid()), DSProcessOwner), name);
}

TEST_F(DSProcessesInfo, CallsAUserWithoutANameUnknown)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "only root can become another user";
    EXPECT_EQ(child::run([] {
        if (setresuid(0, 3'999'999'999u, 0) != 0)
            return 2;
        return value<std::string>(getProcessInfoByPID(getpid()), DSProcessOwner) == "UNKNOWN USER" ? 0 : 1;
    }),
        0);
}

TEST_F(DSProcessesInfo, TellsOfAProcessThatWaitsToBeCollected)
{
    RunningProgram running(program("A name longer than fifteen"));
    const int pid = running.pid();
    running.endUncollected();
    EXPECT_TRUE(isProcessRunningByPID(pid));
    const ProcessInfo info = getProcessInfoByPID(pid);
    EXPECT_EQ(value<std::string>(info, DSProcessName), "A name longer t");
    EXPECT_EQ(value<UInt32>(info, DSProcessStatusValue), 5u);
    EXPECT_EQ(value<std::string>(info, DSProcessStatus),
        "Process being created by fork Process debugging or suspension Awaiting collection by parent ");
    EXPECT_EQ(value<std::string>(info, DSProcessArguments), "Not Available");
    EXPECT_EQ(value<Texts>(info, DSProcessEnvironment), Texts {"Not Available"});
}

TEST_F(DSProcessesInfo, KnowsNothingOfAProcessThatIsGone)
{
    RunningProgram running(program("Tool"));
    const int pid = running.pid();
    EXPECT_TRUE(isProcessRunningByPID(pid));
    running.end();
    EXPECT_FALSE(isProcessRunningByPID(pid));
    EXPECT_TRUE(getProcessInfoByPID(pid).empty());
    EXPECT_EQ(nameForProcessWithPID(pid), std::nullopt);
    for (const int none : {0, -1}) {
        EXPECT_FALSE(isProcessRunningByPID(none));
        EXPECT_TRUE(getProcessInfoByPID(none).empty());
        EXPECT_EQ(nameForProcessWithPID(none), std::nullopt);
    }
}

TEST_F(DSProcessesInfo, ThreadIsNoProcess)
{
    pid_t thread = 0;
    bool running = true;
    std::thread([&] {
        thread = gettid();
        running = isProcessRunningByPID(thread);
    }).join();
    ASSERT_NE(thread, getpid());
    EXPECT_FALSE(running);
}

TEST_F(DSProcessesInfo, ShowsAnotherUsersProcessWithoutItsArguments)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "only root can become another user";
    const RunningProgram running(program("Another user's tool"));
    EXPECT_EQ(child::runAsNobody([pid = running.pid()] {
        const ProcessInfo info = getProcessInfoByPID(pid);
        return info.size() == 13 && value<std::string>(info, DSProcessName) == "Another user's "
                && value<std::string>(info, DSProcessArguments) == "Not Available"
                && value<Texts>(info, DSProcessEnvironment) == Texts {"Not Available"}
                && indexOf(getProcessInfoByName("ANOTHER USER'S"), pid) >= 0
                && getProcessInfoByName("user's tool").empty() && isProcessRunningByName("Another user's ")
                && !isProcessRunningByName("Another user's tool")
            ? 0
            : 1;
    }),
        0);
}

TEST_F(DSProcessesInfo, ArgumentsGoToNewListsOrIntoGivenOnes)
{
    const RunningProgram running(program("Tool"), {"Tool"}, {"A=1"});
    std::unique_ptr<Texts> arguments;
    std::unique_ptr<Texts> environment;
    args(running.pid(), arguments, environment);
    ASSERT_TRUE(arguments && environment);
    EXPECT_GE(arguments->capacity(), 5u);
    EXPECT_GE(environment->capacity(), 5u);
    EXPECT_EQ(*arguments, (Texts {m_folder.at("Tool").string(), "Tool"}));
    EXPECT_EQ(*environment, Texts {"A=1"});
    const Texts* const former = arguments.get();
    args(0, arguments, environment);
    EXPECT_EQ(arguments.get(), former);
    EXPECT_EQ(arguments->size(), 3u);
    EXPECT_EQ(arguments->back(), "Not Available");
    EXPECT_EQ(*environment, (Texts {"A=1", "Not Available"}));
}

TEST_F(DSProcessesInfo, EmptyListsGetNone)
{
    std::unique_ptr<Texts> arguments;
    std::unique_ptr<Texts> environment;
    const RunningProgram running(program("Tool"));
    args(running.pid(), arguments, environment);
    EXPECT_EQ(*environment, Texts {"None"});
    // A path with "=" begins the environment, and all that follows belongs to it.
    (void)m_folder.makeFolder("a=b");
    const RunningProgram odd(program("a=b/Tool"), {"Tool"}, {"A=1"});
    arguments.reset();
    environment.reset();
    args(odd.pid(), arguments, environment);
    EXPECT_EQ(*arguments, Texts {"None"});
    EXPECT_EQ(*environment, (Texts {m_folder.at("a=b/Tool").string(), "Tool", "A=1"}));
}

TEST_F(DSProcessesInfo, NameIsTheExecutablesFileName)
{
    const RunningProgram running(program("A name longer than fifteen"));
    EXPECT_EQ(nameForProcessWithPID(running.pid()), "A name longer than fifteen");
    fs::remove(m_folder.at("A name longer than fifteen"));
    EXPECT_EQ(nameForProcessWithPID(running.pid()), "A name longer than fifteen");
}

TEST_F(DSProcessesInfo, KnowsNamesWithLineEnds)
{
    const RunningProgram running(program("odd) Z\nname (\xFF"));
    EXPECT_EQ(nameForProcessWithPID(running.pid()), "odd) Z\nname (\xFF");
    EXPECT_TRUE(isProcessRunningByName("odd) Z\nname (\xFF"));
    EXPECT_EQ(indexOf(getProcessInfoByName("z\nNAME"), running.pid()), 0);
    EXPECT_NE(value<UInt32>(getProcessInfoByPID(running.pid()), DSProcessStatusValue), 5u);
}

TEST_F(DSProcessesInfo, RunningByNameIsExactAndInfoByNameIsNot)
{
    const RunningProgram running(program("Tandem Test Server"));
    EXPECT_TRUE(isProcessRunningByName("Tandem Test Server"));
    EXPECT_FALSE(isProcessRunningByName("tandem test server"));
    EXPECT_FALSE(isProcessRunningByName("Tandem Test Serve"));
    EXPECT_EQ(getProcessInfoByName("test SERVER").size(), 1u);
    EXPECT_EQ(indexOf(getProcessInfoByName("test SERVER"), running.pid()), 0);
    EXPECT_TRUE(getProcessInfoByName("test servers").empty());
}

TEST_F(DSProcessesInfo, NamesAreComparedIgnoringCaseBeyondAscii)
{
    const RunningProgram running(program("Tandem \u00C4rger"));
    EXPECT_EQ(indexOf(getProcessInfoByName("tandem \u00E4RGER"), running.pid()), 0);
}

TEST_F(DSProcessesInfo, NamesThatAreNoTextAreComparedByteByByte)
{
    const RunningProgram running(program("Tandem \xFE name"));
    EXPECT_EQ(indexOf(getProcessInfoByName("tandem \xFE NAME"), running.pid()), 0);
    EXPECT_TRUE(getProcessInfoByName("Tandem \xFF name").empty());
    EXPECT_TRUE(getProcessInfoByName("Tandem \uFFFD name").empty());
}

TEST_F(DSProcessesInfo, ShortNameCountsAsWell)
{
    // A script's executable is its interpreter; only the short name is the script's.
    writeWaitingScript(m_folder.at("Tandem script"), "#!/bin/sh");
    const RunningProgram running(m_folder.at("Tandem script"));
    EXPECT_EQ(nameForProcessWithPID(running.pid()), fs::canonical("/bin/sh").filename().string());
    EXPECT_TRUE(isProcessRunningByName("Tandem script"));
    EXPECT_TRUE(getProcessInfoByName("Tandem script").empty())
        << "its full name is known and does not hold it";
}

TEST_F(DSProcessesInfo, LongestNameIsFoundByItsFullName)
{
    const std::string name(255, 'n');
    const RunningProgram running(program(name));
    EXPECT_TRUE(isProcessRunningByName(name));
    EXPECT_FALSE(isProcessRunningByName(name.substr(1)));
    EXPECT_FALSE(isProcessRunningByName(name + 'n'));
    EXPECT_TRUE(isProcessRunningByName(name.substr(0, 15))) << "its short name";
    EXPECT_FALSE(isProcessRunningByName(name.substr(0, 16)));
}

TEST_F(DSProcessesInfo, ListsGoFromTheOlderToTheNewest)
{
    const RunningProgram older(program("Tandem older"));
    const RunningProgram newer(program("Tandem newer"));
    const Texts names = allProcesses();
    const auto olderName = std::find(names.begin(), names.end(), "Tandem older");
    const auto newerName = std::find(names.begin(), names.end(), "Tandem newer");
    ASSERT_NE(newerName, names.end());
    EXPECT_LT(olderName, newerName);
    const std::vector<ProcessInfo> infos = allProcessesInfo();
    EXPECT_GE(indexOf(infos, older.pid()), 0);
    EXPECT_LT(indexOf(infos, older.pid()), indexOf(infos, newer.pid()));
    const std::vector<ProcessInfo> found = getProcessInfoByName("tandem ");
    EXPECT_LT(indexOf(found, older.pid()), indexOf(found, newer.pid()));
}

TEST_F(DSProcessesInfo, ListsLeaveTheOldestOut)
{
    // The first process of the system is the oldest one, and is known all the same.
    ASSERT_TRUE(isProcessRunningByPID(1));
    EXPECT_EQ(indexOf(allProcessesInfo(), 1), -1);
    EXPECT_GE(indexOf(allProcessesInfo(), getpid()), 0);
    const std::string first = value<std::string>(getProcessInfoByPID(1), DSProcessName);
    EXPECT_TRUE(isProcessRunningByName(first));
    EXPECT_GE(indexOf(getProcessInfoByName(first), 1), 0);
}

TEST_F(DSProcessesInfo, ProcessesThatEndMeanwhileDoNoHarm)
{
    const fs::path tool = program("Tandem fleeting");
    std::atomic<bool> stop = false;
    std::thread starter([&] {
        while (!stop)
            RunningProgram(tool).end();
    });
    for (int round = 0; round < 8; ++round) {
        for (const ProcessInfo& info : allProcessesInfo())
            EXPECT_TRUE(info.empty() || info.size() == 13);
        for (const ProcessInfo& info : getProcessInfoByName("fleeting"))
            EXPECT_TRUE(info.empty() || info.size() == 13);
        EXPECT_GT(allProcesses().size(), 0u);
        (void)isProcessRunningByName("Tandem fleeting"); // either answer may be true
    }
    stop = true;
    starter.join();
    EXPECT_FALSE(isProcessRunningByName("Tandem fleeting"));
}
