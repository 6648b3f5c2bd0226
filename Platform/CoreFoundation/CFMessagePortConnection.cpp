// The serving end of one connection to a port.
#include "Platform/CoreFoundation/CFMessagePortConnection.h"

#include "Platform/CoreFoundation/CFMessagePort.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

namespace {

/// A request reaches the socket in one piece, and its sender waits for the reply: more than this is no honest
/// sender.
constexpr std::chrono::seconds kConnectionSeconds(5);

bool isTransient(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

} // namespace

PortConnection::PortConnection(Descriptor socket, Serve serve, Closed closed)
    : m_socket(std::move(socket))
    , m_serve(std::move(serve))
    , m_closed(std::move(closed))
    , m_bytes(sizeof(PortFrameHeader))
    , m_readable(m_socket.get(), QSocketNotifier::Read)
    , m_writable(m_socket.get(), QSocketNotifier::Write)
{
    m_writable.setEnabled(false);
    m_deadline.setSingleShot(true);
    // Each handler may be the last one to hold this object, so it keeps it until it is done.
    QObject::connect(&m_readable, &QSocketNotifier::activated, &m_readable, [this] {
        const auto self = shared_from_this();
        readSome();
    });
    QObject::connect(&m_writable, &QSocketNotifier::activated, &m_writable, [this] {
        const auto self = shared_from_this();
        writeSome();
    });
    QObject::connect(&m_deadline, &QTimer::timeout, &m_deadline, [this] {
        const auto self = shared_from_this();
        endOfTime();
    });
    m_deadline.start(kConnectionSeconds);
}

PortConnection::~PortConnection()
{
    shut();
}

void PortConnection::shut()
{
    m_state = State::closed;
    m_deadline.stop();
    m_readable.setEnabled(false);
    m_writable.setEnabled(false);
    m_socket.reset();
}

void PortConnection::close()
{
    shut();
    m_closed(*this);
}

void PortConnection::readSome()
{
    // At most a header and its payload are read: what follows a request is not looked at.
    while (m_state == State::readingHeader || m_state == State::readingPayload) {
        if (m_done == m_bytes.size()) {
            if (m_state == State::readingHeader)
                takeHeader();
            else
                serve();
            continue;
        }
        const ssize_t got = ::recv(m_socket.get(), m_bytes.data() + m_done, m_bytes.size() - m_done, 0);
        if (got < 0 && isTransient(errno))
            return;
        if (got <= 0)
            return close();
        m_done += static_cast<std::size_t>(got);
    }
}

void PortConnection::takeHeader()
{
    std::memcpy(&m_header, m_bytes.data(), sizeof m_header);
    if (m_header.length > static_cast<UInt32>(kCFMessagePortMaxPayloadBytes))
        return close();
    m_state = State::readingPayload;
    m_bytes.assign(m_header.length, 0);
    m_done = 0;
}

void PortConnection::serve()
{
    m_state = State::serving;
    m_readable.setEnabled(false);
    m_deadline.stop();
    const auto data
        = adoptCF(CFDataCreate(kCFAllocatorDefault, m_bytes.data(), static_cast<CFIndex>(m_bytes.size())));
    const CFRef<CFDataRef> answer = data ? m_serve(m_header.messageId, data) : nullptr;
    if (m_state == State::serving)
        reply(answer);
}

void PortConnection::reply(CFDataRef data)
{
    const CFIndex length = data ? CFDataGetLength(data) : 0;
    if (length > kCFMessagePortMaxPayloadBytes)
        return close();
    m_header.length = static_cast<UInt32>(length);
    m_bytes.resize(sizeof m_header + static_cast<std::size_t>(length));
    std::memcpy(m_bytes.data(), &m_header, sizeof m_header);
    if (length > 0)
        std::memcpy(
            m_bytes.data() + sizeof m_header, CFDataGetBytePtr(data), static_cast<std::size_t>(length));
    m_done = 0;
    m_state = State::replying;
    m_deadline.start(kConnectionSeconds);
    writeSome();
}

void PortConnection::writeSome()
{
    while (m_state == State::replying && m_done < m_bytes.size()) {
        const ssize_t sent
            = ::send(m_socket.get(), m_bytes.data() + m_done, m_bytes.size() - m_done, MSG_NOSIGNAL);
        if (sent < 0 && isTransient(errno)) {
            m_writable.setEnabled(true);
            return;
        }
        if (sent < 0)
            return close(); // the sender is gone
        m_done += static_cast<std::size_t>(sent);
    }
    if (m_state == State::replying)
        close();
}

void PortConnection::endOfTime()
{
    // When the loop was kept busy, the bytes may have been waiting all along: they count.
    if (m_state == State::replying)
        writeSome();
    else
        readSome();
    const bool isStuck = m_state == State::readingHeader || m_state == State::readingPayload
        || (m_state == State::replying && !m_deadline.isActive());
    if (isStuck)
        close();
}
