// Forks, the volume's own copying of a content, and what a volume says about itself.
#include "Platform/Carbon/FSFork.h"

#include "Platform/Carbon/FSVolume.h"
#include "Platform/Carbon/FSVolumeInternal.h"
#include "Platform/Support/Descriptor.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/xattr.h>

namespace fs = std::filesystem;

namespace {

class FSForkTest : public testing::Test {
protected:
    void TearDown() override
    {
        FSCloseFork(m_source);
        FSCloseFork(m_dest);
    }

    /// Opens the content of a new source with these bytes, and of a new empty destination.
    void openBoth(std::string_view bytes)
    {
        m_from = Descriptor(::open(m_temp.write("source", bytes).c_str(), O_RDWR | O_CLOEXEC));
        m_to = Descriptor(::open(m_temp.write("dest", "").c_str(), O_RDWR | O_CLOEXEC));
        ASSERT_EQ(FSOpenForkForReading(m_from.get(), "", &m_source), 0);
        ASSERT_EQ(FSOpenForkForWriting(m_to.get(), "", &m_dest), 0);
    }

    ScopedTempDir m_temp;
    Descriptor m_from;
    Descriptor m_to;
    FSForkRef m_source = nullptr;
    FSForkRef m_dest = nullptr;
};

constexpr char kNeedsAttributes[] = "the file system has no extended attributes";

} // namespace

TEST_F(FSForkTest, HasTheContentFirstAndUsersAttributes)
{
    openBoth("x");
    std::vector<std::string> names;
    EXPECT_EQ(FSIterateForks(m_from.get(), names), 0);
    EXPECT_THAT(names, testing::ElementsAre(""));
    if (::fsetxattr(m_from.get(), "user.one", "1", 1, 0) != 0)
        GTEST_SKIP() << kNeedsAttributes;
    ASSERT_EQ(::fsetxattr(m_from.get(), "user.two", "", 0, 0), 0);
    (void)::fsetxattr(m_from.get(), "trusted.other", "1", 1, 0); // needs user id 0; is no fork in any case
    EXPECT_EQ(FSIterateForks(m_from.get(), names), 0);
    EXPECT_THAT(names, testing::UnorderedElementsAre("", "user.one", "user.two"));
    EXPECT_EQ(names.front(), "");
}

TEST_F(FSForkTest, HasNoContentForAFolder)
{
    const Descriptor folder(::open(m_temp.path().c_str(), O_RDONLY | O_CLOEXEC));
    std::vector<std::string> names;
    EXPECT_EQ(FSIterateForks(folder.get(), names), 0);
    EXPECT_TRUE(names.empty());
}

TEST_F(FSForkTest, ReadsAndWritesPiecesOfAnAttribute)
{
    openBoth("x");
    if (::fsetxattr(m_from.get(), "user.text", "hello", 5, 0) != 0)
        GTEST_SKIP() << kNeedsAttributes;
    FSForkRef fork = nullptr;
    EXPECT_EQ(FSOpenForkForReading(m_from.get(), "user.missing", &fork), -43);
    ASSERT_EQ(FSOpenForkForReading(m_from.get(), "user.text", &fork), 0);
    EXPECT_EQ(FSGetForkSize(fork), 5u);
    char piece[3] = {};
    EXPECT_EQ(FSReadFork(fork, 2, 3, piece), 0);
    EXPECT_EQ(std::string(piece, 3), "llo");
    EXPECT_EQ(FSReadFork(fork, 3, 3, piece), -39);
    FSCloseFork(fork);
    ASSERT_EQ(FSOpenForkForWriting(m_to.get(), "user.text", &fork), 0);
    EXPECT_EQ(FSWriteFork(fork, 0, 2, "he"), 0);
    EXPECT_EQ(FSWriteFork(fork, 2, 3, piece), 0);
    char value[10];
    EXPECT_EQ(::fgetxattr(m_to.get(), "user.text", value, sizeof value), -1) << "a half value is none";
    EXPECT_EQ(FSSetForkSize(fork, 5), 0);
    FSCloseFork(fork);
    ASSERT_EQ(::fgetxattr(m_to.get(), "user.text", value, sizeof value), 5);
    EXPECT_EQ(std::string(value, 5), "hello");
}

TEST_F(FSForkTest, KeepsTheAttributeThatItWasOpenedWith)
{
    openBoth("x");
    if (::fsetxattr(m_from.get(), "user.text", "first", 5, 0) != 0)
        GTEST_SKIP() << kNeedsAttributes;
    FSForkRef fork = nullptr;
    ASSERT_EQ(FSOpenForkForReading(m_from.get(), "user.text", &fork), 0);
    ASSERT_EQ(::fsetxattr(m_from.get(), "user.text", "the second", 10, 0), 0);
    char value[5] = {};
    EXPECT_EQ(FSGetForkSize(fork), 5u);
    EXPECT_EQ(FSReadFork(fork, 0, 5, value), 0);
    EXPECT_EQ(std::string(value, 5), "first");
    FSCloseFork(fork);
}

TEST_F(FSForkTest, SeesThatTheContentHasBecomeShorter)
{
    openBoth("0123456789");
    UInt64 start = 7;
    UInt64 end = 7;
    EXPECT_EQ(FSNextForkData(m_source, 0, &start, &end), 0);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(end, 10u);
    EXPECT_EQ(FSNextForkData(m_source, 10, &start, &end), -1417);
    ASSERT_EQ(::ftruncate(m_from.get(), 4), 0);
    char bytes[10];
    EXPECT_EQ(FSReadFork(m_source, 0, 10, bytes), -39);
    EXPECT_EQ(FSNextForkData(m_source, 0, &start, &end), -39);
    EXPECT_EQ(FSNextForkData(m_source, 10, &start, &end), -39);
}

TEST_F(FSForkTest, KeepsTheSizeThatItWasOpenedWith)
{
    openBoth("0123");
    ASSERT_EQ(::pwrite(m_from.get(), "456789", 6, 4), 6);
    UInt64 start = 0;
    UInt64 end = 0;
    EXPECT_EQ(FSNextForkData(m_source, 0, &start, &end), 0);
    EXPECT_EQ(end, 4u);
    EXPECT_EQ(FSGetForkSize(m_source), 4u);
}

TEST_F(FSForkTest, LetsTheVolumeCopyAContent)
{
    const std::string content(300000, 'x');
    openBoth(content);
    const OSStatus error = PBHCopyFileSync(m_source, m_dest);
    if (error == -4)
        GTEST_SKIP() << "the file system cannot copy by itself";
    EXPECT_EQ(error, 0);
    EXPECT_TRUE(readWholeFile(m_temp.at("dest")) == content);
}

TEST(FSVolume, KnowsTheNetworkFileSystems)
{
    for (const UInt32 type : {UInt32(NFS_SUPER_MAGIC), UInt32(SMB_SUPER_MAGIC), UInt32(CIFS_SUPER_MAGIC),
             UInt32(SMB2_SUPER_MAGIC), UInt32(CODA_SUPER_MAGIC), UInt32(AFS_SUPER_MAGIC),
             UInt32(AFS_FS_MAGIC), UInt32(NCP_SUPER_MAGIC), UInt32(V9FS_MAGIC), UInt32(CEPH_SUPER_MAGIC)})
        EXPECT_FALSE(isLocalVolumeType(type)) << std::hex << type;
    for (const UInt32 type : {UInt32(EXT4_SUPER_MAGIC), UInt32(TMPFS_MAGIC), UInt32(BTRFS_SUPER_MAGIC),
             UInt32(XFS_SUPER_MAGIC), UInt32(MSDOS_SUPER_MAGIC), UInt32(FUSE_SUPER_MAGIC), 0u})
        EXPECT_TRUE(isLocalVolumeType(type)) << std::hex << type;
}

TEST(FSVolume, HasAGradeInItsBlockThatTellsNoSpeed)
{
    const Descriptor folder(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    VolumeParms parms {0, 1, true};
    EXPECT_EQ(volumeParms(folder.get(), parms), 0);
    EXPECT_EQ(parms.blockBytes, 18u);
    EXPECT_EQ(parms.volumeGrade, 0);
    EXPECT_EQ(volumeParms(-1, parms), -61);
}
