// Sending a request to a port and waiting for its reply.
#include "Platform/CoreFoundation/CFMessagePortInternal.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/Assertion.h"

#include <QSocketNotifier>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// How long to process events before a full queue is tried again: nothing tells when it has room.
constexpr double kRetrySeconds = 0.01;

/// A span of time that starts now. In seconds throughout, so that no length of it overflows.
class TimeLimit {
public:
    explicit TimeLimit(double seconds)
        : m_seconds(seconds)
    {
    }
    double left() const
    {
        const double left = m_seconds - std::chrono::duration<double>(Clock::now() - m_start).count();
        return left > 0 ? left : 0;
    }

private:
    Clock::time_point m_start = Clock::now();
    double m_seconds;
};

/// One request on a connection of its own. Events are processed while it waits, so the port may end
/// meanwhile.
class Exchange {
public:
    Exchange(CFMessagePortRef port, CFRunLoopMode mode)
        : m_port(port)
        , m_mode(mode)
    {
    }

    CFMessagePortStatus send(SInt32 messageId, CFDataRef data, double timeoutSeconds);
    CFMessagePortStatus receive(SInt32 messageId, double timeoutSeconds, CFRef<CFDataRef>& reply);

private:
    CFMessagePortStatus connect(const TimeLimit& limit);
    CFMessagePortStatus write(const std::vector<UInt8>& bytes, const TimeLimit& limit);
    CFMessagePortStatus read(UInt8* bytes, std::size_t size, const TimeLimit& limit);
    /// Processes events until the socket is ready; `atTimeout` when it is not within the limit.
    CFMessagePortStatus wait(
        QSocketNotifier::Type direction, const TimeLimit& limit, CFMessagePortStatus atTimeout);

    CFMessagePortRef m_port;
    CFRunLoopMode m_mode;
    Descriptor m_socket;
};

CFMessagePortStatus Exchange::send(SInt32 messageId, CFDataRef data, double timeoutSeconds)
{
    const CFIndex length = data ? CFDataGetLength(data) : 0;
    if (length > kCFMessagePortMaxPayloadBytes)
        return kCFMessagePortTransportError;
    const PortFrameHeader header {messageId, static_cast<UInt32>(length)};
    std::vector<UInt8> bytes(sizeof header + static_cast<std::size_t>(length));
    std::memcpy(bytes.data(), &header, sizeof header);
    if (length > 0)
        std::memcpy(bytes.data() + sizeof header, CFDataGetBytePtr(data), static_cast<std::size_t>(length));

    const TimeLimit limit(timeoutSeconds);
    const CFMessagePortStatus status = connect(limit);
    return status == kCFMessagePortSuccess ? write(bytes, limit) : status;
}

CFMessagePortStatus Exchange::connect(const TimeLimit& limit)
{
    for (;;) {
        switch (connectToPort(m_port->m_fileName, m_socket)) {
        case PortConnect::connected:
            return kCFMessagePortSuccess;
        case PortConnect::nobodyListens:
            return kCFMessagePortIsInvalid;
        case PortConnect::failed:
            return kCFMessagePortTransportError;
        case PortConnect::queueFull:
            break;
        }
        if (limit.left() == 0)
            return kCFMessagePortSendTimeout;
        (void)CFRunLoopRunInMode(
            m_mode, std::min(kRetrySeconds, limit.left()), false); // just time for others
        if (!m_port->m_sends)
            return kCFMessagePortIsInvalid;
    }
}

CFMessagePortStatus Exchange::write(const std::vector<UInt8>& bytes, const TimeLimit& limit)
{
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t sent = ::send(m_socket.get(), bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (sent >= 0) {
            done += static_cast<std::size_t>(sent);
            continue;
        }
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN && errno != EWOULDBLOCK)
            return kCFMessagePortTransportError;
        const CFMessagePortStatus status = wait(QSocketNotifier::Write, limit, kCFMessagePortSendTimeout);
        if (status != kCFMessagePortSuccess)
            return status;
    }
    return kCFMessagePortSuccess;
}

CFMessagePortStatus Exchange::receive(SInt32 messageId, double timeoutSeconds, CFRef<CFDataRef>& reply)
{
    const TimeLimit limit(timeoutSeconds);
    PortFrameHeader header {};
    CFMessagePortStatus status = read(reinterpret_cast<UInt8*>(&header), sizeof header, limit);
    if (status != kCFMessagePortSuccess)
        return status;
    const bool isReply = header.messageId == messageId
        && header.length <= static_cast<UInt32>(kCFMessagePortMaxPayloadBytes);
    if (!isReply)
        return kCFMessagePortTransportError;
    std::vector<UInt8> bytes(header.length);
    status = read(bytes.data(), bytes.size(), limit);
    if (status != kCFMessagePortSuccess || bytes.empty())
        return status;
    reply = adoptCF(CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
    return reply ? kCFMessagePortSuccess : kCFMessagePortTransportError;
}

CFMessagePortStatus Exchange::read(UInt8* bytes, std::size_t size, const TimeLimit& limit)
{
    for (std::size_t done = 0; done < size;) {
        const ssize_t got = ::recv(m_socket.get(), bytes + done, size - done, 0);
        if (got > 0) {
            done += static_cast<std::size_t>(got);
            continue;
        }
        if (got < 0 && errno == EINTR)
            continue;
        if (got == 0 || (errno != EAGAIN && errno != EWOULDBLOCK))
            return kCFMessagePortTransportError;
        const CFMessagePortStatus status = wait(QSocketNotifier::Read, limit, kCFMessagePortReceiveTimeout);
        if (status != kCFMessagePortSuccess)
            return status;
    }
    return kCFMessagePortSuccess;
}

CFMessagePortStatus Exchange::wait(
    QSocketNotifier::Type direction, const TimeLimit& limit, CFMessagePortStatus atTimeout)
{
    bool isReady = false;
    QSocketNotifier notifier(m_socket.get(), direction);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&] {
        isReady = true;
        notifier.setEnabled(false);
    });
    while (!isReady) {
        const double left = limit.left();
        if (left == 0)
            return atTimeout;
        (void)CFRunLoopRunInMode(
            m_mode, left, true); // whatever was processed, isReady tells whether it was ours
        if (!m_port->m_sends)
            return kCFMessagePortIsInvalid;
    }
    return kCFMessagePortSuccess;
}

} // namespace

CFMessagePortStatus CFMessagePortSendRequest(CFMessagePortRef port, SInt32 messageId, CFDataRef data,
    double sendTimeout, double receiveTimeout, CFRunLoopMode replyMode, CFDataRef* reply)
{
    VELMORA_ASSERT(port != nullptr);
    if (reply)
        *reply = nullptr;
    if (!port->m_sends)
        return kCFMessagePortIsInvalid;
    const auto kept = retainCF(port); // a handler that runs while this waits may release it
    Exchange exchange(port, replyMode);
    CFMessagePortStatus status = exchange.send(messageId, data, sendTimeout);
    // All bytes are in the other end's socket now: they get there even when this process ends.
    if (status != kCFMessagePortSuccess || !(receiveTimeout > 0))
        return status;
    CFRef<CFDataRef> received;
    status = exchange.receive(messageId, receiveTimeout, received);
    if (status == kCFMessagePortSuccess && reply && received)
        *reply = static_cast<CFDataRef>(CFRetain(received.get()));
    return status;
}
