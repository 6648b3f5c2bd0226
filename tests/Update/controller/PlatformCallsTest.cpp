// What the plug-in object asks of the platform, number by number: waits, delays and the helper tool's start.
#include "Platform/Support/ErrorNumbers.h"
#include "tests/Update/controller/PlatformCalls.h"
#include "tests/Update/controller/SuiteFixture.h"
#include "tests/support/ZipFile.h"

#include <algorithm>

namespace {

constexpr SInt32 kUPKG = 0x55504B47;
constexpr SInt32 kUQRL = 0x5551524C;
constexpr SInt32 kUEnd = 0x55456E64;
constexpr double kExpectedTickSeconds = 0.02;
constexpr double kDownloadTimeoutSeconds = 20.0;

class AskedOfThePlatform : public SuiteFixture {
protected:
    ~AskedOfThePlatform() override { forgetPlatformCalls(); }

    /// Checks and opens the message; forgets what that asked of the platform.
    void offerAndOpen(const std::vector<PublishedFile>& files)
    {
        offer(files);
        ASSERT_EQ(open(), 0);
        forgetPlatformCalls();
    }

    void confirmAndWait()
    {
        confirm();
        waitForEnding();
    }

    static std::ptrdiff_t countOf(const std::vector<double>& delays, double delay)
    {
        return std::count(delays.begin(), delays.end(), delay);
    }

    std::string toolPath() { return (home().cache() / "VelmoraWatchSelfUpdate/WatchSelfUpdate").string(); }
};

} // namespace

TEST_F(AskedOfThePlatform, ADownloadMayBeSilentForTwentySeconds)
{
    offerAndOpen({PublishedFile {}});
    confirmAndWait();
    ASSERT_FALSE(platformCalls().timersInstalled.empty());
    EXPECT_DOUBLE_EQ(platformCalls().timersInstalled.front(), kDownloadTimeoutSeconds);
}

TEST_F(AskedOfThePlatform, AnInstallStepComesEveryFiftiethOfASecond)
{
    offerAndOpen({PublishedFile {.location = "a.zip"}, PublishedFile {.location = "b.zip"},
        PublishedFile {.location = "c.zip"}});
    confirmAndWait();
    EXPECT_EQ(countOf(platformCalls().timersInstalled, kExpectedTickSeconds), 1) << "one timer for all steps";
    // Three chosen files and three listed ones are six steps, each of which arms the timer again.
    EXPECT_EQ(countOf(platformCalls().timersSet, kExpectedTickSeconds), 6);
}

TEST_F(AskedOfThePlatform, AFailedStepDoesNotArmTheTimerAgain)
{
    offerAndOpen({PublishedFile {.unzip = true}});
    publishFile("sketch.zip", "this is no archive");
    confirmAndWait();
    EXPECT_EQ(countOf(platformCalls().timersSet, kExpectedTickSeconds), 0);
}

TEST_F(AskedOfThePlatform, EachRequestHasItsOwnTimeOuts)
{
    struct Row {
        SInt32 id;
        double replySeconds;
    };
    for (const Row& row : {Row {kUPKG, 7200.0}, Row {kUQRL, 0.0}, Row {kUEnd, 2.0}}) {
        forgetPlatformCalls();
        (void)plugin().CommunicationWithApp(row.id, "/first", "/second"); // only the time-outs matter here
        ASSERT_EQ(platformCalls().requests.size(), 1u) << row.id;
        EXPECT_EQ(platformCalls().requests[0].id, row.id);
        EXPECT_DOUBLE_EQ(platformCalls().requests[0].sendTimeoutSeconds, 3.0) << row.id;
        EXPECT_DOUBLE_EQ(platformCalls().requests[0].replyTimeoutSeconds, row.replySeconds) << row.id;
    }
}

TEST_F(AskedOfThePlatform, TheRightStandsInTheEnvironmentWithTheToolsPath)
{
    offerAndOpen({PublishedFile {}});
    confirmAndWait();
    EXPECT_EQ(platformCalls().rightName, "system.privilege.admin");
    EXPECT_EQ(platformCalls().rightValue, toolPath());
}

TEST_F(AskedOfThePlatform, TheToolIsToRepairItselfAndThenTheWindowsComeToTheFront)
{
    offerAndOpen({PublishedFile {}});
    confirmAndWait();
    EXPECT_EQ(platformCalls().toolStarted, toolPath());
    EXPECT_EQ(platformCalls().toolArguments, std::vector<std::string> {"--self-repair"});
    ASSERT_GE(platformCalls().order.size(), 2u);
    EXPECT_EQ(platformCalls().order[0], "tool");
    EXPECT_EQ(platformCalls().order[1], "front");
}

TEST_F(AskedOfThePlatform, TheDiskIsBroughtUpToDateBeforeEachDownload)
{
    offerAndOpen({PublishedFile {.location = "a.zip"}, PublishedFile {.location = "b.zip"}});
    confirmAndWait();
    EXPECT_EQ(
        platformCalls().order, (std::vector<std::string> {"tool", "front", "flush", "flush", "request"}));
}

TEST_F(AskedOfThePlatform, TheProcedureOfTheStepsIsMadeOnceForAllRuns)
{
    offerAndOpen({PublishedFile {}});
    confirmAndWait();
    EXPECT_GE(platformCalls().timerProcedures, 1);
    forgetPlatformCalls();
    host().endings.clear();
    updateAll();
    EXPECT_EQ(platformCalls().timerProcedures, 0);
}

TEST_F(AskedOfThePlatform, WithoutATimerForTheStepsTheMessageJustEnds)
{
    offerAndOpen({PublishedFile {}});
    platformCalls().failingTimer = kExpectedTickSeconds;
    confirmAndWait();
    EXPECT_EQ(host().endings.size(), 1u);
    EXPECT_EQ(plugin().busy(), 0);
    EXPECT_EQ(alerts(), "");
    EXPECT_TRUE(host().requests.empty());
    EXPECT_EQ(windowWith("hscrl_process"), nullptr);
    platformCalls().failingTimer.reset();
    host().endings.clear();
    updateAll();
    EXPECT_EQ(alerts(), "All done\n") << "the next run has a timer again";
}

TEST_F(AskedOfThePlatform, AnAuthorisationThatCannotBeMadeStartsNoTool)
{
    offerAndOpen({PublishedFile {}});
    platformCalls().authorizationFails = true;
    confirmAndWait();
    EXPECT_TRUE(platformCalls().order.empty());
    EXPECT_EQ(alerts(), "");
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(AskedOfThePlatform, ARefusedAuthorisationEndsTheMessageQuietly)
{
    offer({PublishedFile {}});
    for (const OSStatus refusal :
        {errAuthorizationCanceled, errAuthorizationDenied, errAuthorizationToolExecuteFailure}) {
        host().endings.clear();
        forgetPlatformCalls();
        platformCalls().toolResult = refusal;
        ASSERT_EQ(open(), 0);
        confirmAndWait();
        EXPECT_EQ(host().endings.size(), 1u) << refusal;
        EXPECT_EQ(server().countOf("/updates/sketch.zip"), 0) << refusal;
        EXPECT_EQ(platformCalls().order, std::vector<std::string> {"tool"}) << refusal;
        EXPECT_EQ(alerts(), "") << refusal;
        EXPECT_EQ(plugin().busy(), 0) << refusal;
    }
}

TEST_F(AskedOfThePlatform, NothingChosenAsksForNoRights)
{
    offerAndOpen({PublishedFile {}});
    press("butn_Later");
    EXPECT_TRUE(platformCalls().order.empty());
}

TEST_F(AskedOfThePlatform, TheLoopIsEndedBeforeTheHostIsAskedToStartAgain)
{
    publish(kHostName, kHostVersion, descriptorText("updater", {PublishedFile {.name = kHostName}}));
    publishFile("sketch.zip", "update");
    ASSERT_EQ(check(), 0);
    ASSERT_EQ(open(), 0);
    forgetPlatformCalls();
    confirmAndWait();
    EXPECT_EQ(
        platformCalls().order, (std::vector<std::string> {"tool", "front", "flush", "quit", "request"}));
    ASSERT_EQ(platformCalls().requests.size(), 1u);
    EXPECT_EQ(platformCalls().requests[0].id, kUQRL);
}

TEST_F(AskedOfThePlatform, AnotherProductsUpdateDoesNotEndTheLoop)
{
    offerAndOpen({PublishedFile {}});
    confirmAndWait();
    const auto& order = platformCalls().order;
    EXPECT_EQ(std::count(order.begin(), order.end(), "quit"), 0);
}
