// The start of the helper tool's repair through the installed starter, with stand-ins for pkexec and the
// starter.
#include "Platform/Security/OutputStream.h"
#include "Platform/Security/PrivilegedStart.h"
#include "Platform/Support/ErrorNumbers.h"
#include "SelfRepairStarter/ExitStatus.h"
#include "tests/support/TempDir.h"

#include <chrono>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

char g_selfRepair[] = "--self-repair";
char g_other[] = "-un";
char* const kSelfRepair[] = {g_selfRepair, nullptr};

fs::path makeScript(const ScopedTempDir& folder, const std::string& name, const std::string& body)
{
    const fs::path script = folder.write(name, "#!/bin/sh\n" + body + "\n");
    fs::permissions(script, fs::perms(0755));
    return script;
}

// Runs the tool through a stand-in for pkexec that notes its words in "asked" and ends as `body` says.
OSStatus runWithPkexec(const ScopedTempDir& folder, const fs::path& tool, const std::string& body)
{
    const fs::path pkexec = makeScript(
        folder, "pkexec", "printf '%s\\n' \"$@\" > '" + folder.at("asked").string() + "'\n" + body);
    return startThroughStarter(pkexec.c_str(), "/the/starter", {tool.c_str(), kSelfRepair});
}

} // namespace

TEST(StarterRoute, IsForTheRepairAloneAndWhereTheStarterIsInstalled)
{
    const ScopedTempDir folder;
    const std::string starter = makeScript(folder, "starter", "exit 0").string();
    char* const none[] = {nullptr};
    char* const other[] = {g_other, nullptr};
    char* const more[] = {g_selfRepair, g_other, nullptr};
    EXPECT_EQ(privilegedRoute(1000, nullptr, starter.c_str(), kSelfRepair), PrivilegedRoute::Starter);
    EXPECT_EQ(privilegedRoute(0, nullptr, starter.c_str(), kSelfRepair), PrivilegedRoute::Direct);
    EXPECT_EQ(privilegedRoute(1000, "user", starter.c_str(), kSelfRepair), PrivilegedRoute::Direct);
    for (char* const* arguments : {static_cast<char* const*>(nullptr), none, other, more})
        EXPECT_EQ(privilegedRoute(1000, nullptr, starter.c_str(), arguments), PrivilegedRoute::Pkexec);
    EXPECT_EQ(
        privilegedRoute(1000, nullptr, folder.at("missing").c_str(), kSelfRepair), PrivilegedRoute::Pkexec);
    const std::string text = folder.write("text", "no program").string();
    EXPECT_EQ(privilegedRoute(1000, nullptr, text.c_str(), kSelfRepair), PrivilegedRoute::Pkexec);
}

TEST(StarterRoute, HasPkexecStartTheStarterOnTheTool)
{
    const ScopedTempDir folder;
    const fs::path tool = makeScript(folder, "tool", "exit 0");
    EXPECT_EQ(runWithPkexec(folder, tool, "exit 0"), noErr);
    EXPECT_EQ(readWholeFile(folder.at("asked")),
        "--disable-internal-agent\n/the/starter\n" + tool.string() + "\n--self-repair\n");
}

TEST(StarterRoute, ResolvesLinksInTheToolsFolderButNotTheToolItself)
{
    const ScopedTempDir folder;
    (void)makeScript(folder, "real/tool", "exit 0");
    fs::create_symlink("tool", folder.at("real/link"));
    fs::create_directory_symlink("real", folder.at("way"));
    EXPECT_EQ(runWithPkexec(folder, folder.at("way/link"), "exit 0"), noErr);
    EXPECT_EQ(readWholeFile(folder.at("asked")),
        "--disable-internal-agent\n/the/starter\n" + folder.at("real/link").string() + "\n--self-repair\n");
}

TEST(StarterRoute, TellsARefusedToolFromOneThatRan)
{
    EXPECT_EQ(kStarterRefusedStatus, kNotStartedStatus);
    const struct {
        const char* body;
        OSStatus expected;
    } cases[] = {
        {"exit 0", 0},
        {"exit 65", 0},
        {"exit 112", -60031},
        {"exit 126", -60006},
        {"exit 127", -60005},
        {"kill -9 $$", -60005},
    };
    for (const auto& each : cases) {
        const ScopedTempDir folder;
        const fs::path tool = makeScript(folder, "tool", "exit 0");
        EXPECT_EQ(runWithPkexec(folder, tool, each.body), each.expected) << each.body;
    }
}

TEST(StarterRoute, DoesNotAskForAToolThatCannotBeExecuted)
{
    const ScopedTempDir folder;
    EXPECT_EQ(runWithPkexec(folder, folder.at("missing"), "exit 0"), -60031);
    EXPECT_EQ(runWithPkexec(folder, folder.write("text", "no program"), "exit 0"), -60031);
    EXPECT_FALSE(fs::exists(folder.at("asked")));
}

TEST(CheckMayAsk, AsksPolkitForThisProcessWithoutAQuestion)
{
    const ScopedTempDir folder;
    const fs::path pkcheck
        = makeScript(folder, "pkcheck", "echo \"$@\" > '" + folder.at("asked").string() + "'");
    EXPECT_EQ(checkMayAsk(pkcheck.c_str()), noErr);
    EXPECT_EQ(readWholeFile(folder.at("asked")),
        "--action-id org.freedesktop.policykit.exec --process " + std::to_string(getpid()) + "\n");
}

TEST(CheckMayAsk, TellsWhatPolkitAnswers)
{
    const struct {
        const char* body;
        OSStatus expected;
    } cases[] = {
        {"exit 0", 0},
        {"exit 2", 0},
        {"exit 1", -60005},
        {"exit 3", -60005},
        {"exit 127", -60005},
        {"kill -9 $$", -60005},
    };
    for (const auto& each : cases) {
        const ScopedTempDir folder;
        EXPECT_EQ(checkMayAsk(makeScript(folder, "pkcheck", each.body).c_str()), each.expected) << each.body;
    }
    const ScopedTempDir folder;
    EXPECT_EQ(checkMayAsk(folder.at("missing").c_str()), -60005);
}

TEST(OutputStream, KeepsTheFirstMiBOfAToolThatPrintsMore)
{
    const ScopedTempDir folder;
    const fs::path tool = makeScript(folder, "tool", "head -c 3000000 /dev/zero");
    OutputStream output;
    ASSERT_TRUE(output.open());
    EXPECT_EQ(startDirectly({tool.c_str(), nullptr, &output}), noErr);
    std::FILE* const stream = output.release();
    ASSERT_NE(stream, nullptr);
    std::string bytes(2'000'000, 'x');
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), stream));
    EXPECT_EQ(bytes, std::string(1'048'576, '\0'));
    EXPECT_NE(std::feof(stream), 0);
    EXPECT_EQ(std::fclose(stream), 0);
}

TEST(OutputStream, DoesNotWaitForWhatAToolLeftRunning)
{
    const ScopedTempDir folder;
    // What stays behind holds the pipe for longer than the test allows.
    const fs::path tool = makeScript(folder, "tool", "sleep 5 2> /dev/null & echo early");
    OutputStream output;
    ASSERT_TRUE(output.open());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(startDirectly({tool.c_str(), nullptr, &output}), noErr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    std::FILE* const stream = output.release();
    char bytes[16] = {};
    EXPECT_EQ(std::fread(bytes, 1, sizeof(bytes), stream), 6u);
    EXPECT_STREQ(bytes, "early\n");
    EXPECT_EQ(std::fclose(stream), 0);
}
