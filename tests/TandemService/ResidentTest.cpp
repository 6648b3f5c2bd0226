// The resident host.
#include "Platform/Support/Descriptor.h"
#include "tests/TandemService/HostBundle.h"

#include <fcntl.h>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>

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
        "There is something.\nOpen it with TandemService --update.\n");
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
    EXPECT_TRUE(host.waitForOutput("There is something.\nOpen it with TandemService --update.\n"));
    host.signal(SIGTERM);
    EXPECT_EQ(host.wait(), 0);
    g_test_dbus_down(bus);
    g_object_unref(bus);
}

TEST(ResidentHost, IsAloneForItsUser)
{
    HostBundle host;
    host.start({});
    ASSERT_TRUE(host.waitForLine("generate can=1"));
    for (const std::vector<std::string>& arguments :
        {std::vector<std::string> {}, {"--update", "--unattended"}}) {
        EXPECT_EQ(host.run(arguments), 2);
        EXPECT_NE(host.errors().find("TandemService: another Tandem Service is running"), std::string::npos)
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
    EXPECT_NE(host.errors().find("$XDG_RUNTIME_DIR is no private folder"), std::string::npos)
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
