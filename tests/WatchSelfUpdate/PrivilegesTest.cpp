// What the hand-over gives up, alone and as a set-user-id program that is raced.
#include "WatchSelfUpdate/Privileges.h"
#include "WatchSelfUpdate/Session.h"
#include "tests/WatchSelfUpdate/HandOverStage.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FakeHome.h"

#include <algorithm>
#include <fcntl.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;
using namespace std::string_literals;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr uid_t kUser = ToolCopy::kOrdinaryUser;

bool isOnly(uid_t user, gid_t group)
{
    uid_t u[3] = {};
    gid_t g[3] = {};
    return getresuid(&u[0], &u[1], &u[2]) == 0 && getresgid(&g[0], &g[1], &g[2]) == 0 && u[0] == user
        && u[1] == user && u[2] == user && g[0] == group && g[1] == group && g[2] == group;
}

bool canBeSetUser(const HandOverStage& stage)
{
    struct statvfs volume { };
    return stage.ownsRoot() && statvfs(stage.tool().path().c_str(), &volume) == 0
        && (volume.f_flag & ST_NOSUID) == 0;
}

void makeSetUser(const HandOverStage& stage)
{
    ASSERT_EQ(chown(stage.tool().path().c_str(), 0, 0), 0);
    ASSERT_EQ(chmod(stage.tool().path().c_str(), 06555), 0);
}

} // namespace

TEST(DropPrivileges, GivesUpWhatASetUserStartLent)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "needs root to lend something";
    EXPECT_EQ(child::run([] {
        const bool lent = setresgid(kUser, 0, 0) == 0 && setresuid(kUser, 0, 0) == 0;
        const bool dropped = lent && dropPrivileges() == Privileges::Lent && isOnly(kUser, kUser);
        const bool cannotReturn = setuid(0) != 0 && setresuid(0, 0, 0) != 0 && setresgid(0, 0, 0) != 0;
        return dropped && cannotReturn ? 0 : 1;
    }),
        0);
}

TEST(DropPrivileges, GivesUpASavedUserAlone)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "needs root to lend something";
    EXPECT_EQ(child::run([] {
        const bool lent = setresgid(kUser, kUser, kUser) == 0 && setresuid(kUser, kUser, 0) == 0;
        return lent && dropPrivileges() == Privileges::Lent && isOnly(kUser, kUser) && setuid(0) != 0 ? 0 : 1;
    }),
        0);
}

TEST(DropPrivileges, SaysThatACallerHadNothingMore)
{
    EXPECT_EQ(child::run([] {
        const uid_t user = getuid();
        const gid_t group = getgid();
        const bool same = dropPrivileges() == Privileges::None && isOnly(user, group);
        // The started host must still be able to ask for rights.
        return same && prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 0 ? 0 : 1;
    }),
        0);
}

TEST(NoteSession, KeepsWhatADesktopProgramNeeds)
{
    const char* const environment[] = {"DISPLAY=:0", "WAYLAND_DISPLAY=w", "XAUTHORITY=x", "XDG_ANYTHING=1",
        "DBUS_SESSION_BUS_ADDRESS=unix:path=/bus", "HOME=/home/me", "LANG=de_DE.UTF-8", "LC_ALL=C",
        "QT_QPA_PLATFORM=xcb", "QT_QPA_PLATFORMTHEME=gtk3", "QT_SCALE_FACTOR=2", "QT_STYLE_OVERRIDE=fusion",
        "http_proxy=p", "PATH=/evil", "LD_PRELOAD=/evil.so", "QT_PLUGIN_PATH=/evil", "DISPLAY_OTHER=1",
        "VELMORA_ROOT=/r", "VELMORA_AUTHORIZE=user", "UNZIP=-o", "no equals sign", "=", nullptr};
    const std::vector<std::string> always = {"PATH=/usr/local/bin:/usr/bin:/bin", "DISPLAY=:0",
        "WAYLAND_DISPLAY=w", "XAUTHORITY=x", "XDG_ANYTHING=1", "DBUS_SESSION_BUS_ADDRESS=unix:path=/bus",
        "HOME=/home/me", "LANG=de_DE.UTF-8", "LC_ALL=C", "QT_QPA_PLATFORM=xcb", "QT_QPA_PLATFORMTHEME=gtk3",
        "QT_SCALE_FACTOR=2", "QT_STYLE_OVERRIDE=fusion", "http_proxy=p"};
    std::vector<std::string> relocated = always;
    relocated.insert(relocated.end(), {"VELMORA_ROOT=/r", "VELMORA_AUTHORIZE=user"});
    const mode_t former = umask(022);
    EXPECT_EQ(noteSession(environment, false).environment, always);
    EXPECT_EQ(umask(022), mode_t(077));
    const Session session = noteSession(environment, true);
    EXPECT_EQ(session.environment, relocated);
    EXPECT_EQ(session.umask, mode_t(022));
    (void)umask(former);
    EXPECT_EQ(child::run([] { return noteSession(nullptr, true).environment.size() == 1 ? 0 : 1; }), 0);
}

TEST(SetUserHandOver, StartsTheHostWithTheCallersRightsAlone)
{
    const HandOverStage stage;
    if (!canBeSetUser(stage))
        GTEST_SKIP() << "needs root, and a temporary folder where set-user-id has an effect";
    const ScopedEnvironment root("VELMORA_ROOT", "/home/me/root");
    makeSetUser(stage);
    stage.writeHost(
        stage.bundle(), "host", "grep -E '^(Uid|Gid|CapPrm|CapEff|NoNewPrivs)' /proc/$$/status; env");
    stage.writeOwned(stage.marker(), stage.markerBytes());
    ASSERT_EQ(stage.run().status, 0);
    const std::string report = stage.reports();
    EXPECT_THAT(report, HasSubstr("Uid:\t1000\t1000\t1000\t1000\n"));
    EXPECT_THAT(report, HasSubstr("Gid:\t1000\t1000\t1000\t1000\n"));
    EXPECT_THAT(report, HasSubstr("CapPrm:\t0000000000000000\n"));
    EXPECT_THAT(report, HasSubstr("CapEff:\t0000000000000000\n"));
    EXPECT_THAT(report, HasSubstr("NoNewPrivs:\t0\n"));
    EXPECT_THAT(report, Not(HasSubstr("VELMORA_ROOT")));
}

TEST(SetUserHandOver, CannotReadWhatItsCallerCannot)
{
    const HandOverStage stage;
    if (!canBeSetUser(stage))
        GTEST_SKIP() << "needs root, and a temporary folder where set-user-id has an effect";
    makeSetUser(stage);
    stage.writeOwned(stage.marker(), stage.markerBytes());
    ASSERT_EQ(chmod(stage.marker().c_str(), 0), 0);
    const ToolRun run = stage.run();
    EXPECT_EQ(run.status, 65);
    EXPECT_EQ(run.errorText, "WatchSelfUpdate: the marker cannot be opened\n");
}

namespace {

constexpr int kSwaps = 100;

// What the caller puts at the marker's and the target's place, over and over, while tools run.
class Racer {
public:
    explicit Racer(const HandOverStage& stage)
        : m_stage(stage)
    {
    }

    // One of each kind of swap; a swap that finds its place changed under it is just lost.
    void swap(int round) const
    {
        const fs::path marker = m_stage.marker();
        const std::string bundle = m_stage.bundle().string();
        const fs::path fresh = marker.string() + ".new";
        (void)unlink(fresh.c_str());
        switch (round % 5) {
        case 0:
            write(fresh, m_stage.markerBytes());
            break;
        case 1:
            write(fresh, m_stage.runFile() + '\0' + m_stage.folder().at("Foreign.app").string() + '\0');
            break;
        case 2:
            (void)symlink(m_stage.folder().at("root marker").c_str(), fresh.c_str());
            break;
        case 3:
            (void)link(m_stage.folder().at("root marker").c_str(), fresh.c_str());
            break;
        default:
            (void)mkfifo(fresh.c_str(), 0600);
            break;
        }
        (void)rename(fresh.c_str(), marker.c_str());
        // The target: the host, a foreign one, and a link to root's.
        (void)unlink(bundle.c_str());
        const char* const targets[] = {"Good.app", "Foreign.app", "Root.app"};
        (void)symlink(m_stage.folder().at(targets[round % 3]).c_str(), bundle.c_str());
    }

private:
    static void write(const fs::path& file, const std::string& bytes)
    {
        const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (fd < 0)
            return;
        (void)::write(fd, bytes.data(), bytes.size());
        (void)close(fd);
    }

    const HandOverStage& m_stage;
};

// Swaps as the ordinary user until the pipe's other end is closed, at least the hundred times.
pid_t startRacing(const HandOverStage& stage, const int (&stop)[2])
{
    const pid_t pid = fork();
    if (pid != 0)
        return pid;
    if (setresgid(kUser, kUser, kUser) != 0 || setresuid(kUser, kUser, kUser) != 0)
        _exit(1);
    const Racer racer(stage);
    char none = 0;
    (void)close(stop[1]); // this process's own copy of the other end
    (void)fcntl(stop[0], F_SETFL, O_NONBLOCK);
    for (int round = 0; round < kSwaps || read(stop[0], &none, 1) != 0; ++round)
        racer.swap(round);
    _exit(0);
}

} // namespace

TEST(SetUserHandOver, RunsNothingAsRootWhileMarkerAndTargetAreSwapped)
{
    const HandOverStage stage;
    if (!canBeSetUser(stage))
        GTEST_SKIP() << "needs root, and a temporary folder where set-user-id has an effect";
    makeSetUser(stage);
    fs::rename(stage.bundle(), stage.folder().at("Good.app"));
    stage.writeHost(stage.folder().at("Foreign.app"), "foreign", "");
    // What root alone may read and run: reaching it would show that a privilege was left.
    stage.writeHost(stage.folder().at("Root.app"), "root's", "");
    fs::permissions(stage.folder().at("Root.app"), fs::perms(0700));
    const fs::path rootMarker = stage.folder().at("root marker");
    stage.writeOwned(rootMarker, stage.runFile() + '\0' + stage.folder().at("Root.app").string() + '\0');
    ASSERT_EQ(chown(rootMarker.c_str(), 0, 0), 0);
    ASSERT_EQ(chmod(rootMarker.c_str(), 0600), 0);

    int stop[2] = {-1, -1};
    ASSERT_EQ(pipe2(stop, O_CLOEXEC), 0);
    const pid_t racer = startRacing(stage, stop);
    ASSERT_GT(racer, 0);
    int started = 0;
    for (int i = 0; i < kSwaps; ++i)
        started += stage.run().status == 0 ? 1 : 0;
    EXPECT_EQ(close(stop[1]), 0);
    int state = -1;
    EXPECT_EQ(waitpid(racer, &state, 0), racer);
    EXPECT_EQ(state, 0);
    EXPECT_EQ(close(stop[0]), 0);

    // A host that was swapped away right before its start never reports: silence ends the reading, too.
    std::string reports;
    while (std::count(reports.begin(), reports.end(), '\n') < started) {
        const std::string more = stage.reports();
        if (more.empty())
            break;
        reports += more;
    }
    EXPECT_FALSE(reports.empty()) << "no host was started: the race shows nothing";
    std::istringstream lines(reports);
    for (std::string line; std::getline(lines, line);)
        EXPECT_TRUE(line == "host 1000" || line == "foreign 1000") << line;
}
