#include "TandemService/StopSignals.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace {

constexpr std::array<int, 3> kStops = {SIGTERM, SIGINT, SIGHUP};
constexpr int kNoWork = -1;

// What a signal handler can reach.
int g_writeEnd = -1;
volatile sig_atomic_t g_isStopAsked = 0;
volatile sig_atomic_t g_statusWhenCutShort = kNoWork;

std::array<struct sigaction, kStops.size()> g_formerStops;
struct sigaction g_formerAlarm;

void noteStop(int)
{
    const int error = errno;
    (void)write(g_writeEnd, "s", 1); // a full pipe says the same already
    g_isStopAsked = 1;
    if (g_statusWhenCutShort != kNoWork)
        (void)alarm(kStopPatienceSeconds); // an earlier alarm was for the same
    errno = error;
}

void cutShort(int)
{
    if (g_statusWhenCutShort != kNoWork)
        _exit(g_statusWhenCutShort);
}

struct sigaction handledBy(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    return action;
}

} // namespace

StopSignals::StopSignals(std::function<void()> onStop)
    : m_onStop(std::move(onStop))
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return; // the signals end the process as they always do
    g_writeEnd = ends[1];
    m_notifier = std::make_unique<QSocketNotifier>(ends[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
        std::array<char, 16> bytes {};
        (void)read(
            static_cast<int>(m_notifier->socket()), bytes.data(), bytes.size()); // only that it came counts
        g_isStopAsked = 0;
        m_onStop();
    });
    const struct sigaction onAlarm = handledBy(cutShort);
    (void)sigaction(SIGALRM, &onAlarm, &g_formerAlarm); // all of these may be caught
    const struct sigaction onStopSignal = handledBy(noteStop);
    for (std::size_t i = 0; i < kStops.size(); ++i) {
        (void)sigaction(kStops[i], nullptr, &g_formerStops[i]);
        if (g_formerStops[i].sa_handler != SIG_IGN)
            (void)sigaction(kStops[i], &onStopSignal, nullptr);
    }
}

StopSignals::~StopSignals()
{
    if (!m_notifier)
        return;
    for (std::size_t i = 0; i < kStops.size(); ++i)
        (void)sigaction(kStops[i], &g_formerStops[i], nullptr); // all of these may be caught
    (void)sigaction(SIGALRM, &g_formerAlarm, nullptr);
    (void)close(g_writeEnd);                             // nothing was left in it
    (void)close(static_cast<int>(m_notifier->socket())); // nothing was left in it
    g_writeEnd = -1;
}

InterruptibleWork::InterruptibleWork(ExitStatus status)
{
    g_statusWhenCutShort = static_cast<int>(status);
    if (g_isStopAsked)
        (void)alarm(kStopPatienceSeconds); // asked before, and not seen yet
}

InterruptibleWork::~InterruptibleWork()
{
    g_statusWhenCutShort = kNoWork;
    (void)alarm(0); // the event loop has its turn again
}
