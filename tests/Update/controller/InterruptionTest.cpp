// What happens to a run when the host cancels it, checks again or opens a message while the plug-in waits for
// an answer.
#include "tests/Update/controller/PlatformCalls.h"
#include "tests/Update/controller/SuiteFixture.h"

#include "tests/support/ZipFile.h"

namespace {

constexpr SInt32 kUPKG = 0x55504B47;
constexpr SInt32 kUEnd = 0x55456E64;

class Interruption : public SuiteFixture {
protected:
    ~Interruption() override { forgetPlatformCalls(); }

    /// Offers one package and does `inTheWait` while the host "installs" it.
    void interrupt(SInt32 request, std::function<void()> inTheWait)
    {
        offer({PublishedFile {.unzip = true, .run = "%updatertemp%/sketch.pkg"}});
        publishFile("sketch.zip", zipOf("sketch.pkg", "a package"));
        host().answer = [request, inTheWait, this](const PortRequest& arrived) {
            if (arrived.id != request || m_interrupted)
                return 0;
            m_interrupted = true;
            inTheWait();
            return 0;
        };
        ASSERT_EQ(open(), 0);
        confirm();
        waitFor([this] { return m_interrupted; });
        settle();
    }

    /// Offers a file and does `inTheWait` while the helper tool is being authorised.
    void interruptAuthorisation(std::function<void()> inTheWait)
    {
        offer({PublishedFile {}});
        ASSERT_EQ(open(), 0);
        platformCalls().whileToolStarts = std::move(inTheWait);
        confirm();
        settle();
    }

    /// Lets everything happen that is still under way.
    void settle()
    {
        for (int i = 0; i < 30; ++i)
            CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, false);
    }

    bool m_interrupted = false;
};

} // namespace

TEST_F(Interruption, CancelDuringAPackageEndsEverythingWithoutAWord)
{
    interrupt(kUPKG, [this] { EXPECT_EQ(plugin().CancelProcessMsg(nullptr), 0); });
    EXPECT_TRUE(host().endings.empty()) << "the host that cancels is not told";
    EXPECT_TRUE(host().requestsOf(kUEnd).empty());
    EXPECT_EQ(alerts(), "");
    EXPECT_EQ(plugin().busy(), 0);
    EXPECT_EQ(windowWith("hscrl_process"), nullptr);
}

TEST_F(Interruption, CancelWhileTheEndIsToldEndsWithoutAWord)
{
    interrupt(kUEnd, [this] { EXPECT_EQ(plugin().CancelProcessMsg(nullptr), 0); });
    EXPECT_TRUE(host().endings.empty());
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(Interruption, ACheckDuringAPackageIsHarmlessAndEndsTheMessage)
{
    interrupt(kUPKG, [this] { EXPECT_EQ(check(), 0); });
    EXPECT_EQ(host().endings.size(), 1u);
    EXPECT_TRUE(host().requestsOf(kUEnd).empty());
    EXPECT_EQ(plugin().busy(), 0);
    EXPECT_EQ(plugin().CanShowNow(nullptr), 0) << "the new check's findings stand";
}

TEST_F(Interruption, ACheckWhileTheEndIsToldLeavesTheNewFindings)
{
    interrupt(kUEnd, [this] { EXPECT_EQ(check(), 0); });
    EXPECT_EQ(host().endings.size(), 1u);
    EXPECT_EQ(plugin().CanShowNow(nullptr), 0);
}

TEST_F(Interruption, ANewMessageOpenedWhileTheEndIsToldStaysOpen)
{
    interrupt(kUEnd, [this] {
        ASSERT_EQ(check(), 0);
        ASSERT_EQ(open(), 0);
    });
    EXPECT_NE(plugin().busy(), 0);
    EXPECT_NE(windowWith("butn_OK"), nullptr);
    EXPECT_TRUE(host().endings.empty()) << "the message that is open now has not ended";
}

TEST_F(Interruption, OpeningTheMessageDuringAPackageIsIgnored)
{
    interrupt(kUPKG, [this] { EXPECT_EQ(open(), 0); });
    waitForEnding();
    EXPECT_EQ(host().endings.size(), 1u);
    EXPECT_EQ(alerts(), "All done\n");
}

TEST_F(Interruption, CancelDuringTheAuthorisationEndsEverythingWithoutAWord)
{
    interruptAuthorisation([this] { EXPECT_EQ(plugin().CancelProcessMsg(nullptr), 0); });
    EXPECT_TRUE(host().endings.empty());
    EXPECT_TRUE(host().requests.empty());
    EXPECT_EQ(server().countOf("/updates/sketch.zip"), 0);
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(Interruption, ACheckDuringTheAuthorisationEndsTheMessageAndDownloadsNothing)
{
    interruptAuthorisation([this] { EXPECT_EQ(check(), 0); });
    EXPECT_EQ(host().endings.size(), 1u);
    EXPECT_EQ(server().countOf("/updates/sketch.zip"), 0) << "the chosen files are gone";
    EXPECT_EQ(windowWith("hscrl_process"), nullptr);
    EXPECT_EQ(plugin().busy(), 0);
    EXPECT_EQ(plugin().CanShowNow(nullptr), 0) << "the new check's findings stand";
}

TEST_F(Interruption, ANewMessageOpenedDuringTheAuthorisationStaysOpen)
{
    interruptAuthorisation([this] {
        ASSERT_EQ(check(), 0);
        ASSERT_EQ(open(), 0);
    });
    EXPECT_TRUE(host().endings.empty()) << "the message that is open now has not ended";
    EXPECT_EQ(server().countOf("/updates/sketch.zip"), 0);
    EXPECT_NE(windowWith("butn_OK"), nullptr);
    EXPECT_NE(plugin().busy(), 0);
}

TEST_F(Interruption, OpeningTheMessageDuringTheAuthorisationIsIgnored)
{
    interruptAuthorisation([this] { EXPECT_EQ(open(), 0); });
    waitForEnding();
    EXPECT_EQ(server().countOf("/updates/sketch.zip"), 1);
    EXPECT_EQ(host().endings.size(), 1u);
}

TEST_F(Interruption, ARunOfItsOwnDuringTheAuthorisationIsTheOnlyOne)
{
    interruptAuthorisation([this] {
        ASSERT_EQ(plugin().CancelProcessMsg(nullptr), 0);
        ASSERT_EQ(open(), 0);
        confirm();
        waitForEnding();
    });
    EXPECT_EQ(host().endings.size(), 1u) << "the cancelled run is not told";
    EXPECT_EQ(server().countOf("/updates/sketch.zip"), 1);
    EXPECT_EQ(alerts(), "All done\n");
}

TEST_F(Interruption, CancelEndsADownload)
{
    ASSERT_NO_FATAL_FAILURE(startStalledDownload());
    EXPECT_EQ(plugin().CancelProcessMsg(nullptr), 0);
    EXPECT_EQ(plugin().busy(), 0);
    EXPECT_EQ(windowWith("butn_cancel"), nullptr);
    settle();
    EXPECT_TRUE(host().endings.empty());
    EXPECT_TRUE(host().requests.empty());
    EXPECT_TRUE(std::filesystem::exists(workFolder())) << "only the endings clear it";
}

TEST_F(Interruption, CancelEndsTheSelection)
{
    offer({PublishedFile {}});
    ASSERT_EQ(open(), 0);
    EXPECT_EQ(plugin().CancelProcessMsg(nullptr), 0);
    EXPECT_EQ(windowWith("butn_OK"), nullptr);
    EXPECT_EQ(plugin().busy(), 0);
    EXPECT_TRUE(host().endings.empty());
}

TEST_F(Interruption, CancelInIdleDoesNothing)
{
    EXPECT_EQ(plugin().CancelProcessMsg(nullptr), 0);
    EXPECT_TRUE(host().endings.empty());
    EXPECT_TRUE(host().requests.empty());
}

TEST_F(Interruption, UnloadingInTheMiddleOfADownloadIsHarmless)
{
    ASSERT_NO_FATAL_FAILURE(startStalledDownload());
    // The fixture destroys the object now, with its window shown and its download under way.
}
