// Which folders an update may delete, and that nothing else goes.
#include "Update/descriptor/DeletableFolder.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/FakeHome.h"
#include "tests/support/FileTrees.h"
#include "tests/support/ProductBundles.h"

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

FSRef refTo(const fs::path& path)
{
    FSRef ref;
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr), 0) << path;
    return ref;
}

bool mayDelete(const fs::path& folder, const std::vector<std::string>& kept = {})
{
    FSRef ref = refTo(folder);
    return isDeletableFolder(ref, kept);
}

/// A tree of folders in which "a/b/c" is to be kept.
class DeletableFolder : public testing::Test {
protected:
    DeletableFolder()
    {
        (void)m_folder.write("a/b/c/inner/file", "x");
        (void)m_folder.write("a/b/sibling/file", "x");
    }
    fs::path at(std::string_view name) const { return m_folder.at(name); }

    const ScopedTempDir m_folder;
};

} // namespace

TEST_F(DeletableFolder, IsOneThatNeitherIsNorHoldsAKeptFolder)
{
    struct Case {
        const char* folder;
        bool deletable;
    };
    const std::string kept = at("a/b/c");
    for (const Case& c : {Case {"a/b/c", false}, Case {"a/b", false}, Case {"a", false},
             Case {"a/b/sibling", true}, Case {"a/b/c/inner", true}}) {
        EXPECT_EQ(mayDelete(at(c.folder), {kept}), c.deletable) << c.folder;
        EXPECT_EQ(mayDelete(at(c.folder), {"/nowhere", kept}), c.deletable) << c.folder;
        EXPECT_TRUE(mayDelete(at(c.folder))) << c.folder;
    }
}

TEST_F(DeletableFolder, IsNeitherTheRootNorDirectlyBelowIt)
{
    for (const char* folder : {"/", "/usr", "/tmp", "/proc", "/usr/../etc", "/./var"})
        EXPECT_FALSE(mayDelete(folder)) << folder;
}

TEST_F(DeletableFolder, IsNoneBelowTheRootThroughALink)
{
    fs::create_directory_symlink("/", at("root"));
    EXPECT_FALSE(mayDelete(at("root/usr")));
    EXPECT_FALSE(mayDelete(at("root/usr/..")));
}

TEST_F(DeletableFolder, IsComparedByIdentityAndNotByName)
{
    fs::create_directory_symlink(at("a"), at("link"));
    const std::string kept = at("a/b/c");
    EXPECT_FALSE(mayDelete(at("link/b"), {kept}));
    EXPECT_FALSE(mayDelete(at("a/b/sibling/.."), {kept}));
    EXPECT_FALSE(mayDelete(at("a/b"), {at("link/b/c").string()}));
    EXPECT_FALSE(mayDelete(at("a/b"), {at("a/b/sibling/../c").string()}));
}

TEST_F(DeletableFolder, DoesNotHoldTheLinkThatAKeptPathPassesThrough)
{
    (void)m_folder.makeFolder("elsewhere/caches");
    fs::create_directory_symlink(at("elsewhere/caches"), at("a/b/sibling/link"));
    const std::string kept = at("a/b/sibling/link");
    EXPECT_FALSE(mayDelete(at("a/b/sibling"), {kept})); // the link would be lost
    EXPECT_FALSE(mayDelete(at("elsewhere"), {kept}));   // what it leads to would be lost
    EXPECT_FALSE(mayDelete(at("elsewhere/caches"), {kept}));
    EXPECT_TRUE(mayDelete(at("a/b/c"), {kept}));
}

TEST_F(DeletableFolder, IsNoSymbolicLink)
{
    fs::create_directory_symlink(at("a/b/sibling"), at("link"));
    EXPECT_FALSE(mayDelete(at("link")));
}

TEST_F(DeletableFolder, IsTheOneThatWasMeant)
{
    FSRef ref = refTo(at("a/b/sibling"));
    fs::rename(at("a/b/sibling"), at("a/b/moved"));
    EXPECT_FALSE(isDeletableFolder(ref, {}));
    fs::create_directory(at("a/b/sibling"));
    EXPECT_FALSE(isDeletableFolder(ref, {}));
    FSRef file = refTo(at("a/b/moved/file"));
    EXPECT_FALSE(isDeletableFolder(file, {}));
}

TEST_F(DeletableFolder, IsNoneWhenTheWayToAKeptFolderIsClosed)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "needs root to become a user whom a folder is closed to";
    (void)m_folder.makeFolder("closed");
    fs::create_directory_symlink(at("a/b/c"), at("closed/link"));
    fs::permissions(m_folder.path(), fs::perms(0755));
    const FSRef folder = refTo(at("a/b"));
    const auto isDeletable = [&folder](const fs::path& kept) {
        const int status = child::runAsNobody([&] {
            FSRef ref = folder;
            return isDeletableFolder(ref, {kept.string()}) ? 1 : 0;
        });
        EXPECT_TRUE(status == 0 || status == 1) << status;
        return status == 1;
    };
    fs::permissions(at("closed"), fs::perms(0700));
    EXPECT_FALSE(isDeletable(at("closed/link"))); // it may lead into the folder, as it does
    EXPECT_TRUE(isDeletable(at("missing")));
    EXPECT_TRUE(isDeletable(at("missing/folder")));
    EXPECT_TRUE(isDeletable(m_folder.write("file", "x") / "folder")); // a file holds no folder
}

TEST_F(DeletableFolder, IsGivenItsRealPath)
{
    fs::create_directory_symlink(at("a"), at("link"));
    FSRef ref = refTo(at("link/b/c/../sibling"));
    ASSERT_TRUE(isDeletableFolder(ref, {}));
    EXPECT_EQ(ref.path, at("a/b/sibling").string());
}

TEST_F(DeletableFolder, IsNoMountPoint)
{
    EXPECT_FALSE(mayDelete("/dev/shm")); // a file system of its own
}

TEST_F(DeletableFolder, NeitherIsNorHoldsAFolderMountedFromTheSameFileSystem)
{
    constexpr int kMayNotMount = 100;
    // In a child: the mounts of its own, and what they do to paths, end with it.
    const int wrong = child::run([this] {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
            || mount(at("a/b/c").c_str(), at("a/b/sibling").c_str(), nullptr, MS_BIND, nullptr) != 0)
            return kMayNotMount;
        if (mayDelete(at("a/b/sibling")) || mayDelete(at("a/b")) || mayDelete(at("a")))
            return 1;
        if (!mayDelete(at("a/b/c/inner")))
            return 2;
        deleteFolderUnlessKept(refTo(at("a/b")));
        return fs::exists(at("a/b/c/inner/file")) ? 0 : 3;
    });
    if (wrong == kMayNotMount)
        GTEST_SKIP() << "this user may not mount";
    EXPECT_EQ(wrong, 0);
}

TEST(KeptFolders, AreTheHomeTheCachesTheHostAndAllProducts)
{
    const FakeHome home;
    const struct passwd* const user = getpwuid(getuid());
    ASSERT_NE(user, nullptr);
    collectedProductBundles() = {"/apps/One.app", "/apps/Two.app"};
    (void)home.folder().makeFolder("cache");
    const std::vector<std::string> kept = keptFolders();
    collectedProductBundles().clear();
    const auto holds = [&kept](const std::string& path) {
        return std::find(kept.begin(), kept.end(), path) != kept.end();
    };
    EXPECT_TRUE(holds(home.home()));
    EXPECT_TRUE(holds(user->pw_dir)); // whatever the environment says
    EXPECT_TRUE(holds(home.cache()));
    EXPECT_TRUE(holds("/apps/One.app"));
    EXPECT_TRUE(holds("/apps/Two.app"));
    EXPECT_TRUE(holds(fs::read_symlink("/proc/self/exe"))); // the host, here a program without a bundle
}

TEST(DeleteFolderUnlessKept, DeletesAWholeFolder)
{
    const FakeHome home;
    (void)home.folder().write("work/step/deep/file", "x");
    deleteFolderUnlessKept(refTo(home.path() / "work/step"));
    EXPECT_FALSE(trees::exists(home.path() / "work/step"));
    EXPECT_TRUE(trees::exists(home.path() / "work"));
}

TEST(DeleteFolderUnlessKept, LeavesKeptFoldersAlone)
{
    const FakeHome home;
    (void)home.folder().write("home/file", "x");
    (void)home.folder().write("cache/file", "x");
    (void)home.folder().write("apps/One.app/file", "x");
    collectedProductBundles() = {home.path() / "apps/One.app"};
    for (const char* folder : {"home", "cache", "apps/One.app", "apps", "."})
        deleteFolderUnlessKept(refTo(home.path() / folder));
    collectedProductBundles().clear();
    EXPECT_TRUE(trees::exists(home.path() / "home/file"));
    EXPECT_TRUE(trees::exists(home.path() / "cache/file"));
    EXPECT_TRUE(trees::exists(home.path() / "apps/One.app/file"));
}

TEST(DeleteFolderUnlessKept, LosesNothingOutsideWhileTheFolderIsSwapped)
{
    const FakeHome home;
    const fs::path target = home.folder().write("precious/file", "x");
    const fs::path work = home.folder().makeFolder("work");
    fs::create_directory_symlink(home.path() / "precious", home.path() / "link");
    constexpr int kSwaps = 100;
    for (int i = 0; i < kSwaps; ++i) {
        (void)home.folder().write("work/step/file", "x");
        const FSRef folder = refTo(work / "step");
        std::atomic<bool> done = false;
        std::thread swapper([&] {
            // The folder and a link to another one change places as long as the deletion runs.
            while (!done)
                (void)renameat2(AT_FDCWD, (work / "step").c_str(), AT_FDCWD, (home.path() / "link").c_str(),
                    RENAME_EXCHANGE);
        });
        deleteFolderUnlessKept(folder);
        done = true;
        swapper.join();
        ASSERT_TRUE(trees::exists(target)) << "after " << i << " swaps";
        // Whatever is where now: begin again.
        fs::remove_all(work / "step");
        fs::remove_all(home.path() / "link");
        fs::create_directory_symlink(home.path() / "precious", home.path() / "link");
    }
}
