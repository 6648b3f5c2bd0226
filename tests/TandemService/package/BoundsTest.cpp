// Packages that ask for too much: each bound is kept to the byte, and nothing changes.
#include "tests/TandemService/package/InstallFixture.h"

#include "Platform/Support/Descriptor.h"
#include "TandemService/package/XarChecksums.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;
using packages::Format;
using packages::PackageBuilder;

namespace {

class Bounds : public InstallFixture { };

} // namespace

TEST_F(Bounds, AreKeptToTheByteAndTheMember)
{
    const fs::path package = PackageBuilder()
                                 .folder("d")
                                 .file("d/a", "12345")
                                 .file("d/b", "12345")
                                 .writeBundle(m_scratch.at("X.pkg"));
    struct Case {
        InstallLimits limits;
        InstallError error;
    };
    const Case cases[] = {
        {{.contentBytes = 10, .entries = 3, .pathBytes = 3, .pathDepth = 2}, InstallError::none},
        {{.contentBytes = 9}, InstallError::packageTooLarge},
        {{.entries = 2}, InstallError::packageTooLarge},
        {{.pathBytes = 2}, InstallError::packageTooLarge},
        {{.pathDepth = 1}, InstallError::packageTooLarge},
        {{.streamBytes = 1000}, InstallError::packageDamaged},
    };
    for (const Case& one : cases) {
        const InstallOptions options {.limits = one.limits, .durable = false, .onStep = {}};
        EXPECT_EQ(installPackage(package.string(), m_target.string(), options).error, one.error);
    }
}

TEST_F(Bounds, SizeBeyondTheLimitIsRefusedBeforeItIsWritten)
{
    std::string tar = PackageBuilder().file("a", "x").archive(Format::oldCpio);
    ASSERT_EQ(tar.substr(65, 11), "00000000001"); // the size field of the format
    tar.replace(65, 11, "77777777777");
    InstallOptions options {.limits = {.contentBytes = 1'000'000}, .durable = false, .onStep = {}};
    const fs::path package = packages::writeBundleAround(m_scratch.at("X.pkg"), packages::gzip(tar));
    EXPECT_EQ(
        installPackage(package.string(), m_target.string(), options).error, InstallError::packageTooLarge);
}

TEST_F(Bounds, LargeTableOfContentsIsRefused)
{
    const fs::path package = usualPackage().writeFlat(m_scratch.at("X.pkg"));
    const InstallOptions options {.limits = {.tocBytes = 100}, .durable = false, .onStep = {}};
    EXPECT_EQ(
        installPackage(package.string(), m_target.string(), options).error, InstallError::packageTooLarge);
    EXPECT_EQ(snapshot(m_target), m_before);
}

TEST_F(Bounds, MembersOfAFlatPackageShareTheirBound)
{
    const std::string payload = packages::gzip(usualPackage().archive(Format::oldCpio));
    const std::string bill(100'000, '\0');
    const fs::path package = packages::writeFlatAround(m_scratch.at("X.pkg"), payload, {"Payload"}, bill);
    const std::uint64_t total = bill.size() + payload.size() + std::string("<pkg-info/>").size();
    InstallOptions options {.limits = {.streamBytes = total - 1}, .durable = false, .onStep = {}};
    EXPECT_EQ(
        installPackage(package.string(), m_target.string(), options).error, InstallError::packageTooLarge);
    EXPECT_EQ(snapshot(m_target), m_before);
    options.limits.streamBytes = total;
    EXPECT_TRUE(installPackage(package.string(), m_target.string(), options).ok());
}

TEST_F(Bounds, RunsOfAFlatPackageShareTheirBound)
{
    // A table of contents may name the same bytes again and again.
    constexpr std::uint64_t kHeaderBytes = 28;
    constexpr std::uint64_t kTableChecksumBytes = 20;
    const fs::path package = usualPackage().writeFlat(m_scratch.at("X.pkg"));
    const std::string bytes = readWholeFile(package);
    const auto tableBytes = static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[14]) * 256
        + static_cast<unsigned char>(bytes[15])); // the packed length, big-endian in bytes 8 to 15
    const std::uint64_t runs
        = bytes.size() - kHeaderBytes - tableBytes - kTableChecksumBytes - kUnusedTailBytes;
    const Descriptor opened(open(package.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(checkXarChecksums(opened.get(), {.streamBytes = runs}).error, InstallError::none);
    EXPECT_EQ(
        checkXarChecksums(opened.get(), {.streamBytes = runs - 1}).error, InstallError::packageTooLarge);
}

TEST_F(Bounds, HeaderThatNamesALongerPathThanAnyIsNotCollectedInMemory)
{
    // A few kilobytes of package unpack to as many zeros as the header says that its path has.
    constexpr std::size_t kPathBytes = std::size_t {64} << 20;
    std::string cpio = packages::newCpioMember(1, S_IFREG | 0644, 1, "a", "");
    ASSERT_EQ(cpio.substr(94, 8), "00000002"); // the size field of the path
    cpio.replace(94, 8, "04000000");
    const fs::path package = packages::writeBundleAround(
        m_scratch.at("X.pkg"), packages::gzip(cpio + std::string(kPathBytes, '\0')));
    const InstallResult result = installPackage(package.string(), m_target.string(), InstallOptions {});
    EXPECT_EQ(result.error, InstallError::packageDamaged);
    EXPECT_NE(result.text.find("a member's header is too long"), std::string::npos) << result.text;
    EXPECT_EQ(snapshot(m_target), m_before);
}
