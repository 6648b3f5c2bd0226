// How the check of expanded archives reads a folder.
#include "Platform/Carbon/FSIterator.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Update/descriptor/ExpandedFolders.h"
#include "tests/support/TempDir.h"

#include <algorithm>
#include <dlfcn.h>
#include <map>
#include <optional>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

struct ReadLog {
    std::vector<UInt32> requests;
    std::vector<UInt32> lastCounts;        ///< what came together with the end
    std::optional<std::size_t> failingEnd; ///< which end, counted from 0, is an error instead
};

ReadLog* g_log = nullptr;

class FolderReading : public testing::Test {
protected:
    FolderReading() { g_log = &m_log; }
    ~FolderReading() override { g_log = nullptr; }

    tagFSRefCount folderWith(const std::string& name, int entries, SInt32 archives) const
    {
        const std::string path = m_folder.makeFolder(name).string();
        for (int i = 0; i < entries; ++i)
            (void)m_folder.write(name + "/" + std::to_string(i), "");
        tagFSRefCount folder {{}, archives};
        EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &folder.folder, nullptr), 0);
        return folder;
    }

    const ScopedTempDir m_folder;
    ReadLog m_log;
};

} // namespace

// Stands before the platform's own, which does the work.
OSStatus FSGetCatalogInfoBulk(FSIterator iterator, UInt32 maximum, UInt32* actual, FSCatalogInfo* infos)
{
    using Function = OSStatus (*)(FSIterator, UInt32, UInt32*, FSCatalogInfo*);
    static const auto next = reinterpret_cast<Function>(
        dlsym(RTLD_NEXT, "_Z20FSGetCatalogInfoBulkP16FSIteratorRecordjPjP13FSCatalogInfo"));
    const OSStatus error = next(iterator, maximum, actual, infos);
    if (!g_log)
        return error;
    g_log->requests.push_back(maximum);
    if (error != errFSNoMoreItems)
        return error;
    g_log->lastCounts.push_back(*actual);
    return g_log->failingEnd == g_log->lastCounts.size() - 1 ? ioErr : error;
}

TEST_F(FolderReading, AsksForFiveEntriesAtATime)
{
    EXPECT_TRUE(holdExpandedItems({folderWith("a", 12, 1)}));
    EXPECT_THAT(m_log.requests, testing::ElementsAre(5u, 5u, 5u));
}

TEST_F(FolderReading, CountsTheEntriesThatComeWithTheEnd)
{
    EXPECT_TRUE(holdExpandedItems({folderWith("a", 8, 4)})); // five, then three together with the end
    EXPECT_THAT(m_log.lastCounts, testing::ElementsAre(3u));
    EXPECT_FALSE(holdExpandedItems({folderWith("b", 7, 4)}));
}

TEST_F(FolderReading, CarriesTheVerdictOverAFolderThatCannotBeReadToItsEnd)
{
    const tagFSRefCount good = folderWith("good", 2, 1);
    const tagFSRefCount poor = folderWith("poor", 1, 1);
    m_log.failingEnd = 0;
    EXPECT_FALSE(holdExpandedItems({good})); // the first folder: nothing to carry over but false
    m_log.lastCounts.clear();
    m_log.failingEnd = 1;
    EXPECT_TRUE(holdExpandedItems({good, poor}));
    m_log.lastCounts.clear();
    EXPECT_FALSE(holdExpandedItems({good, good, poor})); // the third has a verdict of its own again
}
