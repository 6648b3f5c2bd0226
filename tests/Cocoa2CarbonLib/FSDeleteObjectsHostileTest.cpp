// Deletions of trees without measure, and of trees that somebody changes meanwhile.
#include "Cocoa2CarbonLib/FSDeleteObjects.h"

#include "Platform/Support/Descriptor.h"
#include "tests/Cocoa2CarbonLib/CopyCall.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FileTrees.h"
#include "tests/support/PrivateMounts.h"
#include "tests/support/SmallStack.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/fanotify.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int kDepth = 3000;
constexpr int kEntries = 100000;
constexpr int kRaces = 60;

OSStatus deleteQuietly(const FSRef& ref, std::string* printed = nullptr)
{
    testing::internal::CaptureStdout();
    const OSStatus error = FSDeleteObjects(&ref);
    const std::string output = testing::internal::GetCapturedStdout();
    if (printed)
        *printed = output;
    return error;
}

class FSDeleteObjectsHostileTest : public testing::Test {
protected:
    ScopedTempDir m_temp;
    const fs::path m_tree = m_temp.makeFolder("tree");
    const fs::path m_kept = m_temp.write("outside/sub/file", "kept");
};

/// Answers the opening of one folder, and holds the opener until the answer.
class OpenGate {
public:
    explicit OpenGate(const fs::path& folder)
        : m_events(::fanotify_init(FAN_CLASS_CONTENT | FAN_CLOEXEC | FAN_NONBLOCK, O_RDONLY | O_CLOEXEC))
    {
        constexpr UInt64 kMask = FAN_OPEN_PERM | FAN_ONDIR;
        m_works = m_events
            && ::fanotify_mark(
                   m_events.get(), FAN_MARK_ADD | FAN_MARK_ONLYDIR, kMask, AT_FDCWD, folder.c_str())
                == 0;
    }

    bool works() const { return m_works; }

    /// Waits for the first opening, runs `meanwhile`, then lets it and all later ones through until `done`.
    template <typename Body> void serve(Body meanwhile, const std::atomic<bool>& done)
    {
        bool first = true;
        while (!done) {
            struct pollfd waited {
                m_events.get(), POLLIN, 0
            };
            fanotify_event_metadata event;
            constexpr int kPollMs = 20;
            if (::poll(&waited, 1, kPollMs) <= 0 || ::read(m_events.get(), &event, sizeof event) <= 0)
                continue;
            const Descriptor opened(event.fd);
            if (first)
                meanwhile();
            first = false;
            const fanotify_response response {event.fd, FAN_ALLOW};
            EXPECT_EQ(::write(m_events.get(), &response, sizeof response), ssize_t(sizeof response));
        }
    }

private:
    Descriptor m_events;
    bool m_works = false;
};

/// Deletes `tree`; when `gate`'s folder is opened, runs `meanwhile` before that goes on.
template <typename Body>
OSStatus deleteWithInterruption(const fs::path& tree, OpenGate& gate, std::string& printed, Body meanwhile)
{
    const FSRef ref = refTo(tree);
    std::atomic<bool> done = false;
    OSStatus error = 1;
    testing::internal::CaptureStdout();
    std::thread deletion([&] {
        error = FSDeleteObjects(&ref);
        done = true;
    });
    gate.serve(meanwhile, done);
    deletion.join();
    printed = testing::internal::GetCapturedStdout();
    return error;
}

std::size_t countOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

} // namespace

TEST_F(FSDeleteObjectsHostileTest, DeletesAHundredThousandFiles)
{
    trees::makeFiles(m_tree, kEntries);
    EXPECT_EQ(deleteQuietly(refTo(m_tree)), 0);
    EXPECT_FALSE(trees::exists(m_tree));
}

TEST_F(FSDeleteObjectsHostileTest, DeletesManyFoldersAtTheDepthWhereUpperLevelsAreClosed)
{
    // Each of the inner chains makes the levels above close and open again.
    const std::string middle = trees::makeChain(m_tree, 20, "m");
    for (int i = 0; i < 100; ++i) {
        const fs::path branch = fs::path(middle) / std::to_string(i);
        ASSERT_TRUE(fs::create_directory(branch));
        trees::makeChain(branch, 40, "d");
    }
    EXPECT_EQ(deleteQuietly(refTo(m_tree)), 0);
    EXPECT_FALSE(trees::exists(m_tree));
}

TEST_F(FSDeleteObjectsHostileTest, DeletesThreeThousandLevelsWithASmallStack)
{
    const std::string last = trees::makeChain(m_tree, kDepth, "a folder");
    ASSERT_GT(last.size(), 4096u) << "deeper than a path can name";
    const FSRef ref = refTo(m_tree);
    OSStatus error = 1;
    constexpr std::size_t kStackBytes = 256 * 1024;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(runWithStack(kStackBytes, [&] { error = FSDeleteObjects(&ref); }));
    (void)testing::internal::GetCapturedStdout(); // its text is another test's matter
    EXPECT_EQ(error, 0);
    EXPECT_FALSE(trees::exists(m_tree));
}

TEST_F(FSDeleteObjectsHostileTest, DeletesThreeThousandLevelsWithFewDescriptors)
{
    trees::makeChain(m_tree, kDepth, "a folder");
    const FSRef ref = refTo(m_tree);
    const int status = child::run([&ref] {
        constexpr rlim_t kDescriptors = 40;
        const rlimit limit {kDescriptors, kDescriptors};
        if (!std::freopen("/dev/null", "w", stdout) || ::setrlimit(RLIMIT_NOFILE, &limit) != 0)
            return 1;
        return FSDeleteObjects(&ref) == 0 ? 0 : 2;
    });
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(trees::exists(m_tree));
}

TEST_F(FSDeleteObjectsHostileTest, LeavesNoDescriptorOpen)
{
    trees::makeChain(m_tree, 50, "d");
    const FSRef ref = refTo(m_tree);
    const std::size_t before = trees::names("/proc/self/fd").size();
    EXPECT_EQ(deleteQuietly(ref), 0);
    EXPECT_EQ(trees::names("/proc/self/fd").size(), before);
}

TEST_F(FSDeleteObjectsHostileTest, NeverFollowsALinkThatIsSwappedInMeanwhile)
{
    const fs::path swapped = m_tree / "a" / "b";
    const fs::path link = m_temp.at("link");
    std::atomic<bool> done = false;
    // Exchanges the folder and a link to the outside as fast as it can, while trees are deleted and made
    // again.
    std::thread swapper([&] {
        while (!done)
            (void)::renameat2(
                AT_FDCWD, swapped.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE); // may be gone
    });
    for (int i = 0; i < kRaces; ++i) {
        std::error_code ignored; // the other thread may just have put another kind of object there
        fs::create_directories(swapped / "sub", ignored);
        fs::remove_all(link, ignored);
        fs::create_directory_symlink(m_temp.at("outside"), link, ignored);
        (void)deleteQuietly(refTo(m_tree)); // it may well fail, what matters is what it touches
        ASSERT_EQ(readWholeFile(m_kept), "kept") << "after " << i << " deletions";
    }
    done = true;
    swapper.join();
    EXPECT_EQ(readWholeFile(m_kept), "kept");
}

TEST_F(FSDeleteObjectsHostileTest, DeletesALinkThatTakesAFoldersPlaceMeanwhile)
{
    m_temp.write("tree/sub/file", "x");
    OpenGate gate(m_tree);
    if (!gate.works())
        GTEST_SKIP() << "holding a folder's opening needs user id 0 and fanotify permission events";
    std::string printed;
    // The top folder is known to be a folder when it is opened: at that moment a link takes the place of its
    // child.
    const OSStatus error = deleteWithInterruption(m_tree, gate, printed, [&] {
        fs::rename(m_tree / "sub", m_temp.at("moved"));
        fs::create_directory_symlink(m_temp.at("outside/sub"), m_tree / "sub");
    });
    EXPECT_EQ(error, 0) << "a link is deleted itself";
    EXPECT_FALSE(trees::exists(m_tree));
    EXPECT_EQ(readWholeFile(m_kept), "kept");
    EXPECT_TRUE(trees::exists(m_temp.at("moved/file")));
}

TEST_F(FSDeleteObjectsHostileTest, StopsWhereAFolderWasMovedAwayFromAboveTheOpenLevels)
{
    // Levels are tree, 1, 2 ... 19; while the last one is opened, those above the innermost 16 are closed.
    fs::path deepest = m_tree;
    for (int i = 1; i <= 19; ++i)
        deepest /= std::to_string(i);
    fs::create_directories(deepest);
    OpenGate gate(deepest);
    if (!gate.works())
        GTEST_SKIP() << "holding a folder's opening needs user id 0 and fanotify permission events";
    std::string printed;
    const OSStatus error = deleteWithInterruption(
        m_tree, gate, printed, [&] { fs::rename(m_tree / "1/2", m_temp.at("outside/2")); });
    EXPECT_EQ(error, -1401);
    EXPECT_EQ(readWholeFile(m_kept), "kept") << "what lies beside the folder's new place is not its own";
    EXPECT_TRUE(trees::exists(m_tree / "1"));
    EXPECT_EQ(countOf(printed,
                  "(FSCloseIterator(iterator)) != noErr in File: FSDeleteObjects.cpp, Function: "
                  "FSDeleteFolderLevel, Line: "),
        2u)
        << printed;
    EXPECT_EQ(countOf(printed, "theGlobals->result != noErr"), 2u) << printed;
}

TEST_F(FSDeleteObjectsHostileTest, LeavesAFolderOfTheSameFileSystemThatIsMountedAlone)
{
    const fs::path mounted = m_temp.makeFolder("tree/mounted");
    const fs::path elsewhere = m_temp.write("elsewhere/file", "kept");
    const FSRef ref = refTo(m_tree);
    const int status = child::run([&] {
        if (!mounts::separate() || !mounts::bind(elsewhere.parent_path(), mounted))
            return mounts::kCannotMount;
        return deleteQuietly(ref) == -47 ? 0 : 1;
    });
    if (status == mounts::kCannotMount)
        GTEST_SKIP() << "mounting needs user id 0";
    EXPECT_EQ(status, 0);
    EXPECT_EQ(readWholeFile(elsewhere), "kept");
}

TEST_F(FSDeleteObjectsHostileTest, LeavesAMountedFileSystemAlone)
{
    const fs::path mounted = m_temp.makeFolder("tree/mounted");
    const FSRef ref = refTo(m_tree);
    // In a name space of the child's own: nobody else sees the mount, and it ends with the child.
    const int status = child::run([&] {
        if (!mounts::separate() || !mounts::mountNew(mounted, "tmpfs", nullptr))
            return mounts::kCannotMount;
        m_temp.write("tree/mounted/file", "kept");
        const OSStatus error = deleteQuietly(ref);
        return error == -47 && readWholeFile(mounted / "file") == "kept" ? 0 : 1;
    });
    if (status == mounts::kCannotMount)
        GTEST_SKIP() << "mounting needs user id 0";
    EXPECT_EQ(status, 0);
}
