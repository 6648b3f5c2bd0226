// Sound packages of both kinds, and what replaces what.
#include "tests/TandemService/package/InstallFixture.h"

#include "TandemService/package/PayloadMember.h"

#include <sys/stat.h>

namespace fs = std::filesystem;
using packages::Format;
using packages::PackageBuilder;

namespace {

class BundlePackage : public InstallFixture, public ::testing::WithParamInterface<Format> { };
class FlatPackage : public InstallFixture { };
class Merge : public InstallFixture { };

} // namespace

TEST_P(BundlePackage, InstallsItsContents)
{
    EXPECT_EQ(install(usualPackage().writeBundle(m_scratch.at("X.pkg"), GetParam())), InstallError::none);
    EXPECT_EQ(snapshot(m_target), usualOutcome());
    expectNoLitter();
}

INSTANTIATE_TEST_SUITE_P(
    Formats, BundlePackage, ::testing::Values(Format::pax, Format::newCpio, Format::oldCpio));

TEST_F(FlatPackage, InstallsPayloadAtTheTop)
{
    EXPECT_EQ(install(usualPackage().writeFlat(m_scratch.at("X.pkg"))), InstallError::none);
    EXPECT_EQ(snapshot(m_target), usualOutcome());
    expectNoLitter();
}

TEST_F(FlatPackage, InstallsPayloadOfAComponent)
{
    EXPECT_EQ(
        install(usualPackage().writeFlat(m_scratch.at("X.pkg"), {"one.pkg/Payload"})), InstallError::none);
    EXPECT_EQ(snapshot(m_target), usualOutcome());
}

TEST_F(FlatPackage, RefusesTwoPayloadsAndChangesNothing)
{
    const fs::path package
        = usualPackage().writeFlat(m_scratch.at("X.pkg"), {"one.pkg/Payload", "two.pkg/Payload"});
    EXPECT_EQ(install(package), InstallError::packageKind);
    EXPECT_EQ(snapshot(m_target), m_before);
    expectNoLitter();
}

TEST_F(FlatPackage, RefusesOneWithoutPayload)
{
    for (const std::string name : {"payload", "deep/one.pkg/Payload", "one/Payload", ".pkg/Payload"})
        EXPECT_EQ(install(usualPackage().writeFlat(m_scratch.at("X.pkg"), {name})), InstallError::packageKind)
            << name;
    EXPECT_EQ(snapshot(m_target), m_before);
}

TEST_F(FlatPackage, RefusesAPayloadThatIsNoCpioArchive)
{
    const std::string tar = packages::gzip(usualPackage().archive(Format::pax));
    EXPECT_EQ(install(packages::writeFlatAround(m_scratch.at("X.pkg"), tar)), InstallError::packageDamaged);
    EXPECT_EQ(snapshot(m_target), m_before);
}

TEST_F(Merge, ReplacesAnEntryAsAWholeAndKeepsTheOthers)
{
    PackageBuilder builder;
    EXPECT_EQ(install(builder.file("Foo.app/Contents/version", "2").writeBundle(m_scratch.at("X.pkg"))),
        InstallError::none);
    EXPECT_FALSE(fs::exists(m_target / "Foo.app/Contents/old"));
    EXPECT_EQ(readWholeFile(m_target / "Foo.app/Contents/version"), "2");
    EXPECT_EQ(readWholeFile(m_target / "Keep.txt"), "mine");
}

TEST_F(Merge, ReplacesContentsWhenTheTargetIsTheBundle)
{
    m_target = m_target / "Foo.app";
    (void)m_scratch.write("apps/Foo.app/Icon", "icon");
    PackageBuilder builder;
    EXPECT_EQ(install(builder.file("Contents/version", "2").writeBundle(m_scratch.at("X.pkg"))),
        InstallError::none);
    const Snapshot after = snapshot(m_target);
    ASSERT_EQ(after.size(), 3U);
    EXPECT_EQ(after.at("Contents/version"), "100644 2");
    EXPECT_EQ(after.at("Icon"), "100644 icon");
}

TEST_F(Merge, ReplacesAFolderByAFileAndALinkByAFolder)
{
    fs::create_symlink("/etc", m_target / "Link");
    PackageBuilder builder;
    builder.file("Foo.app", "a file now").file("Link/inside", "x");
    EXPECT_EQ(install(builder.writeBundle(m_scratch.at("X.pkg"))), InstallError::none);
    EXPECT_EQ(readWholeFile(m_target / "Foo.app"), "a file now");
    EXPECT_TRUE(fs::is_directory(fs::symlink_status(m_target / "Link")));
    EXPECT_FALSE(fs::exists("/etc/inside"));
}

TEST_F(Merge, InstallsThroughALinkToTheTarget)
{
    fs::create_directory_symlink(m_target, m_scratch.at("link"));
    const fs::path real = m_target;
    m_target = m_scratch.at("link");
    EXPECT_EQ(install(usualPackage().writeBundle(m_scratch.at("X.pkg"))), InstallError::none);
    EXPECT_EQ(snapshot(real), usualOutcome());
    EXPECT_TRUE(fs::is_symlink(m_scratch.at("link")));
}

TEST_F(Merge, InstallsNamesOutsideAscii)
{
    PackageBuilder builder;
    const std::string name = "\xC3\x84pfel \xE2\x80\x93 \xE6\x97\xA5\xE6\x9C\xAC.app";
    builder.file(name + "/x", "1");
    for (const Format format : {Format::pax, Format::newCpio}) {
        EXPECT_EQ(install(builder.writeBundle(m_scratch.at("X.pkg"), format)), InstallError::none);
        EXPECT_EQ(readWholeFile(m_target / name / "x"), "1");
        fs::remove_all(m_target / name);
    }
    EXPECT_EQ(install(builder.writeFlat(m_scratch.at("Y.pkg"))), InstallError::none);
    EXPECT_EQ(readWholeFile(m_target / name / "x"), "1");
}

TEST_F(Merge, KeepsHardLinksWithinThePayload)
{
    PackageBuilder builder;
    builder.file("A/one", "same").hardLink("A/two", "A/one");
    EXPECT_EQ(install(builder.writeBundle(m_scratch.at("X.pkg"))), InstallError::none);
    EXPECT_EQ(fs::hard_link_count(m_target / "A/one"), 2U);
    EXPECT_EQ(readWholeFile(m_target / "A/two"), "same");
}

TEST_F(Merge, KeepsTheTimeOfAFile)
{
    EXPECT_EQ(install(usualPackage().writeBundle(m_scratch.at("X.pkg"))), InstallError::none);
    struct stat status = {};
    ASSERT_EQ(stat((m_target / "Bar.app/b").c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'600'000'000);
}

TEST_F(Merge, DropsSetIdBitsAndTheRightsOfOthersToWrite)
{
    PackageBuilder builder;
    builder.file("suid", "x", 06777)
        .file("private", "x", 0000)
        .folder("sticky", 01777)
        .folder("closed", 0000);
    EXPECT_EQ(install(builder.writeBundle(m_scratch.at("X.pkg"))), InstallError::none);
    const Snapshot after = snapshot(m_target);
    EXPECT_EQ(after.at("suid"), "100755 x");
    EXPECT_EQ(after.at("private"), "100400 x");
    EXPECT_EQ(after.at("sticky"), "40755 ");
    EXPECT_EQ(after.at("closed"), "40700 ");
}

TEST_F(Merge, DoesNotDependOnTheMaskOfTheCaller)
{
    const mode_t before = umask(0077);
    PackageBuilder builder;
    EXPECT_EQ(install(builder.file("A/b/c", "x").writeBundle(m_scratch.at("X.pkg"))), InstallError::none);
    EXPECT_EQ(umask(before), 0077U);
    EXPECT_EQ(snapshot(m_target).at("A/b"), "40755 ");
}

TEST_F(Merge, PutsContentsOnDiskWhenAskedTo)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    EXPECT_TRUE(installPackage(package.string(), m_target.string()).ok());
    EXPECT_EQ(snapshot(m_target), usualOutcome());
}
