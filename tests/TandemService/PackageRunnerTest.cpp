// The installer as a child: arguments, statuses, administrator's rights, and events meanwhile.
#include "TandemService/PackageRunner.h"

#include "tests/support/FakeHome.h"
#include "tests/support/TempDir.h"

#include <QTimer>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

struct Scripts {
    /// Both programs write their arguments, one a line, to NAME.args; the installer then runs `installer`,
    /// pkexec `pkexec`.
    Scripts(const std::string& installer, const std::string& pkexec)
    {
        programs.installer = write("installer", installer);
        programs.pkexec = write("pkexec", pkexec);
        programs.privilegedInstaller = "/sbin/other-installer";
    }
    std::string write(const std::string& name, const std::string& body)
    {
        const fs::path file = scratch.write(name,
            "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + scratch.at(name + ".args").string() + "'\n" + body
                + "\n");
        fs::permissions(file, fs::perms::owner_all);
        return file.string();
    }
    std::string arguments(const std::string& name) const { return readWholeFile(scratch.at(name + ".args")); }

    ScopedTempDir scratch;
    PackageRunner::Programs programs;
};

} // namespace

TEST(PackageRunners, HandPathsOnUnchanged)
{
    const Scripts scripts("exit 0", "exit 1");
    EXPECT_EQ(PackageRunner(scripts.programs).install("/a b/X;$(y).pkg", "/t'\"*"), 0);
    EXPECT_EQ(scripts.arguments("installer"), "-pkg\n/a b/X;$(y).pkg\n-target\n/t'\"*\n");
    EXPECT_FALSE(fs::exists(scripts.scratch.at("pkexec.args")));
}

TEST(PackageRunners, GiveTheInstallersStatus)
{
    EXPECT_EQ(PackageRunner(Scripts("exit 4", "exit 0").programs).install("/p", "/t"), 4);
    EXPECT_EQ(PackageRunner(Scripts("kill -9 $$", "exit 0").programs).install("/p", "/t"), 128 + 9);
}

TEST(PackageRunners, AskForRightsWhereTheTargetIsNotWritable)
{
    const Scripts scripts("exit 9", "exit 0");
    EXPECT_EQ(PackageRunner(scripts.programs).install("/p", "/t"), 0);
    EXPECT_EQ(scripts.arguments("pkexec"),
        "--disable-internal-agent\n/sbin/other-installer\n-pkg\n/p\n-target\n/t\n");
}

TEST(PackageRunners, SayWhenTheUserDismissedTheQuestion)
{
    EXPECT_EQ(PackageRunner(Scripts("exit 9", "exit 126").programs).install("/p", "/t"), 126);
    EXPECT_EQ(PackageRunner(Scripts("exit 9", "exit 127").programs).install("/p", "/t"), 127);
}

TEST(PackageRunners, DoNotAskAnAdministratorForMore)
{
    Scripts scripts("exit 9", "exit 0");
    scripts.programs.asksForRights = false;
    EXPECT_EQ(PackageRunner(scripts.programs).install("/p", "/t"), 9);
    EXPECT_FALSE(fs::exists(scripts.scratch.at("pkexec.args")));
}

TEST(PackageRunners, FailWhereTheInstallerIsMissing)
{
    PackageRunner::Programs programs;
    programs.installer = "/nowhere/installer";
    EXPECT_EQ(PackageRunner(programs).install("/p", "/t"), 14);
}

TEST(PackageRunners, RecoverATarget)
{
    const Scripts scripts("exit 0", "exit 1");
    EXPECT_EQ(PackageRunner(scripts.programs).recover("/t"), 0);
    EXPECT_EQ(scripts.arguments("installer"), "-recover\n/t\n");
}

TEST(PackageRunners, AskForRightsToRecoverATarget)
{
    const Scripts scripts("exit 9", "exit 0");
    EXPECT_EQ(PackageRunner(scripts.programs).recover("/t"), 0);
    EXPECT_EQ(scripts.arguments("pkexec"), "--disable-internal-agent\n/sbin/other-installer\n-recover\n/t\n");
}

TEST(PackageRunners, HandNoneOfTheUsersVariablesToPkexec)
{
    // pkexec refuses a shell that the system does not list.
    const ScopedEnvironment shell("SHELL", "/opt/own/shell");
    EXPECT_EQ(
        PackageRunner(Scripts("exit 9", "[ \"$SHELL\" != /opt/own/shell ]").programs).install("/p", "/t"), 0);
}

TEST(PackageRunners, WithdrawTheirQuestionAndNothingElse)
{
    const Scripts asks("exit 9", "exec sleep 60");
    PackageRunner asking(asks.programs);
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { asking.endQuestion(); });
    timer.start(20);
    EXPECT_EQ(asking.install("/p", "/t"), 128 + 15);
    // An install that runs is left alone.
    Scripts scripts("", "exit 0");
    scripts.programs.installer = scripts.write("installer", "sleep 0.2; exit 4");
    PackageRunner installing(scripts.programs);
    QObject::connect(&timer, &QTimer::timeout, [&] { installing.endQuestion(); });
    EXPECT_EQ(installing.install("/p", "/t"), 4);
    installing.endQuestion(); // there is none
}

TEST(PackageRunners, ProcessEventsWhileTheyWaitAndAreNotNested)
{
    // The installer waits for a file that only a timer of this process makes.
    Scripts scripts("", "exit 0");
    const fs::path signal = scripts.scratch.at("go");
    scripts.programs.installer = scripts.write("installer",
        "i=0; while [ ! -e '" + signal.string()
            + "' ] && [ $i -lt 3000 ]; do sleep 0.01; i=$((i+1)); done; [ -e '" + signal.string() + "' ]");
    PackageRunner runner(scripts.programs);
    SInt32 nested = 0;
    bool ran = false;
    QTimer::singleShot(0, [&] {
        ran = runner.isRunning();
        nested = runner.install("/q", "/u");
        (void)scripts.scratch.write("go", "");
    });
    EXPECT_EQ(runner.install("/p", "/t"), 0);
    EXPECT_TRUE(ran);
    EXPECT_EQ(nested, 10);
    EXPECT_FALSE(runner.isRunning());
}
