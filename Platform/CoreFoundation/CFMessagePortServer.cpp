// The listening end of a port.
#include "Platform/CoreFoundation/CFMessagePortServer.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <utility>

namespace {

constexpr std::size_t kMaxConnections = 32;
constexpr int kQueuedConnections = 128;
/// How many connections are taken before other events get their turn.
constexpr int kAcceptedAtOnce = 64;
constexpr std::chrono::milliseconds kPause(100);

Descriptor lockName(const Descriptor& folder, const std::string& fileName)
{
    const std::string lockFile = fileName + ".lock";
    Descriptor lock(::openat(
        folder.get(), lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    // The lock goes with its holder, however that ends; the file stays, because removing it would let two
    // hold "it".
    if (!lock || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return Descriptor();
    return lock;
}

/// Removes the socket that a process left when it died. False when somebody listens, or it is no socket of
/// this user.
bool clearName(const Descriptor& folder, const std::string& fileName)
{
    struct stat status;
    if (::fstatat(folder.get(), fileName.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT;
    if (!S_ISSOCK(status.st_mode))
        return false;
    Descriptor probe;
    if (connectToPort(fileName, probe) != PortConnect::nobodyListens)
        return false;
    return ::unlinkat(folder.get(), fileName.c_str(), 0) == 0 || errno == ENOENT;
}

Descriptor listenAt(const Descriptor& folder, const std::string& fileName)
{
    Descriptor listener = makePortSocket();
    const sockaddr_un address = portAddress(folder, fileName);
    if (!listener || ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return Descriptor();
    return ::listen(listener.get(), kQueuedConnections) == 0 ? std::move(listener) : Descriptor();
}

} // namespace

std::shared_ptr<PortServer> PortServer::start(const std::string& fileName, PortConnection::Serve serve)
{
    Descriptor folder = openPortFolder();
    if (!folder)
        return nullptr;
    Descriptor lock = lockName(folder, fileName);
    if (!lock || !clearName(folder, fileName))
        return nullptr;
    Descriptor listener = listenAt(folder, fileName);
    if (!listener)
        return nullptr;
    return std::make_shared<PortServer>(
        std::move(folder), std::move(lock), std::move(listener), fileName, std::move(serve));
}

PortServer::PortServer(Descriptor folder, Descriptor lock, Descriptor listener, std::string fileName,
    PortConnection::Serve serve)
    : m_folder(std::move(folder))
    , m_lock(std::move(lock))
    , m_listener(std::move(listener))
    , m_fileName(std::move(fileName))
    , m_serve(std::move(serve))
    , m_incoming(m_listener.get(), QSocketNotifier::Read)
{
    m_pause.setSingleShot(true);
    QObject::connect(&m_incoming, &QSocketNotifier::activated, &m_incoming, [this] { acceptSome(); });
    QObject::connect(&m_pause, &QTimer::timeout, &m_incoming, [this] { m_incoming.setEnabled(true); });
}

PortServer::~PortServer()
{
    stop();
}

void PortServer::stop()
{
    if (!m_listener)
        return;
    m_pause.stop();
    m_incoming.setEnabled(false);
    // The name goes before the lock, so that a successor never finds its own socket removed.
    (void)::unlinkat(
        m_folder.get(), m_fileName.c_str(), 0); // a socket that stays behind is replaced by the next one
    m_listener.reset();
    m_lock.reset();
    for (const auto& connection : std::exchange(m_connections, {}))
        connection->shut();
}

void PortServer::acceptSome()
{
    for (int taken = 0; taken < kAcceptedAtOnce; ++taken) {
        if (m_connections.size() >= kMaxConnections) {
            m_incoming.setEnabled(false); // until one of them is done
            return;
        }
        Descriptor socket(::accept4(m_listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (socket) {
            if (peerIsSameUser(socket))
                add(std::move(socket));
            continue;
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK)
            return;
        if (errno != EINTR && errno != ECONNABORTED) {
            m_incoming.setEnabled(false);
            m_pause.start(kPause);
            return;
        }
    }
}

void PortServer::add(Descriptor socket)
{
    m_connections.push_back(std::make_shared<PortConnection>(
        std::move(socket), m_serve, [weak = weak_from_this()](const PortConnection& connection) {
            if (const auto server = weak.lock())
                server->remove(connection);
        }));
}

void PortServer::remove(const PortConnection& connection)
{
    std::erase_if(m_connections, [&](const auto& each) { return each.get() == &connection; });
    if (m_listener && !m_pause.isActive())
        m_incoming.setEnabled(true);
}
