// Ports against other ends that are broken, slow, gone or not allowed.
#include "tests/Platform/CoreFoundation/PortFixture.h"

#include <QTimer>

#include <chrono>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace port_test;

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Takes one connection, reads `wanted` bytes, writes `answer` and closes. It stands in for a server gone
/// wrong.
class StrangeServer {
public:
    StrangeServer(const FakeHome& home, std::size_t wanted, std::string answer)
        : m_listener(listenByHand(home))
        , m_thread([this, wanted, answer] { serve(wanted, answer); })
    {
    }
    ~StrangeServer() { m_thread.join(); }

private:
    void serve(std::size_t wanted, const std::string& answer)
    {
        // The first connection is the look whether anybody listens.
        Descriptor look(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        Descriptor peer(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        std::string got(wanted, '\0');
        (void)::recv(peer.get(), got.data(), wanted, MSG_WAITALL);
        (void)sendByHand(peer, answer);
    }

    Descriptor m_listener;
    std::thread m_thread;
};

CFMessagePortStatus send(CFMessagePortRef port, double sendSeconds, double receiveSeconds, bool& hasReply)
{
    CFDataRef reply = nullptr;
    const CFMessagePortStatus status = CFMessagePortSendRequest(
        port, 1, dataOf("x"), sendSeconds, receiveSeconds, kCFRunLoopDefaultMode, &reply);
    hasReply = reply != nullptr;
    (void)adoptCF(reply);
    return status;
}

} // namespace

class CFMessagePortServer : public CFMessagePort {
protected:
    CFMessagePortServer()
        : m_server(makeServer())
    {
    }
    /// True when a decent request is answered now.
    bool stillServes()
    {
        const std::size_t before = m_recorder.requests.size();
        bool hasReply = false;
        return send(makeRemote(), 3, 10, hasReply) == kCFMessagePortSuccess
            && m_recorder.requests.size() == before + 1;
    }

    CFRef<CFMessagePortRef> m_server;
};

TEST_F(CFMessagePortServer, ForeignProtocolIsClosedUnserved)
{
    const Descriptor socket = connectByHand(m_home);
    ASSERT_TRUE(sendByHand(socket, "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n"));
    EXPECT_TRUE(isClosedUnanswered(socket));
    EXPECT_TRUE(m_recorder.requests.empty());
    EXPECT_TRUE(stillServes());
}

TEST_F(CFMessagePortServer, LengthAboveTheLimitIsClosedUnserved)
{
    for (const UInt32 length : {65537u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        const Descriptor socket = connectByHand(m_home);
        ASSERT_TRUE(sendByHand(socket, header(1, length)));
        EXPECT_TRUE(isClosedUnanswered(socket)) << length;
    }
    EXPECT_TRUE(m_recorder.requests.empty());
    EXPECT_TRUE(stillServes());
}

TEST_F(CFMessagePortServer, RequestThatBreaksOffIsNotServed)
{
    const std::string whole = frame(1, "payload");
    for (std::size_t kept = 0; kept < whole.size(); ++kept) {
        Descriptor socket = connectByHand(m_home);
        ASSERT_TRUE(sendByHand(socket, std::string_view(whole).substr(0, kept)));
        socket.reset();
    }
    const Descriptor halfOpen = connectByHand(m_home);
    ASSERT_TRUE(sendByHand(halfOpen, std::string_view(whole).substr(0, 9)));
    ASSERT_EQ(::shutdown(halfOpen.get(), SHUT_WR), 0);
    EXPECT_TRUE(isClosedUnanswered(halfOpen));
    EXPECT_TRUE(m_recorder.requests.empty());
    EXPECT_TRUE(stillServes());
}

TEST_F(CFMessagePortServer, SenderThatShutItsSideStillGetsItsReply)
{
    const Descriptor socket = connectByHand(m_home);
    ASSERT_TRUE(sendByHand(socket, frame(3, "x")));
    ASSERT_EQ(::shutdown(socket.get(), SHUT_WR), 0);
    ASSERT_TRUE(pumpUntil([&] { return m_recorder.requests.size() == 1; }));
    std::string reply(8, '?');
    ASSERT_EQ(::recv(socket.get(), reply.data(), 8, MSG_WAITALL), 8);
    EXPECT_EQ(reply, header(3, 0));
}

TEST_F(CFMessagePortServer, ServesOneRequestAConnection)
{
    const Descriptor socket = connectByHand(m_home);
    ASSERT_TRUE(sendByHand(socket, frame(1, "first") + frame(2, "second")));
    ASSERT_TRUE(pumpUntil([&] { return !m_recorder.requests.empty(); }));
    EXPECT_TRUE(stillServes());
    ASSERT_EQ(m_recorder.requests.size(), 2u);
    EXPECT_EQ(m_recorder.requests[0].second, "first");
    EXPECT_EQ(m_recorder.requests[1].second, "x");
}

TEST_F(CFMessagePortServer, RequestInPiecesIsServed)
{
    const Descriptor socket = connectByHand(m_home);
    for (const char byte : frame(4, "drop by drop")) {
        ASSERT_TRUE(sendByHand(socket, std::string_view(&byte, 1)));
        (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
    }
    EXPECT_TRUE(pumpUntil([&] { return !m_recorder.requests.empty(); }));
    EXPECT_EQ(m_recorder.requests.at(0), std::make_pair(SInt32(4), std::string("drop by drop")));
}

TEST_F(CFMessagePortServer, IdleConnectionsHoldUpNobody)
{
    std::vector<Descriptor> idle;
    for (int i = 0; i < 31; ++i)
        idle.push_back(connectByHand(m_home));
    EXPECT_TRUE(stillServes());
}

TEST_F(CFMessagePortServer, ThirtyThirdConnectionWaitsForItsTurn)
{
    std::vector<Descriptor> idle;
    for (int i = 0; i < 32; ++i)
        idle.push_back(connectByHand(m_home));
    const Descriptor last = connectByHand(m_home);
    ASSERT_TRUE(sendByHand(last, frame(1, "patient")));
    (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.2, false);
    EXPECT_TRUE(m_recorder.requests.empty());

    idle.pop_back();
    const auto start = Clock::now();
    EXPECT_TRUE(pumpUntil([&] { return m_recorder.requests.size() == 1; }));
    EXPECT_LT(secondsSince(start), 2); // not when the idle ones are given up
}

TEST_F(CFMessagePortServer, DrippingConnectionIsClosedAfterFiveSeconds)
{
    const Descriptor socket = connectByHand(m_home);
    ASSERT_TRUE(sendByHand(socket, header(1, 1000)));
    QTimer drip;
    QObject::connect(&drip, &QTimer::timeout, [&] { (void)sendByHand(socket, "."); });
    drip.start(100);
    const auto start = Clock::now();
    EXPECT_TRUE(isClosedUnanswered(socket));
    EXPECT_GT(secondsSince(start), 4.5);
    EXPECT_LT(secondsSince(start), 8);
    EXPECT_TRUE(m_recorder.requests.empty());
}

TEST_F(CFMessagePortServer, RequestThatWaitedForABusyLoopIsServed)
{
    const Descriptor socket = connectByHand(m_home);
    (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.1, false); // the connection is taken, its time runs
    ASSERT_TRUE(sendByHand(socket, frame(1, "still here")));
    std::this_thread::sleep_for(
        std::chrono::milliseconds(5300)); // a loop that is kept busy, not a wait for anything
    EXPECT_TRUE(pumpUntil([&] { return !m_recorder.requests.empty(); }));
}

TEST_F(CFMessagePortServer, SenderMayVanishWhileItIsServed)
{
    Descriptor socket = connectByHand(m_home);
    m_recorder.answer = [&](CFMessagePortRef) {
        socket.reset();
        (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.05, false);
        return static_cast<CFDataRef>(CFRetain(dataOf(std::string(65536, 'r')).get()));
    };
    ASSERT_TRUE(sendByHand(socket, frame(1, "x")));
    ASSERT_TRUE(pumpUntil([&] { return m_recorder.requests.size() == 1; }));
    m_recorder.answer = [](CFMessagePortRef) { return nullptr; };
    EXPECT_TRUE(stillServes());
}

TEST_F(CFMessagePortServer, ReplyAboveTheLimitIsNotSent)
{
    m_recorder.answer = [](CFMessagePortRef) {
        return static_cast<CFDataRef>(CFRetain(dataOf(std::string(65537, 'r')).get()));
    };
    const Descriptor socket = connectByHand(m_home);
    ASSERT_TRUE(sendByHand(socket, frame(1, "x")));
    EXPECT_TRUE(isClosedUnanswered(socket));
    EXPECT_EQ(m_recorder.requests.size(), 1u);
}

TEST_F(CFMessagePortServer, MayBeInvalidatedWithConnectionsInEveryState)
{
    const Descriptor idle = connectByHand(m_home);
    const Descriptor half = connectByHand(m_home);
    ASSERT_TRUE(sendByHand(half, header(1, 10)));
    const Descriptor served = connectByHand(m_home);
    m_recorder.answer = [](CFMessagePortRef port) {
        (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.05, false);
        CFMessagePortInvalidate(port);
        (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.05, false);
        return nullptr;
    };
    ASSERT_TRUE(sendByHand(served, frame(1, "x")));
    EXPECT_TRUE(isClosedUnanswered(served));
    EXPECT_TRUE(isClosedUnanswered(half));
    EXPECT_TRUE(isClosedUnanswered(idle));
    EXPECT_EQ(m_recorder.requests.size(), 1u);
}

TEST_F(CFMessagePortServer, AnotherUsersRequestIsClosedUnread)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "connecting as another user needs uid 0";
    // As if the folder's protection had been lifted after the start: the server looks for itself.
    ::chmod(m_home.path().c_str(), 0755);
    ::chmod(m_home.runtime().c_str(), 0755);
    ::chmod(socketPath().c_str(), 0777);
    ASSERT_EQ(::seteuid(65534), 0);
    const Descriptor socket = connectByHand(m_home);
    ASSERT_EQ(::seteuid(0), 0);
    ASSERT_TRUE(socket);
    ASSERT_TRUE(sendByHand(socket, frame(1, "let me in")));
    EXPECT_TRUE(isClosedUnanswered(socket));
    EXPECT_TRUE(m_recorder.requests.empty());
}

TEST_F(CFMessagePort, AnotherUsersServerIsNotTalkedTo)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "listening as another user needs uid 0";
    ::chmod(m_home.path().c_str(), 0755);
    ::chmod(m_home.runtime().c_str(), 0777);
    ASSERT_EQ(::seteuid(65534), 0);
    const Descriptor listener = listenByHand(m_home);
    ASSERT_EQ(::seteuid(0), 0);
    ASSERT_TRUE(listener);
    ::chmod(m_home.runtime().c_str(), 0700);
    EXPECT_FALSE(makeRemote());
    EXPECT_FALSE(makeServer());
}

TEST_F(CFMessagePort, ServerThatNeverRepliesTimesOut)
{
    const Descriptor listener = listenByHand(m_home);
    const auto remote = makeRemote();
    bool hasReply = true;
    const auto start = Clock::now();
    EXPECT_EQ(send(remote, 3, 0.25, hasReply), kCFMessagePortReceiveTimeout);
    EXPECT_GE(secondsSince(start), 0.25);
    EXPECT_LT(secondsSince(start), 2);
    EXPECT_FALSE(hasReply);
}

TEST_F(CFMessagePort, ServerWhoseQueueIsFullTimesOutTheSending)
{
    const Descriptor listener = listenByHand(m_home, 0);
    const auto remote = makeRemote();
    ASSERT_TRUE(remote);
    bool hasReply = true;
    const auto start = Clock::now();
    EXPECT_EQ(send(remote, 0.25, 10, hasReply), kCFMessagePortSendTimeout);
    EXPECT_GE(secondsSince(start), 0.25);
    EXPECT_LT(secondsSince(start), 2);
    EXPECT_TRUE(makeRemote()) << "a busy server is a living one";
}

TEST_F(CFMessagePort, ReplyToAnotherRequestIsRefused)
{
    const StrangeServer server(m_home, 9, frame(2, "abcd"));
    bool hasReply = true;
    EXPECT_EQ(send(makeRemote(), 3, 10, hasReply), kCFMessagePortTransportError);
    EXPECT_FALSE(hasReply);
}

TEST_F(CFMessagePort, ReplyWithALengthAboveTheLimitIsRefused)
{
    const StrangeServer server(m_home, 9, header(1, 65537) + std::string(100, 'a'));
    bool hasReply = true;
    EXPECT_EQ(send(makeRemote(), 3, 10, hasReply), kCFMessagePortTransportError);
    EXPECT_FALSE(hasReply);
}

TEST_F(CFMessagePort, ReplyThatBreaksOffIsRefused)
{
    for (const std::string& answer : {std::string(), header(1, 4).substr(0, 5), header(1, 4) + "abc"}) {
        {
            const StrangeServer server(m_home, 9, answer);
            bool hasReply = true;
            EXPECT_EQ(send(makeRemote(), 3, 10, hasReply), kCFMessagePortTransportError);
            EXPECT_FALSE(hasReply);
        }
        ::unlink(socketPath().c_str());
    }
}
