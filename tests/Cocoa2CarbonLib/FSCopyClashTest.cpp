// What happens when an object of the copy's name exists.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "tests/Cocoa2CarbonLib/CopyCall.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FileTrees.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

int stopBelowTheTop(UInt32 level, const FSCatalogInfo*, const FSSpec*, const HFSUniStr255*, void*)
{
    return level == 0 ? kFSCopyThisItem : kFSStopCopying;
}

class FSCopyClashTest : public testing::Test {
protected:
    OSStatus copy(const fs::path& source, int dupeAction, std::string* printed = nullptr)
    {
        CopyCall call;
        call.source = source;
        call.destDir = m_dest;
        call.dupeAction = dupeAction;
        return call.run(printed);
    }

    ScopedTempDir m_temp;
    const fs::path m_dest = m_temp.makeFolder("dest");
    const fs::path m_file = m_temp.write("source/name.txt", "new");
    const fs::path m_tree = m_temp.makeFolder("source/tree");
};

constexpr const char* kErrorLine
    = "err != noErr in File: FSCopyObject.cpp, Function: FSCopyObject, Line: N, Error: ";

} // namespace

TEST_F(FSCopyClashTest, IsAnErrorInTheStandardWay)
{
    m_temp.write("dest/name.txt", "old");
    for (const int action : {0, 3, -1}) {
        std::string printed;
        EXPECT_EQ(copy(m_file, action, &printed), -48);
        EXPECT_THAT(printed, testing::StartsWith("FSCopyObject -- err: -48, "));
        EXPECT_THAT(
            withoutLineNumbers(printed), testing::EndsWith("\n\n" + std::string(kErrorLine) + "-48\n"));
    }
    EXPECT_EQ(readWholeFile(m_dest / "name.txt"), "old");
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("name.txt"));
}

TEST_F(FSCopyClashTest, IsSeenAlsoWithALinkThatLeadsNowhere)
{
    fs::create_symlink(m_temp.at("nowhere"), m_dest / "name.txt");
    EXPECT_EQ(copy(m_file, 0), -48);
    EXPECT_FALSE(trees::exists(m_temp.at("nowhere")));
}

TEST_F(FSCopyClashTest, IsAnErrorForAFileCopiedToItsOwnPlace)
{
    CopyCall call;
    call.source = m_file;
    call.destDir = m_temp.at("source");
    EXPECT_EQ(call.run(), -48);
    EXPECT_EQ(readWholeFile(m_file), "new");
}

TEST_F(FSCopyClashTest, GivesTheCopyAUniqueName)
{
    m_temp.write("dest/name.txt", "old");
    m_temp.write("dest/name_1.txt", "older");
    CopyCall call;
    FSRef made;
    call.source = m_file;
    call.destDir = m_dest;
    call.dupeAction = 2;
    call.newObjectRef = &made;
    EXPECT_EQ(call.run(), 0);
    EXPECT_EQ(readWholeFile(m_dest / "name_2.txt"), "new");
    EXPECT_EQ(readWholeFile(m_dest / "name.txt"), "old");
    EXPECT_EQ(readWholeFile(m_dest / "name_1.txt"), "older");
    EXPECT_EQ(made.path, (m_dest / "name_2.txt").string());
}

TEST_F(FSCopyClashTest, GivesUniqueNamesToNamesOfAnyKind)
{
    const std::string longest(255, 'n');
    for (const auto& [name, unique] : {std::pair<std::string, std::string>(".hidden", ".hidden_1"),
             {".hidden.txt", ".hidden_1.txt"}, {"new\nline.\xff", "new\nline_1.\xff"}}) {
        m_temp.write("dest/" + name, "old");
        EXPECT_EQ(copy(m_temp.write("source/" + name, "new"), 2), 0);
        EXPECT_EQ(readWholeFile(m_dest / unique), "new");
        EXPECT_EQ(readWholeFile(m_dest / name), "old");
    }
    EXPECT_EQ(copy(m_temp.write("source/" + longest, "new"), 2), 0);
    EXPECT_EQ(copy(m_temp.at("source/" + longest), 2), -1410) << "no digit fits";
    EXPECT_EQ(readWholeFile(m_dest / longest), "new");
}

TEST_F(FSCopyClashTest, GivesAFolderAUniqueNameBesideItself)
{
    m_temp.write("source/tree/file", "x");
    CopyCall call;
    call.source = m_tree;
    call.destDir = m_temp.at("source");
    call.dupeAction = 2;
    EXPECT_EQ(call.run(), 0);
    EXPECT_EQ(readWholeFile(m_temp.at("source/tree_1/file")), "x");
}

TEST_F(FSCopyClashTest, KeepsTheNameWhereNothingHasIt)
{
    for (const int action : {1, 2}) {
        const ScopedTempDir other;
        CopyCall call;
        call.source = m_file;
        call.destDir = other.path();
        call.dupeAction = action;
        EXPECT_EQ(call.run(), 0);
        EXPECT_THAT(trees::names(other.path()), testing::ElementsAre("name.txt"));
    }
}

TEST_F(FSCopyClashTest, HasTheClashsErrorWhenAllUniqueNamesAreTaken)
{
    m_temp.write("dest/name.txt", "old");
    for (int i = 1; i <= 9; ++i)
        m_temp.write("dest/name_" + std::to_string(i) + ".txt", "old");
    EXPECT_EQ(copy(m_file, 2), -48);
    EXPECT_EQ(trees::names(m_dest).size(), 10u);
}

TEST_F(FSCopyClashTest, ReplacesAFile)
{
    m_temp.write("dest/name.txt", "old and longer");
    std::string printed;
    EXPECT_EQ(copy(m_file, 1, &printed), 0);
    EXPECT_EQ(readWholeFile(m_dest / "name.txt"), "new");
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("name.txt"));
    EXPECT_THAT(printed,
        testing::EndsWith("supported: yes\n\n\nFSDeleteObjects -- Deleting "
            + (m_dest / "name.txt.DeleteMe").string() + "\n"));
}

TEST_F(FSCopyClashTest, ReplacesAFolderWhole)
{
    m_temp.write("source/tree/file", "new");
    m_temp.write("dest/tree/other/file", "old");
    EXPECT_EQ(copy(m_tree, 1), 0);
    EXPECT_EQ(describeTree(m_dest / "tree"), describeTree(m_tree));
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("tree"));
}

TEST_F(FSCopyClashTest, ReplacesObjectsOfOtherKinds)
{
    m_temp.write("dest/name.txt/sub/file", "old");
    EXPECT_EQ(copy(m_file, 1), 0);
    EXPECT_EQ(readWholeFile(m_dest / "name.txt"), "new");
    const fs::path outside = m_temp.write("outside/file", "kept");
    fs::create_directory_symlink(m_temp.at("outside"), m_dest / "tree");
    EXPECT_EQ(copy(m_tree, 1), 0);
    EXPECT_TRUE(fs::is_directory(fs::symlink_status(m_dest / "tree")));
    EXPECT_EQ(readWholeFile(outside), "kept");
}

TEST_F(FSCopyClashTest, ReplacesAFolderThatHoldsReadOnlyFoldersAsAnOrdinaryUser)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "needs user id 0 to become an ordinary user";
    m_temp.write("dest/tree/closed/file", "old");
    for (const auto& entry : fs::recursive_directory_iterator(m_dest))
        ASSERT_EQ(::chown(entry.path().c_str(), child::kNobody, child::kNobody), 0);
    ASSERT_EQ(::chown(m_dest.c_str(), child::kNobody, child::kNobody), 0);
    ASSERT_EQ(::chmod((m_dest / "tree/closed").c_str(), 0), 0);
    ASSERT_EQ(::chmod(m_temp.path().c_str(), 0755), 0);
    EXPECT_EQ(child::runAsNobody([&] { return copy(m_tree, 1) == 0 ? 0 : 1; }), 0);
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("tree"));
    EXPECT_TRUE(fs::is_empty(m_dest / "tree"));
}

TEST_F(FSCopyClashTest, PutsTheReplacedObjectBackWhenTheCopyFails)
{
    m_temp.write("source/tree/file", "new");
    m_temp.write("dest/tree/old", "old");
    const auto before = describeTree(m_dest);
    const auto inode = statusOf(m_dest / "tree").st_ino;
    CopyCall call;
    call.source = m_tree;
    call.destDir = m_dest;
    call.dupeAction = 1;
    call.filterProc = stopBelowTheTop;
    std::string printed;
    EXPECT_EQ(call.run(&printed), -128);
    EXPECT_EQ(statusOf(m_dest / "tree").st_ino, inode);
    auto after = describeTree(m_dest);
    after[""] = before.at(""); // the folder's own time has changed
    EXPECT_EQ(after, before);
    EXPECT_THAT(withoutLineNumbers(printed),
        testing::EndsWith("supported: yes\n\n"
                          "FSCopyObject -- Cleaning up, this might take a moment.  err : -128\n"
                          "\nFSDeleteObjects -- Deleting "
            + (m_dest / "tree").string() + "\n" + kErrorLine + "-128\n"));
}

TEST_F(FSCopyClashTest, PutsTheReplacedObjectBackWhenNothingOfTheCopyWasMadeYet)
{
    m_temp.write("dest/name.txt", "old");
    CopyCall call;
    call.source = m_file;
    call.destDir = m_dest;
    call.dupeAction = 1;
    call.filterProc = [](UInt32, const FSCatalogInfo*, const FSSpec*, const HFSUniStr255*, void*) -> int {
        return kFSStopCopying;
    };
    std::string printed;
    EXPECT_EQ(call.run(&printed), -128);
    EXPECT_EQ(readWholeFile(m_dest / "name.txt"), "old");
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("name.txt"));
    EXPECT_THAT(withoutLineNumbers(printed),
        testing::EndsWith("\n\nFSCopyObject -- Cleaning up, this might take a moment.  err : -128\n"
            + std::string(kErrorLine) + "-128\n"));
}

TEST_F(FSCopyClashTest, ReplacesNothingWhenTheNameForTheReplacedObjectIsTaken)
{
    m_temp.write("dest/name.txt", "old");
    m_temp.write("dest/name.txt.DeleteMe", "somebody's");
    EXPECT_EQ(copy(m_file, 1), -48);
    EXPECT_EQ(readWholeFile(m_dest / "name.txt"), "old");
    EXPECT_EQ(readWholeFile(m_dest / "name.txt.DeleteMe"), "somebody's");
}

TEST_F(FSCopyClashTest, ReplacesNothingWhenTheNameForTheReplacedObjectIsTooLong)
{
    // ".DeleteMe" has nine bytes, and a name at most 255.
    const std::string name(247, 'n');
    m_temp.write("dest/" + name, "old");
    EXPECT_EQ(copy(m_temp.write("source/" + name, "new"), 1), -1410);
    EXPECT_EQ(readWholeFile(m_dest / name), "old");
    const std::string shorter(246, 'n');
    m_temp.write("dest/" + shorter, "old");
    EXPECT_EQ(copy(m_temp.write("source/" + shorter, "new"), 1), 0);
    EXPECT_EQ(readWholeFile(m_dest / shorter), "new");
}

TEST_F(FSCopyClashTest, ReplacesNeitherTheSourceNorWhatHoldsIt)
{
    CopyCall file;
    file.source = m_file;
    file.destDir = m_temp.at("source");
    file.dupeAction = 1;
    EXPECT_EQ(file.run(), -47);
    EXPECT_EQ(readWholeFile(m_file), "new");
    CopyCall inner;
    inner.source = m_temp.makeFolder("dest/tree/sub/tree");
    inner.destDir = m_dest;
    inner.dupeAction = 1;
    EXPECT_EQ(inner.run(), -47);
    EXPECT_TRUE(trees::exists(inner.source));
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("tree"));
}

TEST_F(FSCopyClashTest, ReplacesAnotherNameOfTheSource)
{
    fs::create_hard_link(m_file, m_dest / "name.txt");
    EXPECT_EQ(copy(m_file, 1), 0);
    EXPECT_NE(statusOf(m_dest / "name.txt").st_ino, statusOf(m_file).st_ino);
    EXPECT_EQ(readWholeFile(m_dest / "name.txt"), "new");
    EXPECT_EQ(readWholeFile(m_file), "new");
}

TEST_F(FSCopyClashTest, KeepsTheCopyWhenTheReplacedObjectCannotBeDeleted)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "needs user id 0 to become an ordinary user";
    // In somebody else's folder an ordinary user may delete nothing.
    m_temp.write("dest/tree/foreign/file", "old");
    ASSERT_EQ(::chmod((m_dest / "tree/foreign").c_str(), 0755), 0);
    ASSERT_EQ(::chown((m_dest / "tree").c_str(), child::kNobody, child::kNobody), 0);
    ASSERT_EQ(::chown(m_dest.c_str(), child::kNobody, child::kNobody), 0);
    ASSERT_EQ(::chmod(m_temp.path().c_str(), 0755), 0);
    m_temp.write("source/tree/file", "new");
    EXPECT_EQ(child::runAsNobody([&] { return copy(m_tree, 1) == -5000 ? 0 : 1; }), 0);
    EXPECT_EQ(readWholeFile(m_dest / "tree/file"), "new");
    EXPECT_EQ(readWholeFile(m_dest / "tree.DeleteMe/foreign/file"), "old");
}
