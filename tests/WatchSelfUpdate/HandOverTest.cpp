// The hand-over as a process: what it waits for, how it starts the host, and which markers it takes.
#include "WatchSelfUpdate/HandOver.h"
#include "tests/WatchSelfUpdate/HandOverStage.h"
#include "tests/WatchSelfUpdate/RunningProgram.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FakeHome.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <set>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::HasSubstr;
using testing::Not;

namespace {

// Long enough for a tool that does not wait to have started the host.
constexpr int kNothingComesMs = 200;

std::future<ToolRun> runInBackground(const HandOverStage& stage)
{
    return std::async(std::launch::async, [&stage] { return stage.run(); });
}

// The tool waits as long as `program` runs, and then starts the host.
void expectWaitFor(const HandOverStage& stage, RunningProgram& program)
{
    std::future<ToolRun> run = runInBackground(stage);
    EXPECT_EQ(stage.reports(kNothingComesMs), "");
    program.end();
    EXPECT_THAT(stage.reports(), HasSubstr("host "));
    EXPECT_EQ(run.get().status, 0);
}

void writeScript(const fs::path& file, const std::string& body)
{
    std::FILE* const out = std::fopen(file.c_str(), "we");
    ASSERT_NE(out, nullptr);
    ASSERT_GE(std::fputs(("#!/bin/sh\n" + body).c_str(), out), 0);
    ASSERT_EQ(std::fclose(out), 0);
    fs::permissions(file, fs::perms(0755));
}

} // namespace

TEST(HandOver, WaitsAtMostAnHourForTheUpdateAndAMinuteForTheHost)
{
    const HandOverLimits limits;
    EXPECT_EQ(limits.look, milliseconds(250));
    EXPECT_EQ(limits.appear, milliseconds(2'000));
    EXPECT_EQ(limits.update, milliseconds(3'600'000));
    EXPECT_EQ(limits.host, milliseconds(60'000));
}

TEST(HandOver, StartsTheHostAndRemovesTheMarkerWhenNothingRuns)
{
    const HandOverStage stage;
    stage.writeOwned(stage.marker(), stage.markerBytes());
    const ToolRun run = stage.run();
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errorText, "");
    const uid_t user = stage.ownsRoot() ? stage.user() : geteuid();
    EXPECT_EQ(stage.reports(), "host " + std::to_string(user) + "\n");
    EXPECT_FALSE(fs::exists(stage.marker()));
    EXPECT_EQ(stage.run().status, 66);
}

TEST(HandOver, WaitsForAProgram)
{
    const HandOverStage stage;
    fs::copy_file("/bin/cat", stage.runFile());
    stage.writeOwned(stage.marker(), stage.markerBytes());
    RunningProgram program({stage.runFile()}, stage.user());
    expectWaitFor(stage, program);
}

TEST(HandOver, WaitsForAProgramToAppear)
{
    const HandOverStage stage;
    fs::copy_file("/bin/cat", stage.runFile());
    stage.writeOwned(stage.marker(), stage.markerBytes());
    const fs::path patient = stage.folder().at("PatientTool");
    fs::create_symlink(stage.tool().path(), patient);
    std::future<ToolRun> run = std::async(
        std::launch::async, [&] { return stage.tool().runAs(patient.string(), {}, stage.user()); });
    EXPECT_EQ(stage.reports(kNothingComesMs), "");
    RunningProgram program({stage.runFile()}, stage.user());
    EXPECT_EQ(stage.reports(kNothingComesMs), "");
    program.end();
    EXPECT_THAT(stage.reports(), HasSubstr("host "));
    EXPECT_EQ(run.get().status, 0);
}

TEST(HandOver, WaitsForAProgramWhoseFileWasRemoved)
{
    const HandOverStage stage;
    fs::copy_file("/bin/cat", stage.runFile());
    stage.writeOwned(stage.marker(), stage.markerBytes());
    // Under another first word, so that only the program's own file tells it.
    const fs::path link = stage.folder().at("link");
    fs::create_symlink(stage.runFile(), link);
    RunningProgram program({link.string()}, stage.user());
    fs::remove(stage.runFile());
    expectWaitFor(stage, program);
}

TEST(HandOver, WaitsForABundlesProgram)
{
    const HandOverStage stage;
    const fs::path program = fs::path(stage.runFile()) / "Contents/Linux/Updater";
    fs::create_directories(program.parent_path());
    fs::copy_file("/bin/cat", program);
    stage.writeOwned(stage.marker(), stage.markerBytes());
    RunningProgram running({program.string()}, stage.user());
    expectWaitFor(stage, running);
}

TEST(HandOver, WaitsForAScript)
{
    const HandOverStage stage;
    writeScript(stage.runFile(), "while read line; do :; done\n");
    stage.writeOwned(stage.marker(), stage.markerBytes());
    RunningProgram running({stage.runFile()}, stage.user());
    expectWaitFor(stage, running);
}

TEST(HandOver, WaitsForTheProgramThatAPackageWasOpenedWith)
{
    const HandOverStage stage;
    fs::create_directory(stage.runFile());
    const std::string installer = stage.folder().at("installer").string();
    writeScript(installer, "while read line; do :; done\n");
    stage.writeOwned(stage.marker(), stage.markerBytes());
    // As root where that can be: an installer runs with more rights than its user.
    RunningProgram running({installer, "-pkg", stage.runFile(), "-target", "/"}, ToolCopy::kCurrentUser);
    expectWaitFor(stage, running);
}

TEST(HandOver, DoesNotWaitForAProgramWhoseNameOnlyBeginsAlike)
{
    const HandOverStage stage;
    const std::string other = stage.runFile() + "2";
    fs::copy_file("/bin/cat", other);
    stage.writeOwned(stage.marker(), stage.markerBytes());
    const RunningProgram running({other}, stage.user());
    EXPECT_EQ(stage.run().status, 0);
    EXPECT_THAT(stage.reports(), HasSubstr("host "));
}

TEST(HandOver, GoesOnWhenTheUpdateDoesNotEnd)
{
    const HandOverStage stage;
    fs::copy_file("/bin/cat", stage.runFile());
    stage.writeOwned(stage.marker(), stage.markerBytes());
    const RunningProgram running({stage.runFile()}, stage.user());
    EXPECT_EQ(stage.run().status, 0);
    EXPECT_THAT(stage.reports(), HasSubstr("host "));
}

TEST(HandOver, WaitsForTheOldHostThatTheUpdateReplaced)
{
    const HandOverStage stage;
    fs::remove(stage.hostProgram());
    fs::copy_file("/bin/cat", stage.hostProgram());
    RunningProgram oldHost({stage.hostProgram().string()}, stage.user());
    fs::remove(stage.hostProgram());
    stage.writeHost(stage.bundle(), "host", "");
    stage.writeOwned(stage.marker(), stage.markerBytes());
    expectWaitFor(stage, oldHost);
}

TEST(HandOver, StartsAHostThatTheUpdateHadTakenAwayMeanwhile)
{
    const HandOverStage stage;
    fs::copy_file("/bin/cat", stage.runFile());
    stage.writeOwned(stage.marker(), stage.markerBytes());
    RunningProgram program({stage.runFile()}, stage.user());
    const fs::path aside = stage.folder().at("aside");
    fs::rename(stage.bundle(), aside);
    std::future<ToolRun> run = runInBackground(stage);
    EXPECT_EQ(stage.reports(kNothingComesMs), "");
    fs::rename(aside, stage.bundle());
    program.end();
    EXPECT_EQ(run.get().status, 0);
    EXPECT_THAT(stage.reports(), HasSubstr("host "));
}

TEST(HandOver, IsDoneOnceWhenTwoToolsFindOneMarker)
{
    const HandOverStage stage;
    for (int i = 0; i < 20; ++i) {
        stage.writeOwned(stage.marker(), stage.markerBytes());
        std::future<ToolRun> other = runInBackground(stage);
        const int status = stage.run().status;
        const std::set<int> statuses {status, other.get().status};
        EXPECT_EQ(statuses, (std::set<int> {0, 66})) << "after " << i;
        const std::string report = stage.reports();
        EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 1) << report;
    }
    EXPECT_EQ(stage.reports(kNothingComesMs), "");
}

TEST(HandOver, LosesNothingButItselfWhenItIsKilledMidway)
{
    const HandOverStage stage;
    fs::copy_file("/bin/cat", stage.runFile());
    RunningProgram program({stage.runFile()}, stage.user());
    stage.writeOwned(stage.marker(), stage.markerBytes());
    RunningProgram tool({stage.tool().path()}, stage.user());
    const auto limit = steady_clock::now() + std::chrono::seconds(20);
    while (fs::exists(stage.marker()) && steady_clock::now() < limit)
        std::this_thread::yield(); // once it has taken the marker it waits for the program
    tool.kill();
    program.end();
    EXPECT_EQ(stage.reports(kNothingComesMs), "");
    EXPECT_TRUE(fs::exists(stage.hostProgram()));
    stage.writeOwned(stage.marker(), stage.markerBytes());
    EXPECT_EQ(stage.run().status, 0);
    EXPECT_THAT(stage.reports(), HasSubstr("host "));
}

TEST(HandOver, GoesOnWhenTheOldHostDoesNotEnd)
{
    const HandOverStage stage;
    fs::remove(stage.hostProgram());
    fs::copy_file("/bin/cat", stage.hostProgram());
    const RunningProgram oldHost({stage.hostProgram().string()}, stage.user());
    fs::remove(stage.hostProgram());
    stage.writeHost(stage.bundle(), "host", "");
    stage.writeOwned(stage.marker(), stage.markerBytes());
    EXPECT_EQ(stage.run().status, 0);
    EXPECT_THAT(stage.reports(), HasSubstr("host "));
}

TEST(HandOver, DoesNotWaitForAnotherUsersHost)
{
    const HandOverStage stage;
    if (!stage.ownsRoot())
        GTEST_SKIP() << "needs root to run as another user";
    fs::remove(stage.hostProgram());
    fs::copy_file("/bin/cat", stage.hostProgram());
    RunningProgram oldHost({stage.hostProgram().string()}, 1001);
    fs::remove(stage.hostProgram());
    stage.writeHost(stage.bundle(), "host", "");
    stage.writeOwned(stage.marker(), stage.markerBytes());
    std::future<ToolRun> run = runInBackground(stage);
    // Before the wait for a host of the caller's own would have reached its limit.
    EXPECT_EQ(stage.reports(1'000), "host 1000\n");
    EXPECT_EQ(run.get().status, 0);
}

TEST(HandOver, DoesNotWaitForAThirdUsersProgram)
{
    const HandOverStage stage;
    if (!stage.ownsRoot())
        GTEST_SKIP() << "needs root to run as another user";
    fs::copy_file("/bin/cat", stage.runFile());
    stage.writeOwned(stage.marker(), stage.markerBytes());
    // Anybody may start the update's program, or name it, and would keep the host away as long as it runs.
    const RunningProgram foreign({stage.runFile()}, 1001);
    std::future<ToolRun> run = runInBackground(stage);
    EXPECT_EQ(stage.reports(1'000), "host 1000\n");
    EXPECT_EQ(run.get().status, 0);
}

TEST(HandOver, StartsTheHostDetachedWithAnEnvironmentForTheDesktop)
{
    const ScopedEnvironment display("DISPLAY", ":77");
    const ScopedEnvironment runtime("XDG_RUNTIME_DIR", "/run/user/77");
    const ScopedEnvironment locale("LC_TIME", "C.UTF-8");
    const ScopedEnvironment path("PATH", "/home/me/bin");
    const ScopedEnvironment preload("LD_LIBRARY_PATH", "/home/me/lib");
    const ScopedEnvironment shell("ENV", "/home/me/profile");
    const ScopedEnvironment root("VELMORA_ROOT", "/home/me/root");
    const HandOverStage stage;
    stage.writeHost(stage.bundle(), "host",
        "cat /proc/$$/environ | tr '\\0' '\\n'; umask; pwd; ls -l /proc/$$/fd | grep -c -- '-> /dev/null'\n"
        "cut -d ' ' -f 6 /proc/$$/stat | sed s/^$$'$'/leader/");
    stage.writeOwned(stage.marker(), stage.markerBytes());
    const mode_t former = umask(027);
    ASSERT_EQ(stage.run().status, 0);
    (void)umask(former);
    const std::string report = stage.reports();
    EXPECT_THAT(report, HasSubstr("\nPATH=/usr/local/bin:/usr/bin:/bin\n"));
    for (const char* kept : {"DISPLAY=:77", "XDG_RUNTIME_DIR=/run/user/77", "LC_TIME=C.UTF-8",
             "VELMORA_ROOT=/home/me/root", "0027", "/", "leader"})
        EXPECT_THAT(report, HasSubstr(std::string("\n") + kept + "\n"));
    EXPECT_THAT(report, Not(HasSubstr("LD_LIBRARY_PATH")));
    EXPECT_THAT(report, Not(HasSubstr("ENV=")));
}

TEST(HandOver, StartsTheHostWithDefaultSignals)
{
    const HandOverStage stage;
    stage.writeHost(stage.bundle(), "host", "grep -E '^Sig(Blk|Ign)' /proc/$$/status");
    stage.writeOwned(stage.marker(), stage.markerBytes());
    EXPECT_EQ(child::run([&stage] {
        // What the tool inherits from whoever starts it.
        sigset_t all;
        sigfillset(&all);
        for (const int number : {SIGHUP, SIGINT, SIGPIPE, SIGTERM, SIGUSR1, SIGRTMAX})
            (void)signal(number, SIG_IGN);
        return sigprocmask(SIG_BLOCK, &all, nullptr) == 0 && stage.run().status == 0 ? 0 : 1;
    }),
        0);
    const std::string report = stage.reports();
    EXPECT_THAT(report, HasSubstr("SigBlk:\t0000000000000000\n"));
    EXPECT_THAT(report, HasSubstr("SigIgn:\t0000000000000000\n"));
}

TEST(HandOver, RefusesABundleWithoutAHost)
{
    const struct {
        const char* name;
        void (*spoil)(const HandOverStage&);
    } cases[] = {
        {"no Info.plist",
            [](const HandOverStage& stage) { fs::remove(stage.bundle() / "Contents/Info.plist"); }},
        {"no program", [](const HandOverStage& stage) { fs::remove(stage.hostProgram()); }},
        {"not executable",
            [](const HandOverStage& stage) { fs::permissions(stage.hostProgram(), fs::perms(0644)); }},
        {"writable by everybody",
            [](const HandOverStage& stage) { fs::permissions(stage.hostProgram(), fs::perms(0757)); }},
        {"a folder for a program",
            [](const HandOverStage& stage) {
                fs::remove(stage.hostProgram());
                fs::create_directory(stage.hostProgram());
            }},
        {"another name",
            [](const HandOverStage& stage) {
                fs::rename(stage.hostProgram(), stage.hostProgram().parent_path() / "Other");
            }},
    };
    for (const auto& each : cases) {
        const HandOverStage stage;
        each.spoil(stage);
        stage.writeOwned(stage.marker(), stage.markerBytes());
        const ToolRun run = stage.run();
        EXPECT_EQ(run.status, 65) << each.name;
        EXPECT_EQ(run.errorText, "WatchSelfUpdate: the marker names no bundle with a host in it\n")
            << each.name;
        EXPECT_EQ(stage.reports(0), "") << each.name;
    }
}

TEST(HandOver, RefusesAProgramOfAThirdUsers)
{
    const HandOverStage stage;
    if (!stage.ownsRoot())
        GTEST_SKIP() << "needs root to give a file away";
    ASSERT_EQ(chown(stage.hostProgram().c_str(), 1001, 1001), 0);
    stage.writeOwned(stage.marker(), stage.markerBytes());
    EXPECT_EQ(stage.run().status, 65);
}
