// The one libcurl multi handle of the process.
#include "Platform/CFNetwork/CurlMulti.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <poll.h>

#include <algorithm>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

// A bare pointer on purpose: where a process ends without destroying its application object, connections are
// left to the system, since by then the TLS library may be gone.
CurlMulti* theMulti = nullptr;

/// A day: longer than any wait of libcurl's, and far from overflow.
constexpr SInt64 kMaxDelayMilliseconds = 86'400'000;

static_assert(std::is_same_v<SInt64, decltype(0L)>, "libcurl's callbacks speak of long");

int millisecondsUntil(std::chrono::steady_clock::time_point when)
{
    const auto left = when - std::chrono::steady_clock::now();
    return static_cast<int>(
        std::max<std::int64_t>(0, std::chrono::ceil<std::chrono::milliseconds>(left).count()));
}

} // namespace

CurlMulti& CurlMulti::instance()
{
    if (!theMulti) {
        theMulti = new CurlMulti;
        // Notifiers and timers need the application object: they go with it, not with the process.
        qAddPostRoutine([] { delete std::exchange(theMulti, nullptr); });
    }
    return *theMulti;
}

CurlMulti::CurlMulti()
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &CurlMulti::deadlineReached);
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        return;
    m_multi = curl_multi_init();
    if (!m_multi)
        return;
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &CurlMulti::socketCallback);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &CurlMulti::timerCallback);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
}

CurlMulti::~CurlMulti()
{
    for (const auto& [easy, transfer] : std::exchange(m_transfers, {})) {
        (void)curl_multi_remove_handle(m_multi, easy); // nothing to do about a handle that is off already
        transfer->transferDone(CURLE_ABORTED_BY_CALLBACK);
    }
    // Every transfer is off; closing idle connections cannot fail usefully.
    if (m_multi)
        (void)curl_multi_cleanup(m_multi);
}

bool CurlMulti::add(CURL* easy, CurlTransfer& transfer)
{
    if (!m_multi || curl_multi_add_handle(m_multi, easy) != CURLM_OK)
        return false;
    m_transfers.emplace(easy, &transfer);
    return true;
}

void CurlMulti::remove(CURL* easy)
{
    if (m_transfers.erase(easy) != 0)
        (void)curl_multi_remove_handle(m_multi, easy); // it was added, and nobody else takes it off
}

void CurlMulti::drive(int maxWaitMs)
{
    std::vector<pollfd> sockets;
    for (const auto& [socket, watch] : m_watches) {
        const int events = (watch.reads ? POLLIN : 0) | (watch.writes ? POLLOUT : 0);
        if (events != 0)
            sockets.push_back({socket, static_cast<SInt16>(events), 0});
    }
    const int wait = m_hasDeadline ? std::min(maxWaitMs, millisecondsUntil(m_deadline)) : maxWaitMs;
    if (::poll(sockets.data(), sockets.size(), wait) > 0) {
        for (const pollfd& ready : sockets) {
            // An error or a hang-up is found by reading or writing, with the bytes that came before it.
            const bool failed = (ready.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
            const int events = ((ready.revents & POLLIN) || failed ? CURL_CSELECT_IN : 0)
                | ((ready.revents & POLLOUT) || failed ? CURL_CSELECT_OUT : 0);
            if (events != 0)
                socketReady(ready.fd, events);
        }
    }
    if (m_hasDeadline)
        deadlineReached();
}

int CurlMulti::socketCallback(CURL*, curl_socket_t socket, int what, void* self, void*)
{
    CurlMulti& multi = *static_cast<CurlMulti*>(self);
    // CURL_POLL_REMOVE has neither bit.
    multi.watch(socket, (what & CURL_POLL_IN) != 0, (what & CURL_POLL_OUT) != 0);
    return 0;
}

void CurlMulti::watch(curl_socket_t socket, bool reads, bool writes)
{
    Watch& watch = m_watches[socket];
    watch.reads = reads;
    watch.writes = writes;
    notify(watch.readNotifier, socket, reads, QSocketNotifier::Read, CURL_CSELECT_IN);
    notify(watch.writeNotifier, socket, writes, QSocketNotifier::Write, CURL_CSELECT_OUT);
}

void CurlMulti::notify(QSocketNotifier*& notifier, curl_socket_t socket, bool wanted, int type, int events)
{
    if (notifier) {
        notifier->setEnabled(wanted);
        return;
    }
    if (!wanted || !QCoreApplication::instance())
        return; // without an application object there is no event loop to wait in: only polling readers exist
    notifier = new QSocketNotifier(socket, static_cast<QSocketNotifier::Type>(type), this);
    connect(
        notifier, &QSocketNotifier::activated, this, [this, socket, events] { socketReady(socket, events); });
}

int CurlMulti::timerCallback(CURLM*, SInt64 timeoutMs, void* self)
{
    static_cast<CurlMulti*>(self)->setDeadline(timeoutMs);
    return 0;
}

void CurlMulti::setDeadline(SInt64 timeoutMs)
{
    m_hasDeadline = timeoutMs >= 0;
    m_timer.stop();
    if (!m_hasDeadline)
        return;
    // libcurl cuts its own deadline to whole milliseconds: with one more the call does not come early.
    const SInt64 delayMs = timeoutMs == 0 ? 0 : std::min<SInt64>(timeoutMs + 1, kMaxDelayMilliseconds);
    m_deadline = Clock::now() + std::chrono::milliseconds(delayMs);
    if (QCoreApplication::instance())
        m_timer.start(static_cast<int>(delayMs));
}

void CurlMulti::deadlineReached()
{
    if (!m_hasDeadline)
        return;
    const int leftMs = millisecondsUntil(m_deadline);
    if (leftMs > 0) {
        if (QCoreApplication::instance())
            m_timer.start(leftMs);
        return;
    }
    m_hasDeadline = false;
    socketReady(CURL_SOCKET_TIMEOUT, 0);
}

void CurlMulti::socketReady(curl_socket_t socket, int events)
{
    int running = 0;
    // Failures come as messages of their transfer.
    (void)curl_multi_socket_action(m_multi, socket, events, &running);
    finishTransfers();
}

void CurlMulti::finishTransfers()
{
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        const CURLcode result = message->data.result;
        CURL* const easy = message->easy_handle; // the message ends with the removal
        const auto found = m_transfers.find(easy);
        if (found == m_transfers.end())
            continue;
        CurlTransfer* const transfer = found->second;
        m_transfers.erase(found);
        (void)curl_multi_remove_handle(m_multi, easy); // it was on the handle until now
        transfer->transferDone(result);
    }
}
