// The serving end of one connection to a port: one request, one reply, the end. Private to this folder.
#pragma once

#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/CFMessagePortSocket.h"
#include "Platform/CoreFoundation/CFRef.h"

#include <QSocketNotifier>
#include <QTimer>

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

/// Reads a request, has it served and writes the reply. It never waits: the event loop calls it. What the
/// other end does not finish in kConnectionSeconds for each direction ends it.
class PortConnection : public std::enable_shared_from_this<PortConnection> {
public:
    /// Gives the reply, or none. It may process events and close this connection.
    using Serve = std::function<CFRef<CFDataRef>(SInt32 messageId, CFDataRef data)>;
    /// Told once, when the connection has closed itself; its owner then lets go of it.
    using Closed = std::function<void(const PortConnection&)>;

    PortConnection(Descriptor socket, Serve serve, Closed closed);
    PortConnection(const PortConnection&) = delete;
    PortConnection& operator=(const PortConnection&) = delete;
    ~PortConnection();

    /// Ends the connection without telling anybody. A request that is being served gets no reply.
    void shut();

private:
    enum class State { readingHeader, readingPayload, serving, replying, closed };

    void readSome();
    void takeHeader();
    void serve();
    void reply(CFDataRef data);
    void writeSome();
    void endOfTime();
    void close();

    State m_state = State::readingHeader;
    Descriptor m_socket; ///< outlives the notifiers that watch it
    Serve m_serve;
    Closed m_closed;
    PortFrameHeader m_header {};
    std::vector<UInt8> m_bytes; ///< what is being read, at its full size, or the reply that is being written
    std::size_t m_done = 0;     ///< how many of m_bytes are read or written
    QSocketNotifier m_readable;
    QSocketNotifier m_writable;
    QTimer m_deadline;
};
