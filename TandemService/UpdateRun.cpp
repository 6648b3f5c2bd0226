#include "TandemService/UpdateRun.h"

#include "TandemService/HostTexts.h"
#include "TandemService/Paths.h"
#include "TandemService/StopSignals.h"
#include "TandemService/UnattendedUser.h"
#include "TandemService/WindowWatcher.h"
#include "Platform/Carbon/Alerts.h"
#include "Platform/CoreFoundation/CFRunLoop.h"
#include "Platform/Security/Authorization.h"

#include <QApplication>

#include <chrono>
#include <cstdio>

namespace {

/// How long the request to start again may take to arrive after the plug-in ended the event loop.
constexpr std::chrono::seconds kRelaunchWait(3);
constexpr double kRelaunchSliceSeconds = 0.05;

/// A check may run where nobody looks, so it asks for nothing.
PackageRunner::Programs programsFor(HostMode mode)
{
    PackageRunner::Programs programs = carriedPrograms();
    programs.asksForRights = programs.asksForRights && mode != HostMode::check;
    return programs;
}

} // namespace

UpdateRun::UpdateRun(const HostOptions& options, const std::string& pluginFolder)
    : m_options(options)
    , m_pluginFolder(pluginFolder)
    , m_services(programsFor(options.mode),
          {.relaunchAsked =
                  [this] {
                      m_outcome.relaunchAsked = true;
                      finish();
                  },
              .updateEnded = [this] { m_outcome.endTold = true; }})
    , m_port(m_services)
    , m_desk([this] { return m_services.isInstalling(); }, [this] { finish(); })
{
    m_outcome.successText = installSuccessText();
    m_outcome.unattended = options.unattended;
    if (options.mode == HostMode::check)
        m_answer.emplace();
}

UpdateRun::~UpdateRun()
{
    SetAlertListener(nullptr);
}

ExitStatus UpdateRun::run()
{
    if (!start())
        return ExitStatus::couldNotRun;
    if (m_stopped)
        return statusWhenStopped();
    if (!check()) {
        complain("the check could not run");
        return ExitStatus::couldNotRun;
    }
    const UserMessage* const message = m_desk.message();
    if (!message)
        return ExitStatus::nothingToOffer;
    if (m_answer) {
        m_answer->print(printableLine(message->text()));
        return ExitStatus::done;
    }
    std::printf("%s\n", printableLine(message->text()).c_str());
    (void)std::fflush(stdout); // where standard output is closed there is nobody to tell
    return update();
}

bool UpdateRun::check()
{
    const InterruptibleWork fetching(statusWhenStopped());
    return m_desk.check();
}

/// A check that is cut short has told nothing.
ExitStatus UpdateRun::statusWhenStopped() const
{
    return m_options.mode == HostMode::check ? ExitStatus::couldNotRun : ExitStatus::declined;
}

bool UpdateRun::start()
{
    // A check alone asks the host for nothing and may run beside a resident one.
    if (m_options.mode == HostMode::update && !m_port.open()) {
        complain(SetupPort::reasonOfFailure());
        return false;
    }
    m_services.recoverInstalls(mainBundleFolder());
    std::string error;
    if (m_desk.load(m_pluginFolder, error))
        return true;
    complain(error);
    return false;
}

ExitStatus UpdateRun::update()
{
    SetAlertsUnattended(m_options.unattended);
    SetAlertListener([this](std::u16string_view text) { m_outcome.noteAlert(text); });
    m_watcher = std::make_unique<WindowWatcher>(
        m_options.pictures, [this](QWidget& window, WindowKind kind) { answer(window, kind); });
    if (m_stopped)
        return statusWhenStopped();
    if (!m_desk.open()) {
        complain("what is offered could not be opened");
        return ExitStatus::couldNotRun;
    }
    (void)QApplication::exec(); // the status is the outcome's
    if (m_stopped)
        return statusWhenStopped();
    if (m_stuck)
        return ExitStatus::failed;
    if (!m_finished)
        waitForRelaunch();
    return m_outcome.status();
}

void UpdateRun::answer(QWidget& window, WindowKind kind)
{
    m_outcome.progressShown = m_outcome.progressShown || kind == WindowKind::progress;
    if (!m_options.unattended)
        return;
    // Pressing a button runs the provider's next step at once: what follows may be looked at within it.
    m_outcome.confirmed = m_outcome.confirmed || kind == WindowKind::selection;
    const UnattendedAnswer given = answerWindow(window, kind);
    if (given == UnattendedAnswer::declined)
        m_outcome.confirmed = false;
    if (given != UnattendedAnswer::stuck)
        return;
    complain("a window has nothing to confirm");
    m_stuck = true;
    m_desk.cancel();
    finish();
}

/// The plug-in ended the event loop because its host is to start again; its request is on the way.
void UpdateRun::waitForRelaunch()
{
    const auto end = std::chrono::steady_clock::now() + kRelaunchWait;
    while (!m_outcome.relaunchAsked && std::chrono::steady_clock::now() < end)
        (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, kRelaunchSliceSeconds, true); // just time for it
}

void UpdateRun::stop()
{
    m_stopped = true;
    m_desk.cancel();
    closeAlerts();
    m_services.endQuestion();
    EndAuthorizationQuestions();
    finish();
}

void UpdateRun::finish()
{
    m_finished = true;
    QCoreApplication::exit(0);
}
