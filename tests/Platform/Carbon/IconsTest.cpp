#include "Platform/Carbon/IconsInternal.h"

#include "tests/support/TempDir.h"

#include <QSize>

#include <gtest/gtest.h>

namespace {

std::filesystem::path stagedIcon(const char* name)
{
    return std::filesystem::path(TANDEM_STAGED_BUNDLE) / "Contents/Resources" / name;
}

OSStatus open(const std::filesystem::path& path, IconRef& icon)
{
    FSRef ref;
    ref.path = path.string();
    return RegisterIconRefFromFSRef(0x54657374, 0x69636E31, &ref, &icon);
}

TEST(Icons, HoldEverySizeOfTheirFile)
{
    IconRef icon = nullptr;
    ASSERT_EQ(open(stagedIcon("Check.icns"), icon), 0);
    ASSERT_EQ(icon->pictures.size(), 4U);
    std::vector<int> sides;
    for (const QImage& picture : icon->pictures)
        sides.push_back(picture.width());
    std::sort(sides.begin(), sides.end());
    EXPECT_EQ(sides, (std::vector<int> {16, 32, 48, 128}));
    EXPECT_EQ(ReleaseIconRef(icon), 0);
}

TEST(Icons, OfTheSameCodesAreIndependent)
{
    IconRef checked = nullptr;
    IconRef unchecked = nullptr;
    ASSERT_EQ(open(stagedIcon("Check.icns"), checked), 0);
    ASSERT_EQ(open(stagedIcon("UnCheck.icns"), unchecked), 0);
    EXPECT_NE(checked->pictures.front(), unchecked->pictures.front());
    ReleaseIconRef(checked);
    EXPECT_FALSE(unchecked->pictures.front().isNull());
    ReleaseIconRef(unchecked);
}

TEST(Icons, MissingFileIsNotFound)
{
    IconRef icon = nullptr;
    EXPECT_EQ(open("/nonexistent/Check.icns", icon), -43);
    EXPECT_EQ(icon, nullptr);
}

TEST(Icons, FileWithoutAPictureIsNoIcon)
{
    const ScopedTempDir folder;
    for (const std::string bytes : {"", "icns", "<?xml version='1.0'?>", "icns\0\0\0\x08"}) {
        IconRef icon = nullptr;
        EXPECT_EQ(open(folder.write("x.icns", bytes), icon), -2580);
        EXPECT_EQ(icon, nullptr);
    }
}

TEST(Icons, FileAboveTheBoundIsRefused)
{
    const ScopedTempDir folder;
    const std::string bytes = readWholeFile(stagedIcon("Check.icns"));
    IconRef icon = nullptr;
    EXPECT_EQ(open(folder.write("x.icns", bytes + std::string(4 * 1024 * 1024, '\0')), icon), -43);
}

TEST(Icons, CutFileIsNoIcon)
{
    const ScopedTempDir folder;
    const std::string bytes = readWholeFile(stagedIcon("Check.icns"));
    ASSERT_GT(bytes.size(), 10000U);
    for (const std::size_t length : {4U, 8U, 12U, 16U, 700U, 9999U}) {
        IconRef icon = nullptr;
        EXPECT_EQ(open(folder.write("x.icns", bytes.substr(0, length)), icon), -2580) << length;
    }
}

TEST(Icons, DamagedBytesGiveNoOrSomePicturesButNoHarm)
{
    const ScopedTempDir folder;
    const std::string bytes = readWholeFile(stagedIcon("Check.icns"));
    for (std::size_t at = 8; at < bytes.size(); at += at < 40 ? 1 : 997) {
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(damaged[at] ^ 0xFF);
        IconRef icon = nullptr;
        if (open(folder.write("x.icns", damaged), icon) != 0) {
            EXPECT_EQ(icon, nullptr);
            continue;
        }
        EXPECT_FALSE(icon->pictures.empty());
        ReleaseIconRef(icon);
    }
}

} // namespace
