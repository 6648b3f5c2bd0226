// A web server for one test: loopback, a free port, threads of its own, and answers as scripted.
#pragma once

#include "Platform/Support/Descriptor.h"
#include "tests/support/ServerScript.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// What a client asked.
struct ServerRequest {
    std::string method;
    std::string target;  ///< as in the request line: a path, or a whole URL for a proxy
    std::string version; ///< "HTTP/1.1"
    std::map<std::string, std::string> headers; ///< names in lower case
    int connection = 0;                         ///< the connections are counted from 1
};

/// Serves until it goes. Its destructor fails the running test when a path was asked for that has no script,
/// or another number of times than expected.
class ScopedServer {
public:
    ScopedServer();
    ScopedServer(const ScopedServer&) = delete;
    ScopedServer& operator=(const ScopedServer&) = delete;
    ~ScopedServer();

    std::uint16_t port() const { return m_port; }
    /// "http://127.0.0.1:PORT" and `path`, which begins with "/".
    std::string url(std::string_view path) const;
    std::u16string wideUrl(std::string_view path) const;

    /// Sets what a path is answered with from now on.
    void on(const std::string& path, ServerScript script);
    /// The path's answers one after the other; the last one stays.
    void onSequence(const std::string& path, std::vector<ServerScript> scripts);
    /// How often the path must have been asked for when the server goes.
    void expect(const std::string& path, int times);

    std::vector<ServerRequest> requests() const;
    int countOf(std::string_view target) const;
    /// How many connections were accepted so far.
    int connections() const;
    /// How many bytes were handed to the system for sending so far, by all connections.
    std::size_t bytesSent() const { return m_bytesSent; }
    /// Waits until so many connections were ended by their client. False when that did not happen within 10
    /// seconds.
    bool waitForClientsGone(int count);
    /// Waits until so many requests came. False when that did not happen within 10 seconds.
    bool waitForRequests(int count);

private:
    void acceptConnections();
    void serve(int fd, int number);
    ServerScript scriptFor(const ServerRequest& request);

    Descriptor m_listener;
    std::uint16_t m_port = 0;
    std::atomic<std::size_t> m_bytesSent {0};
    mutable std::mutex m_mutex; ///< guards everything below
    std::condition_variable m_changed;
    bool m_stopping = false;
    std::map<std::string, std::vector<ServerScript>> m_scripts;
    std::map<std::string, int> m_expected;
    std::vector<ServerRequest> m_requests;
    std::vector<std::string> m_unscripted;
    std::set<int> m_openSockets;
    int m_connections = 0;
    int m_clientsGone = 0;
    std::vector<std::thread> m_workers;
    std::thread m_acceptor;
};
