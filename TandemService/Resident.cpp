#include "TandemService/Resident.h"

#include "TandemService/HostTexts.h"
#include "TandemService/Paths.h"
#include "TandemService/StopSignals.h"
#include "TandemService/WindowWatcher.h"
#include "Platform/CoreFoundation/CFRunLoop.h"
#include "Platform/Security/Authorization.h"

#include <QApplication>

#include <chrono>

namespace {

using namespace std::chrono_literals;

/// From one check to the next, and to the next try after one that could not run.
constexpr std::chrono::milliseconds kCheckInterval = 24h;
constexpr std::chrono::milliseconds kRetryInterval = 1h;
/// How long the request to start again may take to arrive after the plug-in ended the event loop.
constexpr std::chrono::seconds kRelaunchWait = 3s;
constexpr double kRelaunchSliceSeconds = 0.05;

} // namespace

Resident::Resident(const HostOptions& options, const std::string& pluginFolder)
    : m_options(options)
    , m_pluginFolder(pluginFolder)
    , m_services(carriedPrograms(), {.relaunchAsked = [this] { end(); }, .updateEnded = [] {}})
    , m_port(m_services)
    , m_desk([this] { return m_services.isInstalling(); }, [this] { check(Manner::quiet); })
{
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { check(Manner::aloud); });
}

Resident::~Resident() = default;

ExitStatus Resident::run()
{
    if (!start())
        return ExitStatus::couldNotRun;
    makeSign();
    if (!m_options.pictures.empty())
        m_watcher = std::make_unique<WindowWatcher>(m_options.pictures, [](QWidget&, WindowKind) {});
    QApplication::setQuitOnLastWindowClosed(false);
    m_timer.start(0ms);
    if (!m_stopped)
        (void)QApplication::exec(); // it ends when somebody asks for it
    const auto end = std::chrono::steady_clock::now() + kRelaunchWait;
    while (!m_stopped && programToStart().empty() && std::chrono::steady_clock::now() < end)
        (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, kRelaunchSliceSeconds, true); // just time for it
    return ExitStatus::done;
}

/// Waits for the session bus, which may never answer.
void Resident::makeSign()
{
    const InterruptibleWork connecting(ExitStatus::done);
    m_sign = std::make_unique<MessageSign>(MessageSign::Actions {
        .open = [this] { open(); }, .check = [this] { check(Manner::aloud); }, .quit = [this] { stop(); }});
}

bool Resident::start()
{
    if (!m_port.open()) {
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

/// Quiet when a message ended: what was declined can be opened again but is not advertised at once, what was
/// installed is no longer there.
void Resident::check(Manner manner)
{
    if (m_desk.isOpen() || m_services.isInstalling())
        return;
    bool ran = false;
    {
        const InterruptibleWork fetching(ExitStatus::done);
        ran = m_desk.check();
    }
    m_timer.start(ran ? kCheckInterval : kRetryInterval);
    if (const UserMessage* const message = m_desk.message())
        m_sign->show(message->text(), manner);
    else
        m_sign->hide();
}

void Resident::open()
{
    if (m_desk.isOpen())
        return;
    m_sign->hide();
    if (!m_desk.canShow())
        return;
    if (!m_desk.open())
        complain("what is offered could not be opened");
}

void Resident::stop()
{
    m_stopped = true;
    m_desk.cancel();
    closeAlerts();
    m_services.endQuestion();
    EndAuthorizationQuestions();
    end();
}

void Resident::end()
{
    QCoreApplication::exit(0);
}
