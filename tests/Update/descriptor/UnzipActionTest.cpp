// The unzip action, with real archives.
#include "Update/descriptor/UnzipAction.h"

#include "tests/Update/descriptor/ParsedTree.h"
#include "tests/support/TempDir.h"
#include "tests/support/ZipFile.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

void locate(CUnzip& unzip, const fs::path& archive, const std::string& attribute = {})
{
    const ParsedTree tree("<action><location" + attribute + ">" + archive.string() + "</location></action>");
    const CConstants constants;
    ASSERT_EQ(unzip.Parse(tree.root(), &constants), 1);
}

void add(CUnzip& unzip, const fs::path& archive)
{
    FSRef ref;
    ASSERT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(archive.c_str()), &ref, nullptr), 0);
    unzip.AddFSRef(&ref);
}

} // namespace

TEST(CUnzipDoAction, ExpandsTheArchiveAtItsLocation)
{
    const ScopedTempDir folder;
    CUnzip unzip;
    locate(unzip, folder.write("a.zip", zipOf("inside.txt", "bytes")));
    EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 1);
    EXPECT_EQ(readWholeFile(folder.at("inside.txt")), "bytes");
}

TEST(CUnzipDoAction, ExpandsEachArchiveIntoItsOwnFolder)
{
    const ScopedTempDir folder;
    CUnzip unzip;
    add(unzip, folder.write("one/a.zip", zipOf("first.txt", "1")));
    add(unzip, folder.write("two/b.zip", zipOf("second.txt", "2")));
    locate(unzip, folder.write("three/c.zip", zipOf("third.txt", "3")));
    EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 1);
    EXPECT_EQ(readWholeFile(folder.at("one/first.txt")), "1");
    EXPECT_EQ(readWholeFile(folder.at("two/second.txt")), "2");
    EXPECT_EQ(readWholeFile(folder.at("three/third.txt")), "3");
}

TEST(CUnzipDoAction, NeverEmptiesItsBatch)
{
    const ScopedTempDir folder;
    CUnzip unzip;
    locate(unzip, folder.write("a.zip", zipOf("inside.txt", "bytes")));
    EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 1);
    EXPECT_EQ(unzip.archives().size(), 1u);
    (void)folder.write("inside.txt", "changed");
    EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 0); // twice the one archive now: two entries are not enough
    EXPECT_EQ(unzip.archives().size(), 2u);
    EXPECT_EQ(readWholeFile(folder.at("inside.txt")), "bytes");
}

TEST(CUnzipDoAction, FailsForAMissingArchive)
{
    const ScopedTempDir folder;
    CUnzip unzip;
    locate(unzip, folder.at("missing.zip"));
    EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 0);
    EXPECT_TRUE(unzip.archives().empty());
    EXPECT_EQ(CUnzip().DoAction(nullptr, nullptr), 0);
}

TEST(CUnzipDoAction, FailsWhenALocationCarriesAnAttribute)
{
    const ScopedTempDir folder;
    CUnzip unzip;
    locate(unzip, folder.write("a.zip", zipOf("inside.txt", "bytes")), " a='b'");
    EXPECT_EQ(unzip.location(), std::u16string_view());
    EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 0);
    EXPECT_FALSE(fs::exists(folder.at("inside.txt")));
}

TEST(CUnzipDoAction, FailsForAnArchiveThatExpandsToNothing)
{
    const ScopedTempDir folder;
    CUnzip unzip;
    locate(unzip, folder.write("a.zip", "no archive at all"));
    EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 0);
}

TEST(CUnzipDoAction, NeedsFourEntriesForTwoArchivesInOneFolder)
{
    const ScopedTempDir folder;
    CUnzip unzip;
    add(unzip, folder.write("a.zip", zipOf("same.txt", "1")));
    add(unzip, folder.write("b.zip", zipOf("same.txt", "2")));
    EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 0); // three entries
    const ScopedTempDir other;
    CUnzip enough;
    add(enough, other.write("a.zip", zipOf("one.txt", "1")));
    add(enough, other.write("b.zip", zipOf("two.txt", "2")));
    EXPECT_EQ(enough.DoAction(nullptr, nullptr), 1);
}
