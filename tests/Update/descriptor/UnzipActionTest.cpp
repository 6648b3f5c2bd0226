// The unzip action, with real archives.
#include "Update/descriptor/UnzipAction.h"

#include "tests/Update/descriptor/ParsedTree.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"
#include "tests/support/ZipFile.h"

#include <cstdlib>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

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

TEST(CUnzipDoAction, FailsForAnArchiveWithoutMembers)
{
    const ScopedTempDir folder;
    CUnzip unzip;
    locate(unzip, folder.write("a.zip", "PK\5\6" + std::string(18, '\0')));
    EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 0);
}

TEST(CUnzipDoAction, FailsForAPipeInTheArchivesPlace)
{
    const ScopedTempDir folder;
    ASSERT_EQ(mkfifo(folder.at("a.zip").c_str(), 0600), 0);
    CUnzip unzip;
    locate(unzip, folder.at("a.zip"));
    EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 0);
}

TEST(CUnzipDoAction, TakesEveryNameForItselfAlone)
{
    for (const char* name : {"-o.zip", "*.zip", "?.zip", "[ab].zip", "a\\b.zip", "a\nb.zip", " .zip"}) {
        const ScopedTempDir folder;
        (void)folder.write("b.zip", zipOf("other.txt", "not asked for"));
        CUnzip unzip;
        add(unzip, folder.write(name, zipOf("inside.txt", "bytes")));
        EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 1) << name;
        EXPECT_EQ(readWholeFile(folder.at("inside.txt")), "bytes") << name;
        EXPECT_FALSE(fs::exists(folder.at("other.txt"))) << name;
    }
}

TEST(CUnzipDoAction, KeepsMembersThatLeadOutInTheArchivesFolder)
{
    const ScopedTempDir folder;
    const std::string absolute = folder.at("absolute.txt").string();
    CUnzip unzip;
    add(unzip,
        folder.write("work/deep/a.zip",
            zipOf({{.name = "../../up.txt", .bytes = "1"}, {.name = absolute, .bytes = "2"}})));
    EXPECT_EQ(unzip.DoAction(nullptr, nullptr), 1);
    EXPECT_FALSE(fs::exists(folder.at("up.txt")));
    EXPECT_FALSE(fs::exists(absolute));
    EXPECT_EQ(readWholeFile(folder.at("work/deep/up.txt")), "1");
    EXPECT_EQ(readWholeFile(folder.at("work/deep" + absolute)), "2");
}

TEST(CUnzipDoAction, WritesThroughNoLinkOfTheSameArchive)
{
    const ScopedTempDir folder;
    const std::string outside = folder.makeFolder("outside").string();
    CUnzip unzip;
    add(unzip,
        folder.write("work/a.zip",
            zipOf({{.name = "link", .linkTarget = outside}, {.name = "link/file", .bytes = "x"}})));
    (void)unzip.DoAction(nullptr, nullptr); // the link itself is expanded, which is all that is counted
    EXPECT_TRUE(fs::is_empty(outside));
}

TEST(CUnzipDoAction, AsksNobodyForThePasswordOfAnEncryptedArchive)
{
    const ScopedTempDir folder;
    const fs::path archive = folder.write("a.zip", encryptedZipOf("inside.txt", "secret"));
    // A terminal of its own on which unzip could ask, and nobody to answer.
    const int result = child::run([&archive] {
        constexpr unsigned kLimitSeconds = 20;
        (void)alarm(kLimitSeconds); // there was none before
        const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
        if (setsid() < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0
            || open(ptsname(terminal), O_RDWR) < 0)
            return 2;
        CUnzip unzip;
        locate(unzip, archive);
        return unzip.DoAction(nullptr, nullptr);
    });
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(fs::exists(folder.at("inside.txt")));
}

TEST(CUnzipDoAction, FailsWhereUnzipIsNotInstalled)
{
    constexpr int kMayNotMount = 100;
    const ScopedTempDir folder;
    const fs::path archive = folder.write("a.zip", zipOf("inside.txt", "bytes"));
    const int result = child::run([&archive] {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
            || mount("none", "/usr/bin", "tmpfs", 0, nullptr) != 0)
            return kMayNotMount;
        CUnzip unzip;
        locate(unzip, archive);
        return unzip.DoAction(nullptr, nullptr);
    });
    if (result == kMayNotMount)
        GTEST_SKIP() << "this user may not mount";
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(fs::exists(archive));
}
