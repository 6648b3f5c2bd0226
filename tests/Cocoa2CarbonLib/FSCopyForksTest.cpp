// The copying of contents and extended attributes, by each of its ways.
#include "Cocoa2CarbonLib/FSCopyForks.h"

#include "tests/Cocoa2CarbonLib/CopyCall.h"
#include "tests/support/FileTrees.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr UInt32 kSmallBufferBytes = 1024;
constexpr int kMebibyte = 1024 * 1024;

enum class Way { kVolumeCopy, kBuffer, kDropBox };

class CopyForksTest : public testing::TestWithParam<Way> {
protected:
    void SetUp() override { ASSERT_EQ(m_buffer.allocate(kSmallBufferBytes), 0); }

    /// Copies the forks of `source` into the new file `dest`.
    OSStatus copy(const fs::path& source, const fs::path& dest)
    {
        const Descriptor from(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
        const Descriptor to(::open(dest.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        EXPECT_TRUE(from && to);
        return GetParam() == Way::kDropBox
            ? CopyForksToDropBox(from.get(), to.get(), m_buffer)
            : CopyForks(from.get(), to.get(), GetParam() == Way::kVolumeCopy, m_buffer);
    }

    ScopedTempDir m_temp;
    const fs::path m_dest = m_temp.at("dest");
    CopyBuffer m_buffer;
};

std::string patternOf(int bytes)
{
    std::string text(static_cast<std::size_t>(bytes), '\0');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char>(i * 31 + i / 251);
    return text;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Ways, CopyForksTest, testing::Values(Way::kVolumeCopy, Way::kBuffer, Way::kDropBox));

TEST_P(CopyForksTest, CopiesContentsOfEverySizeAroundTheBuffers)
{
    for (const int bytes : {0, 1, 1023, 1024, 1025, 2048, 5000}) {
        const fs::path dest = m_temp.at("dest" + std::to_string(bytes));
        const fs::path source = m_temp.write("source" + std::to_string(bytes), patternOf(bytes));
        EXPECT_EQ(copy(source, dest), 0) << bytes;
        EXPECT_EQ(readWholeFile(dest), patternOf(bytes)) << bytes;
    }
}

TEST_P(CopyForksTest, CopiesAttributesLongerThanTheBufferAndEmptyOnes)
{
    const fs::path source = m_temp.write("source", "content");
    const std::string lengthy = patternOf(2500);
    if (!setAttribute(source, "user.lengthy", lengthy))
        GTEST_SKIP() << "the file system has no extended attributes";
    ASSERT_TRUE(setAttribute(source, "user.empty", ""));
    EXPECT_EQ(copy(source, m_dest), 0);
    EXPECT_EQ(readWholeFile(m_dest), "content");
    EXPECT_EQ(attribute(m_dest, "user.lengthy"), lengthy);
    EXPECT_EQ(attribute(m_dest, "user.empty"), "");
}

TEST_P(CopyForksTest, LeavesHolesEmpty)
{
    const fs::path source = m_temp.write("source", "begin");
    const Descriptor file(::open(source.c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::pwrite(file.get(), "middle", 6, kMebibyte), 6);
    ASSERT_EQ(::ftruncate(file.get(), 2 * kMebibyte), 0);
    if (statusOf(source).st_blocks * 512 > kMebibyte / 2)
        GTEST_SKIP() << "the file system has no holes";
    EXPECT_EQ(copy(source, m_dest), 0);
    EXPECT_EQ(statusOf(m_dest).st_size, 2 * kMebibyte);
    EXPECT_LT(statusOf(m_dest).st_blocks * 512, kMebibyte / 2);
    EXPECT_TRUE(readWholeFile(m_dest) == readWholeFile(source));
}

TEST_P(CopyForksTest, CopiesAFileOfHolesOnly)
{
    const fs::path source = m_temp.write("source", "");
    fs::resize_file(source, kMebibyte);
    EXPECT_EQ(copy(source, m_dest), 0);
    EXPECT_EQ(statusOf(m_dest).st_size, kMebibyte);
}

TEST_P(CopyForksTest, CopiesWhatLiesBehindFourGibibytes)
{
    constexpr off_t kFourGibibytes = off_t(1) << 32;
    const fs::path source = m_temp.write("source", "begin");
    const Descriptor file(::open(source.c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::pwrite(file.get(), "behind", 6, kFourGibibytes + 5), 6);
    if (statusOf(source).st_blocks * 512 > kMebibyte)
        GTEST_SKIP() << "the file system has no holes";
    EXPECT_EQ(copy(source, m_dest), 0);
    EXPECT_EQ(statusOf(m_dest).st_size, kFourGibibytes + 11);
    EXPECT_LT(statusOf(m_dest).st_blocks * 512, kMebibyte);
    char bytes[7] = {};
    const Descriptor copied(::open(m_dest.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(::pread(copied.get(), bytes, 6, kFourGibibytes + 5), 6);
    EXPECT_STREQ(bytes, "behind");
    EXPECT_EQ(::pread(copied.get(), bytes, 6, 0), 6);
    EXPECT_STREQ(bytes, "begin");
}

TEST_P(CopyForksTest, CopiesToAnotherVolume)
{
    const fs::path shared = "/dev/shm";
    const fs::path source = m_temp.write("source", patternOf(kMebibyte + 7));
    if (!fs::is_directory(shared) || statusOf(shared).st_dev == statusOf(source).st_dev)
        GTEST_SKIP() << "needs a second volume at /dev/shm";
    const fs::path dest = shared / ("copy-test-" + std::to_string(::getpid()));
    EXPECT_EQ(copy(source, dest), 0);
    EXPECT_TRUE(readWholeFile(dest) == readWholeFile(source));
    fs::remove(dest);
}

TEST_P(CopyForksTest, LeavesNoForkOpen)
{
    const fs::path source = m_temp.write("source", "content");
    (void)setAttribute(source, "user.a", "1"); // one fork more where the file system has them
    const std::size_t before = trees::names("/proc/self/fd").size();
    EXPECT_EQ(copy(source, m_dest), 0);
    EXPECT_EQ(trees::names("/proc/self/fd").size(), before);
}

TEST_P(CopyForksTest, ReportsADestinationThatCannotBeWritten)
{
    const fs::path source = m_temp.write("source", "content");
    const Descriptor from(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    const Descriptor to(::open(m_temp.write("dest", "").c_str(), O_RDONLY | O_CLOEXEC));
    const OSStatus error = GetParam() == Way::kDropBox
        ? CopyForksToDropBox(from.get(), to.get(), m_buffer)
        : CopyForks(from.get(), to.get(), GetParam() == Way::kVolumeCopy, m_buffer);
    EXPECT_EQ(error, -61);
}
