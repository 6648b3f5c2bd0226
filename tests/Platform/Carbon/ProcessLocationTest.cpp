// The walk over all processes, and what each was started from.
#include "Platform/Carbon/Processes.h"
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/Support/ErrorNumbers.h"
#include "tests/support/BundleBuilder.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FileURL.h"
#include "tests/support/RunningProgram.h"

#include <algorithm>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

ProcessSerialNumber serialOf(int pid)
{
    return {0, static_cast<UInt32>(pid)};
}

std::vector<UInt32> walk()
{
    std::vector<UInt32> ids;
    ProcessSerialNumber process;
    while (GetNextProcess(&process) == noErr) {
        EXPECT_EQ(process.highLongOfPSN, 0u);
        ids.push_back(process.lowLongOfPSN);
    }
    return ids;
}

bool walkShows(int pid)
{
    const std::vector<UInt32> ids = walk();
    return std::find(ids.begin(), ids.end(), static_cast<UInt32>(pid)) != ids.end();
}

/// The location's path, or the error in words.
std::string locationOf(int pid)
{
    const ProcessSerialNumber process = serialOf(pid);
    FSRef location;
    const OSStatus error = GetProcessBundleLocation(&process, &location);
    return error == noErr ? location.path : "error " + std::to_string(error);
}

/// An empty bundle whose folder is Foo.app.
class GetProcessBundleLocationTest : public testing::Test {
protected:
    GetProcessBundleLocationTest()
        : m_bundle(BundleBuilder().build(m_folder, "Foo.app"))
    {
    }

    fs::path program(std::string_view name) const { return m_bundle / "Contents/Linux" / name; }

    ScopedTempDir m_folder;
    fs::path m_bundle;
};

} // namespace

TEST(GetNextProcess, ShowsEachProcessOnceAndThenNone)
{
    std::vector<UInt32> ids = walk();
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
    EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end());
    EXPECT_NE(std::find(ids.begin(), ids.end(), static_cast<UInt32>(getpid())), ids.end());
}

TEST(GetNextProcess, EndsWithNoProcess)
{
    ProcessSerialNumber process {0, 0x7FFFFFFF};
    EXPECT_EQ(GetNextProcess(&process), procNotFound);
    EXPECT_EQ(process.highLongOfPSN, 0u);
    EXPECT_EQ(process.lowLongOfPSN, 0u);
    process = {1, 1};
    EXPECT_EQ(GetNextProcess(&process), procNotFound);
    EXPECT_EQ(process.highLongOfPSN, 0u);
    EXPECT_EQ(GetNextProcess(nullptr), paramErr);
}

TEST(GetNextProcess, SeesWhatStartedAndEndedBetweenWalks)
{
    RunningProgram program("/usr/bin/cat");
    EXPECT_TRUE(walkShows(program.pid()));
    const int pid = program.pid();
    program.end();
    EXPECT_FALSE(walkShows(pid));
}

TEST(GetNextProcess, GoesOnAfterAProcessThatEnded)
{
    RunningProgram program("/usr/bin/cat");
    ProcessSerialNumber process = serialOf(program.pid() - 1);
    (void)walk(); // the walk that saw it
    ASSERT_EQ(GetNextProcess(&process), noErr);
    ASSERT_EQ(process.lowLongOfPSN, static_cast<UInt32>(program.pid()));
    const int pid = program.pid();
    program.end();
    const bool another = GetNextProcess(&process) == noErr;
    EXPECT_TRUE(another ? process.lowLongOfPSN > static_cast<UInt32>(pid) : process.lowLongOfPSN == 0);
}

TEST_F(GetProcessBundleLocationTest, IsTheBundleOfAProgramInContentsLinux)
{
    copyWaitingProgram(program("Foo"));
    const RunningProgram running(program("Foo"));
    EXPECT_EQ(locationOf(running.pid()), m_bundle.string());
}

TEST_F(GetProcessBundleLocationTest, IsTheBundleOfAProgramFurtherDown)
{
    copyWaitingProgram(program("tools/helper"));
    const RunningProgram running(program("tools/helper"));
    EXPECT_EQ(locationOf(running.pid()), m_bundle.string());
}

TEST_F(GetProcessBundleLocationTest, IsTheInnermostOfBundlesInBundles)
{
    const fs::path inner = BundleBuilder().build(m_folder, "Foo.app/Contents/Linux/Bar.bundle");
    copyWaitingProgram(inner / "Contents/Linux/tool");
    const RunningProgram running(inner / "Contents/Linux/tool");
    EXPECT_EQ(locationOf(running.pid()), inner.string());
    fs::remove(inner / "Contents/Info.plist"); // a bundle no more, but still a part of the outer one
    EXPECT_EQ(locationOf(running.pid()), m_bundle.string());
}

TEST_F(GetProcessBundleLocationTest, IsTheFileOfAnyOtherProgram)
{
    for (const char* place : {"plain", "Foo.app/Contents/Resources/tool", "Contents/Linux/tool"}) {
        const fs::path file = m_folder.at(place);
        copyWaitingProgram(file);
        const RunningProgram running(file);
        EXPECT_EQ(locationOf(running.pid()), file.string());
    }
}

TEST_F(GetProcessBundleLocationTest, IsTheSameObjectAsTheFileThatWasStarted)
{
    copyWaitingProgram(m_folder.at("plain"));
    fs::create_symlink("plain", m_folder.at("link"));
    const RunningProgram running(m_folder.at("link"));
    const ProcessSerialNumber process = serialOf(running.pid());
    FSRef location;
    FSRef link;
    ASSERT_EQ(GetProcessBundleLocation(&process, &location), noErr);
    ASSERT_TRUE(makeRefFromWidePath(m_folder.at("link").u16string(), link));
    EXPECT_EQ(FSCompareFSRefs(&location, &link), noErr);
}

TEST_F(GetProcessBundleLocationTest, IsTheScriptsBundleWhereAnInterpreterRuns)
{
    for (const char* firstLine :
        {"#!/bin/sh", "#! /bin/sh -e", "#!/usr/bin/env sh", "#!/usr/bin/env -S A=b sh -e"}) {
        writeWaitingScript(program("Foo"), firstLine);
        const RunningProgram running(program("Foo"), {}, {"PATH=/usr/bin:/bin"});
        // "env" replaces itself by the shell.
        EXPECT_TRUE(eventually([&] { return locationOf(running.pid()) == m_bundle.string(); })) << firstLine;
        fs::remove(program("Foo"));
    }
}

TEST_F(GetProcessBundleLocationTest, IsTheScriptItselfOutsideABundle)
{
    writeWaitingScript(m_folder.at("setup"), "#!/bin/sh");
    const RunningProgram running(m_folder.at("setup"));
    EXPECT_EQ(locationOf(running.pid()), m_folder.at("setup").string());
}

TEST_F(GetProcessBundleLocationTest, FindsAScriptByARelativePath)
{
    writeWaitingScript(program("Foo"), "#!/bin/sh");
    const fs::path former = fs::current_path();
    fs::current_path(m_bundle / "Contents");
    const RunningProgram running("Linux/Foo");
    fs::current_path(former);
    EXPECT_EQ(locationOf(running.pid()), m_bundle.string());
}

TEST_F(GetProcessBundleLocationTest, IsNotTheScriptThatAProgramOnlyReads)
{
    writeWaitingScript(program("Foo"), "#!/bin/sh");
    const RunningProgram running("/usr/bin/cat", {"cat", "-", program("Foo").string()});
    EXPECT_EQ(locationOf(running.pid()), fs::canonical("/usr/bin/cat").string());
}

TEST_F(GetProcessBundleLocationTest, IsNotMisledByOddArguments)
{
    (void)m_folder.write("empty", "");
    (void)m_folder.write("mark", "#!");
    ASSERT_EQ(::mkfifo(m_folder.at("pipe").c_str(), 0600), 0);
    const RunningProgram running("/usr/bin/cat",
        {"", m_folder.at("empty").string(), m_folder.at("mark").string(), m_folder.at("pipe").string(),
            m_folder.path().string()});
    EXPECT_EQ(locationOf(running.pid()), fs::canonical("/usr/bin/cat").string());
}

TEST_F(GetProcessBundleLocationTest, StaysTheBundleWhenTheProgramWasReplaced)
{
    copyWaitingProgram(program("Foo"));
    const RunningProgram running(program("Foo"));
    fs::remove(program("Foo"));
    EXPECT_EQ(locationOf(running.pid()), m_bundle.string());
    copyWaitingProgram(program("Foo"));
    EXPECT_EQ(locationOf(running.pid()), m_bundle.string());
    fs::remove_all(m_bundle);
    EXPECT_EQ(locationOf(running.pid()), "error -43");
}

TEST_F(GetProcessBundleLocationTest, IsNotTheFileThatTookARemovedProgramsPlace)
{
    copyWaitingProgram(m_folder.at("plain"));
    const RunningProgram running(m_folder.at("plain"));
    fs::remove(m_folder.at("plain"));
    copyWaitingProgram(m_folder.at("plain"));
    EXPECT_EQ(locationOf(running.pid()), "error -43");
}

TEST_F(GetProcessBundleLocationTest, KnowsAFileNamedLikeARemovedOne)
{
    copyWaitingProgram(m_folder.at("tool (deleted)"));
    const RunningProgram running(m_folder.at("tool (deleted)"));
    EXPECT_EQ(locationOf(running.pid()), m_folder.at("tool (deleted)").string());
}

TEST_F(GetProcessBundleLocationTest, KnowsNamesWithLineEndsAndBytesThatAreNoText)
{
    const fs::path file = m_folder.at("line\nend \xFF/Bar.app/Contents/Linux/odd\nname");
    (void)m_folder.write("line\nend \xFF/Bar.app/Contents/Info.plist", "");
    copyWaitingProgram(file);
    const RunningProgram running(file);
    EXPECT_EQ(locationOf(running.pid()), m_folder.at("line\nend \xFF/Bar.app").string());
}

TEST_F(GetProcessBundleLocationTest, GivesNoneForAProcessThatHasEnded)
{
    copyWaitingProgram(program("Foo"));
    RunningProgram running(program("Foo"));
    const int pid = running.pid();
    running.endUncollected();
    EXPECT_TRUE(walkShows(pid));
    EXPECT_EQ(locationOf(pid), "error -600");
    running.end();
    EXPECT_EQ(locationOf(pid), "error -600");
}

TEST_F(GetProcessBundleLocationTest, GivesAnErrorForAnotherUsersProcess)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "only root can become another user";
    EXPECT_EQ(
        child::runAsNobody([parent = getppid()] { return locationOf(parent) == "error -5000" ? 0 : 1; }), 0);
}

TEST_F(GetProcessBundleLocationTest, RefusesWhatIsNoProcess)
{
    const ProcessSerialNumber self = serialOf(getpid());
    const ProcessSerialNumber high {1, self.lowLongOfPSN};
    FSRef location;
    EXPECT_EQ(locationOf(0), "error -600");
    EXPECT_EQ(locationOf(-1), "error -600");
    EXPECT_EQ(GetProcessBundleLocation(&high, &location), procNotFound);
    EXPECT_EQ(GetProcessBundleLocation(nullptr, &location), paramErr);
    EXPECT_EQ(GetProcessBundleLocation(&self, nullptr), paramErr);
}

TEST_F(GetProcessBundleLocationTest, IsTheMainBundleForTheCaller)
{
    EXPECT_EQ(locationOf(getpid()), fs::canonical("/proc/self/exe").string());
    CFBundleSetMainBundle(folderURL(m_bundle));
    EXPECT_EQ(locationOf(getpid()), m_bundle.string());
    CFBundleSetMainBundle(nullptr);
}
