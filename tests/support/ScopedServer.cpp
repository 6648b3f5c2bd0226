// A web server for one test.
#include "tests/support/ScopedServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>

namespace {

constexpr std::size_t kMaxRequestBytes = 65536;
constexpr std::chrono::seconds kPatience {10};

/// Waits up to `time` (negative: without limit) for the client to end the connection; what it sends meanwhile
/// is dropped.
bool clientLeaves(int fd, std::chrono::milliseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (true) {
        int wait = -1;
        if (time.count() >= 0)
            wait = static_cast<int>(std::max<std::int64_t>(0,
                std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now())
                    .count()));
        pollfd entry {fd, POLLIN, 0};
        if (::poll(&entry, 1, wait) == 0)
            return false;
        char dropped[256];
        const ssize_t count = ::recv(fd, dropped, sizeof dropped, MSG_DONTWAIT);
        if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR))
            return true;
    }
}

/// A connection on which a script runs.
struct Peer {
    int fd;
    std::atomic<std::size_t>& sent;
};

bool sendAll(const Peer& peer, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(peer.fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
        peer.sent += static_cast<std::size_t>(sent);
    }
    return true;
}

/// How a script left its connection.
enum class After { keep, ended, clientGone };

After sendPieces(const Peer& peer, const ServerScript::Step& step)
{
    std::string_view rest = step.bytes;
    const std::size_t piece = step.pieceBytes == 0 ? std::max<std::size_t>(rest.size(), 1) : step.pieceBytes;
    while (!rest.empty()) {
        if (!sendAll(peer, rest.substr(0, piece)))
            return After::clientGone;
        rest.remove_prefix(std::min(piece, rest.size()));
        if (!rest.empty() && step.pause.count() > 0 && clientLeaves(peer.fd, step.pause))
            return After::clientGone;
    }
    return After::keep;
}

After runStep(const Peer& peer, const ServerScript::Step& step)
{
    switch (step.kind) {
    case ServerScript::Kind::send:
        return sendPieces(peer, step);
    case ServerScript::Kind::repeat:
        for (std::size_t i = 0; i < step.times; ++i)
            if (!sendAll(peer, step.bytes))
                return After::clientGone;
        return After::keep;
    case ServerScript::Kind::stall:
        (void)clientLeaves(
            peer.fd, std::chrono::milliseconds(-1)); // without a limit it returns only when it left
        return After::clientGone;
    case ServerScript::Kind::reset: {
        const linger atOnce {1, 0};
        (void)::setsockopt(
            peer.fd, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce); // then closing sends a reset
        return After::ended;
    }
    case ServerScript::Kind::close:
        return After::ended;
    }
    std::abort();
}

After run(const Peer& peer, const ServerScript& script)
{
    for (const ServerScript::Step& step : script.steps()) {
        const After after = runStep(peer, step);
        if (after != After::keep)
            return after;
    }
    return After::keep;
}

/// Reads up to the empty line; what was read beyond it stays in `pending`.
std::optional<std::string> readHead(int fd, std::string& pending)
{
    while (true) {
        const std::size_t end = pending.find("\r\n\r\n");
        if (end != std::string::npos) {
            const std::string head = pending.substr(0, end + 2);
            pending.erase(0, end + 4);
            return head;
        }
        char bytes[4096];
        const ssize_t count = ::recv(fd, bytes, sizeof bytes, 0);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0 || pending.size() > kMaxRequestBytes)
            return std::nullopt;
        pending.append(bytes, static_cast<std::size_t>(count));
    }
}

ServerRequest parseHead(const std::string& head, int connection)
{
    ServerRequest request;
    request.connection = connection;
    const std::string line = head.substr(0, head.find("\r\n"));
    const std::size_t first = line.find(' ');
    const std::size_t last = line.rfind(' ');
    request.method = line.substr(0, first);
    request.target = line.substr(first + 1, last - first - 1);
    request.version = line.substr(last + 1);
    std::size_t at = line.size() + 2;
    while (at < head.size()) {
        const std::size_t end = head.find("\r\n", at);
        const std::size_t colon = head.find(':', at);
        if (colon < end) {
            std::string name = head.substr(at, colon - at);
            for (char& letter : name)
                letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
            const std::size_t value = head.find_first_not_of(' ', colon + 1);
            request.headers[name] = head.substr(value, end - value);
        }
        at = end + 2;
    }
    return request;
}

} // namespace

ScopedServer::ScopedServer()
    : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    sockaddr* const generic = reinterpret_cast<sockaddr*>(&address);
    if (::bind(m_listener.get(), generic, length) != 0 || ::listen(m_listener.get(), 128) != 0
        || ::getsockname(m_listener.get(), generic, &length) != 0)
        std::abort();
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { acceptConnections(); });
}

ScopedServer::~ScopedServer()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
        for (const int fd : m_openSockets)
            (void)::shutdown(fd, SHUT_RDWR); // wakes its worker; a socket that is gone already needs nothing
    }
    (void)::shutdown(m_listener.get(), SHUT_RDWR); // wakes the acceptor
    m_acceptor.join();
    for (std::thread& worker : m_workers)
        worker.join();
    for (const std::string& target : m_unscripted)
        ADD_FAILURE() << "asked for, but without a script: " << target;
    for (const auto& [path, times] : m_expected)
        EXPECT_EQ(countOf(path), times) << "requests for " << path;
}

std::string ScopedServer::url(std::string_view path) const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + std::string(path);
}

std::u16string ScopedServer::wideUrl(std::string_view path) const
{
    const std::string narrow = url(path); // ASCII
    return std::u16string(narrow.begin(), narrow.end());
}

void ScopedServer::on(const std::string& path, ServerScript script)
{
    onSequence(path, {std::move(script)});
}

void ScopedServer::onSequence(const std::string& path, std::vector<ServerScript> scripts)
{
    const std::lock_guard lock(m_mutex);
    m_scripts[path] = std::move(scripts);
}

void ScopedServer::expect(const std::string& path, int times)
{
    const std::lock_guard lock(m_mutex);
    m_expected[path] = times;
}

std::vector<ServerRequest> ScopedServer::requests() const
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

int ScopedServer::countOf(std::string_view target) const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(std::count_if(m_requests.begin(), m_requests.end(),
        [target](const ServerRequest& request) { return request.target == target; }));
}

int ScopedServer::connections() const
{
    const std::lock_guard lock(m_mutex);
    return m_connections;
}

bool ScopedServer::waitForClientsGone(int count)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, kPatience, [this, count] { return m_clientsGone >= count; });
}

bool ScopedServer::waitForRequests(int count)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(
        lock, kPatience, [this, count] { return m_requests.size() >= static_cast<std::size_t>(count); });
}

void ScopedServer::acceptConnections()
{
    while (true) {
        Descriptor client(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        const std::lock_guard lock(m_mutex);
        if (m_stopping)
            return;
        if (!client)
            continue;
        const int yes = 1;
        (void)::setsockopt(
            client.get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes); // pieces go as they come
        m_openSockets.insert(client.get());
        const int number = ++m_connections;
        m_workers.emplace_back([this, fd = client.release(), number] { serve(fd, number); });
    }
}

void ScopedServer::serve(int fd, int number)
{
    std::string pending;
    After after = After::keep;
    while (after == After::keep) {
        const std::optional<std::string> head = readHead(fd, pending);
        if (!head) {
            after = After::clientGone;
            break;
        }
        after = run({fd, m_bytesSent}, scriptFor(parseHead(*head, number)));
    }
    const Descriptor ended(fd);
    const std::lock_guard lock(m_mutex);
    m_openSockets.erase(fd);
    if (after == After::clientGone && !m_stopping)
        ++m_clientsGone;
    m_changed.notify_all();
}

ServerScript ScopedServer::scriptFor(const ServerRequest& request)
{
    const std::lock_guard lock(m_mutex);
    m_requests.push_back(request);
    m_changed.notify_all();
    const auto found = m_scripts.find(request.target);
    if (found == m_scripts.end()) {
        m_unscripted.push_back(request.target);
        return answer::status(404);
    }
    std::vector<ServerScript>& scripts = found->second;
    const ServerScript script = scripts.front();
    if (scripts.size() > 1)
        scripts.erase(scripts.begin());
    return script;
}
