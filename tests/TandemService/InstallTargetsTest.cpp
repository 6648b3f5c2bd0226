#include "TandemService/InstallTargets.h"
#include "TandemService/HostServices.h"

#include "tests/support/FakeHome.h"
#include "tests/support/PackageBuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

PackageRunner::Programs programs()
{
    PackageRunner::Programs found;
    found.installer = INSTALLER_PROGRAM;
    found.asksForRights = false;
    return found;
}

/// Leaves an install into the folder `above` + `name` interrupted in its swap: "Gone" is set aside.
void interrupt(const ScopedTempDir& folder, const std::string& above, const std::string& name)
{
    const std::string staging = above + "." + name + ".velmora-install";
    (void)folder.makeFolder(above + name);
    (void)folder.makeFolder(staging + "/new");
    (void)folder.write(staging + "/old/Gone", "was here");
    (void)folder.write(staging + "/journal", "install journal 1\n=4 Gone\nend\n");
}

} // namespace

TEST(InstallTargetsList, KeepsPathsOfEverySortInOrder)
{
    const FakeHome home;
    InstallTargets targets;
    EXPECT_THAT(targets.list(), IsEmpty());
    targets.add("/b");
    targets.add("/a\nwith newline");
    targets.add("/b");
    EXPECT_THAT(InstallTargets().list(), ElementsAre("/b", "/a\nwith newline"));
    targets.remove("/b");
    EXPECT_THAT(targets.list(), ElementsAre("/a\nwith newline"));
    targets.remove("/never added");
    EXPECT_THAT(targets.list(), ElementsAre("/a\nwith newline"));
}

TEST(InstallTargetsList, TakesADamagedFileAsNothing)
{
    const FakeHome home;
    (void)home.folder().write(
        "cache/com.velmora.tandemservice/InstallTargets", std::string("x\0/good\0../y", 12));
    EXPECT_THAT(InstallTargets().list(), ElementsAre("/good"));
    (void)home.folder().write("cache/com.velmora.tandemservice/InstallTargets", std::string(2 << 20, '/'));
    EXPECT_THAT(InstallTargets().list(), IsEmpty());
}

TEST(InstallTargetsList, IsEmptyWithoutACachesFolderWhateverTheWorkingFolderHolds)
{
    const FakeHome home;
    const ScopedEnvironment caches("XDG_CACHE_HOME", home.folder().write("file", "").string());
    const std::filesystem::path before = std::filesystem::current_path();
    (void)home.folder().write("here/InstallTargets", std::string("/somewhere\0", 11));
    std::filesystem::current_path(home.folder().at("here"));
    InstallTargets targets;
    EXPECT_THAT(targets.list(), IsEmpty());
    targets.add("/b");
    EXPECT_THAT(targets.list(), IsEmpty());
    std::filesystem::current_path(before);
}

TEST(HostServicesRecovery, PutsBackInListedTargetsAndItsOwnPlace)
{
    const FakeHome home;
    interrupt(home.folder(), "", "listed");
    interrupt(home.folder(), "", "suite");
    interrupt(home.folder(), "suite/", "Own.app");
    InstallTargets().add(home.folder().at("listed").string());
    InstallTargets().add("/nowhere");
    HostServices services(programs(), {.relaunchAsked = [] {}, .updateEnded = [] {}});
    services.recoverInstalls(home.folder().at("suite/Own.app").string());
    for (const char* place : {"listed/Gone", "suite/Gone", "suite/Own.app/Gone"})
        EXPECT_EQ(readWholeFile(home.folder().at(place)), "was here") << place;
    EXPECT_THAT(InstallTargets().list(), IsEmpty());
}

TEST(HostServicesInstall, ListsATargetOnlyWhileItIsInstalledInto)
{
    const FakeHome home;
    const std::string target = home.folder().makeFolder("target").string();
    const std::string package
        = packages::PackageBuilder().file("new", "x").writeBundle(home.folder().at("X.pkg")).string();
    HostServices services(programs(), {.relaunchAsked = [] {}, .updateEnded = [] {}});
    EXPECT_EQ(services.installPackage(package, target), 0);
    EXPECT_EQ(readWholeFile(home.folder().at("target/new")), "x");
    EXPECT_EQ(services.installPackage("/missing.pkg", target), 2);
    EXPECT_THAT(InstallTargets().list(), IsEmpty());
}

TEST(HostServicesInstall, RefusesRelativePaths)
{
    const FakeHome home;
    HostServices services(programs(), {.relaunchAsked = [] {}, .updateEnded = [] {}});
    EXPECT_EQ(services.installPackage("X.pkg", "/tmp"), 1);
    EXPECT_EQ(services.installPackage("/X.pkg", "."), 1);
}
