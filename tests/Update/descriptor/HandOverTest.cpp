// The hand-over to the helper tool, and what is left of it when something fails.
#include "Platform/Support/ErrorNumbers.h"
#include "Update/descriptor/SelfUpdateHandOver.h"
#include "tests/Update/descriptor/ScriptedPlatform.h"
#include "tests/support/FakeHome.h"
#include "tests/support/ScopedFileSizeLimit.h"

#include <fstream>
#include <iterator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

class SelfUpdateHandOver : public testing::Test {
protected:
    SelfUpdateHandOver()
    {
        const std::string path = m_folder.write("work/run me", "x").string();
        EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &m_started, nullptr), 0);
        m_platform.ownBundle = m_folder.makeFolder("Host \xC3\xA9.app");
        m_platform.placedTool = m_folder.write("tools/WatchSelfUpdate", "tool");
    }
    fs::path marker() const { return m_folder.at("tools/20071023TwoParams.txt"); }
    std::string expectedMarker() const
    {
        return m_started.path + std::string(1, '\0') + m_platform.ownBundle + std::string(1, '\0');
    }

    const ScopedTempDir m_folder;
    ScriptedPlatform m_platform;
    FSRef m_started;
};

} // namespace

TEST_F(SelfUpdateHandOver, WritesTheMarkerStartsTheToolAndEndsTheEventLoop)
{
    m_platform.launch = [this](const FSRef&) {
        EXPECT_EQ(readWholeFile(marker()), expectedMarker()); // it is there before the tool is
        return noErr;
    };
    handOverSelfUpdate(m_started);
    EXPECT_THAT(m_platform.calls, ElementsAre("tool", "launch WatchSelfUpdate 4A00", "quit"));
    EXPECT_EQ(readWholeFile(marker()), expectedMarker());
}

TEST_F(SelfUpdateHandOver, ReplacesAFormerMarker)
{
    (void)m_folder.write("tools/20071023TwoParams.txt", std::string(4096, 'x'));
    handOverSelfUpdate(m_started);
    EXPECT_EQ(readWholeFile(marker()), expectedMarker());
}

TEST_F(SelfUpdateHandOver, LeavesAFormerMarkerWholeForAToolThatReadsIt)
{
    handOverSelfUpdate(m_started);
    const std::string former = expectedMarker();
    std::ifstream reader(marker(), std::ios::binary); // a tool that is about to read
    m_started.path += " again";
    handOverSelfUpdate(m_started);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), former);
    EXPECT_EQ(readWholeFile(marker()), expectedMarker());
}

TEST_F(SelfUpdateHandOver, WithAMarkerThatFindsNoRoomDoesNotStartTheToolAndLeavesNothing)
{
    {
        const ScopedFileSizeLimit fullDisk(10);
        handOverSelfUpdate(m_started);
    }
    EXPECT_THAT(m_platform.calls, ElementsAre("tool", "quit"));
    EXPECT_FALSE(fs::exists(marker()));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder.at("tools")), {}), 1) << "the tool alone";
}

TEST_F(SelfUpdateHandOver, EndsTheEventLoopAlsoWhenTheToolCannotBeStarted)
{
    m_platform.launch = [](const FSRef&) { return ioErr; };
    handOverSelfUpdate(m_started);
    EXPECT_THAT(m_platform.calls, ElementsAre("tool", "launch WatchSelfUpdate 4A00", "quit"));
}

TEST_F(SelfUpdateHandOver, WithoutTheOwnBundleOnlyEndsTheEventLoop)
{
    m_platform.ownBundle.clear();
    handOverSelfUpdate(m_started);
    EXPECT_THAT(m_platform.calls, ElementsAre("quit"));
    EXPECT_FALSE(fs::exists(marker()));
}

TEST_F(SelfUpdateHandOver, WithAPathThatDoesNotFitOnlyEndsTheEventLoop)
{
    m_started.path = "/" + std::string(1023, 'x'); // 1024 bytes, and the zero byte
    handOverSelfUpdate(m_started);
    EXPECT_THAT(m_platform.calls, ElementsAre("quit"));
}

TEST_F(SelfUpdateHandOver, TakesAPathOf1023Bytes)
{
    m_started.path = "/" + std::string(1022, 'x');
    handOverSelfUpdate(m_started);
    EXPECT_EQ(readWholeFile(marker()), expectedMarker());
}

TEST_F(SelfUpdateHandOver, WithoutTheToolWritesNoMarker)
{
    m_platform.placedTool.clear();
    handOverSelfUpdate(m_started);
    EXPECT_THAT(m_platform.calls, ElementsAre("tool", "quit"));
    m_platform.calls.clear();
    m_platform.placedTool = m_folder.at("tools/vanished");
    handOverSelfUpdate(m_started);
    EXPECT_THAT(m_platform.calls, ElementsAre("tool", "quit"));
    EXPECT_FALSE(fs::exists(marker()));
}

TEST_F(SelfUpdateHandOver, WithoutAMarkerDoesNotStartTheTool)
{
    (void)m_folder.makeFolder("tools/20071023TwoParams.txt");
    handOverSelfUpdate(m_started);
    EXPECT_THAT(m_platform.calls, ElementsAre("tool", "quit"));
}

TEST_F(SelfUpdateHandOver, ReplacesALinkInTheMarkersPlaceAndNotWhatItLeadsTo)
{
    const fs::path victim = m_folder.write("victim", "precious");
    fs::create_symlink(victim, marker());
    handOverSelfUpdate(m_started);
    EXPECT_EQ(readWholeFile(victim), "precious");
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(marker())));
    EXPECT_EQ(readWholeFile(marker()), expectedMarker());
}

TEST_F(SelfUpdateHandOver, WritesThroughNoLink)
{
    const fs::path victim = m_folder.write("victim", "precious");
    fs::create_symlink(victim, m_folder.at("tools/20071023TwoParams.new"));
    handOverSelfUpdate(m_started);
    EXPECT_THAT(m_platform.calls, ElementsAre("tool", "quit"));
    EXPECT_EQ(readWholeFile(victim), "precious");
    EXPECT_FALSE(fs::exists(marker()));
}
