// What is started as an application, how, and how its end is seen.
#include "Platform/Carbon/EventLoop.h"
#include "Platform/Support/ErrorNumbers.h"
#include "tests/Platform/Carbon/LaunchedApplication.h"
#include "tests/support/BundleBuilder.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

fs::path buildBundle(const ScopedTempDir& folder, std::string_view name, std::string_view commands)
{
    const fs::path bundle = BundleBuilder()
                                .executable("prog")
                                .file("Contents/Linux/prog", "#!/bin/sh\n" + std::string(commands) + "\n")
                                .build(folder, name);
    fs::permissions(bundle / "Contents/Linux/prog", fs::perms::owner_all);
    return bundle;
}

} // namespace

TEST(LaunchApplication, StartsAnExecutableFile)
{
    const ScopedTempDir folder;
    const FSRef script = refTo(writeScript(folder, "run", "echo started > \"$0.out\""));
    ASSERT_EQ(launch(script), noErr);
    EXPECT_EQ(waitForEnd(script), kLaunchedEnded);
    EXPECT_EQ(readWholeFile(folder.at("run.out")), "started\n");
}

TEST(LaunchApplication, StartsABundlesExecutable)
{
    const ScopedTempDir folder;
    const FSRef bundle = refTo(buildBundle(folder, "Some.app", "echo started > \"$0.out\""));
    ASSERT_EQ(launch(bundle), noErr);
    EXPECT_EQ(waitForEnd(bundle), kLaunchedEnded);
    EXPECT_EQ(readWholeFile(folder.at("Some.app/Contents/Linux/prog.out")), "started\n");
}

TEST(LaunchApplication, GivesTheProcessThatItStarted)
{
    const ScopedTempDir folder;
    const FSRef script = refTo(writeScript(folder, "run", "echo $$ > \"$0.out\""));
    LaunchParamBlockRec block;
    ASSERT_EQ(launch(script, &block), noErr);
    (void)waitForEnd(script);
    EXPECT_EQ(readWholeFile(folder.at("run.out")), std::to_string(block.launchProcessSN.lowLongOfPSN) + "\n");
    EXPECT_EQ(block.launchProcessSN.highLongOfPSN, 0u);
}

TEST(LaunchApplication, StartsInASessionOfItsOwnWithoutInput)
{
    const ScopedTempDir folder;
    const FSRef script = refTo(writeScript(
        folder, "run", "readlink /proc/$$/fd/0 > \"$0.in\"; cut -d' ' -f1,6 /proc/$$/stat > \"$0.out\""));
    LaunchParamBlockRec block;
    ASSERT_EQ(launch(script, &block), noErr);
    (void)waitForEnd(script);
    EXPECT_EQ(readWholeFile(folder.at("run.in")), "/dev/null\n");
    const std::string id = std::to_string(block.launchProcessSN.lowLongOfPSN);
    EXPECT_EQ(readWholeFile(folder.at("run.out")), id + " " + id + "\n");
}

TEST(LaunchApplication, RefusesWhatIsNoApplication)
{
    const ScopedTempDir folder;
    EXPECT_EQ(launch(refTo(folder.write("document", "text"))), kLSApplicationNotFoundErr);
    EXPECT_EQ(launch(refTo(folder.makeFolder("folder"))), kLSApplicationNotFoundErr);
    EXPECT_EQ(launch(refTo(BundleBuilder().without("CFBundleExecutable").build(folder, "No.app"))),
        kLSApplicationNotFoundErr);
    EXPECT_EQ(launch(refTo(BundleBuilder().executable("prog").build(folder, "Gone.app"))),
        kLSApplicationNotFoundErr);
}

TEST(LaunchApplication, RefusesABundlesExecutableOutsideItsProgramFolder)
{
    const ScopedTempDir folder;
    (void)writeScript(folder, "Out.app/Contents/outside", "echo started > \"$0.out\"");
    const fs::path bundle = BundleBuilder().executable("../outside").build(folder, "Out.app");
    (void)folder.makeFolder("Out.app/Contents/Linux");
    EXPECT_EQ(launch(refTo(bundle)), kLSApplicationNotFoundErr);
}

TEST(LaunchApplication, TakesAPackageForNoApplication)
{
    const ScopedTempDir folder;
    EXPECT_EQ(launch(refTo(writeScript(folder, "a.PKG", "true"))), kLSApplicationNotFoundErr);
    EXPECT_EQ(launch(refTo(buildBundle(folder, "b.pkg", "true"))), kLSApplicationNotFoundErr);
}

TEST(LaunchApplication, TellsThatAFileCannotBeExecuted)
{
    const ScopedTempDir folder;
    const fs::path file = folder.write("garbage", "no program");
    fs::permissions(file, fs::perms::owner_all);
    EXPECT_EQ(launch(refTo(file)), ioErr); // ENOEXEC stands for itself nowhere: the table's last resort
}

TEST(LaunchApplication, RefusesAnObjectThatTookThePlaceOfTheOneMeant)
{
    const ScopedTempDir folder;
    const FSRef script = refTo(writeScript(folder, "run", "true"));
    fs::rename(folder.at("run"), folder.at("moved"));
    EXPECT_EQ(launch(script), fnfErr);
    (void)writeScript(folder, "run", "true");
    EXPECT_EQ(launch(script), errFSBadFSRef);
}

TEST(LaunchApplicationDeathTest, RefusesWhatItDoesNotSupport)
{
    const ScopedTempDir folder;
    const FSRef script = refTo(writeScript(folder, "run", "true"));
    LaunchParamBlockRec good;
    good.launchBlockID = 0x4C43;
    good.launchEPBLength = 32;
    good.launchControlFlags = 0x4A00;
    good.launchAppSpec = &script;
    const auto changed = [&good](auto change) {
        LaunchParamBlockRec block = good;
        change(block);
        return block;
    };
    for (LaunchParamBlockRec bad : {
             changed([](auto& block) { block.launchBlockID = 0; }),
             changed([](auto& block) { block.launchEPBLength = 31; }),
             changed([](auto& block) { block.launchFileFlags = 1; }),
             changed([](auto& block) { block.launchControlFlags = 0x4000; }),
             changed([](auto& block) { block.launchControlFlags = 0x0800; }),
             changed([](auto& block) { block.launchControlFlags = 0x4801; }),
             changed([](auto& block) { block.launchAppSpec = nullptr; }),
         })
        EXPECT_DEATH((void)LaunchApplication(&bad), "failed assertion");
    EXPECT_EQ(LaunchApplication(&good), noErr);
    EXPECT_EQ(waitForEnd(script), kLaunchedEnded);
}

TEST(LaunchStateOf, KnowsNothingOfWhatWasNotLaunched)
{
    const ScopedTempDir folder;
    const FSRef file = refTo(folder.write("file", "x"));
    EXPECT_EQ(LaunchStateOf(&file), kNothingLaunched);
}

TEST(LaunchStateOf, FollowsEachProcessOfAnApplication)
{
    const ScopedTempDir folder;
    // Runs until the file "go" followed by its number is there, in a bounded number of looks.
    const FSRef script = refTo(writeScript(folder, "run",
        "n=0; mkdir \"$0.first\" 2>/dev/null && me=1 || me=2\n"
        "while [ ! -e \"$0.go$me\" ] && [ $n -lt 600 ]; do n=$((n+1)); sleep 0.05; done"));
    ASSERT_EQ(launch(script), noErr);
    ASSERT_EQ(launch(script), noErr);
    EXPECT_EQ(LaunchStateOf(&script), kLaunchedRunning);
    (void)folder.write("run.go2", "");
    EXPECT_EQ(LaunchStateOf(&script), kLaunchedRunning);
    (void)folder.write("run.go1", "");
    EXPECT_EQ(waitForEnd(script), kLaunchedEnded);
}

TEST(LaunchStateOf, TakesAnUncollectedProcessForEnded)
{
    const ScopedTempDir folder;
    const FSRef script = refTo(writeScript(folder, "run", "exit 3"));
    LaunchParamBlockRec block;
    ASSERT_EQ(launch(script, &block), noErr);
    const auto process = static_cast<pid_t>(block.launchProcessSN.lowLongOfPSN);
    siginfo_t info;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT), 0); // leaves the zombie
    EXPECT_EQ(LaunchStateOf(&script), kLaunchedEnded);
    EXPECT_EQ(kill(process, 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST(LaunchStateOf, TakesAProcessThatSomebodyElseCollectedForEnded)
{
    const ScopedTempDir folder;
    const FSRef script = refTo(writeScript(folder, "run", "exit 3"));
    LaunchParamBlockRec block;
    ASSERT_EQ(launch(script, &block), noErr);
    const auto process = static_cast<pid_t>(block.launchProcessSN.lowLongOfPSN);
    ASSERT_EQ(waitpid(process, nullptr, 0), process);
    EXPECT_EQ(LaunchStateOf(&script), kLaunchedEnded);
}

TEST(LaunchStateOf, IsNotNeededForAProcessToBeCollected)
{
    const ScopedTempDir folder;
    const FSRef script = refTo(writeScript(folder, "run", "exit 0"));
    LaunchParamBlockRec block;
    ASSERT_EQ(launch(script, &block), noErr);
    const auto process = static_cast<pid_t>(block.launchProcessSN.lowLongOfPSN);
    siginfo_t info;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT), 0);
    for (int i = 0; i < 100 && kill(process, 0) == 0; ++i)
        (void)ReceiveNextEvent(0.1); // its end is an event
    EXPECT_EQ(kill(process, 0), -1);
}

TEST(LaunchStateOf, StartsAnewWithTheNextLaunch)
{
    const ScopedTempDir folder;
    const FSRef script = refTo(writeScript(folder, "run",
        "n=0\nwhile [ -e \"$0.block\" ] && [ $n -lt 600 ]; do "
        "n=$((n+1)); sleep 0.05; done"));
    ASSERT_EQ(launch(script), noErr);
    EXPECT_EQ(waitForEnd(script), kLaunchedEnded);
    const fs::path block = folder.write("run.block", "");
    ASSERT_EQ(launch(script), noErr);
    EXPECT_EQ(LaunchStateOf(&script), kLaunchedRunning);
    fs::remove(block);
    EXPECT_EQ(waitForEnd(script), kLaunchedEnded);
}
