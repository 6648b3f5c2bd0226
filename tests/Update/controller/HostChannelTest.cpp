// The requests that the plug-in sends to its host.
#include "Update/HostMessages.h"
#include "Update/UpdateInter.h"
#include "tests/support/FakeHost.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

constexpr SInt32 kUPKG = 0x55504B47;
constexpr SInt32 kUQRL = 0x5551524C;
constexpr SInt32 kUEnd = 0x55456E64;

class HostChannel : public ::testing::Test {
protected:
    void SetUp() override { m_host.openPort(); }

    /// The payload of the one request that arrived; "none" when there was none.
    std::string payload() const { return m_host.requests.size() == 1 ? m_host.requests[0].payload : "none"; }

    FakeHome m_home;
    FakeHost m_host {m_home, {}};
    CUpdateInter m_plugin;
};

} // namespace

TEST_F(HostChannel, SendsPackagePathAndTargetFolderEachWithItsZeroByte)
{
    EXPECT_TRUE(m_plugin.CommunicationWithApp(kInstallPackageMessage, "/tmp/a.pkg", "/opt"));
    ASSERT_EQ(m_host.requests.size(), 1u);
    EXPECT_EQ(m_host.requests[0].id, kUPKG);
    EXPECT_EQ(payload(), "/tmp/a.pkg\0/opt\0"s);
}

TEST_F(HostChannel, SendsOnlyTheTargetFolderWhenThePackagePathIsEmpty)
{
    EXPECT_TRUE(m_plugin.CommunicationWithApp(kInstallPackageMessage, "", "/opt"));
    EXPECT_EQ(payload(), "/opt\0"s);
}

TEST_F(HostChannel, SendsOnlyThePackagePathWhenThereIsNoTargetFolder)
{
    EXPECT_TRUE(m_plugin.CommunicationWithApp(kInstallPackageMessage, "/tmp/a.pkg", nullptr));
    EXPECT_EQ(payload(), "/tmp/a.pkg\0"s);
}

TEST_F(HostChannel, SendsTheBundlePathForARelaunchAndDoesNotWaitForTheReply)
{
    EXPECT_FALSE(m_plugin.CommunicationWithApp(kRelaunchMessage, "/opt/Host.app"));
    for (int i = 0; i < 100 && m_host.requests.empty(); ++i)
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.05, true);
    ASSERT_EQ(m_host.requests.size(), 1u);
    EXPECT_EQ(m_host.requests[0].id, kUQRL);
    EXPECT_EQ(payload(), "/opt/Host.app\0"s);
}

TEST_F(HostChannel, SendsFiveBytesAtTheEndOfAnUpdate)
{
    EXPECT_TRUE(m_plugin.CommunicationWithApp(kUpdateEndMessage, "QUIT"));
    ASSERT_EQ(m_host.requests.size(), 1u);
    EXPECT_EQ(m_host.requests[0].id, kUEnd);
    EXPECT_EQ(payload(), "QUIT\0"s);
}

TEST_F(HostChannel, SendsNothingForANullOrEmptyText)
{
    for (const SInt32 id : {kUPKG, kUQRL, kUEnd}) {
        EXPECT_FALSE(m_plugin.CommunicationWithApp(id, nullptr)) << id;
        EXPECT_FALSE(m_plugin.CommunicationWithApp(id, "")) << id;
    }
    EXPECT_FALSE(m_plugin.CommunicationWithApp(kUPKG, "", ""));
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.02, false);
    EXPECT_TRUE(m_host.requests.empty());
}

TEST_F(HostChannel, SendsNothingUnderAnotherId)
{
    EXPECT_FALSE(m_plugin.CommunicationWithApp(0x41424344, "text", "more"));
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.02, false);
    EXPECT_TRUE(m_host.requests.empty());
}

TEST_F(HostChannel, SendsNothingThatDoesNotFitThePayloadBuffer)
{
    // Path, zero byte, folder of one character, zero byte: 2045 + 1 + 1 + 1 bytes are exactly 2048.
    const std::string fits(2045, 'p');
    const std::string tooLong(2046, 'p');
    EXPECT_FALSE(m_plugin.CommunicationWithApp(kUPKG, tooLong.c_str(), "t"));
    EXPECT_TRUE(m_plugin.CommunicationWithApp(kUPKG, fits.c_str(), "t"));
    ASSERT_EQ(m_host.requests.size(), 1u);
    EXPECT_EQ(m_host.requests[0].payload.size(), 2048u);
}

TEST_F(HostChannel, SendsAnyTextOfUpTo2047Bytes)
{
    const std::string fits(2047, 't');
    EXPECT_FALSE(m_plugin.CommunicationWithApp(kUEnd, (fits + "t").c_str()));
    EXPECT_TRUE(m_plugin.CommunicationWithApp(kUEnd, fits.c_str()));
    EXPECT_TRUE(m_plugin.CommunicationWithApp(kUPKG, fits.c_str()));
    EXPECT_TRUE(m_plugin.CommunicationWithApp(kUPKG, "", fits.c_str()));
    ASSERT_EQ(m_host.requests.size(), 3u);
    for (const PortRequest& request : m_host.requests)
        EXPECT_EQ(request.payload, fits + '\0');
}

TEST_F(HostChannel, TakesOnlyZeroForSuccess)
{
    for (const SInt32 value : {1, -1, -50, 0x01000000}) {
        m_host.answer = [value](const PortRequest&) { return value; };
        EXPECT_FALSE(m_plugin.CommunicationWithApp(kUEnd, "QUIT")) << value;
    }
}

TEST_F(HostChannel, TakesAReplyOfFewerThanFourBytesForAFailure)
{
    for (const CFIndex bytes : {0, 1, 3}) {
        m_host.replyBytes = bytes;
        EXPECT_FALSE(m_plugin.CommunicationWithApp(kUEnd, "QUIT")) << bytes;
    }
    EXPECT_EQ(m_host.requests.size(), 3u);
}

TEST_F(HostChannel, TakesTheFirstFourBytesOfALongerReply)
{
    m_host.replyBytes = 8;
    EXPECT_TRUE(m_plugin.CommunicationWithApp(kUEnd, "QUIT"));
    m_host.answer = [](const PortRequest&) { return 1; };
    EXPECT_FALSE(m_plugin.CommunicationWithApp(kUEnd, "QUIT"));
}

TEST_F(HostChannel, SendsTheZeroByteOfAnEmptyTargetFolder)
{
    EXPECT_TRUE(m_plugin.CommunicationWithApp(kInstallPackageMessage, "/tmp/a.pkg", ""));
    EXPECT_EQ(payload(), "/tmp/a.pkg\0\0"s);
}

TEST(HostChannelWithoutHost, FailsWhenNobodyListens)
{
    FakeHome home;
    CUpdateInter plugin;
    EXPECT_FALSE(plugin.CommunicationWithApp(kUEnd, "QUIT"));
}
