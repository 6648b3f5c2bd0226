// Copies on volumes that can share the blocks of files, made for the test.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "Cocoa2CarbonLib/FSDeleteObjects.h"
#include "Platform/Support/Descriptor.h"
#include "tests/Cocoa2CarbonLib/CopyFixture.h"
#include "tests/support/FileTrees.h"
#include "tests/support/PrivateMounts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <linux/btrfs.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int kVolumeMegabytes = 400; ///< above the least that either maker takes; the image has holes
constexpr off_t kFourGibibytes = off_t(1) << 32;

/// Where a piece of a file lies on its volume.
struct Extent {
    UInt64 logical;
    UInt64 physical;
    UInt64 bytes;
    bool isShared;
};

bool operator==(const Extent& a, const Extent& b)
{
    return a.logical == b.logical && a.physical == b.physical && a.bytes == b.bytes
        && a.isShared == b.isShared;
}

std::vector<Extent> extentsOf(const fs::path& path)
{
    constexpr UInt32 kMaxExtents = 64;
    std::vector<UInt64> block((sizeof(fiemap) + kMaxExtents * sizeof(fiemap_extent)) / sizeof(UInt64));
    auto* const map = reinterpret_cast<fiemap*>(block.data());
    map->fm_length = FIEMAP_MAX_OFFSET;
    map->fm_flags = FIEMAP_FLAG_SYNC;
    map->fm_extent_count = kMaxExtents;
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(::ioctl(file.get(), FS_IOC_FIEMAP, map), 0) << path;
    // Space behind the end may be set aside for a file that has just grown.
    const auto size = static_cast<UInt64>(statusOf(path).st_size);
    std::vector<Extent> extents;
    for (UInt32 i = 0; i < map->fm_mapped_extents; ++i) {
        const fiemap_extent& extent = map->fm_extents[i];
        if (extent.fe_logical < size)
            extents.push_back({extent.fe_logical, extent.fe_physical,
                std::min<UInt64>(extent.fe_length, size - extent.fe_logical),
                (extent.fe_flags & FIEMAP_EXTENT_SHARED) != 0});
    }
    return extents;
}

void expectSharesItsBlocks(const fs::path& source, const fs::path& copy)
{
    const std::vector<Extent> extents = extentsOf(source);
    EXPECT_FALSE(extents.empty());
    for (const Extent& extent : extents)
        EXPECT_TRUE(extent.isShared) << extent.logical;
    EXPECT_TRUE(extents == extentsOf(copy));
}

void makeSubvolume(const fs::path& path)
{
    btrfs_ioctl_vol_args arguments {};
    std::strncpy(arguments.name, path.filename().c_str(), BTRFS_PATH_NAME_MAX);
    const Descriptor above(::open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_EQ(::ioctl(above.get(), BTRFS_IOC_SUBVOL_CREATE, &arguments), 0) << path;
}

/// Bytes that no volume could shrink.
std::string patternOf(int bytes)
{
    std::string text(static_cast<std::size_t>(bytes), '\0');
    UInt32 state = 1;
    for (char& byte : text)
        byte = static_cast<char>((state = state * 1664525U + 1013904223U) >> 24);
    return text;
}

class FSCopyVolumesTest : public CopyFixture {
protected:
    /// Runs `body` in a child with a volume of that type at "volume", an empty "volume/dest" in it, and
    /// expects no failure. The reason where there can be no such volume.
    std::string onVolume(const std::string& type, const std::function<void()>& body)
    {
        const std::string reason = mounts::whyNoImage(type);
        if (!reason.empty())
            return reason;
        const int status = child::run([&] {
            if (!mounts::separate()
                || !mounts::mountImage(m_temp.at("image"), kVolumeMegabytes, type, "", m_volume))
                return mounts::kCannotMount;
            fs::create_directory(m_volume / "dest");
            body();
            return HasFailure() ? 1 : 0;
        });
        if (status == mounts::kCannotMount)
            return "the volume could not be made or mounted";
        EXPECT_EQ(status, 0);
        return {};
    }

    OSStatus copyTo(const fs::path& destDir, const fs::path& source)
    {
        CopyCall call;
        call.source = source;
        call.destDir = destDir;
        std::string printed;
        const OSStatus error = call.run(&printed);
        EXPECT_THAT(printed, testing::HasSubstr("PBHCopyFileSync supported: yes\n"));
        return error;
    }

    const fs::path m_volume = m_temp.makeFolder("volume");
};

class FSCopySharingTest : public FSCopyVolumesTest, public testing::WithParamInterface<const char*> { };

} // namespace

INSTANTIATE_TEST_SUITE_P(Types, FSCopySharingTest, testing::Values("btrfs", "xfs"));

TEST_P(FSCopySharingTest, SharesBlocksAndCopiesModesTimesAndAttributes)
{
    const std::string reason = onVolume(GetParam(), [this] {
        const fs::path file = m_temp.write("volume/tree/file", patternOf(3'000'001));
        EXPECT_TRUE(setAttribute(file, "user.origin", "somewhere"));
        EXPECT_TRUE(setAttribute(m_volume / "tree", "user.color", "blue"));
        const struct timespec times[2] = {{1000000001, 123456789}, {1000000002, 987654321}};
        EXPECT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
        EXPECT_EQ(::chmod(file.c_str(), 0640), 0);
        const auto before = describeTree(m_volume / "tree");
        EXPECT_EQ(copyTo(m_volume / "dest", m_volume / "tree"), 0);
        EXPECT_EQ(describeTree(m_volume / "dest/tree"), before);
        EXPECT_EQ(attribute(m_volume / "dest/tree/file", "user.origin"), "somewhere");
        EXPECT_EQ(attribute(m_volume / "dest/tree", "user.color"), "blue");
        expectSharesItsBlocks(file, m_volume / "dest/tree/file");
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_P(FSCopySharingTest, SharesBlocksBehindFourGibibytesAndKeepsHoles)
{
    const std::string reason = onVolume(GetParam(), [this] {
        const fs::path file = m_temp.write("volume/big", patternOf(65536));
        const Descriptor written(::open(file.c_str(), O_WRONLY | O_CLOEXEC));
        EXPECT_EQ(::pwrite(written.get(), "behind", 6, kFourGibibytes + 5), 6);
        EXPECT_EQ(::ftruncate(written.get(), kFourGibibytes + 1000), 0);
        EXPECT_EQ(copyTo(m_volume / "dest", file), 0);
        EXPECT_EQ(statusOf(m_volume / "dest/big").st_size, kFourGibibytes + 1000);
        char bytes[7] = {};
        const Descriptor copied(::open((m_volume / "dest/big").c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(::pread(copied.get(), bytes, 6, kFourGibibytes + 5), 6);
        EXPECT_STREQ(bytes, "behind");
        EXPECT_LT(statusOf(m_volume / "dest/big").st_blocks * 512, 1 << 20);
        expectSharesItsBlocks(file, m_volume / "dest/big");
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(FSCopyVolumesTest, SharesBlocksBetweenSubvolumes)
{
    const std::string reason = onVolume("btrfs", [this] {
        makeSubvolume(m_volume / "one");
        makeSubvolume(m_volume / "two");
        const fs::path file = m_temp.write("volume/one/file", patternOf(1'000'000));
        EXPECT_NE(statusOf(m_volume / "one").st_dev, statusOf(m_volume / "two").st_dev);
        EXPECT_EQ(copyTo(m_volume / "two", file), 0);
        EXPECT_TRUE(readWholeFile(m_volume / "two/file") == patternOf(1'000'000));
        expectSharesItsBlocks(file, m_volume / "two/file");
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(FSCopyVolumesTest, CopiesAndDeletesTreesThatHoldSubvolumes)
{
    const std::string reason = onVolume("btrfs", [this] {
        fs::create_directory(m_volume / "tree");
        makeSubvolume(m_volume / "tree/inner");
        m_temp.write("volume/tree/inner/sub/file", "x");
        EXPECT_EQ(copyTo(m_volume / "dest", m_volume / "tree"), 0);
        EXPECT_EQ(describeTree(m_volume / "dest/tree"), describeTree(m_volume / "tree"));
        const FSRef tree = refTo(m_volume / "tree");
        testing::internal::CaptureStdout();
        EXPECT_EQ(FSDeleteObjects(&tree), 0);
        (void)testing::internal::GetCapturedStdout(); // its text is another test's matter
        EXPECT_FALSE(trees::exists(m_volume / "tree"));
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(FSCopyVolumesTest, CopiesBetweenTwoVolumesThatHaveSubvolumes)
{
    const std::string reason = onVolume("btrfs", [this] {
        EXPECT_TRUE(mounts::mountImage(m_temp.at("second image"), kVolumeMegabytes, "btrfs", "", m_dest));
        m_temp.write("volume/tree/file", patternOf(1'000'000));
        const auto before = describeTree(m_volume / "tree");
        // Only the call itself finds out that these are two volumes.
        EXPECT_EQ(copyTo(m_dest, m_volume / "tree"), 0);
        EXPECT_TRUE(describeTree(m_dest / "tree") == before);
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}

TEST_F(FSCopyVolumesTest, LetsAnOrdinaryUserDeleteASubvolumeOfHisOwn)
{
    const std::string reason = onVolume("btrfs", [this] {
        const fs::path tree = m_temp.makeFolder("volume/tree");
        makeSubvolume(tree / "inner");
        m_temp.write("volume/tree/inner/file", "x");
        for (const fs::path& path : {m_volume, tree, tree / "inner", tree / "inner/file"})
            EXPECT_EQ(::chown(path.c_str(), child::kNobody, child::kNobody), 0);
        EXPECT_EQ(::chmod(m_temp.path().c_str(), 0755), 0);
        const FSRef ref = refTo(tree);
        EXPECT_EQ(child::runAsNobody([&ref] { return FSDeleteObjects(&ref) == 0 ? 0 : 1; }), 0);
        EXPECT_FALSE(trees::exists(tree));
    });
    if (!reason.empty())
        GTEST_SKIP() << reason;
}
