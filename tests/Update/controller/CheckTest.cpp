// The update check: who is asked, who stays, and what is posted.
#include "Platform/Support/Unicode.h"
#include "tests/Update/controller/SuiteFixture.h"

#include <algorithm>
#include <cstddef>
#include <functional>

namespace {

/// A pool whose user acts on a message at once.
class OpeningPool final : public IUserMsgPool {
public:
    std::function<void()> onMessage;

    void AddMsg(const UniChar*, const UniChar*, SInt32, SInt32, SInt32) override { onMessage(); }
};

class Check : public SuiteFixture {
protected:
    /// Installs a product whose descriptor offers a newer version of it.
    void installWithUpdate(const std::string& name)
    {
        (void)install(name, "1.0.0.0"); // its folder is of no interest here
        publish(name, "1.0.0.0", descriptorText("app", {PublishedFile {.name = name}}));
    }

    int askedFor(const std::string& name) { return server().countOf(descriptorPath(name, "1.0.0.0")); }

    std::u16string message()
    {
        return host().messages.size() == 1 ? host().messages[0].text : u"not one message";
    }
};

} // namespace

static_assert(sizeof(ProductUserData) == 2048 + sizeof(void*));
static_assert(offsetof(ProductUserData, interpreter) == 2048);

TEST_F(Check, PostsNothingWhenNoProductNeedsAnUpdate)
{
    publishHostUpToDate();
    (void)install("Velmora Sketch", "1.0.0.0");
    publish("Velmora Sketch", "1.0.0.0",
        descriptorText("app", {PublishedFile {.name = "Velmora Sketch", .version = "1.0.0.0"}}));
    EXPECT_EQ(check(), 0);
    EXPECT_TRUE(host().messages.empty());
    EXPECT_EQ(plugin().CanShowNow(nullptr), -1);
}

TEST_F(Check, NamesTheProductWhenOneIsKept)
{
    publishHostUpToDate();
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(message(), u"One: Velmora Sketch");
}

TEST_F(Check, CountsTheProductsWhenSeveralAreKept)
{
    publishHostUpToDate();
    installWithUpdate("Velmora Sketch");
    installWithUpdate("Velmora Table");
    installWithUpdate("Velmora Chronik");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(message(), u"Several: 3");
}

TEST_F(Check, KeepsThePlacesOfAllProductsThoseWithoutUpdatesToo)
{
    publishHostUpToDate();
    installWithUpdate("Velmora Sketch");
    const std::string table = install("Velmora Table", "1.0.0.0");
    answerDescriptor("Velmora Table", "1.0.0.0", answer::status(404));
    ASSERT_EQ(check(), 0);
    const std::vector<std::string>& places = plugin().productBundles();
    EXPECT_EQ(places.size(), 3u); // the host's first
    EXPECT_EQ(std::count(places.begin(), places.end(), table), 1);
    ASSERT_EQ(check(), 0); // a second one
    EXPECT_EQ(plugin().productBundles().size(), 3u);
}

TEST_F(Check, PostsUnderItsOwnIdWithZeroZeroOne)
{
    publishHostUpToDate();
    installWithUpdate("Velmora Sketch");
    ASSERT_EQ(check(), 0);
    ASSERT_EQ(host().messages.size(), 1u);
    EXPECT_EQ(host().messages[0].provider, u"Update.bundle");
    EXPECT_EQ(host().messages[0].numbers[0], 0);
    EXPECT_EQ(host().messages[0].numbers[1], 0);
    EXPECT_EQ(host().messages[0].numbers[2], 1);
}

TEST_F(Check, PostsNothingWithoutAPool)
{
    publishHostUpToDate();
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(plugin().GenerateMsg(nullptr), 0);
    EXPECT_TRUE(host().messages.empty());
    EXPECT_EQ(plugin().CanShowNow(nullptr), 0);
}

TEST_F(Check, CutsItsMessageAt1023Units)
{
    // 1020 units before the name: three of its units are left.
    host().setTexts({.one = std::string(1020, 'x') + "%s"});
    publishHostUpToDate();
    installWithUpdate("Velmora Sketch");
    ASSERT_EQ(check(), 0);
    EXPECT_EQ(message(), std::u16string(1020, u'x') + u"Vel");
}

TEST_F(Check, RunsWithoutAContainer)
{
    publishHostUpToDate();
    installWithUpdate("Velmora Sketch");
    plugin().SetContainer(nullptr);
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(message(), u"One: Velmora Sketch");
}

TEST_F(Check, RunsForEveryAnswerOfTheHostButZero)
{
    publishHostUpToDate();
    host().canGenerate = -1;
    EXPECT_EQ(check(), 0);
}

TEST_F(Check, LeavesAMessageOpenThatIsOpenedAsItIsPosted)
{
    publishHostUpToDate();
    installWithUpdate("Velmora Sketch");
    OpeningPool pool;
    pool.onMessage = [this] { EXPECT_EQ(open(), 0); };
    EXPECT_EQ(plugin().GenerateMsg(&pool), 0);
    EXPECT_NE(plugin().busy(), 0);
    EXPECT_NE(windowWith("butn_OK"), nullptr);
}

TEST_F(Check, DoesNotRunWhenTheHostRefuses)
{
    host().canGenerate = 0;
    EXPECT_EQ(check(), -1);
    EXPECT_TRUE(server().requests().empty());
}

TEST_F(Check, DoesNotRunWithoutTheHostsTexts)
{
    std::filesystem::remove(host().bundle() / "Contents/Resources/VelTanRes.UI/VelTanRes.aui");
    EXPECT_EQ(check(), -1);
    EXPECT_TRUE(server().requests().empty());
}

TEST_F(Check, DoesNotRunWhenTheTextForOneProductIsEmpty)
{
    host().setTexts({.one = ""});
    EXPECT_EQ(check(), -1);
    EXPECT_TRUE(server().requests().empty());
}

TEST_F(Check, RunsWhenTheTextForSeveralProductsIsEmpty)
{
    host().setTexts({.several = ""});
    publishHostUpToDate();
    EXPECT_EQ(check(), 0);
}

TEST_F(Check, DoesNotRunBeforeItHasItsResources)
{
    CUpdateInter fresh;
    EXPECT_EQ(fresh.GenerateMsg(&host()), -1);
}

TEST_F(Check, AsksForTheDescriptorAtSiteThenUrlThenFileName)
{
    publishHostUpToDate();
    EXPECT_EQ(check(), 0);
    ASSERT_EQ(server().requests().size(), 1u);
    EXPECT_EQ(server().requests()[0].target, "/updates/Update_Velmora%20Tandem_1.0.0.0_eng_Mac.xml");
}

TEST_F(Check, OffersOnlyTheHostProductWhenItNeedsUpdating)
{
    publish(kHostName, kHostVersion, descriptorText("updater", {PublishedFile {.name = kHostName}}));
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(message(), u"One: Velmora Tandem");
    EXPECT_EQ(askedFor("Velmora Sketch"), 0) << "the check ended at the host product";
}

TEST_F(Check, KnowsTheHostProductByItsNameAlone)
{
    publishHostUpToDate();
    installWithUpdate("Velmora Table");
    installWithUpdate("velmora TANDEM"); // from the registry, in another spelling
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(message(), u"Several: 2") << "what was kept before stays";
    EXPECT_EQ(askedFor("Velmora Sketch"), 0);
}

TEST_F(Check, EndsWhenTheHostsDescriptorHasNoPlace)
{
    // It counts as fetched, but its name is no file name: there is nothing to interpret.
    publishHostUpToDate();
    (void)install("velmora TANDEM", "1/0");
    g_UpdatePlugin.fetchedURLs().emplace_back(
        wideFromUtf8(server().url("/updates/Update_velmora TANDEM_1/0_eng_Mac.xml")));
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(check(), 0);
    EXPECT_TRUE(host().messages.empty());
    EXPECT_EQ(server().requests().size(), 1u) << "the host's own";
    EXPECT_EQ(askedFor("Velmora Sketch"), 0);
}

TEST_F(Check, GoesOnWhenTheHostsDescriptorIsGoneFromItsFolder)
{
    publishHostUpToDate();
    installWithUpdate("Velmora Sketch");
    ASSERT_EQ(check(), 0);
    host().messages.clear();
    std::filesystem::remove(descriptorFolder() / "Update_Velmora Tandem_1.0.0.0_eng_Mac.xml");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(message(), u"One: Velmora Sketch");
}

TEST_F(Check, GoesOnWhenTheHostsDescriptorIsNotPublished)
{
    answerDescriptor(kHostName, kHostVersion, answer::status(404));
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(message(), u"One: Velmora Sketch");
}

TEST_F(Check, EndsWhenTheHostsDescriptorFailsOtherwise)
{
    ServerScript broken;
    broken.reset();
    answerDescriptor(kHostName, kHostVersion, broken);
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(check(), 0);
    EXPECT_TRUE(host().messages.empty());
    EXPECT_EQ(askedFor("Velmora Sketch"), 0);
}

TEST_F(Check, GoesOnWhenTheHostsDescriptorOffersNothing)
{
    publish(kHostName, kHostVersion, "<UPDATEINFO/>");
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(message(), u"One: Velmora Sketch");
}

TEST_F(Check, EndsWhenTheHostsDependenciesRejectItsDescriptor)
{
    publish(kHostName, kHostVersion,
        descriptorText("updater", {PublishedFile {.name = kHostName}},
            "<DEPENDENCIES><DEPENDENCY type=\"common\" location=\"/nowhere/at.all\"/></DEPENDENCIES>"));
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(check(), 0);
    EXPECT_TRUE(host().messages.empty());
    EXPECT_EQ(askedFor("Velmora Sketch"), 0);
}

TEST_F(Check, SkipsAnotherProductWhoseDescriptorFails)
{
    publishHostUpToDate();
    (void)install("Velmora Table", "1.0.0.0");
    ServerScript broken;
    broken.reset();
    answerDescriptor("Velmora Table", "1.0.0.0", broken);
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(message(), u"One: Velmora Sketch");
}

TEST_F(Check, SkipsAnotherProductWhoseDescriptorIsNoDescriptor)
{
    publishHostUpToDate();
    (void)install("Velmora Table", "1.0.0.0");
    publish("Velmora Table", "1.0.0.0", "<html>Welcome</html>");
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(message(), u"One: Velmora Sketch");
}

TEST_F(Check, ChecksTheHostFirstAndThenTheProductsInTheOrderOfTheRegistry)
{
    publishHostUpToDate();
    installWithUpdate("Velmora Table");
    installWithUpdate("Velmora Sketch");
    ASSERT_EQ(check(), 0);
    const auto requests = server().requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[0].target, descriptorPath(kHostName, kHostVersion));
    EXPECT_EQ(requests[1].target, descriptorPath("Velmora Table", "1.0.0.0"));
    EXPECT_EQ(requests[2].target, descriptorPath("Velmora Sketch", "1.0.0.0"));
}

TEST_F(Check, ReplacesWhatAnEarlierCheckFound)
{
    publishHostUpToDate();
    installWithUpdate("Velmora Sketch");
    ASSERT_EQ(check(), 0);
    std::filesystem::remove_all(
        home().root() / "Library/Application Support/Velmora/Tandem Service/Products");
    host().messages.clear();
    EXPECT_EQ(check(), 0);
    EXPECT_TRUE(host().messages.empty());
    EXPECT_EQ(plugin().CanShowNow(nullptr), -1);
}

TEST_F(Check, LeavesEverythingAsItIsWhenItCannotRun)
{
    offer({PublishedFile {}});
    ASSERT_EQ(open(), 0);
    host().canGenerate = 0;
    EXPECT_EQ(check(), -1);
    host().canGenerate = 1;
    host().setTexts({.one = ""});
    EXPECT_EQ(check(), -1);
    EXPECT_NE(plugin().busy(), 0);
    EXPECT_NE(windowWith("butn_OK"), nullptr);
    EXPECT_EQ(plugin().CanShowNow(nullptr), 0) << "the earlier findings stand";
}

TEST_F(Check, EndsADownloadThatIsUnderWay)
{
    ASSERT_NO_FATAL_FAILURE(startStalledDownload());
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(plugin().busy(), 0);
    EXPECT_EQ(windowWith("butn_cancel"), nullptr);
    ASSERT_EQ(open(), 0) << "the new findings can be opened at once";
    publishFile("sketch.zip", "better");
    confirm();
    waitForEnding();
    EXPECT_EQ(alerts(), "All done\n");
}

TEST_F(Check, EndsTheSelectionThatIsOpen)
{
    offer({PublishedFile {}});
    ASSERT_EQ(open(), 0);
    ASSERT_NE(plugin().busy(), 0);
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(plugin().busy(), 0);
    EXPECT_EQ(windowWith("butn_OK"), nullptr);
}

TEST_F(Check, TakesAProductsOwnTimeOut)
{
    publishHostUpToDate();
    const auto bundle = install("Velmora Table", "1.0.0.0");
    std::string plist = readWholeFile(bundle / "Contents/Info.plist");
    plist.replace(plist.find("3000"), 4, "0200");
    (void)home().folder().write(
        std::filesystem::relative(bundle / "Contents/Info.plist", home().path()).string(), plist);
    ServerScript silent;
    silent.stall();
    answerDescriptor("Velmora Table", "1.0.0.0", silent);
    installWithUpdate("Velmora Sketch");
    EXPECT_EQ(check(), 0); // with no time-out at all this would wait for ever
    EXPECT_EQ(message(), u"One: Velmora Sketch");
}
