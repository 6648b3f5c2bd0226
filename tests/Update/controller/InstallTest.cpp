// From the confirmed selection to the end of the message: downloads, install steps and endings.
#include "tests/Update/controller/SuiteFixture.h"

#include "Update/descriptor/FileSec.h"
#include "tests/support/ZipFile.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace std::string_literals;

namespace {

constexpr SInt32 kUPKG = 0x55504B47;
constexpr SInt32 kUQRL = 0x5551524C;
constexpr SInt32 kUEnd = 0x55456E64;
constexpr int kLargestInMemoryBytes = 10485760;

class Install : public SuiteFixture {
protected:
    std::string success() const { return "All done\n"; }
    std::string failure() const { return "It failed\n"; }

    /// What the progress window's bar shows; -1 without a window.
    static int percent()
    {
        QWidget* const window = windowWith("hscrl_process");
        return window ? window->findChild<QProgressBar*>("hscrl_process")->value() : -1;
    }

    /// Offers one archive that holds `package`, which is then to be installed.
    void offerPackage()
    {
        offer({PublishedFile {.unzip = true, .run = "%updatertemp%/sketch.pkg"}});
        publishFile("sketch.zip", zipOf("sketch.pkg", "a package"));
    }

    /// Opens the message, confirms, and waits until the first request for an update file has come.
    void startDownload()
    {
        const std::size_t before = server().requests().size();
        ASSERT_EQ(open(), 0);
        confirm();
        waitFor([&] { return server().requests().size() > before; });
    }

    void expectEndedWith(const std::string& alert)
    {
        EXPECT_EQ(alerts(), alert);
        EXPECT_EQ(host().endings.size(), 1u);
        ASSERT_EQ(host().requestsOf(kUEnd).size(), 1u);
        EXPECT_EQ(host().requestsOf(kUEnd)[0].payload, "QUIT\0"s);
        EXPECT_EQ(plugin().busy(), 0);
        EXPECT_EQ(windowWith("hscrl_process"), nullptr);
        EXPECT_FALSE(std::filesystem::exists(workFolder())) << "the work folder is cleared";
    }

    std::filesystem::path destination(const char* name = "sketch.zip") const { return workFolder() / name; }
};

} // namespace

TEST_F(Install, EndsInSuccessWhenNoFileHasAnInstallStep)
{
    offer({PublishedFile {}});
    updateAll();
    expectEndedWith(success());
    EXPECT_TRUE(host().requestsOf(kUPKG).empty());
}

TEST_F(Install, UnpacksTheArchiveAndHasTheHostInstallThePackageBesideTheProduct)
{
    offerPackage();
    std::string package;
    host().answer = [&](const PortRequest& request) {
        if (request.id == kUPKG)
            package = readWholeFile(destination("sketch.pkg"));
        return 0;
    };
    updateAll();
    ASSERT_EQ(host().requestsOf(kUPKG).size(), 1u);
    EXPECT_EQ(host().requestsOf(kUPKG)[0].payload,
        destination("sketch.pkg").string() + "\0"s + (home().root() / "Applications").string() + "\0"s);
    EXPECT_EQ(package, "a package") << "unpacked before it was handed on";
    expectEndedWith(success());
}

TEST_F(Install, KeepsTheDescriptorFolderSoThatFetchedDescriptorsStay)
{
    offer({PublishedFile {}});
    updateAll();
    EXPECT_TRUE(std::filesystem::exists(descriptorFolder() / ("Update_Velmora Sketch_1.0.0.0_eng_Mac.xml")));
}

TEST_F(Install, DownloadsTheFilesOneAfterAnother)
{
    offer({PublishedFile {.location = "a.zip"}, PublishedFile {.location = "b.zip"},
        PublishedFile {.location = "c.zip"}});
    const std::size_t before = server().requests().size();
    updateAll();
    const auto requests = server().requests();
    ASSERT_EQ(requests.size(), before + 3);
    EXPECT_EQ(requests[before].target, "/updates/a.zip");
    EXPECT_EQ(requests[before + 1].target, "/updates/b.zip");
    EXPECT_EQ(requests[before + 2].target, "/updates/c.zip");
    expectEndedWith(success());
}

TEST_F(Install, WritesWhatItReceivedInMemoryToTheDestination)
{
    offerPackage();
    const std::string bytes = zipOf("sketch.pkg", "a package");
    std::string written;
    host().answer = [&](const PortRequest& request) {
        if (request.id == kUPKG)
            written = readWholeFile(destination());
        return 0;
    };
    updateAll();
    EXPECT_EQ(written, bytes);
}

TEST_F(Install, ShowsThePercentOfTheAnnouncedBytes)
{
    offer({PublishedFile {.size = 200}});
    ServerScript half;
    half.send(answer::head(200, {"Content-Length: 200"}) + std::string(81, 'x')).stall();
    server().on("/updates/sketch.zip", half);
    startDownload();
    waitFor([] { return percent() > 0; });
    EXPECT_EQ(percent(), 41); // 81 of 200 is 40.5
    plugin().CancelProcessMsg(nullptr);
}

TEST_F(Install, ReceivesTenMebibytesInMemory)
{
    offer({PublishedFile {.size = 10}});
    publish(
        "Velmora Sketch", "1.0.0.0", descriptorText("app", {PublishedFile {.size = kLargestInMemoryBytes}}));
    g_UpdatePlugin.fetchedURLs().clear();
    ASSERT_EQ(check(), 0);
    ServerScript part;
    part.send(answer::head(200, {"Content-Length: 1000"}) + std::string(500, 'x')).stall();
    server().on("/updates/sketch.zip", part);
    startDownload();
    waitFor([] { return percent() == 0; });
    EXPECT_FALSE(std::filesystem::exists(destination()));
    plugin().CancelProcessMsg(nullptr);
}

TEST_F(Install, DownloadsALargerFileStraightToItsDestination)
{
    offer({PublishedFile {.size = 10}});
    publish("Velmora Sketch", "1.0.0.0",
        descriptorText("app", {PublishedFile {.size = kLargestInMemoryBytes + 1}}));
    g_UpdatePlugin.fetchedURLs().clear();
    ASSERT_EQ(check(), 0);
    ServerScript part;
    part.send(answer::head(200, {"Content-Length: 1000"}) + std::string(500, 'x')).stall();
    server().on("/updates/sketch.zip", part);
    startDownload();
    waitFor([this] { return readWholeFile(destination()).size() == 500; });
    plugin().CancelProcessMsg(nullptr);
}

TEST_F(Install, EndsTheMessageTwiceWhenTheFirstLargeFileCannotBeCreated)
{
    offer({PublishedFile {.size = 10}});
    publish("Velmora Sketch", "1.0.0.0",
        descriptorText("app",
            {PublishedFile {
                .size = kLargestInMemoryBytes + 1, .destination = "/nonexistent/folder/file.zip"}}));
    g_UpdatePlugin.fetchedURLs().clear();
    ASSERT_EQ(check(), 0);
    ASSERT_EQ(open(), 0);
    confirm();
    waitFor([this] { return host().endings.size() == 2; });
    EXPECT_EQ(alerts(), "") << "no progress window was shown yet";
    EXPECT_EQ(host().requestsOf(kUEnd).size(), 1u);
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(Install, EndsWithAnAlertWhenADownloadIsAnsweredOtherwiseThanWith200)
{
    offer({PublishedFile {}});
    server().on("/updates/sketch.zip", answer::status(404, "not here"));
    updateAll();
    expectEndedWith(failure());
}

TEST_F(Install, EndsWithAnAlertWhenADownloadBreaksOff)
{
    offer({PublishedFile {.location = "a.zip"}, PublishedFile {.location = "b.zip"}});
    ServerScript broken;
    broken.send(answer::head(200, {"Content-Length: 100"}) + "half").reset();
    server().on("/updates/b.zip", broken);
    updateAll();
    expectEndedWith(failure());
}

TEST_F(Install, EndsWithAnAlertWhenAnArchiveCannotBeUnpacked)
{
    offer({PublishedFile {.unzip = true, .run = "%updatertemp%/sketch.pkg"}});
    publishFile("sketch.zip", "this is no archive");
    updateAll();
    expectEndedWith(failure());
    EXPECT_TRUE(host().requestsOf(kUPKG).empty());
}

TEST_F(Install, EndsWithAnAlertWhenTheHostCannotInstallThePackage)
{
    offerPackage();
    host().answer = [](const PortRequest& request) { return request.id == kUPKG ? 5 : 0; };
    updateAll();
    expectEndedWith(failure());
}

TEST_F(Install, TakesAFileThatCannotBeWrittenForTheEndOfTheDownloads)
{
    offer({PublishedFile {.location = "a.zip", .destination = "/nonexistent/folder/a.zip"},
        PublishedFile {.location = "b.zip"}});
    updateAll();
    EXPECT_EQ(server().countOf("/updates/b.zip"), 0);
    expectEndedWith(success());
}

TEST_F(Install, EndsTheDownloadsAtAFileWithoutADownloadAction)
{
    offer({PublishedFile {}});
    CFileSec withoutActions(3);
    ASSERT_EQ(open(), 0);
    // The window offers no file without a URL; whoever answers for it may.
    std::vector<CFileSec*> files {&withoutActions};
    plugin().SelectProductsResponse(&files);
    waitForEnding();
    EXPECT_EQ(server().countOf("/updates/sketch.zip"), 0);
}

TEST_F(Install, InstallsOnlyWhatWasChosen)
{
    publishHostUpToDate();
    for (const std::string name : {"Alpha", "Beta"}) {
        (void)install(name, "1.0.0.0"); // its folder is of no interest here
        publish(name, "1.0.0.0",
            descriptorText("app",
                {PublishedFile {.name = name,
                    .location = name + ".zip",
                    .unzip = true,
                    .run = "%updatertemp%/" + name + ".pkg"}}));
        publishFile(name + ".zip", zipOf(name + ".pkg", "package of " + name));
    }
    ASSERT_EQ(check(), 0);
    ASSERT_EQ(open(), 0);
    toggle("Alpha");
    confirm();
    waitForEnding();
    ASSERT_EQ(host().requestsOf(kUPKG).size(), 1u);
    EXPECT_EQ(host().requestsOf(kUPKG)[0].payload.substr(0, destination("Beta.pkg").string().size()),
        destination("Beta.pkg").string());
    EXPECT_EQ(server().countOf("/updates/Alpha.zip"), 0);
    expectEndedWith(success());
}

TEST_F(Install, CountsAStepForEachChosenFileAndEachListedFile)
{
    offerPackage();
    int percentAtInstall = -1;
    host().answer = [&](const PortRequest& request) {
        if (request.id == kUPKG)
            percentAtInstall = percent();
        return 0;
    };
    updateAll();
    EXPECT_EQ(percentAtInstall, 50) << "one archive unpacked, one package to come";
}

TEST_F(Install, InstallsAlsoWhatSharesAChosenUrlIgnoringCase)
{
    publishHostUpToDate();
    for (const auto& [name, location] : {std::pair {"Alpha", "pack.zip"}, std::pair {"Beta", "PACK.zip"}}) {
        (void)install(name, "1.0.0.0"); // its folder is of no interest here
        publish(name, "1.0.0.0",
            descriptorText("app", {PublishedFile {.name = name, .location = location, .run = "/x.pkg"}}));
        publishFile(location, "bytes");
    }
    ASSERT_EQ(check(), 0);
    ASSERT_EQ(open(), 0);
    toggle("Alpha");
    confirm();
    waitForEnding();
    EXPECT_EQ(host().requestsOf(kUPKG).size(), 2u);
    EXPECT_EQ(server().countOf("/updates/pack.zip"), 0);
}

TEST_F(Install, SkipsARunActionWithoutALocation)
{
    offer({PublishedFile {.extraAction = "<action type=\"run\"><wait>true</wait></action>"}});
    updateAll();
    EXPECT_TRUE(host().requestsOf(kUPKG).empty());
    expectEndedWith(success());
}

TEST_F(Install, EndsSilentlyWhenTheUserCancelsTheDownload)
{
    offer({PublishedFile {.size = 100000}});
    ServerScript slow;
    slow.send(answer::head(200, {"Content-Length: 100000"}))
        .sendSlowly(std::string(100000, 'x'), 100, std::chrono::milliseconds(5));
    server().on("/updates/sketch.zip", slow);
    startDownload();
    waitFor([] { return windowWith("butn_cancel") != nullptr; });
    press("butn_cancel");
    waitForEnding();
    expectEndedWith("");
}

TEST_F(Install, EndsSilentlyWhenADownloadBreaksOffAfterTheUserCancelled)
{
    ASSERT_NO_FATAL_FAILURE(startStalledDownload());
    press("butn_cancel");
    EXPECT_TRUE(host().endings.empty()) << "nothing ends before the downloader says so";
    EXPECT_EQ(CUpdateInter::MyDownloadCallBack(0xF000, 0, &plugin()), 0);
    expectEndedWith("");
}

TEST_F(Install, EndsSilentlyWhenTheUserCancelsTheInstall)
{
    offerPackage();
    host().answer = [](const PortRequest& request) {
        if (request.id == kUPKG)
            press("butn_cancel");
        return 0;
    };
    updateAll();
    expectEndedWith("");
}

TEST_F(Install, AnswersChunksWithOneAndAForeignCallWithZero)
{
    EXPECT_EQ(CUpdateInter::MyDownloadCallBack(2, 100, nullptr), 0);
    EXPECT_EQ(CUpdateInter::MyDownloadCallBack(2, 100, &plugin()), 1);
}

TEST_F(Install, IgnoresATimerWithoutAnObject)
{
    CUpdateInter::Install_TimeoutTimerProc(nullptr, nullptr);
    EXPECT_TRUE(host().endings.empty());
}

TEST_F(Install, AsksTheHostToStartAgainWhenItWasUpdatedItself)
{
    publish(kHostName, kHostVersion, descriptorText("updater", {PublishedFile {.name = kHostName}}));
    publishFile("sketch.zip", "update");
    ASSERT_EQ(check(), 0);
    updateAll();
    waitFor([this] { return !host().requests.empty(); });
    ASSERT_EQ(host().requestsOf(kUQRL).size(), 1u);
    EXPECT_EQ(host().requestsOf(kUQRL)[0].payload, host().bundle().string() + "\0"s);
    EXPECT_TRUE(host().requestsOf(kUEnd).empty());
    EXPECT_EQ(alerts(), success());
    EXPECT_EQ(host().endings.size(), 1u);
}

TEST_F(Install, SaysNothingAboutSuccessWhenTheHostsTextsAreGone)
{
    offer({PublishedFile {}});
    ASSERT_EQ(open(), 0);
    std::filesystem::remove(host().bundle() / "Contents/Resources/VelTanRes.UI/VelTanRes.aui");
    confirm();
    waitForEnding();
    expectEndedWith("");
}

TEST_F(Install, CanUpdateAgainAfterAFailure)
{
    offer({PublishedFile {}});
    server().on("/updates/sketch.zip", answer::status(500));
    updateAll();
    ASSERT_EQ(alerts(), failure());
    host().endings.clear();
    host().requests.clear();
    publishFile("sketch.zip", "better");
    updateAll();
    expectEndedWith(success());
}
