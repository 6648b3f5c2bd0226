// Installs that end midway, at every step: the target is all old or all new after the next start.
#include "tests/TandemService/package/InstallFixture.h"

#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int kKilled = 77;

class Interruption : public InstallFixture {
protected:
    /// Runs `work` in a child that ends itself, without any clean-up, after `lastStep` steps. True when it
    /// was ended so.
    static bool runAndKill(int lastStep, const std::function<InstallResult(const InstallOptions&)>& work)
    {
        const pid_t child = fork();
        if (child == 0) {
            int steps = 0;
            InstallOptions options;
            options.durable = false;
            options.onStep = [&steps, lastStep](std::string_view) {
                if (++steps > lastStep)
                    _exit(kKilled);
            };
            _exit(work(options).ok() ? 0 : 1);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_TRUE(WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == kKilled) << WEXITSTATUS(status);
        return WEXITSTATUS(status) == kKilled;
    }
};

} // namespace

TEST_F(Interruption, AtEveryStepLeavesAllOldOrAllNewAfterRecovery)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    const auto work = [&](const InstallOptions& options) {
        return installPackage(package.string(), m_target.string(), options);
    };
    std::vector<bool> isNew;
    for (int step = 0; runAndKill(step, work); ++step) {
        EXPECT_TRUE(recoverInstall(m_target.string()).ok()) << step;
        const Snapshot after = snapshot(m_target);
        EXPECT_TRUE(after == m_before || after == usualOutcome()) << step;
        isNew.push_back(after == usualOutcome());
        expectNoLitter();
        restore();
    }
    // staged, unpacked, journal, aside and placed for Bar.app and Foo.app, then committed and done.
    EXPECT_EQ(isNew, (std::vector<bool> {false, false, false, false, false, false, false, true, true}));
}

TEST_F(Interruption, OfTheRecoveryItselfIsRecoveredToo)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    const auto work = [&](const InstallOptions& options) {
        return installPackage(package.string(), m_target.string(), options);
    };
    const auto recover
        = [&](const InstallOptions& options) { return recoverInstall(m_target.string(), options); };
    int recoveries = 0;
    for (int installStep = 2; installStep <= 6; ++installStep) {
        for (int recoveryStep = 0;; ++recoveryStep) {
            ASSERT_TRUE(runAndKill(installStep, work));
            if (!runAndKill(recoveryStep, recover))
                break;
            EXPECT_TRUE(recoverInstall(m_target.string()).ok());
            EXPECT_EQ(snapshot(m_target), m_before) << installStep << " " << recoveryStep;
            expectNoLitter();
            ++recoveries;
        }
        EXPECT_EQ(snapshot(m_target), m_before) << installStep;
    }
    EXPECT_EQ(recoveries, 5 * 4); // two entries back, the journal removed, recovered
}

TEST_F(Interruption, IsDealtWithByTheNextInstallOnTheTarget)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    const auto work = [&](const InstallOptions& options) {
        return installPackage(package.string(), m_target.string(), options);
    };
    ASSERT_TRUE(runAndKill(5, work));
    EXPECT_FALSE(fs::exists(m_target / "Foo.app"));
    EXPECT_TRUE(hasInterruptedInstall(m_target.string()));
    packages::PackageBuilder other;
    EXPECT_EQ(install(other.file("Other", "x").writeBundle(m_scratch.at("Y.pkg"))), InstallError::none);
    EXPECT_EQ(readWholeFile(m_target / "Foo.app/Contents/version"), "1");
    EXPECT_EQ(readWholeFile(m_target / "Other"), "x");
    EXPECT_FALSE(hasInterruptedInstall(m_target.string()));
    expectNoLitter();
}

TEST_F(Interruption, WithADamagedJournalIsLeftForAPerson)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    const auto work = [&](const InstallOptions& options) {
        return installPackage(package.string(), m_target.string(), options);
    };
    ASSERT_TRUE(runAndKill(5, work));
    (void)m_scratch.write(".apps.velmora-install/journal", "install journal 1\n=7 Foo.a");
    EXPECT_EQ(install(package), InstallError::recoveryFailed);
    EXPECT_EQ(readWholeFile(m_scratch.at(".apps.velmora-install/old/Foo.app/Contents/version")), "1");
}

TEST_F(Interruption, NeverOverwritesWhatSomebodyElsePutInThePlace)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    const auto work = [&](const InstallOptions& options) {
        return installPackage(package.string(), m_target.string(), options);
    };
    ASSERT_TRUE(runAndKill(5, work)); // Foo.app is aside, the new one not yet in place
    (void)m_scratch.write("apps/Foo.app/foreign", "somebody's");
    EXPECT_EQ(recoverInstall(m_target.string()).error, InstallError::recoveryFailed);
    EXPECT_EQ(readWholeFile(m_target / "Foo.app/foreign"), "somebody's");
    EXPECT_EQ(readWholeFile(m_scratch.at(".apps.velmora-install/old/Foo.app/Contents/version")), "1");
}

TEST_F(Interruption, FailedSwapPutsEverythingBack)
{
    // Something takes the place of Foo.app between setting the old one aside and putting the new one in: the
    // swap fails, and so does putting back; once the place is free again, recovery brings the old one back.
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    InstallOptions options;
    options.durable = false;
    options.onStep = [&](std::string_view step) {
        if (step == "aside Foo.app")
            (void)m_scratch.write("apps/Foo.app", "in the way");
    };
    EXPECT_EQ(
        installPackage(package.string(), m_target.string(), options).error, InstallError::recoveryFailed);
    EXPECT_FALSE(fs::exists(m_target / "Bar.app/b") && fs::exists(m_target / "Foo.app/Contents"));
    fs::remove(m_target / "Foo.app");
    EXPECT_TRUE(recoverInstall(m_target.string()).ok());
    EXPECT_EQ(snapshot(m_target), m_before);
    expectNoLitter();
}

TEST_F(Interruption, NewEntryThatVanishedPutsEverythingBack)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    InstallOptions options;
    options.durable = false;
    options.onStep = [&](std::string_view step) {
        if (step == "aside Foo.app")
            fs::remove_all(m_scratch.at(".apps.velmora-install/new/Foo.app"));
    };
    EXPECT_EQ(installPackage(package.string(), m_target.string(), options).error, InstallError::swapFailed);
    EXPECT_EQ(snapshot(m_target), m_before);
    expectNoLitter();
}

TEST_F(Interruption, SecondInstallerOnTheSameTargetIsRefused)
{
    const int folder = open(m_target.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(folder, LOCK_EX | LOCK_NB), 0);
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    EXPECT_EQ(install(package), InstallError::targetBusy);
    EXPECT_EQ(snapshot(m_target), m_before);
    ASSERT_EQ(close(folder), 0);
    EXPECT_EQ(install(package), InstallError::none);
}
