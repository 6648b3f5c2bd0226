// Packages that are damaged or mean harm: nothing changes, nothing is left, and the error says what it was.
#include "tests/TandemService/package/InstallFixture.h"

#include "Platform/Support/Descriptor.h"
#include "TandemService/package/XarChecksums.h"

#include <random>

#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;
using packages::Format;
using packages::PackageBuilder;

namespace {

struct HostileCase {
    const char* name;
    PackageBuilder (*build)();
    InstallError error;
};

const HostileCase kCases[] = {
    {"ParentFolder", [] { return PackageBuilder().file("a", "x").file("../escaped", "x"); },
        InstallError::packageUnsafe},
    {"ParentFolderWithin", [] { return PackageBuilder().file("a/../../escaped", "x"); },
        InstallError::packageUnsafe},
    {"HarmlessParentFolder", [] { return PackageBuilder().file("a/b/../c", "x"); },
        InstallError::packageUnsafe},
    {"Absolute", [] { return PackageBuilder().file("/tmp/escaped", "x"); }, InstallError::packageUnsafe},
    {"ThroughAbsoluteLink", [] { return PackageBuilder().symbolicLink("l", "/tmp").file("l/escaped", "x"); },
        InstallError::packageUnsafe},
    {"ThroughRelativeLink", [] { return PackageBuilder().symbolicLink("l", "../..").file("l/escaped", "x"); },
        InstallError::packageUnsafe},
    {"FolderThroughLink", [] { return PackageBuilder().symbolicLink("l", "/tmp").folder("l/escaped"); },
        InstallError::packageUnsafe},
    {"FileOverLink", [] { return PackageBuilder().symbolicLink("l", "/tmp/escaped").file("l", "x"); },
        InstallError::packageDamaged},
    {"HardLinkOut", [] { return PackageBuilder().hardLink("h", "../Keep.txt"); },
        InstallError::packageUnsafe},
    {"HardLinkAbsolute", [] { return PackageBuilder().hardLink("h", "/etc/passwd"); },
        InstallError::packageUnsafe},
    {"HardLinkToNothing", [] { return PackageBuilder().hardLink("h", "missing"); },
        InstallError::packageUnsafe},
    {"HardLinkToLink", [] { return PackageBuilder().symbolicLink("l", "/etc/passwd").hardLink("h", "l"); },
        InstallError::packageUnsafe},
    {"HardLinkThroughLink",
        [] { return PackageBuilder().symbolicLink("l", "/etc").hardLink("h", "l/passwd"); },
        InstallError::packageUnsafe},
    {"CharacterDevice", [] { return PackageBuilder().file("a", "x").node("d", S_IFCHR); },
        InstallError::packageUnsafe},
    {"BlockDevice", [] { return PackageBuilder().node("d", S_IFBLK); }, InstallError::packageUnsafe},
    {"Fifo", [] { return PackageBuilder().node("p", S_IFIFO); }, InstallError::packageUnsafe},
    {"ReservedName", [] { return PackageBuilder().file(".velmora-install/journal", "x"); },
        InstallError::packageUnsafe},
    {"TwiceTheSameFile", [] { return PackageBuilder().file("a", "x").file("a", "y"); },
        InstallError::packageDamaged},
    {"LongName", [] { return PackageBuilder().file(std::string(256, 'n'), "x"); },
        InstallError::packageTooLarge},
    {"RootIsAFile", [] { return PackageBuilder().file("./", "x"); }, InstallError::packageDamaged},
    {"Empty", [] { return PackageBuilder(); }, InstallError::packageEmpty},
    {"RootOnly", [] { return PackageBuilder().folder("."); }, InstallError::packageEmpty},
};

class HostileMember : public InstallFixture, public ::testing::WithParamInterface<HostileCase> { };
class Damage : public InstallFixture {
protected:
    /// True when the package was installed with exactly its contents; the old contents are back then.
    bool installsRightlyOrNotAtAll(const fs::path& package, std::size_t bit)
    {
        const bool installed = install(package) == InstallError::none;
        if (installed) {
            EXPECT_EQ(snapshot(m_target), usualOutcome()) << bit;
            restore();
        }
        EXPECT_EQ(snapshot(m_target), m_before) << bit;
        return installed;
    }
};

/// Flips one bit in each of `count` places of the file at `path` and installs `package` after each.
void flipBits(const fs::path& file, int count, const std::function<void(std::size_t)>& check)
{
    const std::string sound = readWholeFile(file);
    std::mt19937 random(20'071'023);
    for (int i = 0; i < count; ++i) {
        const std::size_t bit = random() % (sound.size() * 8);
        std::string damaged = sound;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
        std::FILE* const out = std::fopen(file.c_str(), "wb");
        ASSERT_NE(out, nullptr);
        ASSERT_EQ(std::fwrite(damaged.data(), 1, damaged.size(), out), damaged.size());
        ASSERT_EQ(std::fclose(out), 0);
        check(bit);
    }
}

} // namespace

TEST_P(HostileMember, IsRefusedAndChangesNothing)
{
    const fs::path package = GetParam().build().writeBundle(m_scratch.at("X.pkg"));
    EXPECT_EQ(install(package), GetParam().error);
    EXPECT_EQ(snapshot(m_target), m_before);
    EXPECT_FALSE(fs::exists("/tmp/escaped"));
    EXPECT_FALSE(fs::exists(m_scratch.at("escaped")));
    expectNoLitter();
}

INSTANTIATE_TEST_SUITE_P(Members, HostileMember, ::testing::ValuesIn(kCases),
    [](const auto& parameter) { return parameter.param.name; });

TEST_F(Damage, BundleCutAtAnyByteIsRefused)
{
    const std::string sound = packages::gzip(usualPackage().archive(Format::pax));
    for (std::size_t length = 0; length < sound.size(); ++length) {
        const fs::path package = packages::writeBundleAround(m_scratch.at("X.pkg"), sound.substr(0, length));
        ASSERT_NE(install(package), InstallError::none) << length;
        ASSERT_EQ(snapshot(m_target), m_before) << length;
    }
    expectNoLitter();
}

TEST_F(Damage, FlatPackageCutAtAnyByteIsRefused)
{
    const fs::path package = usualPackage().writeFlat(m_scratch.at("X.pkg"));
    const std::uintmax_t used = fs::file_size(package) - kUnusedTailBytes;
    for (std::uintmax_t length = used; length-- > 0;) {
        fs::resize_file(package, length);
        ASSERT_NE(install(package), InstallError::none) << length;
        ASSERT_EQ(snapshot(m_target), m_before) << length;
    }
    expectNoLitter();
}

TEST_F(Damage, FlippedBitInABundleIsRefusedOrHarmless)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    int refused = 0;
    flipBits(package / "Contents/Archive.pax.gz", 600, [&](std::size_t bit) {
        // Some bits mean nothing (time and system in the header), some make another form of the same contents
        // (a run of zeros copied from two bytes back instead of one).
        refused += installsRightlyOrNotAtAll(package, bit) ? 0 : 1;
    });
    EXPECT_GT(refused, 500);
}

TEST_F(Damage, FlippedBitInAFlatPackageIsRefusedOrHarmless)
{
    const fs::path package = usualPackage().writeFlat(m_scratch.at("X.pkg"));
    int refused = 0;
    // Harmless is the number of the checksum's kind in the header: the table of contents names it as well.
    flipBits(
        package, 1500, [&](std::size_t bit) { refused += installsRightlyOrNotAtAll(package, bit) ? 0 : 1; });
    EXPECT_GT(refused, 560);
    expectNoLitter();
}

TEST_F(Damage, WrongChecksumOfTheCompressedStreamIsRefused)
{
    std::string bytes = packages::gzip(usualPackage().archive(Format::pax));
    bytes[bytes.size() - 8] = static_cast<char>(bytes[bytes.size() - 8] ^ 1);
    EXPECT_EQ(
        install(packages::writeBundleAround(m_scratch.at("X.pkg"), bytes)), InstallError::packageDamaged);
    EXPECT_EQ(snapshot(m_target), m_before);
}

TEST_F(Damage, WrongLengthOfTheCompressedStreamIsRefused)
{
    std::string bytes = packages::gzip(usualPackage().archive(Format::pax));
    bytes[bytes.size() - 4] = static_cast<char>(bytes[bytes.size() - 4] ^ 1);
    EXPECT_EQ(
        install(packages::writeBundleAround(m_scratch.at("X.pkg"), bytes)), InstallError::packageDamaged);
}

TEST_F(Damage, DamagedHeaderThatAReaderWouldSkipIsRefused)
{
    std::string cpio = PackageBuilder().file("a", "x").file("b", "y").file("c", "z").archive(Format::newCpio);
    const std::size_t second = cpio.find("070701", 6);
    ASSERT_NE(second, std::string::npos);
    cpio[second] = 'X';
    EXPECT_EQ(install(packages::writeBundleAround(m_scratch.at("X.pkg"), packages::gzip(cpio))),
        InstallError::packageDamaged);
    EXPECT_EQ(snapshot(m_target), m_before);
}

TEST_F(Damage, WrongTarHeaderChecksumIsRefused)
{
    std::string tar = PackageBuilder().file("a", "x").file("bbb", "y").archive(Format::pax);
    const std::size_t name = tar.rfind("bbb");
    ASSERT_NE(name, std::string::npos);
    tar[name] = 'c';
    EXPECT_EQ(install(packages::writeBundleAround(m_scratch.at("X.pkg"), packages::gzip(tar))),
        InstallError::packageDamaged);
    EXPECT_EQ(snapshot(m_target), m_before);
}

TEST_F(Damage, BytesAfterTheArchiveAreRefused)
{
    const std::string archive = usualPackage().archive(Format::pax);
    const std::string stream = packages::gzip(archive);
    const std::string padded = archive + std::string(200'000, '\0') + "hidden";
    EXPECT_EQ(install(packages::writeBundleAround(m_scratch.at("A.pkg"), stream + "x")),
        InstallError::packageDamaged);
    EXPECT_EQ(install(packages::writeBundleAround(m_scratch.at("B.pkg"), packages::gzip(padded))),
        InstallError::packageDamaged);
    EXPECT_EQ(snapshot(m_target), m_before);
}

TEST_F(Damage, FileClaimingMoreThanTheArchiveHoldsIsRefused)
{
    std::string cpio = PackageBuilder().file("a", std::string(10, 'x')).archive(Format::newCpio);
    ASSERT_EQ(cpio.substr(54, 8), "0000000a"); // the size field of the format
    cpio.replace(54, 8, "00100000");
    EXPECT_EQ(install(packages::writeBundleAround(m_scratch.at("X.pkg"), packages::gzip(cpio))),
        InstallError::packageDamaged);
    EXPECT_EQ(snapshot(m_target), m_before);
}

TEST_F(Damage, ArchiveWithoutItsEndIsRefused)
{
    // Cut between two members and compressed only then: every checksum is right.
    const std::string tar = PackageBuilder().file("a", "x").file("b", "y").archive(Format::pax);
    const std::size_t second = tar.find(std::string("b\0", 2));
    ASSERT_NE(second, std::string::npos);
    EXPECT_EQ(install(packages::writeBundleAround(
                  m_scratch.at("A.pkg"), packages::gzip(std::string_view(tar).substr(0, second)))),
        InstallError::packageDamaged);
    const std::string cpio = packages::newCpioMember(1, S_IFREG | 0644, 1, "a", "x");
    EXPECT_EQ(install(packages::writeBundleAround(m_scratch.at("B.pkg"), packages::gzip(cpio))),
        InstallError::packageDamaged);
    EXPECT_EQ(install(packages::writeFlatAround(m_scratch.at("C.pkg"), packages::gzip(cpio))),
        InstallError::packageDamaged);
    EXPECT_EQ(snapshot(m_target), m_before);
}

TEST_F(Damage, HardLinkWithContentsThroughALinkLeavesWhatItNamesAsItIs)
{
    const fs::path victim = m_scratch.write("outside/victim", "mine");
    ASSERT_EQ(chmod(victim.c_str(), 0444), 0);
    const auto package = [&](const std::string& way) {
        return packages::writeBundleAround(m_scratch.at("X.pkg"),
            packages::gzip(packages::paxMember('5', "d", "", "")
                + packages::paxMember('2', "d/l", victim.parent_path().string(), "")
                + packages::paxMember('0', "d/victim", "", "before")
                + packages::paxMember('1', "h", way + "/victim", "after") + std::string(2000, '\0')));
    };
    EXPECT_EQ(install(package("d/l")), InstallError::packageUnsafe);
    EXPECT_EQ(readWholeFile(victim), "mine");
    struct stat status = {};
    ASSERT_EQ(stat(victim.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0444U);
    EXPECT_EQ(install(package("d")), InstallError::none) << "the same without the link is sound";
    EXPECT_EQ(readWholeFile(m_target / "d/victim"), "after");
}

TEST_F(Damage, OtherThingsThanPackagesAreRefused)
{
    EXPECT_EQ(install(m_scratch.at("missing.pkg")), InstallError::packageMissing);
    EXPECT_EQ(install(m_scratch.makeFolder("empty.pkg")), InstallError::packageKind);
    EXPECT_EQ(
        install(m_scratch.write("text.pkg", "hello, hello, hello, hello, hello")), InstallError::packageKind);
    EXPECT_EQ(install(m_scratch.write("none.pkg", "")), InstallError::packageKind);
    ASSERT_EQ(mkfifo(m_scratch.at("fifo.pkg").c_str(), 0600), 0);
    EXPECT_EQ(install(m_scratch.at("fifo.pkg")), InstallError::packageKind);
    EXPECT_EQ(snapshot(m_target), m_before);
    expectNoLitter();
}

TEST_F(Damage, ChecksumsCoverEveryByteOfAFlatPackageThatIsRead)
{
    constexpr std::size_t kHeaderBytes = 28;
    const fs::path package = usualPackage().writeFlat(m_scratch.at("X.pkg"));
    std::string bytes = readWholeFile(package);
    const auto check = [&] {
        const fs::path file = m_scratch.write("Y.pkg", bytes);
        const Descriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC));
        return checkXarChecksums(opened.get(), InstallLimits {}).error;
    };
    ASSERT_EQ(check(), InstallError::none);
    for (std::size_t at = kHeaderBytes; at < bytes.size() - kUnusedTailBytes; ++at) {
        bytes[at] = static_cast<char>(bytes[at] ^ 1);
        ASSERT_EQ(check(), InstallError::packageDamaged) << at;
        bytes[at] = static_cast<char>(bytes[at] ^ 1);
    }
}

TEST_F(Damage, FlatPackageWhoseHeaderNamesNoChecksumIsRefused)
{
    const fs::path package = usualPackage().writeFlat(m_scratch.at("X.pkg"));
    std::string bytes = readWholeFile(package);
    ASSERT_EQ(bytes.substr(24, 4), std::string("\0\0\0\1", 4));
    bytes[27] = 0;
    EXPECT_EQ(install(m_scratch.write("Y.pkg", bytes)), InstallError::packageDamaged);
    EXPECT_EQ(snapshot(m_target), m_before);
}

TEST(XarTableText, GivesEveryRunWithItsChecksum)
{
    XarTable table;
    ASSERT_TRUE(parseXarTable(
        "<xar><toc><checksum style='sha1'><offset>7</offset><size>20</size></checksum>"
        "<file id='1'><name>d</name><file id='2'><data><offset>27</offset><length>5</length>"
        "<archived-checksum style='md5'>ab</archived-checksum>"
        "<extracted-checksum style='sha1'>cd</extracted-checksum></data></file></file></toc></xar>",
        table));
    EXPECT_EQ(table.toc.style, "sha1");
    EXPECT_EQ(table.toc.offset, 7U);
    EXPECT_EQ(table.toc.length, 20U);
    ASSERT_EQ(table.members.size(), 1U);
    EXPECT_EQ(table.members[0].offset, 27U);
    EXPECT_EQ(table.members[0].length, 5U);
    EXPECT_EQ(table.members[0].style, "md5");
    EXPECT_EQ(table.members[0].checksum, "ab");
}

TEST(XarTableText, IsRefusedWhenSomethingIsNotVouchedFor)
{
    const std::string toc = "<checksum style='sha1'><offset>0</offset><size>20</size></checksum>";
    const std::string data = "<file><data><offset>0</offset><length>1</length>";
    const std::string end = "</data></file></toc></xar>";
    XarTable table;
    EXPECT_TRUE(parseXarTable("<xar><toc>" + toc + "</toc></xar>", table));
    for (const std::string& xml : {std::string(), std::string("<xar><toc></toc></xar>"), "<xar><toc>" + toc,
             "<xar><toc>" + data + "<archived-checksum style='md5'>ab</archived-checksum>" + end,
             "<xar><toc>" + toc + data + end,
             "<xar><toc>" + toc + data + "<archived-checksum>ab</archived-checksum>" + end,
             "<xar><toc>" + toc + data
                 + "<offset>-1</offset><archived-checksum style='md5'>ab</archived-checksum>" + end,
             "<xar><toc>" + toc + data
                 + "<length>1x</length><archived-checksum style='md5'>ab</archived-checksum>" + end}) {
        XarTable fresh;
        EXPECT_FALSE(parseXarTable(xml, fresh)) << xml;
    }
}
