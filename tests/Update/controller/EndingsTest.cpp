// The order of what happens at the end of a run, and ends within ends.
#include "Platform/Carbon/Alerts.h"
#include "tests/Update/controller/PlatformCalls.h"
#include "tests/Update/controller/SuiteFixture.h"

namespace {

constexpr SInt32 kUEnd = 0x55456E64;

/// Notes, at each step of an ending, what has happened already.
class Endings : public SuiteFixture {
protected:
    ~Endings() override { forgetPlatformCalls(); }

    void noteSteps()
    {
        SetAlertListener([this](std::u16string_view) { note("alert"); });
        host().answer = [this](const PortRequest& request) {
            if (request.id == kUEnd)
                note("told");
            return 0;
        };
        host().onEnd = [this] { note("ended"); };
    }

    void note(const std::string& step)
    {
        const bool window = windowWith("hscrl_process") != nullptr;
        const bool folder = std::filesystem::exists(workFolder());
        m_steps.push_back(
            step + (window ? " window" : "") + (folder ? " folder" : "") + (plugin().busy() ? " busy" : ""));
    }

    using Steps = std::vector<std::string>;
    Steps m_steps;
};

} // namespace

TEST_F(Endings, SuccessTakesTheWindowDownThenAlertsThenClearsThenTellsThenEnds)
{
    offer({PublishedFile {}});
    noteSteps();
    updateAll();
    EXPECT_EQ(m_steps, (Steps {"alert folder busy", "told busy", "ended"}));
}

TEST_F(Endings, FailureTakesTheWindowDownThenAlertsThenClearsThenTellsThenEnds)
{
    offer({PublishedFile {}});
    server().on("/updates/sketch.zip", answer::status(404));
    noteSteps();
    updateAll();
    EXPECT_EQ(m_steps, (Steps {"alert folder busy", "told busy", "ended"}));
}

TEST_F(Endings, RelaunchEndsTheMessageAsWell)
{
    publish(kHostName, kHostVersion, descriptorText("updater", {PublishedFile {.name = kHostName}}));
    publishFile("sketch.zip", "update");
    ASSERT_EQ(check(), 0);
    noteSteps();
    updateAll();
    EXPECT_EQ(m_steps, (Steps {"alert folder busy", "ended"}));
}

TEST_F(Endings, TheHostIsNotRelaunchedWhenItsProductIsNotTheFirst)
{
    publishHostUpToDate();
    for (const std::string name : {"Velmora Sketch", "VELMORA TANDEM"}) {
        (void)install(name, "1.0.0.0"); // its folder is of no interest here
        publish(name, "1.0.0.0", descriptorText("app", {PublishedFile {.name = name}}));
    }
    publishFile("sketch.zip", "update");
    ASSERT_EQ(check(), 0);
    updateAll();
    ASSERT_EQ(host().requests.size(), 1u);
    EXPECT_EQ(host().requests[0].id, kUEnd);
}

TEST_F(Endings, FailureIsToldInTheWordsOfTheCheckAndSuccessInThoseOfTheMoment)
{
    offer({PublishedFile {}});
    server().on("/updates/sketch.zip", answer::status(404));
    host().setTexts({.success = "New success", .failure = "New failure"});
    updateAll();
    EXPECT_EQ(alerts(), "It failed\n");
    host().endings.clear();
    publishFile("sketch.zip", "update");
    updateAll();
    EXPECT_EQ(alerts(), "New success\n");
}

TEST_F(Endings, ACheckThatEndsForItsTextsHasReadTheWordsOfAFailure)
{
    offer({PublishedFile {}});
    server().on("/updates/sketch.zip", answer::status(404));
    host().setTexts({.one = "", .failure = "New failure"});
    ASSERT_EQ(check(), -1);
    updateAll();
    EXPECT_EQ(alerts(), "New failure\n");
}

TEST_F(Endings, AreToldAlsoWithoutWords)
{
    host().setTexts({.success = "", .failure = ""});
    offer({PublishedFile {}});
    updateAll();
    EXPECT_EQ(alerts(), "\n");
    host().endings.clear();
    server().on("/updates/sketch.zip", answer::status(404));
    updateAll();
    EXPECT_EQ(alerts(), "\n");
}

TEST_F(Endings, AMessageThatIsOpenedAsTheLastOneEndsStaysOpen)
{
    offer({PublishedFile {}});
    host().onEnd = [this] {
        host().onEnd = nullptr;
        EXPECT_EQ(open(), 0);
    };
    updateAll();
    EXPECT_NE(plugin().busy(), 0);
    EXPECT_NE(windowWith("butn_OK"), nullptr);
    EXPECT_EQ(host().endings.size(), 1u);
}

TEST_F(Endings, AMessageThatIsOpenedAsADeclinedOneEndsStaysOpen)
{
    offer({PublishedFile {}});
    host().onEnd = [this] {
        host().onEnd = nullptr;
        EXPECT_EQ(open(), 0);
    };
    ASSERT_EQ(open(), 0);
    press("butn_Later");
    EXPECT_NE(plugin().busy(), 0);
    EXPECT_NE(windowWith("butn_OK"), nullptr);
    EXPECT_EQ(host().endings.size(), 1u);
}

TEST_F(Endings, ARunThatWasCancelledTwiceInItsLastWaitIsNotTold)
{
    offer({PublishedFile {}});
    bool cancelled = false;
    host().answer = [&](const PortRequest&) {
        (void)plugin().CancelProcessMsg(nullptr); // always 0
        (void)plugin().CancelProcessMsg(nullptr); // always 0
        cancelled = true;
        return 0;
    };
    ASSERT_EQ(open(), 0);
    confirm();
    waitFor([&] { return cancelled; });
    for (int i = 0; i < 10; ++i)
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, false);
    EXPECT_TRUE(host().endings.empty()) << "the host that cancels is not told";
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(Endings, ACheckInTheAlertOfAFailureLeavesTheNewFindingsAndTheirFolder)
{
    offer({PublishedFile {}});
    server().on("/updates/sketch.zip", answer::status(404));
    SetAlertListener([this](std::u16string_view) {
        EXPECT_EQ(check(), 0);
        EXPECT_EQ(open(), 0);
    });
    ASSERT_EQ(open(), 0);
    confirm();
    waitFor([this] { return windowWith("butn_OK") == nullptr; });
    waitFor([this] { return windowWith("butn_OK") != nullptr; });
    EXPECT_TRUE(std::filesystem::exists(workFolder())) << "the message that is open now needs it";
    EXPECT_TRUE(host().requestsOf(kUEnd).empty());
    EXPECT_TRUE(host().endings.empty());
    EXPECT_NE(plugin().busy(), 0);
}

TEST_F(Endings, AHostThatIsGoneDoesNotKeepARunFromEnding)
{
    offer({PublishedFile {}});
    host().closePort();
    updateAll();
    EXPECT_EQ(alerts(), "All done\n");
    EXPECT_EQ(host().endings.size(), 1u);
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(Endings, WithoutAContainerARunEndsWithoutACall)
{
    offer({PublishedFile {}});
    plugin().SetContainer(nullptr);
    ASSERT_EQ(open(), 0);
    confirm();
    waitFor([this] { return plugin().busy() == 0; });
    EXPECT_TRUE(host().endings.empty());
    EXPECT_EQ(alerts(), "All done\n");
}
