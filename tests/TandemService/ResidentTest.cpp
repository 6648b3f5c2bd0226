// The resident host.
#include "tests/TandemService/HostBundle.h"

#include <gtest/gtest.h>
#include <signal.h>
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
