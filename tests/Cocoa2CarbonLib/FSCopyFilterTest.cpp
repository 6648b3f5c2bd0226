// How deep a copy goes, and what its filter procedure is asked and decides.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "tests/Cocoa2CarbonLib/CopyCall.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FileTrees.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// What a filter procedure was asked, and what it is to answer.
struct Asked {
    std::set<std::string> items; ///< "LEVEL PATH NAME FLAGS", "-" for what was not given
    std::u16string skipped;
    std::u16string stopping;
};

int ask(UInt32 level, const FSCatalogInfo* info, const FSSpec* spec, const HFSUniStr255* name, void* yourData)
{
    Asked& asked = *static_cast<Asked*>(yourData);
    const std::u16string text = name ? std::u16string(name->unicode, name->length) : u"-";
    asked.items.insert(std::to_string(level) + ' ' + (spec ? spec->path : "-") + ' '
        + std::string(text.begin(), text.end()) + ' ' + (info ? std::to_string(info->nodeFlags) : "-"));
    if (!asked.stopping.empty() && text == asked.stopping)
        return kFSStopCopying;
    return !asked.skipped.empty() && text == asked.skipped ? kFSSkipItem : kFSCopyThisItem;
}

class FSCopyFilterTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_temp.write("tree/file", "1");
        m_temp.write("tree/sub/file2", "2");
        m_temp.write("tree/sub/deeper/file3", "3");
        m_call.source = m_temp.at("tree");
        m_call.destDir = m_dest;
        m_call.yourData = &m_asked;
    }

    bool isCopied(const char* name) const { return trees::exists(m_dest / "tree" / name); }

    ScopedTempDir m_temp;
    const fs::path m_dest = m_temp.makeFolder("dest");
    Asked m_asked;
    CopyCall m_call;
};

} // namespace

TEST_F(FSCopyFilterTest, CopiesTheChildrenWithOneLevel)
{
    m_call.maxLevels = 1;
    EXPECT_EQ(m_call.run(), 0);
    EXPECT_TRUE(isCopied("file"));
    EXPECT_TRUE(isCopied("sub"));
    EXPECT_TRUE(fs::is_empty(m_dest / "tree/sub"));
}

TEST_F(FSCopyFilterTest, CopiesTheirChildrenWithTwoLevels)
{
    m_call.maxLevels = 2;
    EXPECT_EQ(m_call.run(), 0);
    EXPECT_TRUE(isCopied("sub/file2"));
    EXPECT_TRUE(isCopied("sub/deeper"));
    EXPECT_TRUE(fs::is_empty(m_dest / "tree/sub/deeper"));
}

TEST_F(FSCopyFilterTest, CopiesEverythingWithEnoughLevelsAndWithZero)
{
    for (const UInt32 levels : {3u, 0u, 0xffffffffu}) {
        const ScopedTempDir other;
        m_call.maxLevels = levels;
        m_call.destDir = other.path();
        EXPECT_EQ(m_call.run(), 0);
        EXPECT_EQ(readWholeFile(other.at("tree/sub/deeper/file3")), "3") << levels;
    }
}

TEST_F(FSCopyFilterTest, IsAskedForEachItemOnce)
{
    m_call.filterProc = ask;
    m_call.whichInfo = 2;
    m_call.wantFSSpec = true;
    m_call.wantName = true;
    EXPECT_EQ(m_call.run(), 0);
    const std::string top = m_temp.at("tree").string();
    // 16 is the flag of a folder.
    EXPECT_THAT(m_asked.items,
        testing::UnorderedElementsAre("0 " + top + " tree 16", "1 " + top + "/file file 0",
            "1 " + top + "/sub sub 16", "2 " + top + "/sub/file2 file2 0",
            "2 " + top + "/sub/deeper deeper 16", "3 " + top + "/sub/deeper/file3 file3 0"));
}

TEST_F(FSCopyFilterTest, IsGivenPathsWithOneSlashInTheRootFolder)
{
    m_call.filterProc = ask;
    m_call.wantFSSpec = true;
    m_call.source = "/tree";
    m_call.destDir = "/dest";
    constexpr int kCannotChangeRoot = 3;
    const int status = child::run([this] {
        if (::chroot(m_temp.path().c_str()) != 0 || ::chdir("/") != 0 || !fs::create_directory("/tmp"))
            return kCannotChangeRoot;
        EXPECT_EQ(m_call.run(), 0);
        EXPECT_THAT(m_asked.items,
            testing::UnorderedElementsAre("0 /tree - -", "1 /tree/file - -", "1 /tree/sub - -",
                "2 /tree/sub/file2 - -", "2 /tree/sub/deeper - -", "3 /tree/sub/deeper/file3 - -"));
        return HasFailure() ? 1 : 0;
    });
    if (status == kCannotChangeRoot)
        GTEST_SKIP() << "changing the root folder needs user id 0";
    EXPECT_EQ(status, 0);
}

TEST_F(FSCopyFilterTest, IsGivenOnlyWhatWasAskedFor)
{
    m_call.filterProc = ask;
    EXPECT_EQ(m_call.run(), 0);
    EXPECT_THAT(m_asked.items, testing::UnorderedElementsAre("0 - - -", "1 - - -", "2 - - -", "3 - - -"));
}

TEST_F(FSCopyFilterTest, IsGivenTheItemsReference)
{
    m_call.source = m_temp.at("tree/file");
    m_call.wantFSSpec = true;
    FSSpec seen;
    m_call.yourData = &seen;
    m_call.filterProc
        = [](UInt32, const FSCatalogInfo*, const FSSpec* spec, const HFSUniStr255*, void* data) -> int {
        *static_cast<FSSpec*>(data) = *spec;
        return kFSCopyThisItem;
    };
    EXPECT_EQ(m_call.run(), 0);
    const FSRef expected = refTo(m_call.source);
    EXPECT_EQ(FSCompareFSRefs(&seen, &expected), 0);
}

TEST_F(FSCopyFilterTest, LeavesOutWhatItSkips)
{
    m_call.filterProc = ask;
    m_call.wantName = true;
    m_asked.skipped = u"sub";
    EXPECT_EQ(m_call.run(), 0);
    EXPECT_TRUE(isCopied("file"));
    EXPECT_FALSE(isCopied("sub"));
    EXPECT_THAT(m_asked.items, testing::UnorderedElementsAre("0 - tree -", "1 - file -", "1 - sub -"));
}

TEST_F(FSCopyFilterTest, CanSkipWhatCannotBeCopied)
{
    ASSERT_EQ(::mkfifo((m_temp.at("tree/sub/pipe")).c_str(), 0600), 0);
    m_call.filterProc = ask;
    m_call.wantName = true;
    m_asked.skipped = u"pipe";
    EXPECT_EQ(m_call.run(), 0);
    EXPECT_TRUE(isCopied("sub/deeper/file3"));
    EXPECT_FALSE(isCopied("sub/pipe"));
}

TEST_F(FSCopyFilterTest, StopsTheCopyOnEachLevelAndLeavesNothing)
{
    m_call.filterProc = ask;
    m_call.wantName = true;
    for (const char16_t* const item : {u"tree", u"sub", u"deeper", u"file3"}) {
        m_asked.stopping = item;
        EXPECT_EQ(m_call.run(), -128);
        EXPECT_TRUE(fs::is_empty(m_dest));
    }
}

TEST_F(FSCopyFilterTest, StopsTheCopyBySkippingItsSourceOrAnUnknownAnswer)
{
    m_call.filterProc = ask;
    m_call.wantName = true;
    m_asked.skipped = u"tree";
    EXPECT_EQ(m_call.run(), -128);
    m_call.filterProc
        = [](UInt32, const FSCatalogInfo*, const FSSpec*, const HFSUniStr255*, void*) -> int { return 7; };
    EXPECT_EQ(m_call.run(), -128);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyFilterTest, ReplacesBytesThatAreNoTextInNames)
{
    m_temp.write("other/a\xff", "x");
    m_call.source = m_temp.at("other/a\xff");
    m_call.wantName = true;
    std::u16string seen;
    m_call.yourData = &seen;
    m_call.filterProc
        = [](UInt32, const FSCatalogInfo*, const FSSpec*, const HFSUniStr255* name, void* data) -> int {
        static_cast<std::u16string*>(data)->assign(name->unicode, name->length);
        return kFSCopyThisItem;
    };
    EXPECT_EQ(m_call.run(), 0);
    EXPECT_EQ(seen, u"a\ufffd");
    EXPECT_TRUE(trees::exists(m_dest / "a\xff"));
}
