// The runner of the package installer, with scripts that stand in for it.
#include "Cocoa2CarbonLib/Cocoa2Carbon.h"
#include "Platform/Support/ToolRequests.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FakeHome.h"
#include "tests/support/TempDir.h"
#include "tests/support/WorkingDirectory.h"

#include <fstream>
#include <functional>
#include <sched.h>
#include <sys/mount.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr int kMayNotMount = 200;

// What `body` gives in a child whose /usr/sbin is empty; kMayNotMount where that cannot be arranged.
int withEmptySbin(const std::function<int()>& body)
{
    return child::run([&body] {
        const bool isEmpty = unshare(CLONE_NEWNS) == 0
            && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
            && mount("none", "/usr/sbin", "tmpfs", 0, nullptr) == 0;
        return isEmpty ? body() : kMayNotMount;
    });
}

// What C2C_InstallerFile gives, as a child's status, where a script of this body is the installer.
int installWith(const std::string& script, const char* package, const char* target)
{
    return withEmptySbin([&] {
        const char* const tool = "/usr/sbin/installer";
        std::ofstream(tool) << "#!/bin/sh\n" << script << '\n';
        fs::permissions(tool, fs::perms(0755));
        return C2C_InstallerFile(package, target);
    });
}

} // namespace

TEST(ToolRequests, StartTheInstallerWithExactlyItsArguments)
{
    const ChildRequest request = installerRequest("/files/a b.pkg", "/");
    EXPECT_EQ(request.program, "/usr/sbin/installer");
    EXPECT_EQ(request.arguments, (std::vector<std::string> {"-pkg", "/files/a b.pkg", "-target", "/"}));
    EXPECT_TRUE(request.droppedVariables.empty());
    EXPECT_FALSE(request.withoutOutput);
    EXPECT_EQ(installerRequest("-x.pkg", "-y").arguments,
        (std::vector<std::string> {"-pkg", "./-x.pkg", "-target", "./-y"}));
}

TEST(C2C_InstallerFile, GivesBadParameterForANullArgument)
{
    EXPECT_EQ(C2C_InstallerFile(nullptr, "/"), -50);
    EXPECT_EQ(C2C_InstallerFile("/tmp/a.pkg", nullptr), -50);
}

TEST(C2C_InstallerFile, GivesTheToolsExitStatusUnchanged)
{
    for (const int status : {0, 1, 37, 127, 255}) {
        const int given = installWith("exit " + std::to_string(status), "/a.pkg", "/");
        if (given == kMayNotMount)
            GTEST_SKIP() << "mounting is not allowed here";
        EXPECT_EQ(given, status);
    }
    EXPECT_EQ(installWith("kill -KILL $$", "/a.pkg", "/"), 128 + 9);
}

TEST(C2C_InstallerFile, HandsItsArgumentsOnWithEnvironmentAndWorkingDirectory)
{
    const ScopedTempDir folder;
    const ScopedWorkingDirectory inside(folder.path());
    const ScopedEnvironment variable("TANDEM_VARIABLE", "kept");
    const std::string script = "printf '%s|' \"$0\" \"$@\" \"$TANDEM_VARIABLE\" > seen";
    if (installWith(script, "it's $(a) b.pkg", "/tar get") == kMayNotMount)
        GTEST_SKIP() << "mounting is not allowed here";
    EXPECT_EQ(
        readWholeFile(folder.at("seen")), "/usr/sbin/installer|-pkg|it's $(a) b.pkg|-target|/tar get|kept|");
}

TEST(C2C_InstallerFile, StartsNothingForANullArgument)
{
    const ScopedTempDir folder;
    const ScopedWorkingDirectory inside(folder.path());
    constexpr int kBadParameterByte = 256 - 50; // of paramErr, as a child's status
    for (const bool isPackage : {true, false}) {
        const int status
            = installWith("touch started", isPackage ? nullptr : "a.pkg", isPackage ? "/" : nullptr);
        if (status == kMayNotMount)
            GTEST_SKIP() << "mounting is not allowed here";
        EXPECT_EQ(status, kBadParameterByte);
    }
    EXPECT_FALSE(fs::exists(folder.at("started")));
}

TEST(C2C_InstallerFile, Gives127WhereThereIsNoInstaller)
{
    const int status = withEmptySbin([] { return C2C_InstallerFile("/a.pkg", "/"); });
    if (status == kMayNotMount)
        GTEST_SKIP() << "mounting is not allowed here";
    EXPECT_EQ(status, 127);
}
