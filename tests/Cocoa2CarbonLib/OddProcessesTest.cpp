// Processes that are not like others: with rewritten or very many arguments, stopped, of the kernel, in a
// namespace of their own, out of sight.
#include "Cocoa2CarbonLib/DSProcessesInfo.h"

#include "tests/Cocoa2CarbonLib/ProcessValues.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

using Texts = ProcessTextList;

constexpr int kNotAllowed = 3;

Texts argumentsOf(int pid)
{
    std::unique_ptr<Texts> arguments;
    std::unique_ptr<Texts> environment;
    args(pid, arguments, environment);
    return *arguments;
}

Texts environmentOf(int pid)
{
    std::unique_ptr<Texts> arguments;
    std::unique_ptr<Texts> environment;
    args(pid, arguments, environment);
    return *environment;
}

bool holds(const Texts& texts, std::string_view text)
{
    for (const std::string& one : texts)
        if (one == text)
            return true;
    return false;
}

/// Where this process keeps its arguments and, right behind them, its environment (proc(5), fields 48 to 51).
struct ArgumentMemory {
    std::uintptr_t argumentsBegin = 0;
    std::uintptr_t argumentsEnd = 0;
    std::uintptr_t environmentBegin = 0;
    std::uintptr_t environmentEnd = 0;
};

ArgumentMemory ownArgumentMemory()
{
    std::ifstream file("/proc/self/stat");
    const std::string stat((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::istringstream fields(stat.substr(stat.rfind(')') + 1));
    std::string skipped;
    for (int field = 3; field < 48; ++field)
        fields >> skipped;
    ArgumentMemory memory;
    fields >> memory.argumentsBegin >> memory.argumentsEnd >> memory.environmentBegin
        >> memory.environmentEnd;
    return memory;
}

class OddProcesses : public testing::Test {
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

TEST_F(OddProcesses, RewrittenTitleIsTheArgumentsNow)
{
    const RunningProgram running("/usr/bin/perl", {"perl", "-e", "$0 = 'tandem title'; <STDIN>"},
        {"A=1", "LONG=" + std::string(99, 'x')});
    const int pid = running.pid();
    ASSERT_TRUE(eventually([] { return isProcessRunningByName("tandem title"); }));
    // It overwrote its arguments and, behind them, its environment, with blanks after the title.
    const Texts arguments = argumentsOf(pid);
    ASSERT_EQ(arguments.size(), 3u);
    EXPECT_EQ(arguments[0], "/usr/bin/perl");
    EXPECT_EQ(arguments[1], "tandem title");
    EXPECT_EQ(arguments[2], std::string(arguments[2].size(), ' '));
    EXPECT_EQ(environmentOf(pid), Texts {"None"});
    EXPECT_EQ(nameForProcessWithPID(pid), "perl");
    EXPECT_EQ(getProcessInfoByPID(pid).size(), 13u);
}

TEST_F(OddProcesses, ArgumentsWithoutAnyZeroByteAreReadToTheirEnd)
{
    EXPECT_EQ(child::run([] {
        const ArgumentMemory memory = ownArgumentMemory();
        const std::size_t environmentBytes = memory.environmentEnd - memory.environmentBegin;
        if (memory.argumentsEnd != memory.environmentBegin || environmentBytes == 0)
            return kNotAllowed;
        std::memset(reinterpret_cast<void*>(memory.argumentsBegin), 't',
            memory.environmentEnd - memory.argumentsBegin);
        // The title, which the kernel tells up to a page of, and then the environment; both are one text
        // without "=".
        const Texts arguments = argumentsOf(getpid());
        return arguments.size() == 3 && arguments[1].starts_with("tt")
                && arguments[2] == std::string(environmentBytes, 't')
                && environmentOf(getpid()) == Texts {"None"}
            ? 0
            : 1;
    }),
        0);
}

TEST_F(OddProcesses, OneHundredThousandArgumentsAreAllTold)
{
    Texts arguments = {"Tool", "-s"};
    std::string joined = program("Tool").string() + " Tool -s";
    for (int i = 0; i < 100'000; ++i) {
        arguments.push_back(std::to_string(i));
        joined += ' ' + arguments.back();
    }
    const RunningProgram running(m_folder.at("Tool"), arguments, {"A=1"});
    arguments.insert(arguments.begin(), m_folder.at("Tool").string());
    EXPECT_EQ(argumentsOf(running.pid()), arguments);
    EXPECT_EQ(environmentOf(running.pid()), Texts {"A=1"});
    EXPECT_EQ(value<std::string>(getProcessInfoByPID(running.pid()), DSProcessArguments), joined);
}

TEST_F(OddProcesses, ProcessWithoutArgumentsHasItsExecutableAlone)
{
    const RunningProgram running(program("Tool"), {""});
    EXPECT_EQ(argumentsOf(running.pid()), Texts {m_folder.at("Tool").string()});
    EXPECT_EQ(environmentOf(running.pid()), Texts {"None"});
}

TEST_F(OddProcesses, ShortNameMayBeEmpty)
{
    EXPECT_EQ(child::run([] {
        const bool isNamed = prctl(PR_SET_NAME, "") == 0 && isProcessRunningByPID(getpid());
        const ProcessInfo info = getProcessInfoByPID(getpid());
        const std::optional<std::string> name = nameForProcessWithPID(getpid());
        return isNamed && name && value<std::string>(info, DSProcessName) == *name
                && isProcessRunningByName(*name)
            ? 0
            : 1;
    }),
        0);
}

TEST_F(OddProcesses, StoppedProcessIsSuspended)
{
    const RunningProgram running(program("Tool"));
    const int pid = running.pid();
    ASSERT_EQ(kill(pid, SIGSTOP), 0);
    ASSERT_TRUE(
        eventually([pid] { return value<UInt32>(getProcessInfoByPID(pid), DSProcessStatusValue) == 4; }));
    EXPECT_EQ(
        value<std::string>(getProcessInfoByPID(pid), DSProcessStatus), "Process debugging or suspension ");
    EXPECT_TRUE(isProcessRunningByPID(pid));
    EXPECT_EQ(argumentsOf(pid).size(), 2u);
}

TEST_F(OddProcesses, KernelThreadHasAShortNameAndNoArguments)
{
    constexpr int kThreadDaemon = 2;
    if (readWholeFile("/proc/2/comm") != "kthreadd\n")
        GTEST_SKIP() << "no kernel thread is in sight here";
    EXPECT_EQ(nameForProcessWithPID(kThreadDaemon), std::nullopt);
    const ProcessInfo info = getProcessInfoByPID(kThreadDaemon);
    EXPECT_EQ(info.size(), 13u);
    EXPECT_EQ(value<std::string>(info, DSProcessName), "kthreadd");
    EXPECT_EQ(value<std::string>(info, DSProcessArguments), "Not Available");
    EXPECT_EQ(value<Texts>(info, DSProcessEnvironment), Texts {"Not Available"});
    const Texts flags = value<Texts>(info, DSProcessFlags);
    EXPECT_TRUE(holds(flags, "System process: no signals, stats, or swap"));
    EXPECT_FALSE(holds(flags, "Process called exec") || holds(flags, "Process loaded into memory"));
    EXPECT_TRUE(isProcessRunningByName("kthreadd"));
    EXPECT_FALSE(getProcessInfoByName("KTHREADD").empty());
}

TEST_F(OddProcesses, ProcessOfAnInnerNamespaceHasItsOuterId)
{
    if (std::system("unshare --pid --fork true 2>/dev/null") != 0)
        GTEST_SKIP() << "this user may not make a process namespace";
    const std::string inner = program("Tandem inner").string();
    const RunningProgram outer("/usr/bin/unshare", {"unshare", "--pid", "--fork", "--kill-child", inner});
    std::vector<ProcessInfo> found;
    ASSERT_TRUE(eventually([&] {
        found = getProcessInfoByName("Tandem inner");
        // Its arguments are shown a moment after its name.
        return found.size() == 1 && !found[0].empty()
            && value<std::string>(found[0], DSProcessArguments) == inner + ' ' + inner;
    }));
    EXPECT_EQ(value<SInt32>(found[0], DSProcessParentPID), outer.pid());
    EXPECT_GT(value<SInt32>(found[0], DSProcessPIDNumber), 1);
}

TEST_F(OddProcesses, ThoseThatTheSystemHidesAreNotThere)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "only root can mount, and become another user";
    const RunningProgram running(program("Tandem hidden"));
    const auto isHiddenFromNobody = [pid = running.pid()] {
        const Texts unavailable = {"Not Available"};
        const bool isHidden = !isProcessRunningByPID(pid) && getProcessInfoByPID(pid).empty()
            && !nameForProcessWithPID(pid) && argumentsOf(pid) == unavailable
            && environmentOf(pid) == unavailable && !isProcessRunningByName("Tandem hidden")
            && getProcessInfoByName("Tandem hidden").empty();
        return isHidden && isProcessRunningByPID(getpid()) && getProcessInfoByPID(getpid()).size() == 13 ? 0
                                                                                                         : 1;
    };
    // 1 shows that there is a process and nothing of it; 2 does not show that.
    for (const char* const option : {"hidepid=1", "hidepid=2"}) {
        const int status = child::run([option, &isHiddenFromNobody] {
            if (::unshare(CLONE_NEWNS) != 0
                || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
                || ::mount("proc", "/proc", "proc", 0, option) != 0)
                return kNotAllowed;
            return child::runAsNobody(isHiddenFromNobody);
        });
        if (status == kNotAllowed)
            GTEST_SKIP() << "mounting is not allowed here";
        EXPECT_EQ(status, 0) << option;
    }
}

TEST_F(OddProcesses, QueriesThatTheSystemRefusesGiveEmptyResults)
{
    EXPECT_EQ(child::run([] {
        const std::string own = nameForProcessWithPID(getpid()).value_or("");
        const rlimit noFiles = {0, 0};
        if (own.empty() || !isProcessRunningByName(own) || setrlimit(RLIMIT_NOFILE, &noFiles) != 0)
            return kNotAllowed;
        const Texts unavailable = {"Not Available"};
        return !nameForProcessWithPID(getpid()) && argumentsOf(getpid()) == unavailable
                && environmentOf(getpid()) == unavailable && getProcessInfoByPID(getpid()).empty()
                && getProcessInfoByName(own).empty() && allProcessesInfo().empty() && allProcesses().empty()
                && !isProcessRunningByPID(getpid()) && !isProcessRunningByName(own)
            ? 0
            : 1;
    }),
        0);
}
