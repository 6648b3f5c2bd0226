// What the deletion of files and folder trees removes, leaves alone and prints.
#include "Cocoa2CarbonLib/FSDeleteObjects.h"

#include "tests/Cocoa2CarbonLib/CopyCall.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FileTrees.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

struct Deletion {
    OSStatus error;
    std::string printed;
};

Deletion deleteAndListen(const FSRef* ref)
{
    testing::internal::CaptureStdout();
    const OSStatus error = FSDeleteObjects(ref);
    return {error, testing::internal::GetCapturedStdout()};
}

std::string deletingLine(const fs::path& path)
{
    return "\nFSDeleteObjects -- Deleting " + path.string() + "\n";
}

std::string errorLine(const std::string& call, const std::string& function, int error)
{
    return call + " != noErr in File: FSDeleteObjects.cpp, Function: " + function
        + ", Line: N, Error: " + std::to_string(error) + "\n";
}

class FSDeleteObjectsTest : public testing::Test {
protected:
    /// Deletes the tree and expects that nothing is left of it and that only its path was printed.
    void expectDeletes(const fs::path& path)
    {
        const FSRef ref = refTo(path);
        const Deletion deletion = deleteAndListen(&ref);
        EXPECT_EQ(deletion.error, 0);
        EXPECT_EQ(deletion.printed, deletingLine(path));
        EXPECT_FALSE(trees::exists(path));
    }

    ScopedTempDir m_temp;
    const fs::path m_tree = m_temp.makeFolder("tree");
};

} // namespace

TEST_F(FSDeleteObjectsTest, ReturnsParamErrForNullAndPrintsNothing)
{
    const Deletion deletion = deleteAndListen(nullptr);
    EXPECT_EQ(deletion.error, -50);
    EXPECT_EQ(deletion.printed, "");
}

TEST_F(FSDeleteObjectsTest, DeletesAFileAndNothingBesideIt)
{
    const fs::path file = m_temp.write("tree/a", "x");
    m_temp.write("tree/b", "y");
    expectDeletes(file);
    EXPECT_THAT(trees::names(m_tree), testing::ElementsAre("b"));
}

TEST_F(FSDeleteObjectsTest, DeletesAnEmptyFolder)
{
    expectDeletes(m_tree);
}

TEST_F(FSDeleteObjectsTest, DeletesAFolderWithEverythingInItAndPrintsOneLine)
{
    m_temp.write("tree/one", "1");
    m_temp.write("tree/sub/two", "2");
    m_temp.write("tree/sub/deeper/three", "3");
    m_temp.makeFolder("tree/empty");
    m_temp.write("beside", "stays");
    expectDeletes(m_tree);
    EXPECT_EQ(readWholeFile(m_temp.at("beside")), "stays");
}

TEST_F(FSDeleteObjectsTest, DeletesNamesOfAnyBytes)
{
    m_temp.write("tree/\xff\xfe not utf-8/\x80", "x");
    m_temp.write("tree/new\nline %s %n", "x");
    m_temp.write("tree/... ", "x");
    m_temp.write("tree/.hidden", "x");
    expectDeletes(m_tree);
}

TEST_F(FSDeleteObjectsTest, DeletesPipesAndSocketsWithoutOpeningThem)
{
    ASSERT_EQ(::mkfifo((m_tree / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(::mknod((m_tree / "socket").c_str(), S_IFSOCK | 0600, 0), 0);
    expectDeletes(m_tree);
}

TEST_F(FSDeleteObjectsTest, LeavesOtherNamesOfAFileAlone)
{
    const fs::path file = m_temp.write("outside", "kept");
    fs::create_hard_link(file, m_tree / "second name");
    expectDeletes(m_tree);
    EXPECT_EQ(readWholeFile(file), "kept");
}

TEST_F(FSDeleteObjectsTest, DeletesLinksInTheTreeAndNotTheirTargets)
{
    const fs::path file = m_temp.write("outside/file", "kept");
    fs::create_directory_symlink(m_temp.at("outside"), m_tree / "to folder");
    fs::create_symlink(file, m_tree / "to file");
    fs::create_symlink("nowhere", m_tree / "dangling");
    fs::create_symlink("loop", m_tree / "loop");
    fs::create_directory_symlink(".", m_tree / "to itself");
    fs::create_directory_symlink("..", m_tree / "to above");
    expectDeletes(m_tree);
    EXPECT_EQ(readWholeFile(file), "kept");
}

TEST_F(FSDeleteObjectsTest, DeletesALinkAtTheTopAndNotItsTarget)
{
    const fs::path file = m_temp.write("outside/file", "kept");
    const fs::path link = m_temp.at("link");
    fs::create_directory_symlink(m_temp.at("outside"), link);
    expectDeletes(link);
    EXPECT_EQ(readWholeFile(file), "kept");
}

TEST_F(FSDeleteObjectsTest, DeletesALinkNamedWithATrailingSlashAndNotItsTarget)
{
    const fs::path file = m_temp.write("outside/file", "kept");
    const fs::path link = m_temp.at("link");
    fs::create_directory_symlink(m_temp.at("outside"), link);
    const FSRef ref = refTo(link.string() + "/./");
    EXPECT_EQ(deleteAndListen(&ref).error, 0);
    EXPECT_FALSE(trees::exists(link));
    EXPECT_EQ(readWholeFile(file), "kept");
}

TEST_F(FSDeleteObjectsTest, UnlocksLockedFilesAndFolders)
{
    const fs::path file = m_temp.write("tree/sub/locked file", "x");
    m_temp.write("tree/sub/free file", "x");
    const fs::path log = m_temp.write("tree/log", "x");
    if (!trees::setImmutable(file, true))
        GTEST_SKIP() << "immutable files need CAP_LINUX_IMMUTABLE and a file system that knows them";
    ASSERT_TRUE(trees::setAppendOnly(log, true));
    ASSERT_TRUE(trees::setImmutable(m_tree / "sub", true));
    ASSERT_TRUE(trees::setImmutable(m_tree, true));
    expectDeletes(m_tree);
}

TEST_F(FSDeleteObjectsTest, UnlocksALockedFileAtTheTop)
{
    const fs::path file = m_temp.write("file", "x");
    if (!trees::setImmutable(file, true))
        GTEST_SKIP() << "immutable files need CAP_LINUX_IMMUTABLE and a file system that knows them";
    expectDeletes(file);
}

TEST_F(FSDeleteObjectsTest, ReportsALockThatTheUserMayNotClear)
{
    const fs::path file = m_temp.write("tree/file", "x");
    if (!child::canChangeUser())
        GTEST_SKIP() << "needs user id 0 to lock a file and to become an ordinary user";
    ASSERT_EQ(::chown(file.c_str(), child::kNobody, child::kNobody), 0);
    ASSERT_EQ(::chown(m_tree.c_str(), child::kNobody, child::kNobody), 0);
    ASSERT_EQ(::chmod(m_temp.path().c_str(), 0755), 0);
    if (!trees::setImmutable(file, true))
        GTEST_SKIP() << "the file system knows no immutable files";
    const FSRef ref = refTo(m_tree);
    const int matched = child::runAsNobody([&] {
        const Deletion deletion = deleteAndListen(&ref);
        return deletion.error == -54
                && withoutLineNumbers(deletion.printed)
                    == deletingLine(m_tree) + errorLine("theGlobals->result", "FSDeleteFolderLevel", -54)
                        + errorLine("theGlobals.result", "FSDeleteFolder", -54)
                        + errorLine("err", "FSDeleteObjects", -54)
            ? 0
            : 1;
    });
    trees::setImmutable(file, false);
    EXPECT_EQ(matched, 0);
    EXPECT_EQ(readWholeFile(file), "x");
}

TEST_F(FSDeleteObjectsTest, ReportsAnObjectThatIsGone)
{
    const FSRef ref = refTo(m_tree);
    fs::remove(m_tree);
    const Deletion deletion = deleteAndListen(&ref);
    EXPECT_EQ(deletion.error, -43);
    EXPECT_EQ(withoutLineNumbers(deletion.printed),
        deletingLine(m_tree) + errorLine("err", "FSDeleteObjects", -43));
}

TEST_F(FSDeleteObjectsTest, RefusesAnotherFolderThatTookTheObjectsPlace)
{
    const FSRef ref = refTo(m_tree);
    fs::rename(m_tree, m_temp.at("moved"));
    const fs::path file = m_temp.write("tree/file", "kept");
    EXPECT_EQ(deleteAndListen(&ref).error, -1401);
    EXPECT_EQ(readWholeFile(file), "kept");
    EXPECT_TRUE(trees::exists(m_temp.at("moved")));
}

TEST_F(FSDeleteObjectsTest, DeletesALinkThatTookTheObjectsPlace)
{
    const FSRef ref = refTo(m_tree);
    fs::remove(m_tree);
    const fs::path file = m_temp.write("outside/file", "kept");
    fs::create_directory_symlink(m_temp.at("outside"), m_tree);
    EXPECT_EQ(deleteAndListen(&ref).error, 0);
    EXPECT_FALSE(trees::exists(m_tree));
    EXPECT_EQ(readWholeFile(file), "kept");
}

TEST_F(FSDeleteObjectsTest, RefusesAPathThatEndsInTheFolderAbove)
{
    const fs::path file = m_temp.write("tree/file", "kept");
    m_temp.makeFolder("tree/sub");
    const FSRef ref = refTo(m_tree / "sub" / "..");
    EXPECT_EQ(deleteAndListen(&ref).error, -50);
    EXPECT_EQ(readWholeFile(file), "kept");
}

TEST_F(FSDeleteObjectsTest, PrintsTheErrorOfAPathLongerThanItsBufferAndDeletesAllTheSame)
{
    // 4 times 250 bytes and what stands before them is over 1023, but far below what the system takes.
    const std::string last = trees::makeChain(m_tree, 4, std::string(249, 'n'));
    ASSERT_GT(last.size(), 1023u);
    const FSRef ref = refTo(last);
    const Deletion deletion = deleteAndListen(&ref);
    EXPECT_EQ(deletion.error, 0);
    EXPECT_EQ(withoutLineNumbers(deletion.printed), errorLine("err", "FSDeleteObjects", -1410));
    EXPECT_FALSE(trees::exists(last));
}

TEST_F(FSDeleteObjectsTest, PrintsAPathThatJustFitsItsBuffer)
{
    fs::path path = m_tree;
    while (path.string().size() + 251 <= 1023)
        path = path / std::string(200, 'n');
    path = path / std::string(1023 - path.string().size() - 1, 'm');
    ASSERT_EQ(path.string().size(), 1023u);
    fs::create_directories(path);
    expectDeletes(path);
}

TEST_F(FSDeleteObjectsTest, StopsAtTheFirstErrorAndPrintsItForEachLevel)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "an unreadable folder needs user id 0 to become an ordinary user";
    const fs::path file = m_temp.write("tree/sub/closed/file", "kept");
    for (const fs::path& folder : {m_tree, m_tree / "sub", m_tree / "sub/closed"})
        ASSERT_EQ(::chown(folder.c_str(), child::kNobody, child::kNobody), 0);
    ASSERT_EQ(::chmod((m_tree / "sub/closed").c_str(), 0), 0);
    ASSERT_EQ(::chmod(m_temp.path().c_str(), 0755), 0);
    const FSRef ref = refTo(m_tree);
    const int matched = child::runAsNobody([&] {
        const Deletion deletion = deleteAndListen(&ref);
        const std::string level = errorLine("theGlobals->result", "FSDeleteFolderLevel", -5000);
        const std::string expected = deletingLine(m_tree) + level + level + level
            + errorLine("theGlobals.result", "FSDeleteFolder", -5000)
            + errorLine("err", "FSDeleteObjects", -5000);
        return deletion.error == -5000 && withoutLineNumbers(deletion.printed) == expected ? 0 : 1;
    });
    EXPECT_EQ(matched, 0);
    EXPECT_EQ(readWholeFile(file), "kept");
}

TEST_F(FSDeleteObjectsTest, FlushesWhatItPrints)
{
    m_temp.makeFolder("tree/sub");
    const FSRef ref = refTo(m_tree);
    const FSRef gone = refTo(m_tree / "sub");
    const fs::path output = m_temp.at("output");
    // The child ends without flushing, and a file is no terminal: only what was flushed is there.
    const int status = child::run([&] {
        if (!std::freopen(output.c_str(), "w", stdout))
            return 1;
        return FSDeleteObjects(&ref) == 0 && FSDeleteObjects(&gone) == -43 ? 0 : 2;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(withoutLineNumbers(readWholeFile(output)),
        deletingLine(m_tree) + deletingLine(m_tree / "sub") + errorLine("err", "FSDeleteObjects", -43));
}
