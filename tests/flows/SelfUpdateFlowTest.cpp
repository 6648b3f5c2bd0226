// An update of the updater itself: its actions are carried out in a process that plays the host, the helper
// tool waits for the update and starts the real host again.
#include "Platform/Carbon/EventLoop.h"
#include "Platform/Carbon/LaunchServices.h"
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Update/descriptor/XMLInterpret.h"
#include "tests/flows/StagedSuite.h"
#include "tests/support/FileURL.h"

#include <QCoreApplication>
#include <QTimer>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr char kMarkerPlace[] = "VelmoraWatchSelfUpdate/20071023TwoParams.txt";
constexpr char kToolPlace[] = "VelmoraWatchSelfUpdate/WatchSelfUpdate";

/// The processes whose program is that file, replaced since or not.
std::vector<pid_t> processesOf(const fs::path& program)
{
    std::vector<pid_t> processes;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        std::error_code error;
        const fs::path file = fs::read_symlink(entry.path() / "exe", error);
        if (!error && (file == program || file == program.string() + " (deleted)"))
            processes.push_back(static_cast<pid_t>(std::atoi(entry.path().filename().c_str())));
    }
    return processes;
}

bool runs(const fs::path& program)
{
    return !processesOf(program).empty();
}

/// Processes events until `done` holds, at most a minute.
bool waitFor(const std::function<bool()>& done)
{
    constexpr UInt32 kLimitTicks = 60 * 60;
    const UInt32 start = TickCount();
    while (!done()) {
        if (TickCount() - start >= kLimitTicks)
            return false;
        (void)ReceiveNextEvent(0.05); // looked at again either way
    }
    return true;
}

class SelfUpdateFlow : public ::testing::Test {
protected:
    SelfUpdateFlow()
    {
        // This process is the host, with its plug-in registered.
        CFBundleSetMainBundle(folderURL(m_suite.app()));
        m_plugin = adoptCF(
            CFBundleCreate(kCFAllocatorDefault, folderURL(m_suite.app() / "Contents/PlugIns/Update.bundle")));
        m_suite.publishServiceUpToDate();
    }
    ~SelfUpdateFlow() override { CFBundleSetMainBundle(nullptr); }

    fs::path program() const { return m_suite.app() / "Contents/Linux/TandemService"; }
    fs::path tool() const { return m_suite.home().cache() / kToolPlace; }
    fs::path ended() const { return m_suite.home().path() / "work/ended"; }

    /// An interpreter of an updater's descriptor that runs delivered scripts and closes the application.
    std::unique_ptr<CXMLInterpret> interpretUpdate(const std::vector<std::string>& names) const
    {
        const ScopedTempDir& folder = m_suite.home().folder();
        std::string actions;
        for (const std::string& name : names) {
            const fs::path script = folder.write(
                "work/step/" + name, "#!/bin/sh\nsleep 1\necho > '" + ended().string() + "'\n");
            fs::permissions(script, fs::perms::owner_all);
            actions += "<action type=\"run\"><location>" + script.string()
                + "</location><wait>true</wait></action>";
        }
        const fs::path descriptor = folder.write("descriptor.xml",
            "<UPDATEINFO><GENERAL><TYPE>updater</TYPE><CLOSEAPPLICATION>True</CLOSEAPPLICATION></"
            "GENERAL><FILES>"
            "<FILE name=\"Velmora Tandem\" check=\"version\" version=\"2.0.0.0\" size=\"1\">"
                + actions + "</FILE></FILES></UPDATEINFO>");
        OpacLumFSRef* const file = Lum0FSRCreateWithPath(descriptor.u16string().c_str());
        auto interpreter = std::make_unique<CXMLInterpret>(file);
        Lum0FSRRelease(file);
        EXPECT_TRUE(interpreter->ParseFile(
            u"Velmora Tandem", u"1.0.0.0", m_suite.app().u16string().c_str(), u"http://127.0.0.1/"));
        return interpreter;
    }

    /// Carries the actions out in an event loop, which the hand-over ends.
    static void handOver(CXMLInterpret& interpreter)
    {
        bool done = false;
        QTimer::singleShot(0, qApp, [&] { done = interpreter.DoActionExceptDownload(nullptr); });
        QTimer limit;
        QObject::connect(&limit, &QTimer::timeout, &limit, [] { QCoreApplication::exit(1); });
        limit.start(60000);
        EXPECT_EQ(QCoreApplication::exec(), 0) << "the loop did not end in time";
        EXPECT_TRUE(done);
    }

    void endHost() const
    {
        for (const pid_t host : processesOf(program()))
            EXPECT_EQ(kill(host, SIGTERM), 0);
        EXPECT_TRUE(waitFor([&] { return !runs(program()); }));
    }

    StagedSuite m_suite;
    CFRef<CFBundleRef> m_plugin;
};

} // namespace

TEST_F(SelfUpdateFlow, StartsTheHostAgainAfterTheUpdateHasEnded)
{
    handOver(*interpretUpdate({"Updater"}));
    EXPECT_FALSE(fs::exists(ended())); // an updater is never waited for

    ASSERT_TRUE(waitFor([&] { return runs(program()); }));
    EXPECT_TRUE(fs::exists(ended())) << "the tool waits for the update's program";
    EXPECT_TRUE(m_suite.server().waitForRequests(1)) << "the host that was started checks for updates";
    EXPECT_TRUE(waitFor([&] { return !runs(tool()); })) << "the tool is gone";
    EXPECT_FALSE(fs::exists(m_suite.home().cache() / kMarkerPlace));
    EXPECT_TRUE(fs::exists(m_suite.home().path() / "work/step/Updater")); // its folder is kept
    endHost();
}

TEST_F(SelfUpdateFlow, StartsTheHostAgainAfterSeveralHandOversAtOnce)
{
    handOver(*interpretUpdate({"First", "Second", "Third"}));
    ASSERT_TRUE(waitFor([&] { return runs(program()); }));
    EXPECT_TRUE(m_suite.server().waitForRequests(1)) << "the host that was started checks for updates";
    EXPECT_TRUE(waitFor([&] { return processesOf(program()).size() == 1; })) << "no second one stays";
    EXPECT_TRUE(waitFor([&] { return !fs::exists(m_suite.home().cache() / kMarkerPlace); }));
    // A tool that took a later marker takes the new host for the old one, and waits a minute for its end.
    for (const pid_t waiting : processesOf(tool()))
        (void)kill(waiting, SIGKILL); // it may have ended by itself
    endHost();
}
