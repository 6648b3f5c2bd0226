// The runners of command-line tools, against the real unzip and archives made by the real zip.
#include "Cocoa2CarbonLib/Cocoa2Carbon.h"
#include "Platform/Support/ToolRequests.h"
#include "tests/support/FakeHome.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/TempDir.h"
#include "tests/support/WorkingDirectory.h"

#include <csignal>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

// Runs a command line with the shell, in `folder`; true when it succeeded.
bool shell(const fs::path& folder, const std::string& command)
{
    return std::system(("cd '" + folder.string() + "' && " + command + " >/dev/null 2>&1").c_str()) == 0;
}

// An archive with one file "inside.txt" holding `text`.
fs::path makeZip(const ScopedTempDir& folder, const std::string& name, const std::string& text)
{
    (void)folder.write("source/inside.txt", text);
    EXPECT_TRUE(shell(folder.at("source"), "zip -q ./archive.zip inside.txt"));
    fs::rename(folder.at("source/archive.zip"), folder.at(name));
    return folder.at(name);
}

class ScopedSignal {
public:
    ScopedSignal(int signalNumber, void (*handler)(int))
        : m_number(signalNumber)
    {
        struct sigaction action { };
        action.sa_handler = handler;
        EXPECT_EQ(sigaction(signalNumber, &action, &m_former), 0);
    }
    ScopedSignal(const ScopedSignal&) = delete;
    ScopedSignal& operator=(const ScopedSignal&) = delete;
    ~ScopedSignal() { EXPECT_EQ(sigaction(m_number, &m_former, nullptr), 0); }

private:
    int m_number;
    struct sigaction m_former { };
};

} // namespace

TEST(C2C_UnzipFile, ExtractsIntoTheFolderAndGivesOne)
{
    const ScopedTempDir folder;
    const fs::path zip = makeZip(folder, "a.zip", "fresh");
    const fs::path target = folder.makeFolder("target");
    EXPECT_EQ(C2C_UnzipFile(zip.c_str(), target.c_str()), 1);
    EXPECT_EQ(readWholeFile(target / "inside.txt"), "fresh");
}

TEST(C2C_UnzipFile, OverwritesExistingFilesWithoutAsking)
{
    const ScopedTempDir folder;
    const fs::path zip = makeZip(folder, "a.zip", "fresh");
    (void)folder.write("target/inside.txt", "old");
    EXPECT_EQ(C2C_UnzipFile(zip.c_str(), folder.at("target").c_str()), 1);
    EXPECT_EQ(readWholeFile(folder.at("target/inside.txt")), "fresh");
}

TEST(C2C_UnzipFile, GivesZeroForAMissingArchive)
{
    const ScopedTempDir folder;
    EXPECT_EQ(C2C_UnzipFile(folder.at("missing.zip").c_str(), folder.path().c_str()), 0);
}

TEST(C2C_UnzipFile, GivesZeroForADamagedArchive)
{
    const ScopedTempDir folder;
    const fs::path zip = folder.write("broken.zip", "this is no archive");
    EXPECT_EQ(C2C_UnzipFile(zip.c_str(), folder.path().c_str()), 0);
}

TEST(C2C_UnzipFile, GivesZeroForANullArgument)
{
    EXPECT_EQ(C2C_UnzipFile(nullptr, "/tmp"), 0);
    EXPECT_EQ(C2C_UnzipFile("/tmp/a.zip", nullptr), 0);
}

TEST(C2C_UnzipFile, HandsPathsOnWithoutAShell)
{
    const ScopedTempDir folder;
    const std::string name = "it's $(touch hit) & ; \"q\" \xC3\xBC.zip";
    const fs::path zip = makeZip(folder, name, "quoted");
    const fs::path target = folder.makeFolder("tar get;$(touch hit)");
    const ScopedWorkingDirectory inside(folder.path());
    EXPECT_EQ(C2C_UnzipFile(zip.c_str(), target.c_str()), 1);
    EXPECT_EQ(readWholeFile(target / "inside.txt"), "quoted");
    EXPECT_FALSE(fs::exists(folder.at("hit")));
}

TEST(C2C_UnzipFile, KeepsTheWorkingDirectory)
{
    const ScopedTempDir folder;
    (void)makeZip(folder, "a.zip", "relative");
    (void)folder.makeFolder("target");
    const ScopedWorkingDirectory inside(folder.path());
    EXPECT_EQ(C2C_UnzipFile("a.zip", "target"), 1);
    EXPECT_EQ(readWholeFile(folder.at("target/inside.txt")), "relative");
}

TEST(C2C_UnzipFile, DoesNotReadAPathThatBeginsWithADashAsAnOption)
{
    const ScopedTempDir folder;
    (void)makeZip(folder, "-l.zip", "dash");
    (void)folder.makeFolder("-t");
    const ScopedWorkingDirectory inside(folder.path());
    EXPECT_EQ(C2C_UnzipFile("-l.zip", "-t"), 1);
    EXPECT_EQ(readWholeFile(folder.at("-t/inside.txt")), "dash");
}

TEST(C2C_UnzipFile, DoesNotReadANameAsAPattern)
{
    const ScopedTempDir folder;
    (void)makeZip(folder, "a1.zip", "wrong");
    (void)makeZip(folder, "a22.zip", "wrong");
    for (const std::string name : {"a[1].zip", "a*.zip", "a?.zip", "a?\\[1-2]*.zip", "a\\1.zip"}) {
        const fs::path zip = makeZip(folder, name, name);
        fs::remove_all(folder.at("target"));
        EXPECT_EQ(C2C_UnzipFile(zip.c_str(), folder.makeFolder("target").c_str()), 1) << name;
        EXPECT_EQ(readWholeFile(folder.at("target/inside.txt")), name);
    }
}

TEST(C2C_UnzipFile, TakesAnyNameOfTheArchivesFolder)
{
    const ScopedTempDir folder;
    (void)folder.makeFolder("a[1]*\\");
    const fs::path zip = makeZip(folder, "a[1]*\\/b\\c.zip", "fresh");
    EXPECT_EQ(C2C_UnzipFile(zip.c_str(), folder.makeFolder("target[2]*").c_str()), 1);
    EXPECT_EQ(readWholeFile(folder.at("target[2]*/inside.txt")), "fresh");
}

TEST(C2C_UnzipFile, IgnoresOptionsFromTheEnvironment)
{
    const ScopedTempDir folder;
    const fs::path zip = makeZip(folder, "a.zip", "fresh");
    // Each would only list or test the archive instead of extracting it.
    for (const char* variable : {"UNZIP", "UNZIPOPT"}) {
        const ScopedEnvironment options(variable, "-t");
        const fs::path target = folder.makeFolder(std::string("target") + variable);
        EXPECT_EQ(C2C_UnzipFile(zip.c_str(), target.c_str()), 1);
        EXPECT_EQ(readWholeFile(target / "inside.txt"), "fresh") << variable;
    }
}

TEST(C2C_UnzipFile, DoesNotWaitForThePasswordOfAnEncryptedArchive)
{
    const ScopedTempDir folder;
    (void)folder.write("source/inside.txt", "secret");
    ASSERT_TRUE(shell(folder.at("source"), "zip -q -P word ../a.zip inside.txt"));
    EXPECT_EQ(C2C_UnzipFile(folder.at("a.zip").c_str(), folder.makeFolder("target").c_str()), 0);
    EXPECT_FALSE(fs::exists(folder.at("target/inside.txt")));
}

TEST(C2C_UnzipFile, DoesNotWaitForAnArchiveThatIsAPipe)
{
    const ScopedTempDir folder;
    ASSERT_EQ(mkfifo(folder.at("a.zip").c_str(), 0600), 0);
    EXPECT_EQ(C2C_UnzipFile(folder.at("a.zip").c_str(), folder.makeFolder("target").c_str()), 0);
}

TEST(C2C_UnzipFile, TakesNoOtherArchiveForAMissingOrADamagedOne)
{
    const ScopedTempDir folder;
    for (const std::string other : {"a.zip", "a.ZIP"}) {
        const std::string archive = readWholeFile(makeZip(folder, other, "another"));
        // The last one lacks the last byte of its end, the 22 bytes that every archive ends with.
        for (const std::string& damaged : {std::string(), std::string("junk"), std::string(70'000, 'j'),
                 archive.substr(0, archive.size() - 1)}) {
            if (!damaged.empty())
                (void)folder.write("a", damaged);
            EXPECT_EQ(C2C_UnzipFile(folder.at("a").c_str(), folder.makeFolder("target").c_str()), 0);
            EXPECT_FALSE(fs::exists(folder.at("target/inside.txt"))) << other << damaged.size();
        }
        fs::remove(folder.at("a"));
        fs::remove(folder.at(other));
    }
}

TEST(C2C_UnzipFile, TakesAnArchiveBesideOneWithALongerName)
{
    const ScopedTempDir folder;
    (void)makeZip(folder, "a.zip", "another");
    const fs::path zip = makeZip(folder, "a", "fresh");
    const fs::path target = folder.makeFolder("target");
    EXPECT_EQ(C2C_UnzipFile(zip.c_str(), target.c_str()), 1);
    EXPECT_EQ(readWholeFile(target / "inside.txt"), "fresh");
    // As much may follow its end as a comment can hold, and the tool finds it all the same.
    (void)folder.write("a", readWholeFile(zip) + std::string(65'535, 'c'));
    (void)folder.write("target/inside.txt", "old");
    EXPECT_EQ(C2C_UnzipFile(zip.c_str(), target.c_str()), 1);
    EXPECT_EQ(readWholeFile(target / "inside.txt"), "fresh");
}

TEST(C2C_UnzipFile, KeepsItsListingOutOfOurOutput)
{
    const ScopedTempDir folder;
    const fs::path zip = makeZip(folder, "a.zip", "fresh");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(C2C_UnzipFile(zip.c_str(), folder.makeFolder("target").c_str()), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(C2C_UnzipFile, SaysOnStandardErrorWhatWentWrong)
{
    const ScopedTempDir folder;
    const fs::path zip = folder.write("broken.zip", "this is no archive");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(C2C_UnzipFile(zip.c_str(), folder.path().c_str()), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("broken.zip"), std::string::npos);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(C2C_UnzipFile, KnowsTheStatusWhereChildSignalsAreIgnored)
{
    const ScopedTempDir folder;
    const fs::path zip = makeZip(folder, "a.zip", "fresh");
    const ScopedSignal ignored(SIGCHLD, SIG_IGN);
    EXPECT_EQ(C2C_UnzipFile(zip.c_str(), folder.makeFolder("target").c_str()), 1);
    EXPECT_EQ(C2C_UnzipFile(folder.at("missing.zip").c_str(), folder.path().c_str()), 0);
    struct sigaction now { };
    ASSERT_EQ(sigaction(SIGCHLD, nullptr, &now), 0);
    EXPECT_TRUE(now.sa_handler == SIG_IGN);
}

TEST(C2C_UnzipFile, LeavesNoZombie)
{
    EXPECT_EQ(C2C_UnzipFile("/nowhere/a.zip", "/nowhere"), 0);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(ToolRequests, StartUnzipWithExactlyItsArguments)
{
    const ChildRequest request = unzipRequest("/files/a b.zip", "/target");
    EXPECT_EQ(request.program, "/usr/bin/unzip");
    EXPECT_EQ(request.arguments, (std::vector<std::string> {"-o", "/files/a b.zip", "-d", "/target"}));
    EXPECT_EQ(request.droppedVariables, (std::vector<std::string_view> {"UNZIP", "UNZIPOPT", "ZIPINFO"}));
    EXPECT_TRUE(request.withoutTerminal);
    EXPECT_TRUE(request.withoutOutput);
}

TEST(ToolRequests, MarkPatternCharactersOfAnArchivesNameAlone)
{
    EXPECT_EQ(unzipRequest("/w*/a\\.zip", "/t[1]").arguments,
        (std::vector<std::string> {"-o", "/w*/a\\\\.zip", "-d", "/t[1]"}));
    EXPECT_EQ(unzipRequest("/w/a[1]*?\\.zip", "/t").arguments[1], "/w/a[[]1][*][?]\\\\.zip");
    EXPECT_EQ(unzipRequest("a\\].zip", "/t").arguments[1], "a\\].zip");
}

TEST(ToolRequests, StartPkexecWithoutAnAgentOfItsOwnAndWithoutAnyVariable)
{
    const ChildRequest request = pkexecRequest("/other/pkexec", "/tool", {"-a", "b c"});
    EXPECT_EQ(request.program, "/other/pkexec");
    EXPECT_EQ(
        request.arguments, (std::vector<std::string> {"--disable-internal-agent", "/tool", "-a", "b c"}));
    EXPECT_TRUE(request.withoutEnvironment);
    EXPECT_STREQ(kPkexecTool, "/usr/bin/pkexec");
}

TEST(C2C_IsRunning, LooksForTheFilesNameWithoutItsExtension)
{
    const ScopedTempDir folder;
    copyWaitingProgram(folder.at("Foo.app/Contents/Linux/Tandem Foo"));
    copyWaitingProgram(folder.at("Tandem Foo.app"));
    copyWaitingProgram(folder.at("Tandem.Foo.app"));
    copyWaitingProgram(folder.at("Tandem Foo"));
    copyWaitingProgram(folder.at(".Tandem Foo"));
    const auto isRunning = [&folder](const char* name) {
        FSRef file;
        EXPECT_TRUE(makeRefFromWidePath(folder.at(name).u16string(), file));
        return C2C_IsRunning(&file) != 0;
    };
    EXPECT_FALSE(isRunning("Tandem Foo.app"));
    const RunningProgram running(folder.at("Foo.app/Contents/Linux/Tandem Foo"));
    EXPECT_TRUE(isRunning("Tandem Foo.app"));
    EXPECT_TRUE(isRunning("Tandem Foo"));
    EXPECT_FALSE(isRunning("Foo.app"));
    EXPECT_FALSE(isRunning("Tandem.Foo.app")) << "only the last extension goes";
    EXPECT_FALSE(isRunning(".Tandem Foo")) << "a name without an extension";
}

TEST(C2C_IsRunning, ComparesWithTheShortNameOfFifteenBytesToo)
{
    const ScopedTempDir folder;
    const auto isRunning = [&folder](const char* name) {
        writeWaitingScript(folder.at(name), "#!/bin/sh");
        const RunningProgram running(folder.at(name));
        FSRef file;
        EXPECT_TRUE(makeRefFromWidePath(folder.at(name).u16string(), file));
        return C2C_IsRunning(&file) != 0;
    };
    EXPECT_TRUE(isRunning("123456789012345"));
    EXPECT_FALSE(isRunning("1234567890123456")) << "a script's full name is its interpreter's";
}

TEST(C2C_IsRunning, IsFalseWithoutAPath)
{
    EXPECT_EQ(C2C_IsRunning(nullptr), 0);
    FSRef file;
    EXPECT_EQ(C2C_IsRunning(&file), 0);
    const RunningProgram running("/usr/bin/cat");
    file.path = std::string(1019, '/') + "cat"; // 1022 bytes
    EXPECT_EQ(C2C_IsRunning(&file), 1);
    file.path.insert(0, "/");
    EXPECT_EQ(C2C_IsRunning(&file), 1);
    file.path.insert(0, "/");
    EXPECT_EQ(C2C_IsRunning(&file), 0) << "1024 bytes and a zero do not fit";
}

TEST(C2C_wcslen, CountsUnitsBeforeTheFirstZero)
{
    EXPECT_EQ(C2C_wcslen(u""), 0);
    EXPECT_EQ(C2C_wcslen(u"abc\0def"), 3);
    EXPECT_EQ(C2C_wcslen(u"a\U0001F600"), 3); // a surrogate pair is two units
}

TEST(C2C_wcslenDeathTest, RefusesNull)
{
    EXPECT_DEATH((void)C2C_wcslen(nullptr), "failed assertion `s'");
}
