// The helper tool's command line and the repair of its own file.
#include "Platform/CoreFoundation/CFRef.h"
#include "Update/helper/MoreSecurity.h"
#include "tests/WatchSelfUpdate/ToolProcess.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr timespec kToolTime {1'200'000'000, 123'456'789};

void setModificationTime(const fs::path& file)
{
    const timespec times[2] = {kToolTime, kToolTime};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
}

bool isOneLine(const std::string& text)
{
    return !text.empty() && text.back() == '\n' && std::count(text.begin(), text.end(), '\n') == 1;
}

CFRef<CFURLRef> urlOf(const std::string& path)
{
    return adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), false));
}

} // namespace

TEST(WatchSelfUpdate, PrintsItsUsageForAnyOtherCommandLine)
{
    const ToolCopy tool;
    const std::vector<std::vector<std::string>> cases = {{""}, {"--help"}, {"--self-repai"},
        {"--self-repair2"}, {"--self-repair", "more"}, {"x", "--self-repair"}};
    for (const auto& arguments : cases) {
        const ToolRun run = tool.run(arguments);
        EXPECT_EQ(run.status, 64);
        EXPECT_EQ(run.errorText, "usage: WatchSelfUpdate [--self-repair]\n");
    }
    EXPECT_EQ(tool.info().st_mode, mode_t(S_IFREG | 0755));
}

TEST(WatchSelfUpdate, MakesItsFileRootOwnedAndSetUser)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to change the owner";
    const ToolCopy tool;
    ASSERT_EQ(tool.info().st_uid, ToolCopy::kOrdinaryUser);
    const ToolRun run = tool.run({"--self-repair"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errorText, "");
    EXPECT_EQ(tool.info().st_uid, 0u);
    EXPECT_EQ(tool.info().st_gid, 0u);
    EXPECT_EQ(tool.info().st_mode, mode_t(0104555));
    EXPECT_EQ(readWholeFile(tool.path()), readWholeFile(WATCH_SELF_UPDATE_TOOL));
}

TEST(WatchSelfUpdate, KeepsItsModificationTime)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to change the owner";
    const ToolCopy tool;
    setModificationTime(tool.path());
    ASSERT_EQ(tool.run({"--self-repair"}).status, 0);
    EXPECT_EQ(tool.info().st_mtim.tv_sec, kToolTime.tv_sec);
    EXPECT_EQ(tool.info().st_mtim.tv_nsec, kToolTime.tv_nsec);
}

TEST(WatchSelfUpdate, RepairsItselfAgainWithoutChange)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to change the owner";
    const ToolCopy tool;
    ASSERT_EQ(tool.run({"--self-repair"}).status, 0);
    ASSERT_EQ(tool.run({"--self-repair"}).status, 0);
    EXPECT_EQ(tool.info().st_mode, mode_t(0104555));
}

TEST(WatchSelfUpdate, LooksOKToThePlugInAfterCopyAndRepair)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to change the owner";
    const ToolCopy original;
    const ToolCopy place;
    fs::remove(place.path());
    const CFRef templateTool = urlOf(original.path().string());
    const CFRef installedTool = urlOf(place.path().string());
    ASSERT_EQ(MoreSecCheckAndFixHelperTool(templateTool, installedTool), 0);
    unsigned char looksOK = true;
    ASSERT_EQ(MoreSecCheckHelperTool(templateTool, installedTool, &looksOK), 0);
    EXPECT_FALSE(looksOK);
    ASSERT_EQ(place.run({"--self-repair"}).status, 0);
    ASSERT_EQ(MoreSecCheckHelperTool(templateTool, installedTool, &looksOK), 0);
    EXPECT_TRUE(looksOK);
}

TEST(WatchSelfUpdate, RefusesAFileWithASecondLink)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root: another user is refused before";
    const ToolCopy tool;
    fs::create_hard_link(tool.path(), tool.folder().at("second"));
    const ToolRun run = tool.run({"--self-repair"});
    EXPECT_EQ(run.status, 65);
    EXPECT_TRUE(isOneLine(run.errorText)) << run.errorText;
    EXPECT_EQ(tool.info().st_uid, ToolCopy::kOrdinaryUser);
    EXPECT_EQ(tool.info().st_mode, mode_t(S_IFREG | 0755));
}

TEST(WatchSelfUpdate, RefusesAFileThatWasRemoved)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root: another user is refused before";
    const ToolCopy tool;
    const int fd = open(tool.path().c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    fs::remove(tool.path());
    const ToolRun run
        = tool.runAs("/proc/self/fd/" + std::to_string(fd), {"--self-repair"}, ToolCopy::kCurrentUser);
    EXPECT_EQ(run.status, 65);
    struct stat info { };
    ASSERT_EQ(fstat(fd, &info), 0);
    EXPECT_EQ(info.st_mode, mode_t(S_IFREG | 0755));
    EXPECT_EQ(close(fd), 0);
}

TEST(WatchSelfUpdate, RepairsTheFileThatRunsAndNotItsName)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to change the owner";
    const ToolCopy tool;
    const fs::path link = tool.folder().at("link");
    fs::create_symlink(tool.path(), link);
    ASSERT_EQ(lchown(link.c_str(), ToolCopy::kOrdinaryUser, ToolCopy::kOrdinaryUser), 0);
    ASSERT_EQ(tool.runAs(link.string(), {"--self-repair"}, ToolCopy::kCurrentUser).status, 0);
    EXPECT_EQ(tool.info().st_mode, mode_t(0104555));
    struct stat info { };
    ASSERT_EQ(lstat(link.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, ToolCopy::kOrdinaryUser);
}

TEST(WatchSelfUpdate, RefusesAnOrdinaryUser)
{
    const ToolCopy tool;
    const uid_t user = geteuid() == 0 ? ToolCopy::kOrdinaryUser : ToolCopy::kCurrentUser;
    const ToolRun run = tool.run({"--self-repair"}, user);
    EXPECT_EQ(run.status, 77);
    EXPECT_TRUE(isOneLine(run.errorText)) << run.errorText;
    EXPECT_EQ(tool.info().st_mode, mode_t(S_IFREG | 0755));
}

TEST(WatchSelfUpdate, GivesAnOrdinaryUserNothingMoreOnceItIsSetUser)
{
    const ToolCopy tool;
    struct statvfs volume { };
    ASSERT_EQ(statvfs(tool.path().c_str(), &volume), 0);
    if (geteuid() != 0 || (volume.f_flag & ST_NOSUID) != 0)
        GTEST_SKIP() << "needs root, and a temporary folder where set-user-id has an effect";
    ASSERT_EQ(tool.run({"--self-repair"}).status, 0);
    setModificationTime(tool.path());
    EXPECT_EQ(tool.run({"--self-repair"}, ToolCopy::kOrdinaryUser).status, 0);
    EXPECT_EQ(tool.info().st_mode, mode_t(0104555));
    EXPECT_EQ(tool.info().st_uid, 0u);
    EXPECT_EQ(tool.info().st_mtim.tv_sec, kToolTime.tv_sec);
    EXPECT_EQ(tool.run({"--other"}, ToolCopy::kOrdinaryUser).status, 64);
}
