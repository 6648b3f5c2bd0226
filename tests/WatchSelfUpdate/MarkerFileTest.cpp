// Which marker files the hand-over takes.
#include "WatchSelfUpdate/MarkerText.h"
#include "tests/WatchSelfUpdate/HandOverStage.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

// What a test has made in the marker's place is the user's whom the tool is run as.
void giveMarkerToUser(const HandOverStage& stage)
{
    ASSERT_TRUE(!stage.ownsRoot() || lchown(stage.marker().c_str(), stage.user(), stage.user()) == 0);
}

void expectRefusedAndKept(const HandOverStage& stage, const char* message)
{
    const ToolRun run = stage.run();
    EXPECT_EQ(run.status, 65);
    EXPECT_EQ(run.errorText, "WatchSelfUpdate: "s + message + "\n");
    EXPECT_TRUE(fs::exists(fs::symlink_status(stage.marker())));
    EXPECT_EQ(stage.reports(0), "");
}

constexpr char kWrongKind[] = "the marker is not a regular file of the calling user with one link";
constexpr char kCannotOpen[] = "the marker cannot be opened";

} // namespace

TEST(ParseMarker, TakesTwoPathsWithTheirZeroBytes)
{
    Marker marker;
    ASSERT_TRUE(parseMarker("/a b\0/\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\0"s, marker));
    EXPECT_EQ(marker.runFile, "/a b");
    EXPECT_EQ(marker.hostBundle, "/\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(ParseMarker, TakesPathsOf1023BytesAndNotOfMore)
{
    const std::string longest = "/" + std::string(1022, 'a');
    Marker marker;
    EXPECT_TRUE(parseMarker(longest + '\0' + longest + '\0', marker));
    EXPECT_EQ(marker.runFile, longest);
    EXPECT_FALSE(parseMarker(longest + "a\0/b\0"s, marker));
    EXPECT_FALSE(parseMarker("/b\0"s + longest + "a\0"s, marker));
    EXPECT_EQ(kMaxMarkerBytes, 2048u);
}

TEST(ParseMarker, TakesNothingElse)
{
    const std::string cases[] = {""s, "\0"s, "\0\0"s, "/a"s, "/a\0"s, "/a\0/b"s, "/a\0\0"s, "\0/b\0"s,
        "/a\0/b\0\0"s, "/a\0/b\0/c\0"s, "/a\0/b\0 "s, "a\0/b\0"s, "/a\0b\0"s, "/\x80\0/b\0"s, "/\xC3\0/b\0"s,
        "/\xC0\x80\0/b\0"s, "/\xE0\x9F\xBF\0/b\0"s, "/\xED\xA0\x80\0/b\0"s, "/\xF0\x8F\x80\x80\0/b\0"s,
        "/\xF4\x90\x80\x80\0/b\0"s, "/\xF5\x80\x80\x80\0/b\0"s, "/\xE2\x82\0/b\0"s, "/\xE2\x82g\0/b\0"s};
    for (const std::string& bytes : cases) {
        Marker marker {"former run file", "former bundle"};
        EXPECT_FALSE(parseMarker(bytes, marker)) << testing::PrintToString(bytes);
        EXPECT_EQ(marker.runFile, "former run file");
        EXPECT_EQ(marker.hostBundle, "former bundle");
    }
}

TEST(MarkerFile, IsMissing)
{
    const HandOverStage stage;
    const ToolRun run = stage.run();
    EXPECT_EQ(run.status, 66);
    EXPECT_EQ(run.errorText, "WatchSelfUpdate: there is no marker beside the tool\n");
}

TEST(MarkerFile, HasItsNameAndLiesBesideTheToolsFile)
{
    const HandOverStage stage;
    stage.writeOwned(stage.tool().folder().at("20071024TwoParams.txt"), stage.markerBytes());
    const fs::path elsewhere = stage.folder().at("tool");
    fs::create_symlink(stage.tool().path(), elsewhere);
    stage.writeOwned(stage.folder().at("20071023TwoParams.txt"), stage.markerBytes());
    EXPECT_EQ(stage.tool().runAs(elsewhere.string(), {}, stage.user()).status, 66);
    stage.writeOwned(stage.marker(), stage.markerBytes());
    EXPECT_EQ(stage.tool().runAs(elsewhere.string(), {}, stage.user()).status, 0);
    EXPECT_NE(stage.reports(), "");
}

TEST(MarkerFile, IsRefusedAsASymbolicLink)
{
    const HandOverStage stage;
    stage.writeOwned(stage.tool().folder().at("real"), stage.markerBytes());
    fs::create_symlink("real", stage.marker());
    giveMarkerToUser(stage);
    expectRefusedAndKept(stage, kCannotOpen);
}

TEST(MarkerFile, IsRefusedWithASecondLink)
{
    const HandOverStage stage;
    stage.writeOwned(stage.marker(), stage.markerBytes());
    fs::create_hard_link(stage.marker(), stage.tool().folder().at("second"));
    expectRefusedAndKept(stage, kWrongKind);
}

TEST(MarkerFile, IsRefusedAsAPipeWithoutWaiting)
{
    const HandOverStage stage;
    ASSERT_EQ(mkfifo(stage.marker().c_str(), 0666), 0);
    giveMarkerToUser(stage);
    expectRefusedAndKept(stage, kWrongKind);
}

TEST(MarkerFile, IsRefusedAsAFolder)
{
    const HandOverStage stage;
    ASSERT_EQ(mkdir(stage.marker().c_str(), 0777), 0);
    giveMarkerToUser(stage);
    expectRefusedAndKept(stage, kWrongKind);
}

TEST(MarkerFile, IsRefusedWhenItIsAnotherUsers)
{
    const HandOverStage stage;
    if (!stage.ownsRoot())
        GTEST_SKIP() << "needs root to give a file away";
    stage.writeOwned(stage.marker(), stage.markerBytes());
    ASSERT_EQ(chown(stage.marker().c_str(), 1001, 1001), 0);
    expectRefusedAndKept(stage, kWrongKind);
    ASSERT_EQ(chown(stage.marker().c_str(), 0, 0), 0);
    expectRefusedAndKept(stage, kWrongKind);
}

TEST(MarkerFile, IsRefusedInAnotherUsersFolder)
{
    const HandOverStage stage;
    if (!stage.ownsRoot())
        GTEST_SKIP() << "needs root to give a file away";
    stage.writeOwned(stage.marker(), stage.markerBytes());
    ASSERT_EQ(chown(stage.tool().folder().path().c_str(), 1001, 1001), 0);
    expectRefusedAndKept(stage, "the tool's folder does not belong to the calling user");
    // Root is a caller like any other: what lies in a user's folder is not its own.
    ASSERT_EQ(chown(stage.marker().c_str(), 0, 0), 0);
    EXPECT_EQ(stage.tool().run({}).status, 65);
    EXPECT_EQ(stage.reports(0), "");
}

TEST(MarkerFile, IsRefusedAsASecondLinkToAFileOfRoots)
{
    const HandOverStage stage;
    if (!stage.ownsRoot())
        GTEST_SKIP() << "needs root to have a file of root's";
    const fs::path secret = stage.tool().folder().write("secret", stage.markerBytes());
    fs::permissions(secret, fs::perms(0644));
    fs::create_hard_link(secret, stage.marker());
    expectRefusedAndKept(stage, kWrongKind);
    EXPECT_EQ(readWholeFile(secret), stage.markerBytes());
}

TEST(MarkerFile, TakesALineBreakForAPartOfAPath)
{
    const HandOverStage stage;
    stage.writeOwned(stage.marker(), stage.runFile() + '\0' + stage.bundle().string() + "\n\0"s);
    const ToolRun run = stage.run();
    EXPECT_EQ(run.status, 65);
    EXPECT_EQ(run.errorText, "WatchSelfUpdate: the marker names no bundle with a host in it\n");
    const fs::path bundle = stage.folder().at("Host\n.app");
    stage.writeHost(bundle, "odd host", "");
    stage.writeOwned(stage.marker(), stage.runFile() + '\0' + bundle.string() + '\0');
    EXPECT_EQ(stage.run().status, 0);
    EXPECT_EQ(stage.reports().substr(0, 9), "odd host ");
}

TEST(MarkerFile, IsRefusedAndRemovedWhenItDoesNotHoldTwoPaths)
{
    const HandOverStage stage;
    const std::string good = stage.markerBytes();
    const std::string tooLong = "/" + std::string(1023, 'a') + '\0' + stage.bundle().string() + '\0';
    for (const std::string& bytes : {std::string(), good.substr(0, good.size() - 1), good + "/third\0"s,
             good + "x"s, tooLong, good + std::string(1 << 20, '\0')}) {
        stage.writeOwned(stage.marker(), bytes);
        const ToolRun run = stage.run();
        EXPECT_EQ(run.status, 65) << bytes.size();
        EXPECT_EQ(run.errorText, "WatchSelfUpdate: the marker does not hold two paths\n");
        EXPECT_FALSE(fs::exists(stage.marker()));
    }
    EXPECT_EQ(stage.reports(0), "");
}
