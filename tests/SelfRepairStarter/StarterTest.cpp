// The start of the tool's repair as root: what it does, and everything that it refuses.
#include "SelfRepairStarter/ExitStatus.h"
#include "tests/SelfRepairStarter/StarterStage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

class Starter : public testing::Test {
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "needs root: the starter does nothing for others";
    }

    // The starter refuses, says why, and the user's tool is what it was.
    void expectRefusal(const StarterRun& run, const std::string& reason) const
    {
        EXPECT_EQ(run.status, StarterStage::kNotStarted);
        EXPECT_EQ(run.errorText, "SelfRepairStarter: " + reason + "\n");
        EXPECT_FALSE(fs::exists(m_stage.home().at(".WatchSelfUpdate.fresh")));
        m_stage.expectNothingForeign();
    }

    const StarterStage m_stage;
};

constexpr char kDiffers[] = "the tool differs from the installed one";
constexpr char kOpenTemplate[] = "the installed tool is not a file that root alone can change";
constexpr char kTemplateFolder[] = "the installed tool does not lie where root alone can change it";
constexpr char kLinkOnTheWay[] = "the tool's folder cannot be reached without following a link";
constexpr char kWrongKind[] = "the tool is not a regular file of the caller or of root";
constexpr char kNotThroughPkexec[] = "it is to be started through pkexec";

} // namespace

TEST_F(Starter, MakesTheToolRootsAndSetUser)
{
    const timespec times[2] = {{1'200'000'000, 0}, {1'200'000'000, 123'456'000}};
    ASSERT_EQ(utimensat(AT_FDCWD, m_stage.tool().c_str(), times, 0), 0);
    const StarterRun run = m_stage.run();
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errorText, "");
    const struct stat info = m_stage.infoOf(m_stage.tool());
    EXPECT_EQ(info.st_uid, 0u);
    EXPECT_EQ(info.st_gid, 0u);
    EXPECT_EQ(info.st_mode, mode_t(0104555));
    EXPECT_EQ(info.st_mtim.tv_sec, 1'200'000'000);
    EXPECT_EQ(info.st_mtim.tv_nsec, 123'456'000);
    EXPECT_EQ(readWholeFile(m_stage.tool()), readWholeFile(m_stage.templateTool()));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_stage.home().path()), {}), 1);
    // Again, with the tool being root's by now.
    EXPECT_EQ(m_stage.run().status, 0);
    EXPECT_EQ(m_stage.infoOf(m_stage.tool()).st_mode, mode_t(0104555));
}

TEST_F(Starter, LeavesAnEarlierDescriptorOfTheUsersWithoutAnyEffect)
{
    const int writer = open(m_stage.tool().c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(writer, 0);
    ASSERT_EQ(m_stage.run().status, 0);
    EXPECT_EQ(pwrite(writer, "foreign", 7, 0), 7);
    EXPECT_EQ(close(writer), 0);
    EXPECT_EQ(readWholeFile(m_stage.tool()), readWholeFile(m_stage.templateTool()));
}

TEST_F(Starter, RemovesWhatAFormerRunLeftBehind)
{
    m_stage.writeOwned(m_stage.home().at(".WatchSelfUpdate.fresh"), "half");
    EXPECT_EQ(m_stage.run().status, 0);
    EXPECT_FALSE(fs::exists(m_stage.home().at(".WatchSelfUpdate.fresh")));
}

TEST_F(Starter, RefusesAToolThatDiffers)
{
    const std::string genuine = readWholeFile(m_stage.templateTool());
    std::string lastByte = genuine;
    lastByte.back() = static_cast<char>(lastByte.back() + 1);
    for (const std::string& bytes :
        {lastByte, genuine + "x", genuine.substr(0, genuine.size() - 1), ""s, readWholeFile(FOREIGN_TOOL)}) {
        m_stage.writeOwned(m_stage.tool(), bytes);
        expectRefusal(m_stage.run(), kDiffers);
        EXPECT_EQ(readWholeFile(m_stage.tool()), bytes);
        EXPECT_EQ(m_stage.infoOf(m_stage.tool()).st_uid, StarterStage::kUser);
    }
}

TEST_F(Starter, RefusesLinksInThePathAndAtItsEnd)
{
    const fs::path link = m_stage.installed().at("home");
    fs::create_symlink(m_stage.home().path(), link);
    expectRefusal(m_stage.run((link / "WatchSelfUpdate").string(), "1000"), kLinkOnTheWay);
    fs::rename(m_stage.tool(), m_stage.home().at("real"));
    fs::create_symlink("real", m_stage.tool());
    expectRefusal(m_stage.run(), "the tool cannot be opened");
}

TEST_F(Starter, RefusesPathsThatAreNotPlain)
{
    const std::string folder = m_stage.home().path().string();
    for (const std::string& path :
        {"WatchSelfUpdate"s, ""s, "/"s, folder + "/"s, folder + "//WatchSelfUpdate"s,
            folder + "/./WatchSelfUpdate"s, folder + "/../x"s, folder + "/.."s, "/" + std::string(5000, 'a')})
        expectRefusal(m_stage.run(path, "1000"), kLinkOnTheWay);
}

TEST_F(Starter, RefusesWhatIsNoRegularFileWithoutWaiting)
{
    fs::remove(m_stage.tool());
    expectRefusal(m_stage.run(), "the tool cannot be opened");
    ASSERT_EQ(mkfifo(m_stage.tool().c_str(), 0666), 0);
    ASSERT_EQ(chown(m_stage.tool().c_str(), StarterStage::kUser, StarterStage::kUser), 0);
    expectRefusal(m_stage.run(), kWrongKind);
    fs::remove(m_stage.tool());
    fs::create_directory(m_stage.tool());
    ASSERT_EQ(chown(m_stage.tool().c_str(), StarterStage::kUser, StarterStage::kUser), 0);
    expectRefusal(m_stage.run(), kWrongKind);
}

TEST_F(Starter, DoesNotWaitForALeaseOfTheUsers)
{
    const int holder = open(m_stage.tool().c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(holder, 0);
    ASSERT_EQ(fcntl(holder, F_SETSIG, SIGURG), 0); // a signal that is ignored
    ASSERT_EQ(fcntl(holder, F_SETLEASE, F_WRLCK), 0);
    expectRefusal(m_stage.run(), "the tool cannot be opened");
    EXPECT_EQ(close(holder), 0);
}

TEST_F(Starter, RefusesAnotherUsersToolAndFolder)
{
    expectRefusal(
        m_stage.run(m_stage.tool().string(), "1001"), "the tool's folder does not belong to the caller");
    expectRefusal(
        m_stage.run(m_stage.tool().string(), "0"), "the tool's folder does not belong to the caller");
    ASSERT_EQ(chown(m_stage.tool().c_str(), 1001, 1001), 0);
    expectRefusal(m_stage.run(), kWrongKind);
}

TEST_F(Starter, RefusesATemplateThatOthersCanChange)
{
    ASSERT_EQ(chmod(m_stage.templateTool().c_str(), 0775), 0);
    expectRefusal(m_stage.run(), kOpenTemplate);
    ASSERT_EQ(chmod(m_stage.templateTool().c_str(), 0757), 0);
    expectRefusal(m_stage.run(), kOpenTemplate);
    ASSERT_EQ(chmod(m_stage.templateTool().c_str(), 0755), 0);
    ASSERT_EQ(chown(m_stage.templateTool().c_str(), StarterStage::kUser, 0), 0);
    expectRefusal(m_stage.run(), kOpenTemplate);
}

TEST_F(Starter, RefusesATemplateInAFolderThatOthersCanChange)
{
    for (const fs::path& folder : {m_stage.installed().path(), m_stage.installed().at("bundle")}) {
        ASSERT_EQ(chmod(folder.c_str(), 0775), 0);
        expectRefusal(m_stage.run(), kTemplateFolder);
        ASSERT_EQ(chmod(folder.c_str(), 0757), 0);
        expectRefusal(m_stage.run(), kTemplateFolder);
        ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
        ASSERT_EQ(chown(folder.c_str(), StarterStage::kUser, 0), 0);
        expectRefusal(m_stage.run(), kTemplateFolder);
        ASSERT_EQ(chown(folder.c_str(), 0, 0), 0);
    }
    EXPECT_EQ(m_stage.run().status, 0);
}

TEST_F(Starter, RefusesATemplateThatIsMissingALinkOrEmpty)
{
    const fs::path moved = m_stage.installed().at("moved");
    fs::rename(m_stage.templateTool(), moved);
    expectRefusal(m_stage.run(), kOpenTemplate);
    fs::create_symlink(moved, m_stage.templateTool());
    expectRefusal(m_stage.run(), kOpenTemplate);
    fs::remove(m_stage.templateTool());
    ASSERT_EQ(close(open(m_stage.templateTool().c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0755)), 0);
    m_stage.writeOwned(m_stage.tool(), "");
    const StarterRun run = m_stage.run();
    EXPECT_EQ(run.status, StarterStage::kNotStarted);
    EXPECT_EQ(run.errorText, "SelfRepairStarter: the installed tool is of no size that a tool has\n");
}

TEST_F(Starter, TakesItsCallerFromPkexecAlone)
{
    const std::string bundle = m_stage.templateTool().string();
    const std::vector<std::string> words = {bundle, m_stage.tool().string(), "--self-repair"};
    for (const char* caller : {"", "-1", "4294967295", "4294967296", "1000x", " 1000", "+1000", "0x3e8"})
        expectRefusal(m_stage.runWith(words, caller), kNotThroughPkexec);
    expectRefusal(m_stage.runWith(words, nullptr), kNotThroughPkexec);
}

TEST_F(Starter, KnowsOneCommandLine)
{
    const std::string bundle = m_stage.templateTool().string();
    const std::string tool = m_stage.tool().string();
    const std::vector<std::string> lines[]
        = {{bundle}, {bundle, tool}, {bundle, tool, "--other"}, {bundle, tool, "--self-repair", "more"}};
    for (const auto& words : lines)
        expectRefusal(m_stage.runWith(words, "1000"), "usage: SelfRepairStarter TOOL --self-repair");
}

TEST_F(Starter, GivesTheToolAnEmptyEnvironmentAndItsOneArgument)
{
    // Another installed tool: one that tells what it was given.
    fs::copy_file("/usr/bin/env", m_stage.templateTool(), fs::copy_options::overwrite_existing);
    m_stage.writeOwned(m_stage.tool(), readWholeFile("/usr/bin/env"));
    const StarterRun run = m_stage.run();
    EXPECT_EQ(run.status, 125); // its own status for an option that it does not know
    EXPECT_EQ(run.errorText.substr(0, 56), "WatchSelfUpdate: unrecognized option '--self-repair'\nTry");
}

TEST(StarterWithoutRights, DoesNothing)
{
    const StarterStage stage;
    // As root: as the user 1000; otherwise as whoever this is.
    const uid_t user = geteuid() == 0 ? StarterStage::kUser : 0;
    const StarterRun run = stage.runWith(
        {stage.templateTool().string(), stage.tool().string(), "--self-repair"}, "1000", user);
    EXPECT_EQ(run.status, 112);
    EXPECT_EQ(run.errorText, "SelfRepairStarter: it is to be started through pkexec\n");
    EXPECT_EQ(kNotStartedStatus, 112);
}
