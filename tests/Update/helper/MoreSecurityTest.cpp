// Checking and repairing the copy of the helper tool.
#include "Platform/CoreFoundation/CFRef.h"
#include "Update/helper/MoreSecurity.h"
#include "tests/Update/helper/SystemCallFaults.h"
#include "tests/support/TempDir.h"

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr timespec kTemplateTime {1'200'000'000, 987'654'321};

CFRef<CFURLRef> urlOf(const std::string& path)
{
    return adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), false));
}

CFRef<CFURLRef> webURL()
{
    const CFRef address = adoptCF(CFStringCreateWithView(u"http://host/tool"));
    return adoptCF(CFURLCreateWithString(kCFAllocatorDefault, address, nullptr));
}

struct stat statOf(const fs::path& file)
{
    struct stat info { };
    EXPECT_EQ(lstat(file.c_str(), &info), 0) << file;
    return info;
}

void setModificationTime(const fs::path& file, timespec time)
{
    const timespec times[2] = {time, time};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

// A template tool, and an installed copy of it as the privileged repair leaves it.
struct Tools {
    ScopedTempDir folder;
    fs::path original = folder.write("bundle/tool", "the tool's bytes");
    fs::path installed = folder.at("cache/tool");

    Tools()
    {
        (void)folder.makeFolder("cache");
        fs::permissions(original, fs::perms(0755));
        setModificationTime(original, kTemplateTime);
    }

    void install() const
    {
        fs::copy_file(original, installed);
        ASSERT_EQ(chown(installed.c_str(), 0, 0), 0);
        ASSERT_EQ(chmod(installed.c_str(), 04555), 0);
        setModificationTime(installed, kTemplateTime);
    }

    bool looksOK() const
    {
        unsigned char verdict = 77;
        EXPECT_EQ(MoreSecCheckHelperTool(urlOf(original), urlOf(installed), &verdict), 0);
        EXPECT_NE(verdict, 77);
        return verdict;
    }

    int fix() const { return MoreSecCheckAndFixHelperTool(urlOf(original), urlOf(installed)); }

    // The installed file is a fresh copy of the template, without the privileged repair.
    void expectFreshCopy() const
    {
        EXPECT_EQ(readWholeFile(installed), "the tool's bytes");
        const struct stat info = statOf(installed);
        EXPECT_EQ(info.st_mode, mode_t(S_IFREG | 0755));
        EXPECT_EQ(info.st_mtim.tv_sec, kTemplateTime.tv_sec);
    }
};

} // namespace

TEST(MoreSecCheckHelperTool, AcceptsARootOwnedSetUserCopyOfTheTemplate)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to make the tool root-owned";
    const Tools tools;
    tools.install();
    EXPECT_TRUE(tools.looksOK());
}

TEST(MoreSecCheckHelperTool, ComparesModificationTimesInWholeSeconds)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to make the tool root-owned";
    const Tools tools;
    tools.install();
    setModificationTime(tools.installed, {kTemplateTime.tv_sec, 1});
    EXPECT_TRUE(tools.looksOK());
}

TEST(MoreSecCheckHelperTool, LooksAtNothingElse)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to make the tool root-owned";
    const Tools tools;
    tools.install();
    ASSERT_EQ(chown(tools.installed.c_str(), 0, 1), 0);
    ASSERT_EQ(chmod(tools.installed.c_str(), 04555), 0);
    EXPECT_TRUE(tools.looksOK()) << "the group";
    (void)tools.folder.write("cache/tool", "OTHER TOOL BYTES"); // as many
    ASSERT_EQ(chmod(tools.installed.c_str(), 04555), 0);
    setModificationTime(tools.installed, kTemplateTime);
    EXPECT_TRUE(tools.looksOK()) << "the contents";
    ASSERT_EQ(chown(tools.original.c_str(), 1, 1), 0);
    ASSERT_EQ(chmod(tools.original.c_str(), 0600), 0);
    EXPECT_TRUE(tools.looksOK()) << "the template's owner and mode";
    EXPECT_EQ(tools.fix(), 0);
    EXPECT_EQ(readWholeFile(tools.installed), "OTHER TOOL BYTES") << "nothing to replace";
}

TEST(MoreSecCheckHelperTool, RejectsEachSingleDifference)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to make the tool root-owned";
    const struct {
        const char* name;
        std::function<void(const Tools&)> change;
    } cases[] = {
        {"owner",
            [](const Tools& t) {
                ASSERT_EQ(chown(t.installed.c_str(), 1, 0), 0);
                ASSERT_EQ(chmod(t.installed.c_str(), 04555), 0);
            }},
        {"no set-user-id", [](const Tools& t) { ASSERT_EQ(chmod(t.installed.c_str(), 0555), 0); }},
        {"writable", [](const Tools& t) { ASSERT_EQ(chmod(t.installed.c_str(), 04755), 0); }},
        {"not for all", [](const Tools& t) { ASSERT_EQ(chmod(t.installed.c_str(), 04550), 0); }},
        {"set-group-id", [](const Tools& t) { ASSERT_EQ(chmod(t.installed.c_str(), 06555), 0); }},
        {"sticky", [](const Tools& t) { ASSERT_EQ(chmod(t.installed.c_str(), 05555), 0); }},
        {"older",
            [](const Tools& t) {
                setModificationTime(t.installed, {kTemplateTime.tv_sec - 1, kTemplateTime.tv_nsec});
            }},
        {"newer",
            [](const Tools& t) {
                setModificationTime(t.installed, {kTemplateTime.tv_sec + 1, kTemplateTime.tv_nsec});
            }},
        {"size",
            [](const Tools& t) {
                ASSERT_EQ(truncate(t.original.c_str(), 3), 0);
                setModificationTime(t.original, kTemplateTime);
            }},
        {"template gone", [](const Tools& t) { fs::remove(t.original); }},
        {"tool gone", [](const Tools& t) { fs::remove(t.installed); }},
    };
    for (const auto& each : cases) {
        const Tools tools;
        tools.install();
        each.change(tools);
        EXPECT_FALSE(tools.looksOK()) << each.name;
    }
}

TEST(MoreSecCheckHelperTool, LooksAtWhatALinkLeadsTo)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to make the tool root-owned";
    const Tools tools;
    tools.install();
    fs::rename(tools.installed, tools.folder.at("cache/elsewhere"));
    fs::create_symlink("elsewhere", tools.installed);
    EXPECT_TRUE(tools.looksOK());
    fs::remove(tools.installed);
    fs::create_symlink("tool", tools.installed); // leads to itself
    EXPECT_FALSE(tools.looksOK());
}

TEST(MoreSecCheckHelperTool, TakesAMissingToolForNoError)
{
    const Tools tools;
    EXPECT_FALSE(tools.looksOK());
}

TEST(MoreSecCheckHelperTool, FailsForAToolWithoutAPath)
{
    const Tools tools;
    unsigned char verdict = 1;
    EXPECT_EQ(MoreSecCheckHelperTool(urlOf(tools.original), webURL(), &verdict), -4960);
}

TEST(MoreSecCheckHelperTool, IgnoresATemplateWithoutAPath)
{
    const Tools tools;
    unsigned char verdict = 1;
    EXPECT_EQ(MoreSecCheckHelperTool(webURL(), urlOf(tools.installed), &verdict), 0);
    EXPECT_FALSE(verdict);
}

TEST(MoreSecCheckHelperTool, TakesPathsOf1024BytesWithTheirZero)
{
    const Tools tools;
    unsigned char verdict = 1;
    std::string path = "/" + std::string(1022, 'p');
    EXPECT_EQ(MoreSecCheckHelperTool(urlOf(tools.original), urlOf(path), &verdict), 0);
    path += 'p';
    EXPECT_EQ(MoreSecCheckHelperTool(urlOf(tools.original), urlOf(path), &verdict), -4960);
}

TEST(MoreSecCheckHelperToolDeathTest, AssertsItsArguments)
{
    const CFRef url = urlOf("/tool");
    unsigned char verdict = 0;
    EXPECT_DEATH(
        (void)MoreSecCheckHelperTool(nullptr, url, &verdict), "failed assertion `templateTool != NULL'\n");
    EXPECT_DEATH((void)MoreSecCheckHelperTool(url, nullptr, &verdict), "failed assertion `tool != NULL'\n");
    EXPECT_DEATH((void)MoreSecCheckHelperTool(url, url, nullptr), "failed assertion `looksOK != NULL'\n");
}

TEST(MoreSecCheckAndFixHelperTool, CopiesTheTemplateWhenTheToolIsMissing)
{
    const Tools tools;
    EXPECT_EQ(tools.fix(), 0);
    tools.expectFreshCopy();
}

TEST(MoreSecCheckAndFixHelperTool, LeavesAToolThatLooksOK)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to make the tool root-owned";
    const Tools tools;
    tools.install();
    const struct stat before = statOf(tools.installed);
    EXPECT_EQ(tools.fix(), 0);
    const struct stat after = statOf(tools.installed);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, mode_t(0104555));
    EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
}

TEST(MoreSecCheckAndFixHelperTool, ReplacesAToolOfTheRightContentThatIsNotSetUser)
{
    const Tools tools;
    fs::copy_file(tools.original, tools.installed);
    fs::permissions(tools.installed, fs::perms(0555));
    setModificationTime(tools.installed, kTemplateTime);
    const ino_t before = statOf(tools.installed).st_ino;
    const int keptOpen
        = open(tools.installed.c_str(), O_RDONLY | O_CLOEXEC); // so that its inode is not used again
    EXPECT_EQ(tools.fix(), 0);
    tools.expectFreshCopy();
    EXPECT_NE(statOf(tools.installed).st_ino, before);
    EXPECT_EQ(close(keptOpen), 0);
}

TEST(MoreSecCheckAndFixHelperTool, ReplacesAToolOwnedByANormalUser)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to give the tool away";
    const Tools tools;
    tools.install();
    ASSERT_EQ(chown(tools.installed.c_str(), 1000, 1000), 0);
    ASSERT_EQ(chmod(tools.installed.c_str(), 04555), 0);
    setModificationTime(tools.installed, kTemplateTime);
    EXPECT_EQ(tools.fix(), 0);
    tools.expectFreshCopy();
    EXPECT_EQ(statOf(tools.installed).st_uid, geteuid());
}

TEST(MoreSecCheckAndFixHelperTool, ReplacesAToolWhoseTemplateIsOneSecondNewer)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root to make the tool root-owned";
    const Tools tools;
    tools.install();
    setModificationTime(tools.original, {kTemplateTime.tv_sec + 1, 0});
    EXPECT_EQ(tools.fix(), 0);
    const struct stat info = statOf(tools.installed);
    EXPECT_EQ(info.st_mtim.tv_sec, kTemplateTime.tv_sec + 1);
    EXPECT_EQ(info.st_mode, mode_t(S_IFREG | 0755));
}

TEST(MoreSecCheckAndFixHelperTool, RemovesAnEmptyFolderAtTheToolsPath)
{
    const Tools tools;
    (void)tools.folder.makeFolder("cache/tool");
    EXPECT_EQ(tools.fix(), 0);
    tools.expectFreshCopy();
}

TEST(MoreSecCheckAndFixHelperTool, FailsForAFolderThatIsNotEmpty)
{
    const Tools tools;
    (void)tools.folder.write("cache/tool/inside", "kept");
    EXPECT_EQ(tools.fix(), ENOTEMPTY);
    EXPECT_EQ(readWholeFile(tools.folder.at("cache/tool/inside")), "kept");
}

TEST(MoreSecCheckAndFixHelperTool, TakesWhatMayNotBeUnlinkedForAFolder)
{
    const Tools tools;
    const ScopedCallFault fault(FaultyCall::kUnlink, 1);
    (void)tools.folder.makeFolder("cache/tool");
    EXPECT_EQ(tools.fix(), 0);
    tools.expectFreshCopy();
    EXPECT_EQ(tools.fix(), ENOTDIR) << "what it made is a file";
}

TEST(MoreSecCheckAndFixHelperTool, GivesAnyOtherErrorOfTheRemoval)
{
    const Tools tools;
    (void)tools.folder.makeFolder("cache/tool");
    const ScopedCallFault fault(FaultyCall::kUnlink, EBUSY);
    EXPECT_EQ(tools.fix(), EBUSY);
    EXPECT_TRUE(fs::is_directory(tools.installed));
}

TEST(MoreSecCheckAndFixHelperTool, ReplacesALinkInsteadOfWritingThroughIt)
{
    for (const char* const target : {"victim", "nothing"}) {
        const Tools tools;
        const fs::path victim = tools.folder.write("victim", "kept");
        fs::create_symlink(tools.folder.at(target), tools.installed);
        EXPECT_EQ(tools.fix(), 0);
        EXPECT_FALSE(fs::is_symlink(tools.installed));
        tools.expectFreshCopy();
        EXPECT_EQ(readWholeFile(victim), "kept");
        EXPECT_FALSE(fs::exists(tools.folder.at("nothing")));
    }
}

TEST(MoreSecCheckAndFixHelperTool, GivesTheErrorOfTheCopy)
{
    const Tools tools;
    fs::remove(tools.original);
    EXPECT_EQ(tools.fix(), ENOENT);
}

TEST(MoreSecCheckAndFixHelperTool, FailsForAToolOrATemplateWithoutAPath)
{
    const Tools tools;
    EXPECT_EQ(MoreSecCheckAndFixHelperTool(urlOf(tools.original), webURL()), -4960);
    (void)tools.folder.write("cache/tool", "old");
    EXPECT_EQ(MoreSecCheckAndFixHelperTool(webURL(), urlOf(tools.installed)), -4960);
    EXPECT_EQ(readWholeFile(tools.installed), "old");
}

TEST(MoreSecCheckAndFixHelperToolDeathTest, AssertsItsArguments)
{
    const CFRef url = urlOf("/tool");
    EXPECT_DEATH(
        (void)MoreSecCheckAndFixHelperTool(nullptr, url), "failed assertion `templateTool != NULL'\n");
    EXPECT_DEATH((void)MoreSecCheckAndFixHelperTool(url, nullptr), "failed assertion `tool != NULL'\n");
}
