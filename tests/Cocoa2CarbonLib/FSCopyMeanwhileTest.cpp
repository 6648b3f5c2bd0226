// Copies of what somebody changes while it is copied: the filter procedure does, at a moment that is known.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "tests/Cocoa2CarbonLib/CopyFixture.h"
#include "tests/support/FileTrees.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

/// What happens when the filter procedure is asked about the item of a name, and what it answers then.
struct Change {
    std::u16string name;
    std::function<void()> body;
    int answer = kFSCopyThisItem;
};

int changeMeanwhile(UInt32, const FSCatalogInfo*, const FSSpec*, const HFSUniStr255* name, void* yourData)
{
    const Change& change = *static_cast<const Change*>(yourData);
    if (std::u16string(name->unicode, name->length) != change.name)
        return kFSCopyThisItem;
    change.body();
    return change.answer;
}

class FSCopyMeanwhileTest : public CopyFixture {
protected:
    FSCopyMeanwhileTest()
    {
        m_call.source = m_tree;
        m_call.destDir = m_dest;
        m_call.wantName = true;
        m_call.filterProc = changeMeanwhile;
        m_call.yourData = &m_change;
    }

    OSStatus copyWhile(const Change& change, std::string* printed = nullptr)
    {
        m_change = change;
        return m_call.run(printed);
    }

    CopyCall m_call;
    Change m_change;
};

} // namespace

TEST_F(FSCopyMeanwhileTest, LeavesOutWhatVanishesOnceItWasLookedAt)
{
    m_temp.write("tree/kept", "x");
    const std::function<void()> makers[]
        = {[this] { m_temp.write("tree/gone", "x"); }, [this] { m_temp.write("tree/gone/file", "x"); },
            [this] { fs::create_symlink("nowhere", m_tree / "gone"); }};
    for (const auto& make : makers) {
        const ScopedTempDir dest;
        m_call.destDir = dest.path();
        make();
        EXPECT_EQ(copyWhile({u"gone", [this] { fs::remove_all(m_tree / "gone"); }}), 0);
        EXPECT_THAT(trees::names(dest.at("tree")), testing::ElementsAre("kept"));
    }
}

TEST_F(FSCopyMeanwhileTest, ReportsThatTheSourceItselfVanished)
{
    EXPECT_EQ(copyWhile({u"tree", [this] { fs::remove_all(m_tree); }}), -43);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyMeanwhileTest, ReportsThatTheDestinationVanished)
{
    m_temp.write("tree/file", "x");
    EXPECT_EQ(copyWhile({u"file", [this] { fs::remove_all(m_dest); }}), -43);
    EXPECT_FALSE(trees::exists(m_dest));
}

TEST_F(FSCopyMeanwhileTest, RefusesItemsWhoseKindChanges)
{
    const fs::path file = m_temp.write("tree/file", "x");
    const fs::path folder = m_temp.makeFolder("tree/folder");
    fs::create_symlink("nowhere", m_tree / "link");
    m_temp.write("outside/secret", "x");
    const auto putLink = [this](const fs::path& place) {
        fs::remove_all(place);
        fs::create_symlink(m_temp.at("outside"), place);
    };
    EXPECT_EQ(copyWhile({u"link",
                  [&] {
                      fs::remove(m_tree / "link");
                      m_temp.write("tree/link", "x");
                  }}),
        -1401);
    EXPECT_EQ(copyWhile({u"folder",
                  [&] {
                      fs::remove_all(folder);
                      m_temp.write("tree/folder", "x");
                  }}),
        -1401);
    EXPECT_EQ(copyWhile({u"file", [&] { putLink(file); }}), -1302);
    EXPECT_EQ(copyWhile({u"folder", [&] { putLink(folder); }}), -1302);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyMeanwhileTest, LeavesNothingInADestinationThatIsMoved)
{
    m_temp.write("tree/sub/file", "new");
    m_temp.write("dest/tree/old", "old");
    m_call.dupeAction = kDupeActionReplace;
    const fs::path moved = m_temp.at("moved");
    EXPECT_EQ(copyWhile({u"file", [&] { fs::rename(m_dest, moved); }, kFSStopCopying}), -128);
    EXPECT_THAT(trees::names(moved), testing::ElementsAre("tree"));
    EXPECT_THAT(trees::names(moved / "tree"), testing::ElementsAre("old")) << "it has its name back";
}

TEST_F(FSCopyMeanwhileTest, DeletesNothingInAFolderThatTakesTheDestinationsPlace)
{
    m_temp.write("tree/sub/file", "new");
    const fs::path moved = m_temp.at("moved");
    const auto exchange = [&] {
        fs::rename(m_dest, moved);
        m_temp.write("dest/tree/sub/file", "somebody's");
    };
    EXPECT_EQ(copyWhile({u"file", exchange, kFSStopCopying}), -128);
    EXPECT_TRUE(fs::is_empty(moved));
    EXPECT_EQ(readWholeFile(m_dest / "tree/sub/file"), "somebody's");
}

TEST_F(FSCopyMeanwhileTest, TellsAndReplacesWhereTheDestinationWasMovedTo)
{
    m_temp.write("tree/file", "new");
    m_temp.write("dest/tree/file", "old");
    m_call.dupeAction = kDupeActionReplace;
    FSRef made;
    m_call.newObjectRef = &made;
    const fs::path moved = m_temp.at("moved");
    EXPECT_EQ(copyWhile({u"file", [&] { fs::rename(m_dest, moved); }}), 0);
    EXPECT_EQ(made.path, (moved / "tree").string());
    EXPECT_THAT(trees::names(moved), testing::ElementsAre("tree"));
    EXPECT_EQ(readWholeFile(moved / "tree/file"), "new");
}

TEST_F(FSCopyMeanwhileTest, RefusesADestinationThatIsMovedIntoTheSource)
{
    m_temp.write("tree/sub/file", "x");
    const fs::path inside = m_tree / "sub/dest";
    EXPECT_EQ(copyWhile({u"sub", [&] { fs::rename(m_dest, inside); }}), -122);
    EXPECT_TRUE(fs::is_empty(inside));
    EXPECT_EQ(readWholeFile(m_tree / "sub/file"), "x");
}

TEST_F(FSCopyMeanwhileTest, KeepsTheReplacedObjectAsideWhenSomebodyTakesItsName)
{
    m_temp.write("tree/file", "new");
    m_temp.write("dest/tree/file", "old");
    m_call.dupeAction = kDupeActionReplace;
    std::string printed;
    const auto takeName = [this] {
        fs::rename(m_dest / "tree", m_temp.at("partial"));
        m_temp.write("dest/tree", "somebody's");
    };
    EXPECT_EQ(copyWhile({u"file", takeName, kFSStopCopying}, &printed), -128);
    EXPECT_EQ(readWholeFile(m_dest / "tree"), "somebody's");
    EXPECT_EQ(readWholeFile(m_dest / "tree.DeleteMe/file"), "old");
    EXPECT_THAT(withoutLineNumbers(printed),
        testing::EndsWith(
            "err != noErr in File: FSDeleteObjects.cpp, Function: FSDeleteObjects, Line: N, Error: -1401\n"
            "err != noErr in File: FSCopyObject.cpp, Function: cleanUp, Line: N, Error: -48\n"
            "err != noErr in File: FSCopyObject.cpp, Function: FSCopyObject, Line: N, Error: -128\n"));
}
