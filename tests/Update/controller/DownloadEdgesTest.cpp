// Files, sizes and paths at the edges: what is downloaded, written, unpacked and handed on then.
#include "Platform/Carbon/Alerts.h"
#include "tests/Update/controller/SuiteFixture.h"
#include "tests/support/ScopedFileSizeLimit.h"
#include "tests/support/ZipFile.h"

#include <QPushButton>
#include <QTest>
#include <QWidget>
#include <QWindow>

namespace {

constexpr SInt32 kUPKG = 0x55504B47;
constexpr SInt32 kUEnd = 0x55456E64;
constexpr int kLargeBytes = 10485761;

class DownloadEdges : public SuiteFixture {
protected:
    /// Like offer(), but with small bytes for whatever size the descriptor announces.
    void offerSmall(const std::vector<PublishedFile>& files)
    {
        publishHostUpToDate();
        (void)install("Velmora Sketch", "1.0.0.0"); // its folder is of no interest here
        publish("Velmora Sketch", "1.0.0.0", descriptorText("app", files));
        for (const PublishedFile& file : files)
            publishFile(file.location, "small");
        ASSERT_EQ(check(), 0);
    }

    bool written(const char* name) const { return std::filesystem::exists(workFolder() / name); }
};

/// A path of `count` folders, four bytes but two units each.
std::string deepPath(int count)
{
    std::string path;
    for (int i = 0; i < count; ++i)
        path += "\xE6\x97\xA5/";
    return path;
}

} // namespace

TEST_F(DownloadEdges, AnEmptyFileIsNotWritten)
{
    offer({PublishedFile {}});
    publishFile("sketch.zip", "");
    bool wasWritten = true;
    SetAlertListener([&](std::u16string_view) { wasWritten = written("sketch.zip"); });
    updateAll();
    EXPECT_FALSE(wasWritten);
    EXPECT_EQ(host().endings.size(), 1u);
}

TEST_F(DownloadEdges, AnEmptyArchiveFailsToUnpack)
{
    offer({PublishedFile {.unzip = true}});
    publishFile("sketch.zip", "");
    updateAll();
    EXPECT_EQ(alerts(), "It failed\n");
}

TEST_F(DownloadEdges, MoreThanAnnouncedIsTakenAndHeldAtAHundredPercent)
{
    offer({PublishedFile {.size = 10}});
    publishFile("sketch.zip", std::string(100000, 'x'));
    std::uintmax_t bytes = 0;
    SetAlertListener(
        [&](std::u16string_view) { bytes = std::filesystem::file_size(workFolder() / "sketch.zip"); });
    updateAll();
    EXPECT_EQ(bytes, 100000u);
    EXPECT_EQ(host().endings.size(), 1u);
}

TEST_F(DownloadEdges, FilesWithoutASizeAreTakenByTheReturnKeyAlone)
{
    offerSmall({PublishedFile {.size = 0}});
    ASSERT_EQ(open(), 0);
    QWidget* const window = windowWith("butn_OK");
    ASSERT_TRUE(window);
    EXPECT_FALSE(window->findChild<QPushButton*>("butn_OK")->isEnabled());
    QTest::keyClick(window->windowHandle(), Qt::Key_Return);
    waitForEnding();
    EXPECT_EQ(server().countOf("/updates/sketch.zip"), 1);
    EXPECT_EQ(alerts(), "All done\n");
}

TEST_F(DownloadEdges, ALaterLargeFileGoesStraightToItsDestination)
{
    offerSmall({PublishedFile {.location = "a.zip"},
        PublishedFile {.size = kLargeBytes, .location = "large.zip"}, PublishedFile {.location = "b.zip"}});
    std::string large;
    std::string last;
    SetAlertListener([&](std::u16string_view) {
        large = readWholeFile(workFolder() / "large.zip");
        last = readWholeFile(workFolder() / "b.zip");
    });
    updateAll();
    EXPECT_EQ(large, "small");
    EXPECT_EQ(last, "small") << "in memory again after a file";
}

TEST_F(DownloadEdges, ALaterLargeFileThatCannotBeCreatedEndsTheMessageTwiceWithOneAlert)
{
    offerSmall({PublishedFile {.location = "a.zip"},
        PublishedFile {
            .size = kLargeBytes, .location = "large.zip", .destination = "/nonexistent/folder/large.zip"}});
    ASSERT_EQ(open(), 0);
    confirm();
    waitFor([this] { return host().endings.size() == 2; });
    EXPECT_EQ(alerts(), "It failed\n") << "the window was there for the first failure only";
    EXPECT_EQ(host().requestsOf(kUEnd).size(), 2u);
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(DownloadEdges, ALaterFileThatLeadsToAnotherSchemeEndsWithAnAlert)
{
    offerSmall({PublishedFile {.location = "a.zip"}, PublishedFile {.location = "b.zip"}});
    server().on("/updates/b.zip", answer::redirect(302, "ftp://127.0.0.1/b.zip"));
    updateAll();
    EXPECT_EQ(alerts(), "It failed\n");
    EXPECT_EQ(host().endings.size(), 1u);
}

TEST_F(DownloadEdges, AFileThatFindsNoRoomEndsTheDownloadsAndIsNotLeftCut)
{
    offer({PublishedFile {.size = 5 << 20, .unzip = true}, PublishedFile {.location = "b.zip"}});
    bool wasLeft = true;
    SetAlertListener([&](std::u16string_view text) {
        wasLeft = written("sketch.zip");
        EXPECT_EQ(text, u"It failed");
    });
    {
        const ScopedFileSizeLimit fullDisk(4 << 20); // the helper tool still finds room
        updateAll();
    }
    EXPECT_FALSE(wasLeft);
    EXPECT_EQ(server().countOf("/updates/b.zip"), 0);
    EXPECT_EQ(host().endings.size(), 1u);
}

TEST_F(DownloadEdges, AFileWithAPathThatIsTooLongIsNotOffered)
{
    const std::string tooLong = "%updatertemp%/" + std::string(1100, 'x');
    publishHostUpToDate();
    for (const std::string name : {"Velmora Sketch", "Velmora Table", "Velmora Chronik"})
        (void)install(name, "1.0.0.0"); // its folder is of no interest here
    publish("Velmora Sketch", "1.0.0.0", descriptorText("app", {PublishedFile {.destination = tooLong}}));
    publish("Velmora Table", "1.0.0.0",
        descriptorText("app", {PublishedFile {.name = "Velmora Table", .run = tooLong}}));
    publish("Velmora Chronik", "1.0.0.0", descriptorText("app", {PublishedFile {.name = "Velmora Chronik"}}));
    ASSERT_EQ(check(), 0);
    ASSERT_EQ(host().messages.size(), 1u);
    EXPECT_EQ(host().messages[0].text, u"One: Velmora Chronik");
}

TEST_F(DownloadEdges, AnArchivesPathThatIsTooLongInBytesFailsTheStep)
{
    offerSmall({PublishedFile {.destination = "%updatertemp%/" + deepPath(300) + "a.zip", .unzip = true}});
    updateAll();
    EXPECT_EQ(alerts(), "It failed\n");
}

TEST_F(DownloadEdges, AnUnzipActionWithoutALocationFailsTheStep)
{
    offerSmall({PublishedFile {.extraAction = "<action type=\"unzip\"/>"}});
    updateAll();
    EXPECT_EQ(alerts(), "It failed\n");
}

TEST_F(DownloadEdges, APackagesPathThatIsTooLongInBytesFailsTheStepAndIsNotSent)
{
    offerSmall({PublishedFile {.run = "%updatertemp%/" + deepPath(300) + "a.pkg"}});
    updateAll();
    EXPECT_TRUE(host().requestsOf(kUPKG).empty());
    EXPECT_EQ(alerts(), "It failed\n");
}

TEST_F(DownloadEdges, APackageThatTwoProductsListIsUnpackedOnceAndHandedOnForEach)
{
    publishHostUpToDate();
    for (const std::string name : {"Velmora Sketch", "Velmora Table"}) {
        (void)install(name, "1.0.0.0"); // its folder is of no interest here
        publish(name, "1.0.0.0",
            descriptorText("common",
                {PublishedFile {.name = name,
                    .location = "shared.zip",
                    .unzip = true,
                    .run = "%updatertemp%/shared.pkg"}}));
    }
    publishFile("shared.zip", zipOf("shared.pkg", "a package"));
    ASSERT_EQ(check(), 0);
    updateAll();
    EXPECT_EQ(server().countOf("/updates/shared.zip"), 1);
    EXPECT_EQ(host().requestsOf(kUPKG).size(), 2u) << "each product's list has its own step";
    EXPECT_EQ(alerts(), "All done\n");
}

TEST_F(DownloadEdges, PackagesAreHandedOnInTheOrderOfTheProductsLists)
{
    offer({PublishedFile {.location = "b.zip", .run = "%updatertemp%/b.pkg"},
        PublishedFile {.location = "a.zip", .run = "%updatertemp%/a.pkg"}});
    updateAll();
    const auto requests = host().requestsOf(kUPKG);
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_NE(requests[0].payload.find("/b.pkg"), std::string::npos);
    EXPECT_NE(requests[1].payload.find("/a.pkg"), std::string::npos);
}

TEST_F(DownloadEdges, NoPackageFollowsOneThatFailed)
{
    offer({PublishedFile {.location = "b.zip", .run = "%updatertemp%/b.pkg"},
        PublishedFile {.location = "a.zip", .run = "%updatertemp%/a.pkg"}});
    host().answer = [](const PortRequest& request) { return request.id == kUPKG ? -1 : 0; };
    updateAll();
    EXPECT_EQ(host().requestsOf(kUPKG).size(), 1u);
    EXPECT_EQ(alerts(), "It failed\n");
}

TEST(InstallFolders, ArchivesAreUnpackedBesideThemselves)
{
    EXPECT_EQ(archiveFolderOf(u"/a/b/c.zip"), u"/a/b");
    EXPECT_EQ(archiveFolderOf(u"a/c.zip"), u"a");
    EXPECT_EQ(archiveFolderOf(u"/c.zip"), u"") << "the last slash is the first character";
    EXPECT_EQ(archiveFolderOf(u"c.zip"), u"");
    EXPECT_EQ(archiveFolderOf(u""), u"");
    EXPECT_EQ(archiveFolderOf(u"/a/b/"), u"/a/b");
}

TEST(InstallFolders, PackagesGoBesideTheProduct)
{
    EXPECT_EQ(packageTargetOf(u"/Applications/Sketch.app"), u"/Applications");
    EXPECT_EQ(packageTargetOf(u"Applications/Sketch.app"), u"Applications");
    EXPECT_EQ(packageTargetOf(u"/Sketch.app"), u"/") << "the last slash is the first character";
    EXPECT_EQ(packageTargetOf(u"/"), u"/");
    EXPECT_EQ(packageTargetOf(u"Sketch.app"), u"") << "no folder, and none is guessed";
}
