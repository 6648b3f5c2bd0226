// The starter against a user who changes everything that is his while it runs.
#include "tests/SelfRepairStarter/StarterStage.h"

#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr int kSwaps = 100;
constexpr int kRuns = 100;

// What the racers put in place: the tool, a program that tells when it is run, and where.
struct Pieces {
    std::string genuine;
    std::string foreign;
    fs::path folder;

    std::string at(const char* name) const { return (folder / name).string(); }
    std::string tool() const { return at("WatchSelfUpdate"); }
};

using Swap = std::function<void(const Pieces&, int round)>;

// Whatever fails in a race failed because of it.
int writeFile(const std::string& path, const std::string& bytes)
{
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0755);
    if (fd >= 0)
        (void)pwrite(fd, bytes.data(), bytes.size(), 0);
    return fd;
}

void swapByRenaming(const Pieces& pieces, int round)
{
    const std::string next = pieces.at("next");
    (void)close(writeFile(next, round % 2 == 0 ? pieces.foreign : pieces.genuine));
    (void)rename(next.c_str(), pieces.tool().c_str());
}

// Writes into the file itself: every other file through a descriptor that stays open, also after the name was
// given to another file; the others with an opening of its own for each change.
void swapByWriting(const Pieces& pieces, int round)
{
    constexpr int kRoundsForAFile = 8;
    static int held = -1;
    const int fileNumber = round / kRoundsForAFile;
    if (round % kRoundsForAFile == 0) {
        const std::string next = pieces.at("next");
        (void)unlink(next.c_str());
        const int fd = writeFile(next, pieces.genuine);
        (void)close(fileNumber % 2 == 0 ? held : fd);
        held = fileNumber % 2 == 0 ? fd : held;
        (void)rename(next.c_str(), pieces.tool().c_str());
    }
    const std::string& bytes = round % 2 == 0 ? pieces.genuine : pieces.foreign;
    (void)pwrite(held, bytes.data(), bytes.size(), 0);
    if (fileNumber % 2 != 0)
        (void)close(writeFile(pieces.tool(), bytes));
    // And into the one that is being made.
    (void)close(open(pieces.at(".WatchSelfUpdate.fresh").c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
}

void swapByLinking(const Pieces& pieces, int round)
{
    const std::string fresh = pieces.at(".WatchSelfUpdate.fresh");
    const std::string next = pieces.at("next");
    const std::string kept = pieces.at("kept");
    (void)unlink(next.c_str());
    const char* const sources[] = {"genuine", "foreign"};
    const std::string source = pieces.at(sources[round % 2]);
    if (round % 4 == 3)
        (void)symlink(source.c_str(), next.c_str());
    else
        (void)link(source.c_str(), next.c_str());
    (void)rename(next.c_str(), pieces.tool().c_str());
    // The file that is being made: a second name for it, and another file under its name.
    (void)unlink(kept.c_str());
    (void)link(fresh.c_str(), kept.c_str());
    if (round % 5 == 0)
        (void)rename(fresh.c_str(), kept.c_str());
    if (round % 7 == 0)
        (void)link(source.c_str(), fresh.c_str());
}

// Swaps as the user until the other end of `stop` is closed, at least a hundred times.
pid_t startRacing(const Pieces& pieces, const Swap& swap, const int (&stop)[2])
{
    const pid_t pid = fork();
    if (pid != 0)
        return pid;
    constexpr uid_t kUser = StarterStage::kUser;
    if (setresgid(kUser, kUser, kUser) != 0 || setresuid(kUser, kUser, kUser) != 0)
        _exit(1);
    (void)close(stop[1]); // this process's own copy of the other end
    (void)fcntl(stop[0], F_SETFL, O_NONBLOCK);
    char none = 0;
    // A pace at which the starter meets every state, and every change between two of its steps.
    const timespec pause = {0, 300'000};
    for (int round = 0; round < kSwaps || read(stop[0], &none, 1) != 0; ++round) {
        swap(pieces, round);
        (void)nanosleep(&pause, nullptr);
    }
    _exit(0);
}

void expectSafe(const Swap& swap)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root: the starter does nothing for others";
    const StarterStage stage;
    const Pieces pieces {
        readWholeFile(stage.templateTool()), readWholeFile(FOREIGN_TOOL), stage.home().path()};
    stage.writeOwned(stage.home().at("genuine"), pieces.genuine);
    stage.writeOwned(stage.home().at("foreign"), pieces.foreign);
    int stop[2] = {-1, -1};
    ASSERT_EQ(pipe2(stop, O_CLOEXEC), 0);
    const pid_t racer = startRacing(pieces, swap, stop);
    ASSERT_GT(racer, 0);
    int started = 0;
    int refused = 0;
    for (int i = 0; i < kRuns; ++i) {
        const int status = stage.run().status;
        // 65: the tool ran, and found that its file has no name or two.
        EXPECT_TRUE(status == 0 || status == 65 || status == StarterStage::kNotStarted) << status;
        started += status != StarterStage::kNotStarted ? 1 : 0;
        refused += status == StarterStage::kNotStarted ? 1 : 0;
        stage.expectNothingForeign();
    }
    EXPECT_EQ(close(stop[1]), 0);
    int state = -1;
    EXPECT_EQ(waitpid(racer, &state, 0), racer);
    EXPECT_EQ(state, 0);
    EXPECT_EQ(close(stop[0]), 0);
    stage.expectNothingForeign();
    EXPECT_GT(started, 0) << "no tool was started: the race shows nothing";
    EXPECT_GT(refused, 0) << "no tool was refused: the race shows nothing";
}

} // namespace

TEST(StarterRace, RunsNoForeignByteWhileTheToolIsRenamed)
{
    expectSafe(swapByRenaming);
}

TEST(StarterRace, RunsNoForeignByteWhileTheToolIsWrittenTo)
{
    expectSafe(swapByWriting);
}

TEST(StarterRace, RunsNoForeignByteWhileTheToolIsLinked)
{
    expectSafe(swapByLinking);
}
