// The order of an unzip batch and its waits.
#include "Platform/Support/ErrorNumbers.h"
#include "Update/descriptor/UnzipAction.h"
#include "tests/Update/descriptor/ParsedTree.h"
#include "tests/Update/descriptor/ScriptedPlatform.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace {

/// An archive that seems to have been expanded, in a folder of its own.
FSRef archiveIn(const ScopedTempDir& folder, const std::string& name)
{
    (void)folder.write(name + ".d/expanded", "x");
    const std::string path = folder.write(name + ".d/" + name, "zip").string();
    FSRef ref;
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr), 0);
    return ref;
}

} // namespace

TEST(CUnzipSteps, OpenEachArchiveInOrderAsADocumentOfItsOwnApplication)
{
    ScriptedPlatform platform;
    const ScopedTempDir folder;
    CUnzip unzip;
    for (const char* name : {"b.zip", "a.zip"}) {
        const FSRef archive = archiveIn(folder, name);
        unzip.AddFSRef(&archive);
    }
    EXPECT_TRUE(unzip.DoVecFSRefAction());
    EXPECT_THAT(platform.deeds(),
        ElementsAre("open b.zip 80900", "event 0", "open a.zip 80900", "event 0")); // ended at once
}

TEST(CUnzipSteps, WaitFortyTicksForEachAndThenForTheLastWithoutLimit)
{
    ScriptedPlatform platform;
    const ScopedTempDir folder;
    CUnzip unzip;
    for (const char* name : {"a.zip", "b.zip"}) {
        const FSRef archive = archiveIn(folder, name);
        unzip.AddFSRef(&archive);
    }
    // Forty questions in each of the two first waits; the last wait asks once more to see the end.
    platform.runningAnswers = 40 + 40 + 5000;
    EXPECT_TRUE(unzip.DoVecFSRefAction());
    EXPECT_EQ(platform.count("event 0"), 40 + 40 + 5000);
    EXPECT_EQ(platform.count("event 0.001"), 5000);
    const std::vector<std::string> deeds = platform.deeds();
    EXPECT_EQ(deeds[0], "open a.zip 80900");
    EXPECT_EQ(deeds[1 + 40], "open b.zip 80900");
    EXPECT_EQ(deeds[1 + 40 + 1 + 40], "event 0.001");
    EXPECT_EQ(deeds.size(), 2u + 40 + 40 + 5000);
}

TEST(CUnzipSteps, CountTicksAcrossTheEndOfTheirRange)
{
    ScriptedPlatform platform;
    const ScopedTempDir folder;
    CUnzip unzip;
    const FSRef archive = archiveIn(folder, "a.zip");
    unzip.AddFSRef(&archive);
    platform.tick = 0xFFFFFFF0;
    platform.runningAnswers = 40;
    EXPECT_TRUE(unzip.DoVecFSRefAction());
    EXPECT_EQ(platform.count("event 0"), 40);
}

TEST(CUnzipSteps, GoOnAsSoonAsTheApplicationHasEnded)
{
    ScriptedPlatform platform;
    const ScopedTempDir folder;
    CUnzip unzip;
    const FSRef archive = archiveIn(folder, "a.zip");
    unzip.AddFSRef(&archive);
    platform.runningAnswers = 3;
    EXPECT_TRUE(unzip.DoVecFSRefAction());
    EXPECT_EQ(platform.count("event 0"), 4); // before the first question, and after each of the three
    EXPECT_EQ(platform.count("event 0.001"), 0);
}

TEST(CUnzipSteps, LookAtTheFileOnlyWhenNoProcessIsKnown)
{
    ScriptedPlatform platform;
    const ScopedTempDir folder;
    CUnzip unzip;
    const FSRef archive = archiveIn(folder, "a.zip");
    unzip.AddFSRef(&archive);
    platform.fileRunningAnswers = 1;
    EXPECT_TRUE(unzip.DoVecFSRefAction());
    EXPECT_EQ(platform.count("file running?"), 0); // another user's program is not waited for
    platform.stateAfterwards = kNothingLaunched;
    platform.calls.clear();
    EXPECT_TRUE(unzip.DoVecFSRefAction());
    EXPECT_EQ(platform.count("file running?"), 3); // yes, and no in both waits
}

TEST(CUnzipSteps, EndAtOnceWhenAnArchiveCannotBeOpened)
{
    ScriptedPlatform platform;
    const ScopedTempDir folder;
    CUnzip unzip;
    for (const char* name : {"a.zip", "b.zip", "c.zip"}) {
        const FSRef archive = archiveIn(folder, name);
        unzip.AddFSRef(&archive);
    }
    platform.open = [](const FSRef& document) { return document.path.ends_with("b.zip") ? fnfErr : noErr; };
    EXPECT_FALSE(unzip.DoVecFSRefAction());
    EXPECT_THAT(platform.deeds(), ElementsAre("open a.zip 80900", "event 0", "open b.zip 80900"));
}

TEST(CUnzipSteps, LaunchNothingForAnEmptyBatch)
{
    ScriptedPlatform platform;
    EXPECT_FALSE(CUnzip().DoVecFSRefAction());
    const CConstants constants;
    const ParsedTree tree("<action><location>/no/such/folder/a.zip</location></action>");
    CUnzip missing;
    ASSERT_EQ(missing.Parse(tree.root(), &constants), 1);
    EXPECT_EQ(missing.DoAction(nullptr, nullptr), 0);
    EXPECT_TRUE(platform.calls.empty());
}
