// The one libcurl multi handle of the process, which keeps connections alive between transfers, driven by the
// application's event loop or by a polling reader. Private to this folder.
#pragma once

#include "Platform/Support/Types.h"

#include <curl/curl.h>

#include <QObject>
#include <QTimer>

#include <chrono>
#include <map>

class QSocketNotifier;

/// Who is told that a transfer is over.
class CurlTransfer {
public:
    /// The transfer is off the multi handle and may be cleaned up. Never called from within libcurl.
    virtual void transferDone(CURLcode result) = 0;

protected:
    ~CurlTransfer() = default;
};

class CurlMulti final : public QObject {
public:
    /// Made at first use; ends with the application object, failing the transfers that still run.
    static CurlMulti& instance();
    ~CurlMulti() override;

    /// Starts a transfer; `transfer` is told of its end. False when that failed.
    bool add(CURL* easy, CurlTransfer& transfer);
    /// Stops a transfer without telling. Nothing happens when it is not running.
    void remove(CURL* easy);
    /// Moves all transfers on by what is ready on their sockets, waiting up to `maxWaitMs` milliseconds for
    /// that. Processes no events of the application.
    void drive(int maxWaitMs);

private:
    using Clock = std::chrono::steady_clock;
    /// What libcurl waits for on a socket, and the event loop's ends of that. It stays, switched off, when
    /// libcurl is done with the socket: the next one of that number takes it over. So pauses make no new
    /// notifiers, and none ends while it is telling.
    struct Watch {
        bool reads = false;
        bool writes = false;
        QSocketNotifier* readNotifier = nullptr; ///< owned by this object; null until first needed
        QSocketNotifier* writeNotifier = nullptr;
    };

    CurlMulti();
    static int socketCallback(CURL* easy, curl_socket_t socket, int what, void* self, void* socketData);
    static int timerCallback(CURLM* multi, SInt64 timeoutMs, void* self);
    void watch(curl_socket_t socket, bool reads, bool writes);
    void notify(QSocketNotifier*& notifier, curl_socket_t socket, bool wanted, int type, int events);
    void setDeadline(SInt64 timeoutMs);
    void deadlineReached();
    void socketReady(curl_socket_t socket, int events);
    void finishTransfers();

    CURLM* m_multi = nullptr;
    std::map<curl_socket_t, Watch> m_watches;
    std::map<CURL*, CurlTransfer*> m_transfers;
    bool m_hasDeadline = false;
    Clock::time_point m_deadline; ///< when libcurl wants to be called though no socket is ready
    QTimer m_timer;
};
