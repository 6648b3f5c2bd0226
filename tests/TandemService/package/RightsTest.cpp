// Targets that cannot be changed, full disks, and whose staging folders are trusted.
#include "tests/TandemService/package/InstallFixture.h"
#include "tests/TandemService/package/SmallDisk.h"

#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using packages::PackageBuilder;

namespace {

class Rights : public InstallFixture {
protected:
    void giveToNobody() const
    {
        ASSERT_EQ(chown(m_target.c_str(), 65534, 65534), 0);
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_target))
            ASSERT_EQ(lchown(entry.path().c_str(), 65534, 65534), 0);
    }
};

} // namespace

TEST_F(Rights, MissingTargetIsRefused)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    m_target = m_scratch.at("nowhere");
    EXPECT_EQ(install(package), InstallError::targetMissing);
    EXPECT_FALSE(fs::exists(m_target));
    m_target = m_scratch.write("file", "x");
    EXPECT_EQ(install(package), InstallError::targetMissing);
    m_target = "";
    EXPECT_EQ(install(package), InstallError::targetMissing);
}

TEST_F(Rights, TargetOfSomebodyElseIsRefused)
{
    SKIP_UNLESS_ROOT();
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    const int status = runAsNobody([&] { return static_cast<int>(install(package)); });
    EXPECT_EQ(status, static_cast<int>(InstallError::targetNotWritable));
    EXPECT_EQ(snapshot(m_target), m_before);
    expectNoLitter();
}

TEST_F(Rights, FolderOfSomebodyElseInAnOpenTargetIsRefusedAndStays)
{
    SKIP_UNLESS_ROOT();
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    ASSERT_EQ(chmod(m_target.c_str(), 0777), 0);
    const int status = runAsNobody([&] { return static_cast<int>(install(package)); });
    EXPECT_EQ(status, static_cast<int>(InstallError::targetNotWritable));
    EXPECT_EQ(snapshot(m_target), m_before);
    expectNoLitter();
}

TEST_F(Rights, StagingLiesWithinTheTargetWhenTheFolderAboveIsClosed)
{
    SKIP_UNLESS_ROOT();
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    giveToNobody();
    const int status = runAsNobody([&] {
        InstallOptions options;
        bool within = false;
        options.onStep = [&](std::string_view step) {
            struct stat found = {};
            const bool there = stat((m_target / ".velmora-install").c_str(), &found) == 0;
            within = within || (step == "staged" && there && (found.st_mode & 07777) == 0700);
        };
        const InstallResult result = installPackage(package.string(), m_target.string(), options);
        return result.ok() && within ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(snapshot(m_target), usualOutcome());
    expectNoLitter();
}

TEST_F(Rights, StagingLiesBesideTheTargetAndIsPrivate)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    InstallOptions options;
    options.durable = false;
    mode_t mode = 0;
    options.onStep = [&](std::string_view step) {
        struct stat found = {};
        if (step == "staged" && stat(m_scratch.at(".apps.velmora-install").c_str(), &found) == 0)
            mode = found.st_mode;
    };
    EXPECT_TRUE(installPackage(package.string(), m_target.string(), options).ok());
    EXPECT_EQ(mode, S_IFDIR | 0700U);
}

TEST_F(Rights, StagingFolderOfAStrangerIsNotTrusted)
{
    SKIP_UNLESS_ROOT();
    const fs::path staging = m_scratch.makeFolder(".apps.velmora-install");
    (void)m_scratch.makeFolder(".apps.velmora-install/new");
    (void)m_scratch.makeFolder(".apps.velmora-install/old");
    (void)m_scratch.write(".apps.velmora-install/journal", "install journal 1\n+8 Keep.txt\nend\n");
    ASSERT_EQ(chown(staging.c_str(), 12345, 12345), 0);
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    EXPECT_EQ(install(package), InstallError::recoveryFailed);
    EXPECT_EQ(snapshot(m_target), m_before);
}

TEST_F(Rights, LinkInPlaceOfTheStagingFolderIsNotFollowed)
{
    fs::create_directory_symlink(m_scratch.makeFolder("trap"), m_scratch.at(".apps.velmora-install"));
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    EXPECT_EQ(install(package), InstallError::recoveryFailed);
    EXPECT_EQ(snapshot(m_target), m_before);
    EXPECT_TRUE(fs::is_empty(m_scratch.at("trap")));
}

TEST_F(Rights, TargetOnAFileSystemOfItsOwnIsInstalledInto)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    m_target = m_scratch.makeFolder("disk");
    const SmallDisk disk(m_target, "size=1m");
    SKIP_UNLESS_MOUNTED(disk);
    EXPECT_EQ(install(package), InstallError::none);
    EXPECT_EQ(readWholeFile(m_target / "Bar.app/b"), "bar");
    expectNoLitter();
}

TEST_F(Rights, FileLargerThanTheFreeSpaceIsRefused)
{
    const fs::path package = PackageBuilder()
                                 .file("small", "x")
                                 .file("big", std::string(2 << 20, 'x'))
                                 .writeBundle(m_scratch.at("X.pkg"));
    m_target = m_scratch.makeFolder("disk");
    const SmallDisk disk(m_target, "size=1m");
    SKIP_UNLESS_MOUNTED(disk);
    std::ofstream(m_target / "mine") << "kept";
    EXPECT_EQ(install(package), InstallError::noSpace);
    EXPECT_EQ(snapshot(m_target), (Snapshot {{"mine", "100644 kept"}}));
}

TEST_F(Rights, DiskThatFillsUpMidwayIsACleanFailure)
{
    PackageBuilder builder;
    for (int i = 0; i < 40; ++i)
        builder.file("f" + std::to_string(i), "x");
    const fs::path package = builder.writeBundle(m_scratch.at("X.pkg"));
    m_target = m_scratch.makeFolder("disk");
    const SmallDisk disk(m_target, "size=1m,nr_inodes=20");
    SKIP_UNLESS_MOUNTED(disk);
    std::ofstream(m_target / "mine") << "kept";
    EXPECT_EQ(install(package), InstallError::noSpace);
    EXPECT_EQ(snapshot(m_target), (Snapshot {{"mine", "100644 kept"}}));
}

TEST_F(Rights, EntryWithSomethingMountedInItIsNotReplaced)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    const SmallDisk disk(m_scratch.makeFolder("apps/Foo.app/data"), "size=1m");
    SKIP_UNLESS_MOUNTED(disk);
    (void)m_scratch.write("apps/Foo.app/data/gold", "mine");
    m_before = snapshot(m_target);
    EXPECT_EQ(install(package), InstallError::swapFailed);
    EXPECT_EQ(snapshot(m_target), m_before);
    expectNoLitter();
}

TEST_F(Rights, InterruptedInstallOfAnAdministratorNeedsHisRights)
{
    SKIP_UNLESS_ROOT();
    (void)m_scratch.write(".apps.velmora-install/old/Gone", "was here");
    (void)m_scratch.makeFolder(".apps.velmora-install/new");
    (void)m_scratch.write(".apps.velmora-install/journal", "install journal 1\n=4 Gone\nend\n");
    ASSERT_EQ(chmod(m_scratch.at(".apps.velmora-install").c_str(), 0700), 0);
    const auto recover = [&] { return static_cast<int>(recoverInstall(m_target.string()).error); };
    EXPECT_EQ(runAsNobody(recover), static_cast<int>(InstallError::targetNotWritable));
    giveToNobody();
    EXPECT_EQ(runAsNobody(recover), static_cast<int>(InstallError::targetNotWritable));
    EXPECT_EQ(recover(), 0);
    EXPECT_EQ(readWholeFile(m_target / "Gone"), "was here");
    expectNoLitter();
}

TEST_F(Rights, HardLinksToAReadOnlyFileWhoseContentsComeLastAreInstalled)
{
    SKIP_UNLESS_ROOT();
    giveToNobody();
    const fs::path package = packages::writeBundleAround(m_scratch.at("X.pkg"),
        packages::gzip(packages::newCpioMember(1, S_IFREG | 0444, 2, "one", "")
            + packages::newCpioMember(1, S_IFREG | 0444, 2, "two", "same")
            + packages::newCpioMember(0, 0, 1, "TRAILER!!!", "")));
    EXPECT_EQ(runAsNobody([&] { return static_cast<int>(install(package)); }), 0);
    EXPECT_EQ(fs::hard_link_count(m_target / "one"), 2U);
    const Snapshot after = snapshot(m_target);
    EXPECT_EQ(after.at("one"), "100444 same");
    EXPECT_EQ(after.at("two"), "100444 same");
}
