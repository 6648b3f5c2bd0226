// The host as a program: its exit statuses and what it says, with a provider that ends in every way.
#include "tests/TandemService/HostBundle.h"
#include "tests/support/PackageBuilder.h"

#include <chrono>
#include <utility>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* kMessage = "Updates for 3 products are available.";

struct HostProgram : ::testing::Test {
    HostProgram() { host.set("FAKE_MESSAGE", kMessage); }

    /// An unattended update in which the provider does `run`.
    int update(const std::string& run)
    {
        host.set("FAKE_RUN", run);
        return host.run({"--update", "--unattended"});
    }
    /// The same with a user who presses a button.
    int updateWithUser(const std::string& run, const std::string& button)
    {
        host.set("FAKE_RUN", run);
        host.set("FAKE_USER", button);
        return host.run({"--update"});
    }
    bool noted(const std::string& line) const
    {
        return ("\n" + host.log()).find("\n" + line + "\n") != std::string::npos;
    }

    HostBundle host;
};

} // namespace

TEST_F(HostProgram, CheckPrintsTheMessage)
{
    EXPECT_EQ(host.run({"--check"}), 0) << host.errors();
    EXPECT_EQ(host.output(), std::string(kMessage) + "\n");
    EXPECT_FALSE(noted("process Update.bundle"));
    EXPECT_TRUE(host.log().ends_with("release\nunloaded\n")) << host.log();
}

TEST_F(HostProgram, CheckPrintsItsMessageOnOneLine)
{
    host.set("FAKE_MESSAGE", "An update for \xC3\x84\n\x1B[31mB\tC is available.");
    EXPECT_EQ(host.run({"--check"}), 0);
    EXPECT_EQ(host.output(), "An update for \xC3\x84  [31mB C is available.\n");
}

TEST_F(HostProgram, CheckPrintsNothingWhenThereIsNothing)
{
    host.set("FAKE_MESSAGE", "");
    EXPECT_EQ(host.run({"--check"}), 1);
    EXPECT_EQ(host.output(), "");
}

TEST_F(HostProgram, CheckThatCannotRunIsTold)
{
    host.set("FAKE_CHECK", "fails");
    EXPECT_EQ(host.run({"--check"}), 2);
    EXPECT_EQ(host.output(), "");
    EXPECT_NE(host.errors().find("TandemService: the check could not run\n"), std::string::npos)
        << host.errors();
}

TEST_F(HostProgram, CheckWithoutProviderCannotRun)
{
    host.set("FAKE_GET", "null");
    EXPECT_EQ(host.run({"--check"}), 2);
    EXPECT_EQ(host.run({"--check", "--plugin", "/nowhere/Update.bundle"}), 2);
    EXPECT_NE(
        host.errors().find("there is no plug-in bundle at \"/nowhere/Update.bundle\""), std::string::npos);
}

TEST_F(HostProgram, LoadsTheBundleThatItIsGiven)
{
    fs::rename(host.app() / "Contents/PlugIns/Update.bundle", host.home().folder().at("Other.bundle"));
    EXPECT_EQ(host.run({"--check"}), 2);
    EXPECT_EQ(host.run({"--check", "--plugin", host.home().folder().at("Other.bundle").string()}), 0);
}

TEST_F(HostProgram, CheckNeedsNoDisplay)
{
    host.unset("QT_QPA_PLATFORM");
    host.set("QT_QPA_PLATFORM", "");
    EXPECT_EQ(host.run({"--check"}), 0) << host.errors();
}

TEST_F(HostProgram, WindowsWithoutDisplayAreRefusedAtOnce)
{
    host.set("QT_QPA_PLATFORM", "");
    for (const std::vector<std::string>& arguments : {std::vector<std::string> {}, {"--update"}}) {
        EXPECT_EQ(host.run(arguments), 2);
        EXPECT_NE(host.errors().find("there is no display"), std::string::npos) << host.errors();
    }
    EXPECT_EQ(update("success"), 0) << "unattended needs none: " << host.errors();
}

TEST_F(HostProgram, ChosenPlatformThatDoesNotWorkIsNoEnd)
{
    for (const char* platform : {"xcb", "wayland;xcb", "nonsense"}) {
        host.set("QT_QPA_PLATFORM", platform);
        EXPECT_EQ(host.run({"--check"}), 0) << host.errors();
        EXPECT_EQ(update("success"), 0) << host.errors();
        EXPECT_EQ(host.run({"--update"}), 2);
        EXPECT_NE(host.errors().find("there is no display"), std::string::npos) << host.errors();
    }
}

TEST_F(HostProgram, OnlyDisplaysOfTheEnvironmentAreTried)
{
    host.set("QT_QPA_PLATFORM", "");
    host.set("DISPLAY", host.home().folder().at("no display").string());
    EXPECT_EQ(host.run({"--update"}), 2);
    EXPECT_NE(host.errors().find("there is no display"), std::string::npos) << host.errors();
    EXPECT_NE(host.errors().find("\"xcb\""), std::string::npos) << host.errors();
    EXPECT_EQ(host.errors().find("wayland"), std::string::npos) << host.errors();
}

TEST_F(HostProgram, WrongArgumentsAreExplained)
{
    EXPECT_EQ(host.run({"--nonsense"}), 2);
    EXPECT_NE(
        host.errors().find("TandemService: cannot use the argument \"--nonsense\"\nusage: TandemService"),
        std::string::npos)
        << host.errors();
    EXPECT_EQ(host.run({"--help"}), 0);
    EXPECT_TRUE(host.output().starts_with("usage: TandemService"));
}

TEST_F(HostProgram, UpdateWithNothingToOffer)
{
    host.set("FAKE_MESSAGE", "");
    EXPECT_EQ(update("success"), 1);
    EXPECT_FALSE(noted("process Update.bundle"));
}

TEST_F(HostProgram, UpdateThatCannotRun)
{
    host.set("FAKE_CHECK", "fails");
    EXPECT_EQ(update("success"), 2);
}

TEST_F(HostProgram, UpdateThatCannotBeOpened)
{
    host.set("FAKE_OPEN", "fails");
    EXPECT_EQ(update("success"), 2);
}

TEST_F(HostProgram, UpdateSucceeds)
{
    EXPECT_EQ(update("success"), 0) << host.errors();
    EXPECT_NE(
        host.output().find("The update was installed. Your products are up to date.\n"), std::string::npos)
        << host.output();
    EXPECT_TRUE(noted("can generate while open 0"));
    EXPECT_TRUE(noted("UEnd 0"));
}

TEST_F(HostProgram, UpdateFails)
{
    EXPECT_EQ(update("failure"), 4);
    EXPECT_NE(host.output().find("The update could not be completed.\n"), std::string::npos) << host.output();
}

TEST_F(HostProgram, UpdateWhoseAuthorisationFails)
{
    EXPECT_EQ(update("unauthorised"), 4);
}

TEST_F(HostProgram, UpdateWhoseFirstFileCannotStartEndsItsMessageTwice)
{
    EXPECT_EQ(update("firstfile"), 4);
}

TEST_F(HostProgram, UpdateOfNothingCheckedIsDeclined)
{
    EXPECT_EQ(update("unchecked"), 3);
    EXPECT_TRUE(noted("later"));
}

TEST_F(HostProgram, WindowWithoutButtonsDoesNotHangAnUnattendedUpdate)
{
    EXPECT_EQ(update("blank"), 4);
    EXPECT_TRUE(noted("cancel Update.bundle"));
}

TEST_F(HostProgram, UserDeclines)
{
    EXPECT_EQ(updateWithUser("success", "later"), 3);
}

TEST_F(HostProgram, UserCancelsInTheProgressWindow)
{
    EXPECT_EQ(updateWithUser("cancel", "ok"), 3);
}

TEST_F(HostProgram, SignalEndsAnOpenUpdate)
{
    host.set("FAKE_RUN", "stay");
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        fs::remove(host.home().folder().at("log"));
        host.start({"--update", "--unattended"});
        ASSERT_TRUE(host.waitForLine("can generate while open 0"));
        host.signal(number);
        EXPECT_EQ(host.wait(), 3);
        EXPECT_TRUE(noted("cancel Update.bundle"));
        EXPECT_TRUE(host.log().ends_with("release\nunloaded\n")) << host.log();
    }
}

TEST_F(HostProgram, SignalEndsAnUpdateWhoseAlertWaitsForItsUser)
{
    host.set("FAKE_RUN", "failure");
    host.set("FAKE_USER", "ok");
    host.start({"--update"});
    ASSERT_TRUE(host.waitForLine("alert"));
    host.signal(SIGTERM);
    EXPECT_EQ(host.wait(), 3);
    EXPECT_TRUE(noted("cancel Update.bundle"));
    EXPECT_TRUE(host.log().ends_with("release\nunloaded\n")) << host.log();
}

TEST_F(HostProgram, SignalEndsACheckThatAServerHoldsUp)
{
    host.set("FAKE_CHECK", "stalls");
    const std::pair<std::vector<std::string>, int> cases[]
        = {{{"--check"}, 2}, {{"--update", "--unattended"}, 3}, {{}, 0}};
    for (const auto& [arguments, status] : cases) {
        fs::remove(host.home().folder().at("log"));
        host.start(arguments);
        ASSERT_TRUE(host.waitForLine("generate can=1"));
        const auto asked = std::chrono::steady_clock::now();
        host.signal(SIGTERM);
        EXPECT_EQ(host.wait(), status);
        EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(60));
    }
}

TEST_F(HostProgram, SignalsIgnoredFromTheStartStayIgnored)
{
    host.set("FAKE_RUN", "stay");
    host.prepareWith([] { (void)signal(SIGHUP, SIG_IGN); });
    host.start({"--update", "--unattended"});
    ASSERT_TRUE(host.waitForLine("can generate while open 0"));
    const std::string status = readWholeFile(host.process() / "status");
    const std::size_t line = status.find("SigIgn:\t");
    ASSERT_NE(line, std::string::npos);
    EXPECT_NE(std::stoull(status.substr(line + 8), nullptr, 16) & 1ULL << (SIGHUP - 1), 0U);
    host.signal(SIGTERM);
    EXPECT_EQ(host.wait(), 3);
}

TEST_F(HostProgram, OutputThatNobodyReadsEndsNoUpdate)
{
    host.prepareWith([] {
        int ends[2] = {};
        if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) < 0 || dup2(ends[1], STDERR_FILENO) < 0)
            _exit(99);
        (void)close(ends[0]); // whoever writes to the other end is told so by a signal
    });
    EXPECT_EQ(update("success"), 0);
    EXPECT_EQ(host.run({"--check"}), 0);
}

TEST_F(HostProgram, ClosedStandardDescriptorsAreTakenByNothingElse)
{
    host.set("FAKE_RUN", "stay");
    host.prepareWith([] {
        for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            (void)close(number); // open until now
    });
    host.start({"--update", "--unattended"});
    ASSERT_TRUE(host.waitForLine("can generate while open 0"));
    for (const char* number : {"0", "1", "2"})
        EXPECT_EQ(fs::read_symlink(host.process() / "fd" / number), "/dev/null");
    host.signal(SIGTERM);
    EXPECT_EQ(host.wait(), 3);
    EXPECT_EQ(host.run({"--check"}), 0);
}

TEST_F(HostProgram, InstallsPackagesForItsPlugin)
{
    const ScopedTempDir& folder = host.home().folder();
    const fs::path package
        = packages::PackageBuilder().file("Foo.app/new", "x").writeBundle(folder.at("X.pkg"));
    host.set("FAKE_PACKAGE", package.string());
    host.set("FAKE_TARGET", folder.makeFolder("apps").string());
    EXPECT_EQ(update("package"), 0) << host.errors();
    EXPECT_TRUE(noted("UPKG 0")) << host.log();
    EXPECT_EQ(readWholeFile(folder.at("apps/Foo.app/new")), "x");
}

TEST_F(HostProgram, SignalDuringAnInstallLetsTheInstallEnd)
{
    const ScopedTempDir& folder = host.home().folder();
    fs::remove(host.app() / "Contents/Linux/installer");
    const fs::path installer = folder.write("Tandem.app/Contents/Linux/installer",
        "#!/bin/sh\ni=0\n: > '" + folder.at("started").string() + "'\nwhile [ ! -e '"
            + folder.at("go").string()
            + "' ]; do sleep 0.01; i=$((i+1)); [ $i -lt 3000 ] || exit 1; done\n: > '"
            + folder.at("finished").string() + "'\n");
    fs::permissions(installer, fs::perms::owner_all);
    host.set("FAKE_RUN", "package");
    host.set("FAKE_PACKAGE", "/some.pkg");
    host.set("FAKE_TARGET", folder.makeFolder("apps").string());
    host.start({"--update", "--unattended"});
    ASSERT_TRUE(HostBundle::waitForFile(folder.at("started")));
    host.signal(SIGTERM);
    EXPECT_TRUE(host.waitForLine("cancel Update.bundle"));
    EXPECT_FALSE(fs::exists(folder.at("finished")));
    (void)folder.write("go", "");
    EXPECT_EQ(host.wait(), 3);
    EXPECT_TRUE(fs::exists(folder.at("finished")));
    EXPECT_TRUE(host.log().ends_with("release\nunloaded\n")) << host.log();
}

TEST_F(HostProgram, AnswersAFailedInstallWithItsNumber)
{
    const ScopedTempDir& folder = host.home().folder();
    host.set("FAKE_PACKAGE", folder.write("bad.pkg", "this is no package").string());
    host.set("FAKE_TARGET", folder.makeFolder("apps").string());
    EXPECT_EQ(update("package"), 0);
    EXPECT_TRUE(noted("UPKG 3")) << host.log();
}

TEST_F(HostProgram, StartsAgainFromTheBundleWithItsPortClosed)
{
    const ScopedTempDir& folder = host.home().folder();
    writeInfoPlist(folder, "New Host.app", "com.velmora.Daemon", "Again");
    const fs::path script = folder.write("New Host.app/Contents/Linux/Again",
        "#!/bin/sh\nif [ -S \"$XDG_RUNTIME_DIR/com.velmora.tandemservice.setup\" ]; then p=open; else "
        "p=closed; fi\n"
        "echo \"$# $p ${QT_QPA_PLATFORM-unset}\" > '"
            + folder.at("started.new").string() + "' && mv '" + folder.at("started.new").string() + "' '"
            + folder.at("started").string() + "'\n");
    fs::permissions(script, fs::perms::owner_all);
    host.set("FAKE_RELAUNCH", folder.at("New Host.app").string());
    EXPECT_EQ(update("relaunch"), 0) << host.errors();
    ASSERT_TRUE(HostBundle::waitForFile(folder.at("started")));
    EXPECT_EQ(readWholeFile(folder.at("started")), "0 closed offscreen\n");
}

TEST_F(HostProgram, DoesNotStartAgainFromWhatIsNoBundle)
{
    host.set("FAKE_RELAUNCH", host.home().folder().at("missing.app").string());
    EXPECT_EQ(update("relaunch"), 0) << "the update itself was installed";
    EXPECT_NE(host.errors().find("cannot start again from"), std::string::npos) << host.errors();
}

TEST_F(HostProgram, SavesPicturesOfItsWindows)
{
    const fs::path pictures = host.home().folder().at("pictures");
    host.set("FAKE_RUN", "success");
    EXPECT_EQ(host.run({"--update", "--unattended", "--pictures", pictures.string()}), 0);
    EXPECT_NE(
        host.output().find("picture: " + (pictures / "1-selection.png").string() + "\n"), std::string::npos);
    EXPECT_NE(
        host.output().find("picture: " + (pictures / "2-progress.png").string() + "\n"), std::string::npos);
    EXPECT_TRUE(fs::exists(pictures / "1-selection.png"));
    EXPECT_TRUE(fs::exists(pictures / "2-progress.png"));
}

TEST_F(HostProgram, RunsFromItsApplicationBundleOnly)
{
    fs::remove(host.app() / "Contents/Info.plist");
    EXPECT_EQ(host.run({"--check"}), 2);
    EXPECT_NE(host.errors().find("does not lie in its application bundle"), std::string::npos)
        << host.errors();
}
