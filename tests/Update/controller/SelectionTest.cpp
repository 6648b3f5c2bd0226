// The opened message: what is offered, and what an answer leads to.
#include "tests/Update/controller/SuiteFixture.h"

#include <QTest>
#include <QTreeWidget>
#include <QWindow>

#include <chrono>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class Selection : public SuiteFixture {
protected:
    /// The tree's rows in order, children after a "> ".
    static std::vector<std::string> rows()
    {
        std::vector<std::string> texts;
        QWidget* const window = windowWith("trev1");
        const auto* const tree = window ? window->findChild<QTreeWidget*>("trev1") : nullptr;
        for (int i = 0; tree && i < tree->topLevelItemCount(); ++i) {
            const QTreeWidgetItem* const branch = tree->topLevelItem(i);
            texts.push_back(branch->text(0).toStdString());
            for (int j = 0; j < branch->childCount(); ++j)
                texts.push_back("> " + branch->child(j)->text(0).toStdString());
        }
        return texts;
    }

    /// A further registered product with a descriptor of its own.
    void installOffering(
        const std::string& name, const std::string& type, const std::vector<PublishedFile>& files)
    {
        (void)install(name, "1.0.0.0"); // its folder is of no interest here
        publish(name, "1.0.0.0", descriptorText(type, files));
    }

    void checkAndOpen()
    {
        ASSERT_EQ(check(), 0);
        ASSERT_EQ(open(), 0);
    }
};

using Rows = std::vector<std::string>;

} // namespace

TEST_F(Selection, IgnoresANullMessage)
{
    EXPECT_EQ(plugin().ProcessMsg(nullptr), 0);
    EXPECT_EQ(windowWith("butn_OK"), nullptr);
}

TEST_F(Selection, RefusesAMessageBeforeAnyCheck)
{
    EXPECT_EQ(open(), -1);
}

TEST_F(Selection, ShowsAnEmptyWindowAfterACheckThatFoundNothing)
{
    publishHostUpToDate();
    checkAndOpen();
    EXPECT_EQ(rows(), Rows {});
    QWidget* const window = windowWith("butn_OK");
    ASSERT_TRUE(window);
    QTest::keyClick(window->windowHandle(), Qt::Key_Return);
    EXPECT_EQ(host().endings.size(), 1u) << "nothing is chosen: the message just ends";
    EXPECT_EQ(plugin().busy(), 0);
    EXPECT_TRUE(host().requests.empty());
}

TEST_F(Selection, IsRefusedByAnySpellingOfAnotherProvider)
{
    offer({PublishedFile {}});
    for (const char16_t* name : {u"", u"Update", u"Update.bundle2"}) {
        FakeMessage message(name);
        EXPECT_EQ(plugin().ProcessMsg(&message), -1);
    }
    EXPECT_EQ(windowWith("butn_OK"), nullptr);
}

TEST_F(Selection, TakesMarkedFilesOfSeveralProductsOnceByTheirUrl)
{
    publishHostUpToDate();
    const auto part = makeBundle("Part", "1.0.0.0");
    publish("Part", "1.0.0.0",
        descriptorText(
            "section", {PublishedFile {.name = "Part", .title = "Part 2", .location = "part.zip"}}));
    for (const std::string name : {"Velmora Sketch", "Velmora Table"}) {
        (void)install(name, "1.0.0.0"); // its folder is of no interest here
        publish(name, "1.0.0.0",
            descriptorText("common", {},
                "<SECTIONS><SECTION version=\"2.0\" location=\"" + part.string() + "\"/></SECTIONS>"));
    }
    checkAndOpen();
    EXPECT_EQ(rows(), (Rows {"Common Library", "> Part 2"}));
}

TEST_F(Selection, RefusesTheMessageOfAnotherProvider)
{
    offer({PublishedFile {}});
    FakeMessage message(u"Other.bundle");
    EXPECT_EQ(plugin().ProcessMsg(&message), -1);
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(Selection, ComparesTheProviderIgnoringCase)
{
    offer({PublishedFile {}});
    FakeMessage message(u"UPDATE.BUNDLE");
    EXPECT_EQ(plugin().ProcessMsg(&message), 0);
    EXPECT_NE(windowWith("butn_OK"), nullptr);
}

TEST_F(Selection, ShowsNoSecondWindowWhileBusy)
{
    offer({PublishedFile {}});
    ASSERT_EQ(open(), 0);
    QWidget* const window = windowWith("butn_OK");
    ASSERT_NE(plugin().busy(), 0);
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(windowWith("butn_OK"), window);
}

TEST_F(Selection, IgnoresEvenTheMessageOfAnotherProviderWhileBusy)
{
    offer({PublishedFile {}});
    ASSERT_EQ(open(), 0);
    FakeMessage foreign(u"Other.bundle");
    EXPECT_EQ(plugin().ProcessMsg(&foreign), 0);
}

TEST_F(Selection, MakesTheWorkFolderBeforeTheWindowForThisUserAlone)
{
    offer({PublishedFile {}});
    ASSERT_FALSE(std::filesystem::exists(workFolder()));
    ASSERT_EQ(open(), 0);
    struct stat info { };
    ASSERT_EQ(::stat(workFolder().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0700u);
}

TEST_F(Selection, IsRefusedWhenTheWorkFolderCannotBeMade)
{
    offer({PublishedFile {}});
    std::filesystem::create_symlink("/nonexistent/place", workFolder());
    EXPECT_EQ(open(), -1);
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(Selection, OffersEveryFileOfTheHostProductAsCommon)
{
    publish(kHostName, kHostVersion,
        descriptorText("updater",
            {PublishedFile {.name = kHostName}, PublishedFile {.name = "More", .location = "more.zip"}}));
    checkAndOpen();
    EXPECT_EQ(rows(), (Rows {"Common Library"}));
    press("butn_Later");
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(Selection, OffersAProductUnderItsOwnEntryWithItsSectionFiles)
{
    publishHostUpToDate();
    installOffering("Velmora Sketch", "app", {PublishedFile {.title = "Sketch 2"}});
    checkAndOpen();
    EXPECT_EQ(rows(), (Rows {"Sketch 2"}));
}

TEST_F(Selection, TakesFilesOfCommonDescriptorsOnceByTheirUrl)
{
    publishHostUpToDate();
    installOffering("Velmora Sketch", "common",
        {PublishedFile {.location = "shared.zip"}, PublishedFile {.name = "B", .location = "SHARED.zip"}});
    installOffering(
        "Velmora Table", "common", {PublishedFile {.name = "Velmora Table", .location = "shared.zip"}});
    ASSERT_EQ(check(), 0);
    ASSERT_EQ(open(), 0);
    EXPECT_EQ(rows(), (Rows {"Common Library"})) << "mandatory files stand behind the branch itself";
    publishFile("shared.zip", std::string(100, 'x'));
    confirm();
    waitForEnding();
    EXPECT_EQ(server().countOf("/updates/shared.zip"), 1);
}

TEST_F(Selection, TakesOptionalFilesWhateverOtherFilesShareTheirUrl)
{
    publishHostUpToDate();
    installOffering("Library", "common", {PublishedFile {.name = "Library", .location = "shared.zip"}});
    installOffering("Velmora Sketch", "app",
        {PublishedFile {.location = "shared.zip"}, PublishedFile {.name = "B", .location = "shared.zip"}});
    publishFile("shared.zip", std::string(100, 'x'));
    checkAndOpen();
    confirm();
    waitForEnding();
    EXPECT_EQ(server().countOf("/updates/shared.zip"), 3) << "one mandatory, two of the product's own";
}

TEST_F(Selection, SortsManyFilesWithoutComparingEachWithEach)
{
    publishHostUpToDate();
    constexpr int kFiles = 10000;
    std::vector<PublishedFile> files;
    for (int i = 0; i < kFiles; ++i)
        files.push_back(PublishedFile {.location = std::to_string(i) + ".zip"});
    installOffering("Velmora Sketch", "common", files);
    ASSERT_EQ(check(), 0);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(open(), 0);
    // Some 50 million comparisons took minutes in this build; a single walk takes a fraction of a second.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(rows(), (Rows {"Common Library"}));
}

TEST_F(Selection, LeavesOutFilesWithoutAUrl)
{
    publishHostUpToDate();
    installOffering("Velmora Sketch", "app",
        {PublishedFile {.title = "Sketch 2"},
            PublishedFile {.name = "None", .title = "None", .location = ""}});
    installOffering("Velmora Table", "app",
        {PublishedFile {.name = "Velmora Table", .title = "Table 2", .location = ""}});
    checkAndOpen();
    EXPECT_EQ(rows(), (Rows {"Sketch 2"}));
}

TEST_F(Selection, LeavesOutTheHostsFilesWithoutAUrl)
{
    publish(kHostName, kHostVersion,
        descriptorText("updater", {PublishedFile {.name = kHostName, .location = ""}}));
    checkAndOpen();
    EXPECT_EQ(rows(), Rows {});
}

TEST_F(Selection, LeavesOutUnmarkedFilesOfAnUpdaterDescriptor)
{
    publishHostUpToDate();
    installOffering("Velmora Sketch", "updater", {PublishedFile {.title = "Sketch 2"}});
    installOffering("Velmora Table", "app", {PublishedFile {.name = "Velmora Table", .title = "Table 2"}});
    checkAndOpen();
    EXPECT_EQ(rows(), (Rows {"Table 2"}));
}

TEST_F(Selection, OffersSectionFilesThatACommonDescriptorBringsInForAll)
{
    publishHostUpToDate();
    const auto part = makeBundle("Part", "1.0.0.0");
    publish("Part", "1.0.0.0",
        descriptorText(
            "section", {PublishedFile {.name = "Part", .title = "Part 2", .location = "part.zip"}}));
    (void)install("Velmora Sketch", "1.0.0.0");
    publish("Velmora Sketch", "1.0.0.0",
        descriptorText("common", {},
            "<SECTIONS><SECTION version=\"2.0\" location=\"" + part.string() + "\"/></SECTIONS>"));
    checkAndOpen();
    EXPECT_EQ(rows(), (Rows {"Common Library", "> Part 2"}));
}

TEST_F(Selection, OffersSectionFilesOfAnAppBelowItsBranch)
{
    publishHostUpToDate();
    const auto part = makeBundle("Part", "1.0.0.0");
    publish("Part", "1.0.0.0",
        descriptorText(
            "section", {PublishedFile {.name = "Part", .title = "Part 2", .location = "part.zip"}}));
    (void)install("Velmora Sketch", "1.0.0.0");
    publish("Velmora Sketch", "1.0.0.0",
        descriptorText("app", {PublishedFile {.title = "Sketch 2"}},
            "<SECTIONS><SECTION version=\"2.0\" location=\"" + part.string() + "\"/></SECTIONS>"));
    checkAndOpen();
    EXPECT_EQ(rows(), (Rows {"Sketch 2", "> Part 2"}));
}

TEST_F(Selection, ListsProductsInTheOrderOfTheCollection)
{
    publishHostUpToDate();
    for (const char* name : {"Zeta", "Alpha", "Mitte"})
        installOffering(name, "app", {PublishedFile {.name = name, .location = std::string(name) + ".zip"}});
    checkAndOpen();
    EXPECT_EQ(rows(), (Rows {"Zeta", "Alpha", "Mitte"}));
}

TEST_F(Selection, EndsTheMessageQuietlyWhenTheUserDeclines)
{
    offer({PublishedFile {}});
    ASSERT_EQ(open(), 0);
    press("butn_Later");
    ASSERT_EQ(host().endings.size(), 1u);
    EXPECT_EQ(host().endings[0].provider, u"Update.bundle");
    EXPECT_FALSE(host().endings[0].hasText);
    EXPECT_EQ(host().endings[0].numbers[0], 1);
    EXPECT_EQ(host().endings[0].numbers[1], 0);
    EXPECT_EQ(host().endings[0].numbers[2], 0);
    EXPECT_EQ(plugin().busy(), 0);
    EXPECT_EQ(alerts(), "");
    EXPECT_TRUE(host().requests.empty());
}

TEST_F(Selection, EndsTheMessageWhenNothingIsChosen)
{
    offer({PublishedFile {}});
    ASSERT_EQ(open(), 0);
    const std::vector<CFileSec*> nothing;
    plugin().SelectProductsResponse(&nothing);
    EXPECT_EQ(host().endings.size(), 1u);
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(Selection, CanBeOpenedAgainAfterTheUserDeclined)
{
    offer({PublishedFile {}});
    ASSERT_EQ(open(), 0);
    press("butn_Later");
    ASSERT_EQ(open(), 0);
    EXPECT_NE(windowWith("butn_OK"), nullptr);
}

TEST_F(Selection, EndsQuietlyWhenTheHelperToolCannotBePlaced)
{
    offer({PublishedFile {}});
    (void)home().folder().write("cache/VelmoraWatchSelfUpdate/WatchSelfUpdate/in-the-way", "x");
    updateAll();
    EXPECT_EQ(host().endings.size(), 1u);
    EXPECT_EQ(server().countOf("/updates/sketch.zip"), 0);
    EXPECT_EQ(alerts(), "");
    EXPECT_TRUE(host().requests.empty());
    EXPECT_EQ(plugin().busy(), 0);
}

TEST_F(Selection, PlacesTheHelperToolAndHasItRepairItself)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give the tool to root";
    offer({PublishedFile {}});
    updateAll();
    struct stat info { };
    ASSERT_EQ(::stat((home().cache() / "VelmoraWatchSelfUpdate/WatchSelfUpdate").c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 0u);
    EXPECT_EQ(info.st_mode, 0104555u);
}
