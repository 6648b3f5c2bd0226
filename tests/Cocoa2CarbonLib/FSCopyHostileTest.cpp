// Copies of trees without measure, and of trees that somebody changes meanwhile.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "Platform/Support/Descriptor.h"
#include "tests/Cocoa2CarbonLib/CopyCall.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FileTrees.h"
#include "tests/support/SmallStack.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr int kDepth = 500;
constexpr int kEntries = 2000;
constexpr int kRaces = 100;
constexpr std::size_t kStackBytes = 256 * 1024;

class FSCopyHostileTest : public testing::Test {
protected:
    OSStatus copy()
    {
        CopyCall call;
        call.source = m_tree;
        call.destDir = m_dest;
        return call.run();
    }

    ScopedTempDir m_temp;
    const fs::path m_tree = m_temp.makeFolder("tree");
    const fs::path m_dest = m_temp.makeFolder("dest");
    const fs::path m_kept = m_temp.write("outside/sub/secret", "kept");
};

/// How many folders named `name` lie in one another, beginning in `folder`.
int depthOf(const fs::path& folder, const char* name)
{
    Descriptor current(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    for (int depth = 0;; ++depth) {
        Descriptor next(::openat(current.get(), name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!next)
            return depth;
        current = std::move(next);
    }
}

/// Exchanges two objects as fast as it can while it lives.
class Swapper {
public:
    Swapper(const fs::path& one, const fs::path& other)
        : m_thread([this, one, other] {
            while (!m_done)
                (void)::renameat2(
                    AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE); // may be gone
        })
    {
    }
    ~Swapper()
    {
        m_done = true;
        m_thread.join();
    }

private:
    std::atomic<bool> m_done = false;
    std::thread m_thread;
};

} // namespace

TEST_F(FSCopyHostileTest, CopiesTwoThousandFiles)
{
    trees::makeFiles(m_tree, kEntries);
    EXPECT_EQ(copy(), 0);
    EXPECT_EQ(trees::names(m_dest / "tree"), trees::names(m_tree));
    EXPECT_EQ(trees::names(m_tree).size(), std::size_t(kEntries));
}

TEST_F(FSCopyHostileTest, CopiesAFileOfSeveralMebibytes)
{
    std::string content(5 << 20, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 7 + i / 4099);
    m_temp.write("tree/big", content);
    EXPECT_EQ(copy(), 0);
    EXPECT_TRUE(readWholeFile(m_dest / "tree/big") == content);
}

TEST_F(FSCopyHostileTest, CopiesFiveHundredLevelsWithFewDescriptorsAndASmallStack)
{
    trees::makeChain(m_tree, kDepth, "a folder's name");
    const FSRef source = refTo(m_tree);
    const FSRef dest = refTo(m_dest);
    const int status = child::run([&] {
        constexpr rlim_t kDescriptors = 60;
        const rlimit limit {kDescriptors, kDescriptors};
        if (!std::freopen("/dev/null", "w", stdout) || ::setrlimit(RLIMIT_NOFILE, &limit) != 0)
            return 1;
        OSStatus error = 1;
        const bool ran = runWithStack(kStackBytes, [&] {
            error = FSCopyObject(
                &source, &dest, 0, 0, 0, nullptr, false, false, nullptr, nullptr, nullptr, nullptr);
        });
        return ran && error == 0 ? 0 : 2;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(depthOf(m_dest / "tree", "a folder's name"), kDepth);
}

TEST_F(FSCopyHostileTest, CopiesBranchesAtTheDepthWhereUpperLevelsAreClosed)
{
    const std::string middle = trees::makeChain(m_tree, 20, "m");
    for (int i = 0; i < 20; ++i)
        m_temp.write(fs::path(middle).lexically_relative(m_temp.path()).string() + "/" + std::to_string(i)
                + "/1/2/3/4/5/6/7/8/9/10/11/12/13/14/15/16/17/18/file",
            "x");
    const auto before = describeTree(m_tree);
    EXPECT_EQ(copy(), 0);
    EXPECT_EQ(describeTree(m_dest / "tree"), before);
}

TEST_F(FSCopyHostileTest, LeavesNothingOfADeepCopyThatFails)
{
    const std::string last = trees::makeChain(m_tree, 40, "d");
    ASSERT_EQ(::mkfifo((last + "/pipe").c_str(), 0600), 0);
    EXPECT_EQ(copy(), -1302);
    EXPECT_TRUE(fs::is_empty(m_dest));
}

TEST_F(FSCopyHostileTest, LeavesNoDescriptorOpen)
{
    trees::makeChain(m_tree, 50, "d");
    m_temp.write("tree/file", "x");
    const std::size_t before = trees::names("/proc/self/fd").size();
    EXPECT_EQ(copy(), 0);
    EXPECT_EQ(copy(), -48);
    EXPECT_EQ(trees::names("/proc/self/fd").size(), before);
}

TEST_F(FSCopyHostileTest, NeverReadsThroughALinkThatIsSwappedInMeanwhile)
{
    m_temp.write("tree/a/b/sub/file", "own");
    fs::create_directory_symlink(m_temp.at("outside"), m_temp.at("link"));
    int copied = 0;
    const Swapper swapper(m_tree / "a/b", m_temp.at("link"));
    for (int i = 0; i < kRaces; ++i) {
        const ScopedTempDir dest;
        CopyCall call;
        call.source = m_tree;
        call.destDir = dest.path();
        copied += call.run() == 0;
        for (const auto& entry : fs::recursive_directory_iterator(dest.path()))
            ASSERT_NE(entry.path().filename(), "secret") << "after " << i << " copies";
    }
    EXPECT_GT(copied, 0) << "a copy is not always disturbed";
}

TEST_F(FSCopyHostileTest, NeverReadsAFileThroughALinkThatIsSwappedInMeanwhile)
{
    const fs::path file = m_temp.write("tree/file", "own");
    fs::create_symlink(m_kept, m_temp.at("link"));
    int copied = 0;
    const Swapper swapper(file, m_temp.at("link"));
    for (int i = 0; i < kRaces; ++i) {
        const ScopedTempDir dest;
        CopyCall call;
        call.source = m_tree;
        call.destDir = dest.path();
        copied += call.run() == 0;
        const fs::path made = dest.at("tree/file");
        if (trees::exists(made) && !fs::is_symlink(made)) {
            ASSERT_EQ(readWholeFile(made), "own") << "after " << i << " copies";
        }
    }
    EXPECT_GT(copied, 0) << "a copy is not always disturbed";
}

TEST_F(FSCopyHostileTest, NeverWritesThroughALinkThatIsSwappedInMeanwhile)
{
    for (int i = 0; i < 30; ++i)
        m_temp.write("tree/sub/file" + std::to_string(i), "own");
    const auto before = describeTree(m_temp.at("outside"));
    fs::create_directory_symlink(m_temp.at("outside"), m_temp.at("link"));
    for (int i = 0; i < kRaces; ++i) {
        {
            const Swapper swapper(m_dest / "tree/sub", m_temp.at("link"));
            (void)copy(); // it may well fail, what matters is what it touches
        }
        ASSERT_EQ(describeTree(m_temp.at("outside")), before) << "after " << i << " copies";
        fs::remove_all(m_dest / "tree");
        fs::remove_all(m_temp.at("link"));
        fs::create_directory_symlink(m_temp.at("outside"), m_temp.at("link"));
    }
}
