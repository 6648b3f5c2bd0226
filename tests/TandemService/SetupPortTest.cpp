// The setup port end to end: a request in, four bytes out.
#include "TandemService/SetupPort.h"

#include "tests/support/FakeHome.h"

#include <cstring>
#include <optional>

#include <gtest/gtest.h>

namespace {

struct FakeHandler final : SetupHandler {
    SInt32 installPackage(const std::string& package, const std::string& target) override
    {
        seen += "install " + package + " " + target + ";";
        return reply;
    }
    SInt32 relaunch(const std::string& bundle) override
    {
        seen += "relaunch " + bundle + ";";
        return reply;
    }
    SInt32 updateEnded(const std::string& text) override
    {
        seen += "end " + text + ";";
        return reply;
    }
    std::string seen;
    SInt32 reply = 0;
};

/// Sends a request; the reply's number, or none when there was no reply of four bytes.
std::optional<SInt32> ask(SInt32 id, const std::string& payload)
{
    const CFRef name = adoptCF(CFStringCreateWithView(u"com.velmora.tandemservice.setup"));
    const CFRef port = adoptCF(CFMessagePortCreateRemote(kCFAllocatorDefault, name));
    if (!port)
        return std::nullopt;
    const CFRef data = adoptCF(CFDataCreate(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(payload.data()), static_cast<CFIndex>(payload.size())));
    CFDataRef answer = nullptr;
    (void)CFMessagePortSendRequest(
        port, id, data, 3.0, 20.0, kCFRunLoopDefaultMode, &answer); // the reply says it
    const CFRef reply = adoptCF(answer);
    SInt32 value = 0;
    if (!reply || CFDataGetLength(reply) != sizeof value)
        return std::nullopt;
    std::memcpy(&value, CFDataGetBytePtr(reply), sizeof value);
    return value;
}

struct PortFixture : ::testing::Test {
    FakeHome home;
    FakeHandler handler;
    SetupPort port {handler};
};

} // namespace

TEST_F(PortFixture, AnswersEachRequestWithItsNumber)
{
    ASSERT_TRUE(port.open());
    EXPECT_EQ(ask(0x55504B47, std::string("/p\0/t\0", 6)), 0);
    handler.reply = 4;
    EXPECT_EQ(ask(0x5551524C, std::string("/x.app\0", 7)), 4);
    handler.reply = -5;
    EXPECT_EQ(ask(0x55456E64, std::string("QUIT\0", 5)), -5);
    EXPECT_EQ(handler.seen, "install /p /t;relaunch /x.app;end QUIT;");
}

TEST_F(PortFixture, AnswersAnythingElseWithMinusOne)
{
    ASSERT_TRUE(port.open());
    EXPECT_EQ(ask(0x12345678, std::string("/p\0/t\0", 6)), -1);
    EXPECT_EQ(ask(0x55504B47, ""), -1);
    EXPECT_EQ(ask(0x55504B47, "/p"), -1);
    EXPECT_EQ(ask(0x55456E64, std::string(60000, 'x')), -1);
    EXPECT_EQ(handler.seen, "");
}

TEST_F(PortFixture, IsTakenByOneOnly)
{
    ASSERT_TRUE(port.open());
    SetupPort second(handler);
    EXPECT_FALSE(second.open());
    port.close();
    EXPECT_EQ(ask(0x55456E64, std::string("QUIT\0", 5)), std::nullopt);
    EXPECT_TRUE(second.open());
}
