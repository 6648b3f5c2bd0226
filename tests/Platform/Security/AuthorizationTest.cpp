// The starting of tools with administrator rights: real tools, and a stand-in for pkexec.
#include "Platform/Carbon/EventLoop.h"
#include "Platform/Security/Authorization.h"
#include "Platform/Security/PrivilegedStart.h"
#include "Platform/Support/ErrorNumbers.h"
#include "tests/support/FakeHome.h"
#include "tests/support/TempDir.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

char* const kNoArguments[] = {nullptr};
constexpr char kNoStarter[] = "/nonexistent/starter";

fs::path makeScript(const ScopedTempDir& folder, const std::string& name, const std::string& body)
{
    const fs::path script = folder.write(name, "#!/bin/sh\n" + body + "\n");
    fs::permissions(script, fs::perms(0755));
    return script;
}

// A stand-in for pkexec that notes its arguments, one a line, in "asked" and then does what `body` says.
fs::path makePkexec(const ScopedTempDir& folder, const std::string& body)
{
    return makeScript(
        folder, "pkexec", "printf '%s\\n' \"$@\" > '" + folder.at("asked").string() + "'\n" + body);
}

fs::path makeTool(const ScopedTempDir& folder)
{
    return makeScript(folder, "tool", "touch '" + folder.at("ran").string() + "'");
}

OSStatus execute(const fs::path& tool, char* const* arguments)
{
    AuthorizationRef authorization = nullptr;
    EXPECT_EQ(AuthorizationCreate(nullptr, nullptr, 0, &authorization), noErr);
    const OSStatus status
        = AuthorizationExecuteWithPrivileges(authorization, tool.c_str(), 0, arguments, nullptr);
    EXPECT_EQ(AuthorizationFree(authorization, 0), noErr);
    return status;
}

void expectNoZombie()
{
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

} // namespace

TEST(AuthorizationCreate, TakesTheRightsAsAnEnvironment)
{
    const AuthorizationItem item {kAuthorizationRightExecute, 5, "/tool", 0};
    const AuthorizationItemSet environment {1, &item};
    AuthorizationRef authorization = nullptr;
    ASSERT_EQ(AuthorizationCreate(nullptr, &environment, kAuthorizationFlagDefaults, &authorization), noErr);
    EXPECT_NE(authorization, nullptr);
    EXPECT_EQ(AuthorizationFree(authorization, kAuthorizationFlagDefaults), noErr);
    EXPECT_STREQ(kAuthorizationRightExecute, "system.privilege.admin");
}

TEST(AuthorizationCreateDeathTest, RefusesARightsSetAndFlags)
{
    const AuthorizationItemSet rights {0, nullptr};
    AuthorizationRef authorization = nullptr;
    EXPECT_DEATH((void)AuthorizationCreate(&rights, nullptr, 0, &authorization), "failed assertion");
    EXPECT_DEATH((void)AuthorizationCreate(nullptr, nullptr, 1, &authorization), "failed assertion");
}

TEST(PrivilegedRoute, IsDirectForRootAndOnRequestOnly)
{
    EXPECT_EQ(privilegedRoute(0, nullptr, kNoStarter, kNoArguments), PrivilegedRoute::Direct);
    EXPECT_EQ(privilegedRoute(1000, "user", kNoStarter, kNoArguments), PrivilegedRoute::Direct);
    EXPECT_EQ(privilegedRoute(1000, nullptr, kNoStarter, kNoArguments), PrivilegedRoute::Pkexec);
    EXPECT_EQ(privilegedRoute(1000, "", kNoStarter, kNoArguments), PrivilegedRoute::Pkexec);
    EXPECT_EQ(privilegedRoute(1000, "User", kNoStarter, kNoArguments), PrivilegedRoute::Pkexec);
    EXPECT_EQ(privilegedRoute(1000, "/usr/bin/pkexec", kNoStarter, kNoArguments), PrivilegedRoute::Pkexec);
}

TEST(AuthorizationExecuteWithPrivileges, RunsTheToolDirectlyWithItsArguments)
{
    const ScopedEnvironment direct("VELMORA_AUTHORIZE", "user");
    const ScopedTempDir folder;
    const fs::path tool
        = makeScript(folder, "tool", "printf '<%s>' \"$@\" > '" + folder.at("arguments").string() + "'");
    char first[] = "--self-repair";
    char second[] = "two words; $HOME";
    char* const arguments[] = {first, second, nullptr};
    EXPECT_EQ(execute(tool, arguments), noErr);
    EXPECT_EQ(readWholeFile(folder.at("arguments")), "<--self-repair><two words; $HOME>");
    expectNoZombie();
}

TEST(AuthorizationExecuteWithPrivileges, SucceedsWhateverStatusTheToolEndsWith)
{
    const ScopedEnvironment direct("VELMORA_AUTHORIZE", "user");
    const ScopedTempDir folder;
    EXPECT_EQ(execute(makeScript(folder, "three", "exit 3"), kNoArguments), noErr);
    EXPECT_EQ(execute(makeScript(folder, "dismissed", "exit 126"), kNoArguments), noErr);
    EXPECT_EQ(execute(makeScript(folder, "killed", "kill -9 $$"), kNoArguments), noErr);
    expectNoZombie();
}

TEST(AuthorizationExecuteWithPrivileges, SaysWhenTheToolCannotBeExecuted)
{
    const ScopedEnvironment direct("VELMORA_AUTHORIZE", "user");
    const ScopedTempDir folder;
    EXPECT_EQ(execute(folder.at("missing"), kNoArguments), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(execute(folder.write("text", "no program"), kNoArguments), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(execute(folder.path(), kNoArguments), errAuthorizationToolExecuteFailure);
    const fs::path garbage = folder.write("garbage",
        "\x7F"
        "ELF and no more");
    fs::permissions(garbage, fs::perms(0755));
    EXPECT_EQ(execute(garbage, kNoArguments), errAuthorizationToolExecuteFailure);
    expectNoZombie();
}

TEST(AuthorizationExecuteWithPrivileges, TakesNoRelativePath)
{
    const ScopedEnvironment direct("VELMORA_AUTHORIZE", "user");
    const ScopedTempDir folder;
    (void)makeTool(folder);
    const fs::path former = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_EQ(execute("tool", kNoArguments), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(execute("./tool", kNoArguments), errAuthorizationToolExecuteFailure);
    fs::current_path(former);
    EXPECT_FALSE(fs::exists(folder.at("ran")));
}

TEST(AuthorizationExecuteWithPrivileges, WaitsWithEvents)
{
    const ScopedEnvironment direct("VELMORA_AUTHORIZE", "user");
    const ScopedTempDir folder;
    // The tool ends only when a timer of this process has made the file that it waits for.
    const std::string go = folder.at("go").string();
    const fs::path tool = makeScript(folder, "tool", "while [ ! -e '" + go + "' ]; do sleep 0.01; done");
    EventLoopTimerUPP upp = NewEventLoopTimerUPP([](EventLoopTimerRef, void* userData) {
        const int fd
            = open(static_cast<const std::string*>(userData)->c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        EXPECT_GE(fd, 0);
        EXPECT_EQ(close(fd), 0);
    });
    EventLoopTimerRef timer = nullptr;
    ASSERT_EQ(
        InstallEventLoopTimer(GetCurrentEventLoop(), 0.02, 0, upp, const_cast<std::string*>(&go), &timer),
        noErr);
    EXPECT_EQ(execute(tool, kNoArguments), noErr);
    EXPECT_TRUE(fs::exists(go));
    EXPECT_EQ(RemoveEventLoopTimer(timer), noErr);
    DisposeEventLoopTimerUPP(upp);
}

TEST(AuthorizationExecuteWithPrivileges, HandsDownNoDescriptorAndANullInput)
{
    const ScopedEnvironment direct("VELMORA_AUTHORIZE", "user");
    const ScopedTempDir folder;
    const int inherited = open("/dev/null", O_RDONLY); // without close-on-exec
    ASSERT_GE(inherited, 3);
    const fs::path tool = makeScript(folder, "tool",
        "readlink /proc/$$/fd/0 > '" + folder.at("input").string() + "'\n[ -e /proc/$$/fd/"
            + std::to_string(inherited) + " ] && touch '" + folder.at("leaked").string() + "'");
    EXPECT_EQ(execute(tool, kNoArguments), noErr);
    EXPECT_EQ(readWholeFile(folder.at("input")), "/dev/null\n");
    EXPECT_FALSE(fs::exists(folder.at("leaked")));
    EXPECT_EQ(close(inherited), 0);
}

TEST(AuthorizationExecuteWithPrivileges, CannotBeRedirectedByThePath)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root: another user would really be asked for a password";
    const ScopedTempDir folder;
    (void)makePkexec(folder, "exit 0");
    const ScopedEnvironment path("PATH", folder.path().string() + ":/usr/bin:/bin");
    const fs::path tool = makeTool(folder);
    EXPECT_EQ(execute(tool, kNoArguments), noErr);
    EXPECT_TRUE(fs::exists(folder.at("ran")));
    EXPECT_FALSE(fs::exists(folder.at("asked")));
}

TEST(StartThroughPkexec, AsksWithoutAnAgentOfItsOwnAndHandsTheArgumentsOn)
{
    const ScopedTempDir folder;
    const fs::path tool = makeTool(folder);
    const fs::path pkexec = makePkexec(folder, "shift\nexec \"$@\"");
    char argument[] = "--self-repair";
    char* const arguments[] = {argument, nullptr};
    EXPECT_EQ(startThroughPkexec(pkexec.c_str(), {tool.c_str(), arguments}), noErr);
    EXPECT_EQ(readWholeFile(folder.at("asked")),
        "--disable-internal-agent\n" + tool.string() + "\n--self-repair\n");
    EXPECT_TRUE(fs::exists(folder.at("ran")));
    expectNoZombie();
}

TEST(StartThroughPkexec, TellsDismissedRefusedAndRanApart)
{
    const struct {
        const char* body;
        OSStatus expected;
    } cases[] = {
        {"exit 0", 0},
        {"exit 1", 0},
        {"exit 125", 0},
        {"exit 255", 0},
        {"exit 126", -60006},
        {"exit 127", -60005},
        {"kill -9 $$", -60005},
    };
    for (const auto& each : cases) {
        const ScopedTempDir folder;
        const fs::path tool = makeTool(folder);
        const fs::path pkexec = makePkexec(folder, each.body);
        EXPECT_EQ(startThroughPkexec(pkexec.c_str(), {tool.c_str()}), each.expected) << each.body;
    }
    expectNoZombie();
}

TEST(StartThroughPkexec, HandsDownNoneOfTheUsersVariables)
{
    // pkexec refuses a shell that the system does not list.
    const ScopedEnvironment shell("SHELL", "/opt/own/shell");
    const ScopedTempDir folder;
    const fs::path tool = makeTool(folder);
    const fs::path pkexec = makePkexec(folder, "env > '" + folder.at("variables").string() + "'");
    EXPECT_EQ(startThroughPkexec(pkexec.c_str(), {tool.c_str()}), noErr);
    EXPECT_EQ(readWholeFile(folder.at("variables")).find("/opt/own/shell"), std::string::npos);
}

TEST(StartThroughPkexec, EndsAQuestionThatIsWithdrawn)
{
    const ScopedTempDir folder;
    const fs::path tool = makeTool(folder);
    const fs::path pkexec = makePkexec(folder, "exec sleep 60");
    const EventLoopTimerUPP upp
        = NewEventLoopTimerUPP([](EventLoopTimerRef, void*) { EndAuthorizationQuestions(); });
    EventLoopTimerRef timer = nullptr;
    ASSERT_EQ(InstallEventLoopTimer(GetCurrentEventLoop(), 0.02, 0, upp, nullptr, &timer), noErr);
    EXPECT_EQ(startThroughPkexec(pkexec.c_str(), {tool.c_str()}), -60005);
    EXPECT_EQ(RemoveEventLoopTimer(timer), noErr);
    DisposeEventLoopTimerUPP(upp);
    EndAuthorizationQuestions(); // none is open
    expectNoZombie();
}

TEST(StartThroughPkexec, DoesNotAskForAToolThatCannotBeExecuted)
{
    const ScopedTempDir folder;
    const fs::path pkexec = makePkexec(folder, "exit 127");
    const fs::path text = folder.write("text", "no program");
    EXPECT_EQ(startThroughPkexec(pkexec.c_str(), {text.c_str()}), -60031);
    EXPECT_EQ(startThroughPkexec(pkexec.c_str(), {folder.at("missing").c_str()}), -60031);
    EXPECT_FALSE(fs::exists(folder.at("asked")));
}

TEST(StartThroughPkexec, SaysWhenPkexecIsMissing)
{
    const ScopedTempDir folder;
    const fs::path tool = makeTool(folder);
    EXPECT_EQ(startThroughPkexec(folder.at("no-pkexec").c_str(), {tool.c_str()}), -60031);
    EXPECT_FALSE(fs::exists(folder.at("ran")));
}
