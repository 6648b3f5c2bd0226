#include "TandemService/StopSignals.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace {

constexpr std::array<int, 2> kSignals = {SIGTERM, SIGINT};

// What a signal handler can reach.
int g_writeEnd = -1;
std::array<struct sigaction, kSignals.size()> g_former;

void noteSignal(int)
{
    const int error = errno;
    (void)write(g_writeEnd, "s", 1); // a full pipe says the same already
    errno = error;
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
        m_onStop();
    });
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < kSignals.size(); ++i)
        (void)sigaction(kSignals[i], &action, &g_former[i]); // both may be caught
}

StopSignals::~StopSignals()
{
    if (!m_notifier)
        return;
    for (std::size_t i = 0; i < kSignals.size(); ++i)
        (void)sigaction(kSignals[i], &g_former[i], nullptr); // both may be caught
    (void)close(g_writeEnd);                                 // nothing was left in it
    (void)close(static_cast<int>(m_notifier->socket()));     // nothing was left in it
    g_writeEnd = -1;
}
