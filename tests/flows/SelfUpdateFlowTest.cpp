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

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr char kMarkerPlace[] = "VelmoraWatchSelfUpdate/20071023TwoParams.txt";
constexpr char kToolPlace[] = "VelmoraWatchSelfUpdate/WatchSelfUpdate";

/// The process whose program is that file, or 0.
pid_t processOf(const fs::path& program)
{
    for (const auto& entry : fs::directory_iterator("/proc")) {
        std::error_code error;
        if (fs::read_symlink(entry.path() / "exe", error) == program && !error)
            return static_cast<pid_t>(std::atoi(entry.path().filename().c_str()));
    }
    return 0;
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
    fs::path ended() const { return m_suite.home().path() / "work/ended"; }

    /// An interpreter of an updater's descriptor that runs a delivered script and closes the application.
    std::unique_ptr<CXMLInterpret> interpretUpdate() const
    {
        const ScopedTempDir& folder = m_suite.home().folder();
        const fs::path script
            = folder.write("work/step/Updater", "#!/bin/sh\nsleep 1\necho > '" + ended().string() + "'\n");
        fs::permissions(script, fs::perms::owner_all);
        const fs::path descriptor = folder.write("descriptor.xml",
            "<UPDATEINFO><GENERAL><TYPE>updater</TYPE><CLOSEAPPLICATION>True</CLOSEAPPLICATION></"
            "GENERAL><FILES>"
            "<FILE name=\"Velmora Tandem\" check=\"version\" version=\"2.0.0.0\" size=\"1\">"
            "<action type=\"run\"><location>"
                + script.string() + "</location><wait>true</wait></action></FILE></FILES></UPDATEINFO>");
        OpacLumFSRef* const file = Lum0FSRCreateWithPath(descriptor.u16string().c_str());
        auto interpreter = std::make_unique<CXMLInterpret>(file);
        Lum0FSRRelease(file);
        EXPECT_TRUE(interpreter->ParseFile(
            u"Velmora Tandem", u"1.0.0.0", m_suite.app().u16string().c_str(), u"http://127.0.0.1/"));
        return interpreter;
    }

    StagedSuite m_suite;
    CFRef<CFBundleRef> m_plugin;
};

} // namespace

TEST_F(SelfUpdateFlow, StartsTheHostAgainAfterTheUpdateHasEnded)
{
    const auto interpreter = interpretUpdate();
    bool done = false;
    bool timedOut = false;
    QTimer::singleShot(0, qApp, [&] { done = interpreter->DoActionExceptDownload(nullptr); });
    QTimer limit;
    QObject::connect(&limit, &QTimer::timeout, &limit, [&] {
        timedOut = true;
        QCoreApplication::exit(1);
    });
    limit.start(60000);
    EXPECT_EQ(QCoreApplication::exec(), 0); // the hand-over ends the event loop
    EXPECT_TRUE(done);
    EXPECT_FALSE(timedOut);
    EXPECT_FALSE(fs::exists(ended())); // an updater is never waited for

    pid_t host = 0;
    ASSERT_TRUE(waitFor([&] { return (host = processOf(program())) != 0; }));
    EXPECT_TRUE(fs::exists(ended())) << "the tool waits for the update's program";
    EXPECT_TRUE(m_suite.server().waitForRequests(1)) << "the host that was started checks for updates";
    EXPECT_TRUE(waitFor([&] { return processOf(m_suite.home().cache() / kToolPlace) == 0; }))
        << "the tool is gone";
    EXPECT_FALSE(fs::exists(m_suite.home().cache() / kMarkerPlace));
    EXPECT_TRUE(fs::exists(m_suite.home().path() / "work/step/Updater")); // its folder is kept
    EXPECT_EQ(kill(host, SIGTERM), 0);
    EXPECT_TRUE(waitFor([&] { return processOf(program()) == 0; }));
}
