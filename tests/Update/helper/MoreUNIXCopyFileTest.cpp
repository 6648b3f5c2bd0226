// The copying of files: contents, permissions, times and errors.
#include "Platform/Support/Descriptor.h"
#include "Update/helper/MoreUNIX.h"
#include "tests/Update/helper/SystemCallFaults.h"
#include "tests/support/TempDir.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

std::string pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>('a' + i % 23 + i / 65536);
    return bytes;
}

struct stat statOf(const fs::path& file)
{
    struct stat info { };
    EXPECT_EQ(stat(file.c_str(), &info), 0) << file;
    return info;
}

// Times with nanoseconds that whole microseconds do not hold.
constexpr timespec kAccessTime {1'100'000'000, 123'456'789};
constexpr timespec kModificationTime {1'200'000'000, 987'654'321};

void setTimes(const fs::path& file)
{
    const timespec times[2] = {kAccessTime, kModificationTime};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
}

void expectTimesInMicroseconds(const fs::path& file)
{
    const struct stat info = statOf(file);
    EXPECT_EQ(info.st_atim.tv_sec, 1'100'000'000);
    EXPECT_EQ(info.st_atim.tv_nsec, 123'456'000);
    EXPECT_EQ(info.st_mtim.tv_sec, 1'200'000'000);
    EXPECT_EQ(info.st_mtim.tv_nsec, 987'654'000);
}

class ScopedUmask {
public:
    explicit ScopedUmask(mode_t mask)
        : m_former(umask(mask))
    {
    }
    ScopedUmask(const ScopedUmask&) = delete;
    ScopedUmask& operator=(const ScopedUmask&) = delete;
    ~ScopedUmask() { (void)umask(m_former); }

private:
    mode_t m_former;
};

} // namespace

TEST(MoreUNIXCopyFile, CopiesContentsPermissionsAndTimesInMicroseconds)
{
    const ScopedTempDir folder;
    const fs::path source = folder.write("source", pattern(70000));
    ASSERT_EQ(chmod(source.c_str(), 0754), 0);
    setTimes(source);
    EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.at("dest").c_str()), 0);
    expectTimesInMicroseconds(folder.at("dest")); // first: reading the copy changes its access time
    EXPECT_EQ(readWholeFile(folder.at("dest")), pattern(70000));
    EXPECT_EQ(statOf(folder.at("dest")).st_mode, mode_t(S_IFREG | 0754));
}

TEST(MoreUNIXCopyFile, CopiesAnEmptyFileWithItsTimes)
{
    const ScopedTempDir folder;
    const fs::path source = folder.write("source", "");
    setTimes(source);
    EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.at("dest").c_str()), 0);
    EXPECT_EQ(statOf(folder.at("dest")).st_size, 0);
    expectTimesInMicroseconds(folder.at("dest"));
}

TEST(MoreUNIXCopyFile, ClearsSetUserSetGroupAndSticky)
{
    const ScopedTempDir folder;
    const fs::path source = folder.write("source", "x");
    ASSERT_EQ(chmod(source.c_str(), 07755), 0);
    EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.at("dest").c_str()), 0);
    EXPECT_EQ(statOf(folder.at("dest")).st_mode, mode_t(S_IFREG | 0755));
}

TEST(MoreUNIXCopyFile, CarriesThePermissionsWhateverTheUmask)
{
    const ScopedTempDir folder;
    const fs::path source = folder.write("source", "x");
    ASSERT_EQ(chmod(source.c_str(), 0755), 0);
    const ScopedUmask mask(077);
    EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.at("dest").c_str()), 0);
    EXPECT_EQ(statOf(folder.at("dest")).st_mode, mode_t(S_IFREG | 0755));
}

TEST(MoreUNIXCopyFile, ReplacesTheContentsOfALongerFile)
{
    const ScopedTempDir folder;
    const fs::path dest = folder.write("dest", "much longer than the source");
    EXPECT_EQ(MoreUNIXCopyFile(folder.write("source", "short").c_str(), dest.c_str()), 0);
    EXPECT_EQ(readWholeFile(dest), "short");
}

TEST(MoreUNIXCopyFile, GivesTheFirstErrorMet)
{
    const ScopedTempDir folder;
    EXPECT_EQ(MoreUNIXCopyFile(folder.at("missing").c_str(), folder.at("dest").c_str()), ENOENT);
    EXPECT_FALSE(fs::exists(folder.at("dest")));
    const fs::path source = folder.write("source", "x");
    EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.at("no/dest").c_str()), ENOENT);
    EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.makeFolder("folder").c_str()), EISDIR);
    EXPECT_EQ(MoreUNIXCopyFile(folder.path().c_str(), folder.at("dest").c_str()), EISDIR);
}

TEST(MoreUNIXCopyFile, GivesTheErrorOfTheModeAndOfTheTimes)
{
    const ScopedTempDir folder;
    const fs::path source = folder.write("source", "x");
    {
        const ScopedCallFault fault(FaultyCall::kFchmod, EPERM);
        EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.at("without mode").c_str()), EPERM);
        EXPECT_EQ(readWholeFile(folder.at("without mode")), "");
    }
    const ScopedCallFault fault(FaultyCall::kUtimes, EROFS);
    EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.at("without times").c_str()), EROFS);
    EXPECT_EQ(readWholeFile(folder.at("without times")), "x");
}

TEST(MoreUNIXCopyFile, LeavesNoDescriptorOpen)
{
    const ScopedTempDir folder;
    const fs::path source = folder.write("source", "x");
    const auto lowestFree = [] { return Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)).get(); };
    const int before = lowestFree();
    EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.at("dest").c_str()), 0);
    EXPECT_EQ(lowestFree(), before);
    EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.at("no/dest").c_str()), ENOENT);
    EXPECT_EQ(lowestFree(), before);
    {
        const ScopedWriteLimit limit(0, ENOSPC);
        EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.at("full").c_str()), ENOSPC);
    }
    EXPECT_EQ(lowestFree(), before);
}

TEST(MoreUNIXCopyFile, LeavesAHalfWrittenCopyWithoutTheSourcesTimes)
{
    const ScopedTempDir folder;
    const fs::path source = folder.write("source", pattern(100000));
    setTimes(source);
    {
        const ScopedWriteLimit limit(1, ENOSPC);
        EXPECT_EQ(MoreUNIXCopyFile(source.c_str(), folder.at("dest").c_str()), ENOSPC);
    }
    EXPECT_EQ(readWholeFile(folder.at("dest")), pattern(100000).substr(0, 65536));
    EXPECT_NE(statOf(folder.at("dest")).st_mtim.tv_sec, 1'200'000'000);
}

TEST(MoreUNIXCopyFileDeathTest, AssertsItsArgumentsAndItsCloses)
{
    EXPECT_DEATH((void)MoreUNIXCopyFile(nullptr, "/dest"), "failed assertion `source != NULL'\n");
    EXPECT_DEATH((void)MoreUNIXCopyFile("/source", nullptr), "failed assertion `dest != NULL'\n");
    const ScopedTempDir folder;
    const fs::path source = folder.write("source", "x");
    EXPECT_DEATH(
        {
            const ScopedCloseFault fault;
            (void)MoreUNIXCopyFile(source.c_str(), folder.at("dest").c_str());
        },
        "failed assertion `junk == 0'\n");
}
