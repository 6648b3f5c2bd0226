// The resident host.
#include "Platform/Support/Descriptor.h"
#include "tests/TandemService/FakeDesktop.h"
#include "tests/TandemService/HostBundle.h"

#include <algorithm>

#include <fcntl.h>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace fs = std::filesystem;

TEST(ResidentHost, ChecksAtItsStartAndSaysWhatThereIs)
{
    HostBundle host;
    host.set("FAKE_MESSAGE", "There is something.");
    host.start({});
    ASSERT_TRUE(host.waitForLine("generate can=1"));
    host.signal(SIGTERM);
    EXPECT_EQ(host.wait(), 0);
    EXPECT_EQ(readWholeFile(host.home().folder().at("stdout.started")),
        "There is something.\nTo open it, end this program and start TandemService --update.\n");
    EXPECT_TRUE(host.log().ends_with("release\nunloaded\n")) << host.log();
}

TEST(ResidentHost, SaysWhatThereIsWhereABusHasNoNotificationService)
{
    GTestDBus* const bus = g_test_dbus_new(G_TEST_DBUS_NONE);
    g_test_dbus_up(bus);
    HostBundle host;
    host.set("DBUS_SESSION_BUS_ADDRESS", g_test_dbus_get_bus_address(bus));
    host.set("FAKE_MESSAGE", "There is something.");
    host.start({});
    EXPECT_TRUE(host.waitForOutput(
        "There is something.\nTo open it, end this program and start TandemService --update.\n"));
    host.signal(SIGTERM);
    EXPECT_EQ(host.wait(), 0);
    g_test_dbus_down(bus);
    g_object_unref(bus);
}

TEST(ResidentHost, OpensItsMessageWhenTheUserClicksItAndChecksAgainAfterwards)
{
    FakeDesktop desktop;
    HostBundle host;
    host.set("DBUS_SESSION_BUS_ADDRESS", desktop.address());
    host.set("FAKE_MESSAGE", "There is something.");
    host.set("FAKE_RUN", "cancel");
    host.set("FAKE_USER", "ok");
    host.start({});
    EXPECT_TRUE(processUntil([&] { return !desktop.calls.empty(); }));
    EXPECT_EQ(desktop.calls[0], "notify 0 Velmora Tandem: There is something.");
    const auto checks = [&] {
        const std::string log = "\n" + host.log();
        std::size_t count = 0;
        for (std::size_t at = 0; (at = log.find("\ngenerate can=1\n", at)) != std::string::npos; ++at)
            ++count;
        return count;
    };
    // Clicked again and again: a message that is open is not opened twice.
    EXPECT_TRUE(processUntil([&] {
        desktop.click(7);
        g_usleep(10'000); // the clicks of a hasty user, not a flood
        return host.log().find("\nprocess Update.bundle\n") != std::string::npos;
    }));
    desktop.click(7);
    EXPECT_TRUE(processUntil([&] { return checks() == 2; })) << host.log();
    EXPECT_EQ(host.log().find("process"), host.log().rfind("process"));
    EXPECT_EQ(desktop.calls.size(), 2U) << "what was declined is not advertised again";
    EXPECT_EQ(desktop.calls.back(), "close 7");
    host.signal(SIGTERM);
    EXPECT_EQ(host.wait(), 0);
}

TEST(ResidentHost, EndsOnASignalWhileItsSessionBusIsSilent)
{
    HostBundle host;
    const std::string address = host.home().folder().at("bus").string();
    const Descriptor silent(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un place = {.sun_family = AF_UNIX, .sun_path = {}};
    ASSERT_LT(address.size(), sizeof place.sun_path);
    std::copy(address.begin(), address.end(), place.sun_path);
    ASSERT_EQ(bind(silent.get(), reinterpret_cast<const sockaddr*>(&place), sizeof place), 0);
    ASSERT_EQ(listen(silent.get(), 5), 0);
    host.set("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + address);
    host.start({});
    const Descriptor asked(accept4(silent.get(), nullptr, nullptr, SOCK_CLOEXEC)); // it never hears a word
    ASSERT_TRUE(asked);
    host.signal(SIGTERM);
    EXPECT_EQ(host.wait(), 0);
}

TEST(ResidentHost, IsAloneForItsUser)
{
    HostBundle host;
    host.start({});
    ASSERT_TRUE(host.waitForLine("generate can=1"));
    for (const std::vector<std::string>& arguments :
        {std::vector<std::string> {}, {"--update", "--unattended"}}) {
        EXPECT_EQ(host.run(arguments), 2);
        EXPECT_NE(host.errors().find("TandemService: another Tandem Service is running\n"), std::string::npos)
            << host.errors();
    }
    EXPECT_EQ(host.run({"--check"}), 1) << "a check asks nothing of the port";
    host.signal(SIGINT);
    EXPECT_EQ(host.wait(), 0);
}

TEST(ResidentHost, NeedsAPrivateRuntimeFolder)
{
    HostBundle host;
    ASSERT_EQ(chmod(host.home().runtime().c_str(), 0777), 0);
    EXPECT_EQ(host.run({}), 2);
    EXPECT_NE(host.errors().find("TandemService: $XDG_RUNTIME_DIR is no private folder\n"), std::string::npos)
        << host.errors();
}

TEST(ResidentHost, PutsBackAnInterruptedInstallBesideIt)
{
    HostBundle host;
    const ScopedTempDir& folder = host.home().folder();
    (void)folder.makeFolder(".Tandem.app.velmora-install/new");
    (void)folder.write(".Tandem.app.velmora-install/old/Gone", "was here");
    (void)folder.write(".Tandem.app.velmora-install/journal", "install journal 1\n=4 Gone\nend\n");
    EXPECT_EQ(host.run({"--check"}), 1);
    EXPECT_EQ(readWholeFile(host.app() / "Gone"), "was here");
}

TEST(ResidentHost, LeavesATargetAloneThatAnotherHostInstallsInto)
{
    HostBundle host;
    (void)host.home().folder().makeFolder(".Tandem.app.velmora-install/new");
    const Descriptor target(open(host.app().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(target.get(), LOCK_EX), 0);
    EXPECT_EQ(host.run({"--check"}), 1);
    EXPECT_EQ(host.errors().find("stays as it is"), std::string::npos) << host.errors();
    EXPECT_TRUE(fs::exists(host.home().folder().at(".Tandem.app.velmora-install")));
}
