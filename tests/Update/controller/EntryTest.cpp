// The plug-in object's start, and what it needs of its host.
#include "tests/Update/controller/SuiteFixture.h"

#include <fstream>

extern "C" IMsgProviderPlugin* GetMsgProviderPlugin(IMsgPluginContainer* container);
extern "C" IMsgProviderPlugin* ReleaseMsgProviderPlugin(IMsgProviderPlugin* plugin);

namespace {

/// Another container of the same host.
class SecondContainer final : public IMsgPluginContainer {
public:
    explicit SecondContainer(FakeHost& host)
        : m_host(host)
    {
    }
    int endings = 0;

    void EndMsgProcess(const UniChar*, const UniChar*, SInt32, SInt32, SInt32) override { ++endings; }
    void HostReserved() override { }
    SInt32 CanGenerateMsg() override { return m_host.canGenerate; }
    CFURLRef CopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type) override
    {
        return m_host.CopyResourceURL(bundle, name, type);
    }

private:
    FakeHost& m_host;
};

class Entry : public SuiteFixture {
protected:
    /// Leaves a file in both fixed folders.
    void leaveOldFiles() const
    {
        for (const auto& folder : {workFolder(), descriptorFolder()}) {
            std::filesystem::create_directories(folder / "sub");
            std::ofstream(folder / "sub" / "old.txt") << "old";
        }
    }
};

} // namespace

TEST_F(Entry, DeletesTheWorkFolderAndTheDescriptorFolderWhenItIsFirstObtained)
{
    leaveOldFiles();
    CUpdateInter fresh;
    ASSERT_TRUE(fresh.attach(&host()));
    EXPECT_FALSE(std::filesystem::exists(workFolder()));
    EXPECT_FALSE(std::filesystem::exists(descriptorFolder()));
}

TEST_F(Entry, DeletesNothingWhenItIsObtainedAgain)
{
    leaveOldFiles(); // the fixture obtained the object once already
    ASSERT_TRUE(plugin().attach(&host()));
    EXPECT_TRUE(std::filesystem::exists(workFolder() / "sub/old.txt"));
    EXPECT_TRUE(std::filesystem::exists(descriptorFolder() / "sub/old.txt"));
}

TEST_F(Entry, DeletesOldFilesOnceEvenWhenItCannotWorkYet)
{
    leaveOldFiles();
    host().hasResources = false;
    CUpdateInter fresh;
    ASSERT_FALSE(fresh.attach(&host()));
    EXPECT_FALSE(std::filesystem::exists(workFolder()));
    EXPECT_FALSE(std::filesystem::exists(descriptorFolder()));
    leaveOldFiles();
    host().hasResources = true;
    ASSERT_TRUE(fresh.attach(&host()));
    EXPECT_TRUE(std::filesystem::exists(workFolder() / "sub/old.txt"));
    EXPECT_TRUE(std::filesystem::exists(descriptorFolder() / "sub/old.txt"));
}

TEST_F(Entry, DoesNotFollowALinkThatStandsForAFixedFolder)
{
    const auto outside = home().folder().write("outside/precious.txt", "keep");
    std::filesystem::create_directory_symlink(outside.parent_path(), workFolder());
    CUpdateInter fresh;
    ASSERT_TRUE(fresh.attach(&host()));
    EXPECT_TRUE(std::filesystem::exists(outside));
}

TEST_F(Entry, AsksTheHostForItsResourceFolder)
{
    host().resourcesAskedFor.clear();
    CUpdateInter fresh;
    ASSERT_TRUE(fresh.attach(&host()));
    EXPECT_EQ(host().resourcesAskedFor, (std::vector<std::u16string> {u"VelTanRes", u"UI"}));
}

TEST_F(Entry, FailsWithoutTheHostsResources)
{
    host().hasResources = false;
    CUpdateInter fresh;
    EXPECT_FALSE(fresh.attach(&host()));
}

TEST_F(Entry, ServesTheContainerThatObtainedItLast)
{
    offer({PublishedFile {}});
    SecondContainer second(host());
    ASSERT_TRUE(plugin().attach(&second));
    ASSERT_EQ(open(), 0);
    press("butn_Later");
    EXPECT_EQ(second.endings, 1);
    EXPECT_TRUE(host().endings.empty());
    plugin().SetContainer(nullptr);
}

TEST_F(Entry, KeepsItsContainerWhenAnotherOneCannotObtainIt)
{
    offer({PublishedFile {}});
    SecondContainer second(host());
    host().hasResources = false;
    ASSERT_FALSE(plugin().attach(&second));
    ASSERT_EQ(open(), 0);
    press("butn_Later");
    EXPECT_EQ(second.endings, 0);
    EXPECT_EQ(host().endings.size(), 1u);
}

TEST_F(Entry, OpensTheInstalledHostBundleWhenNoneIsRegistered)
{
    host().forgetBundle();
    CUpdateInter fresh;
    EXPECT_TRUE(fresh.attach(&host()));
}

TEST_F(Entry, FailsWithoutAHostBundle)
{
    host().forgetBundle();
    std::filesystem::remove_all(host().bundle());
    CUpdateInter fresh;
    EXPECT_FALSE(fresh.attach(&host()));
}

TEST_F(Entry, HandsOutTheSameObjectEachTimeAndKeepsItWhenItIsReleased)
{
    IMsgProviderPlugin* const first = GetMsgProviderPlugin(&host());
    EXPECT_EQ(first, static_cast<IMsgProviderPlugin*>(&g_UpdatePlugin));
    EXPECT_EQ(ReleaseMsgProviderPlugin(first), first);
    EXPECT_EQ(GetMsgProviderPlugin(&host()), first);
    g_UpdatePlugin.SetContainer(nullptr);
}

TEST_F(Entry, HandsOutNothingWhenItCannotWork)
{
    host().hasResources = false;
    EXPECT_EQ(GetMsgProviderPlugin(&host()), nullptr);
}

TEST_F(Entry, RunsASilentCheckWhenAskedBeforeAnyCheck)
{
    publishHostUpToDate();
    EXPECT_EQ(plugin().CanShowNow(nullptr), -1);
    EXPECT_EQ(server().countOf(descriptorPath(kHostName, kHostVersion)), 1);
    EXPECT_TRUE(host().messages.empty());
}

TEST_F(Entry, CanShowWhenTheLastCheckFoundSomething)
{
    offer({PublishedFile {}});
    const std::size_t asked = server().requests().size();
    EXPECT_EQ(plugin().CanShowNow(nullptr), 0);
    EXPECT_EQ(server().requests().size(), asked) << "a check that ran is not run again";
}

TEST_F(Entry, DoesNotRepeatACheckThatFoundNothing)
{
    publishHostUpToDate();
    ASSERT_EQ(check(), 0);
    (void)install("Velmora Sketch", "1.0.0.0"); // what another check would ask for
    publish("Velmora Sketch", "1.0.0.0", descriptorText("app", {PublishedFile {}}));
    EXPECT_EQ(plugin().CanShowNow(nullptr), -1);
    EXPECT_EQ(server().requests().size(), 1u);
}

TEST_F(Entry, CannotShowWhenTheCheckCouldNotRun)
{
    host().canGenerate = 0;
    EXPECT_EQ(plugin().CanShowNow(nullptr), -1);
}

TEST_F(Entry, TitlesItsAlertAfterTheSuite)
{
    testing::internal::CaptureStdout();
    MyMessageBox(u"Something is to be said");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Velmora Tandem: Something is to be said\n");
}

TEST(PluginObject, StartsIdle)
{
    CUpdateInter plugin;
    EXPECT_EQ(plugin.busy(), 0);
    EXPECT_TRUE(plugin.fetchedURLs().empty());
}
