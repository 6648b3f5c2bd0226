// Ports as their users know them: names, requests, replies, waiting, ending.
#include "tests/Platform/CoreFoundation/PortFixture.h"

#include <QCoreApplication>
#include <QTimer>

#include <csignal>
#include <poll.h>
#include <set>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <fcntl.h>
#include <unistd.h>

using namespace port_test;

namespace {

struct Reply {
    CFMessagePortStatus status;
    CFRef<CFDataRef> data;
};

Reply request(CFMessagePortRef port, SInt32 id, std::string_view payload, double receiveSeconds = 10)
{
    CFDataRef data = nullptr;
    const CFMessagePortStatus status = CFMessagePortSendRequest(
        port, id, dataOf(payload), 3, receiveSeconds, kCFRunLoopDefaultMode, &data);
    return {status, adoptCF(data)};
}

CFDataRef fourZeroBytes(CFMessagePortRef)
{
    return CFDataCreate(kCFAllocatorDefault, (const UInt8*)"\0\0\0\0", 4);
}

bool exists(const std::string& path)
{
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0;
}

} // namespace

TEST_F(CFMessagePort, AnswersARequestOfTheSameThread)
{
    m_recorder.answer = fourZeroBytes;
    const auto server = makeServer();
    ASSERT_TRUE(server);
    const auto remote = makeRemote();
    ASSERT_TRUE(remote);

    const Reply reply = request(remote, 0x55504B47, std::string("QUIT\0", 5));

    EXPECT_EQ(reply.status, kCFMessagePortSuccess);
    ASSERT_TRUE(reply.data);
    EXPECT_EQ(bytesOf(reply.data), std::string(4, '\0'));
    ASSERT_EQ(m_recorder.requests.size(), 1u);
    EXPECT_EQ(m_recorder.requests[0], std::make_pair(SInt32(0x55504B47), std::string("QUIT\0", 5)));
}

TEST_F(CFMessagePort, ReplyWithoutBytesGivesNoData)
{
    const auto server = makeServer();
    const Reply reply = request(makeRemote(), 1, "x");
    EXPECT_EQ(reply.status, kCFMessagePortSuccess);
    EXPECT_FALSE(reply.data);
}

TEST_F(CFMessagePort, RequestMayHaveNoBytes)
{
    const auto server = makeServer();
    EXPECT_EQ(request(makeRemote(), 7, "").status, kCFMessagePortSuccess);
    ASSERT_EQ(m_recorder.requests.size(), 1u);
    EXPECT_EQ(m_recorder.requests[0], std::make_pair(SInt32(7), std::string()));
}

TEST_F(CFMessagePort, PayloadsUpToTheLimitGoBothWays)
{
    ASSERT_EQ(kCFMessagePortMaxPayloadBytes, 65536);
    std::string longest(65536, 'a');
    longest.back() = 'z';
    m_recorder.answer
        = [&](CFMessagePortRef) { return static_cast<CFDataRef>(CFRetain(dataOf(longest).get())); };
    const auto server = makeServer();
    const Reply reply = request(makeRemote(), 1, longest);
    ASSERT_EQ(reply.status, kCFMessagePortSuccess);
    EXPECT_TRUE(bytesOf(reply.data) == longest);
    EXPECT_TRUE(m_recorder.requests.at(0).second == longest);
}

TEST_F(CFMessagePort, LongerRequestIsNotSent)
{
    const Descriptor listener = listenByHand(m_home);
    const auto remote = makeRemote();
    const Descriptor look(
        ::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC)); // whether anybody listens
    EXPECT_EQ(request(remote, 1, std::string(65537, 'a')).status, kCFMessagePortTransportError);
    pollfd incoming {listener.get(), POLLIN, 0};
    EXPECT_EQ(::poll(&incoming, 1, 0), 0) << "nothing was even connected";
}

TEST_F(CFMessagePort, LongerReplyIsRefused)
{
    m_recorder.answer = [](CFMessagePortRef) {
        return static_cast<CFDataRef>(CFRetain(dataOf(std::string(65537, 'a')).get()));
    };
    const auto server = makeServer();
    const Reply reply = request(makeRemote(), 1, "x");
    EXPECT_EQ(reply.status, kCFMessagePortTransportError);
    EXPECT_FALSE(reply.data);
}

TEST_F(CFMessagePort, ReceiveTimeoutOfZeroDoesNotWaitForTheServer)
{
    const auto server = makeServer();
    EXPECT_EQ(request(makeRemote(), 9, "path", 0).status, kCFMessagePortSuccess);
    EXPECT_TRUE(m_recorder.requests.empty());
    EXPECT_TRUE(pumpUntil([&] { return !m_recorder.requests.empty(); }));
    EXPECT_EQ(m_recorder.requests.at(0), std::make_pair(SInt32(9), std::string("path")));
}

TEST_F(CFMessagePort, FiftyOfFiftyArriveFromSendersThatEndAtOnce)
{
    const auto server = makeServer();
    ASSERT_TRUE(server);
    std::multiset<std::string> expected;
    std::vector<std::pair<pid_t, Descriptor>> senders;
    for (int i = 0; i < 50; ++i) {
        const std::string text = "request " + std::to_string(i);
        expected.insert(text);
        senders.push_back(startPeer({"send", kPortName, "5", text, "0"}));
    }
    // All are gone before the first request is looked at.
    for (const auto& sender : senders)
        EXPECT_EQ(waitFor(sender.first), 0);
    EXPECT_TRUE(m_recorder.requests.empty());

    EXPECT_TRUE(pumpUntil([&] { return m_recorder.requests.size() == 50; }));
    std::multiset<std::string> arrived;
    for (const auto& [id, text] : m_recorder.requests)
        arrived.insert(text);
    EXPECT_EQ(arrived, expected);
}

TEST_F(CFMessagePort, AnswersAnotherProcess)
{
    m_recorder.answer = fourZeroBytes;
    const auto server = makeServer();
    const auto sender = startPeer({"send", kPortName, "5", "hello", "10"});
    int status = -1;
    EXPECT_TRUE(pumpUntil([&] { return ::waitpid(sender.first, &status, WNOHANG) == sender.first; }));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(m_recorder.requests.size(), 1u);
}

TEST_F(CFMessagePort, WithoutAListenerThereIsNoRemotePort)
{
    EXPECT_FALSE(makeRemote());
}

TEST_F(CFMessagePort, SecondServerOfOneProcessIsRefused)
{
    const auto server = makeServer();
    ASSERT_TRUE(server);
    EXPECT_FALSE(makeServer());
    EXPECT_EQ(request(makeRemote(), 1, "x").status, kCFMessagePortSuccess);
}

TEST_F(CFMessagePort, ServerOfAnotherProcessKeepsItsName)
{
    const auto [peer, output] = startPeer({"serve", kPortName});
    char line[10] {};
    ASSERT_EQ(::read(output.get(), line, sizeof line), 10);
    ASSERT_EQ(std::string(line, 10), "listening\n");

    EXPECT_FALSE(makeServer());
    const Reply reply = request(makeRemote(), 1, "echo");
    EXPECT_EQ(reply.status, kCFMessagePortSuccess);
    EXPECT_EQ(reply.data ? bytesOf(reply.data) : "", "echo");

    ::kill(peer, SIGKILL);
    (void)waitFor(peer);
}

TEST_F(CFMessagePort, KilledServersLeftoversAreReplaced)
{
    const auto [peer, output] = startPeer({"serve", kPortName});
    char line[10] {};
    ASSERT_EQ(::read(output.get(), line, sizeof line), 10);
    ::kill(peer, SIGKILL);
    (void)waitFor(peer);
    ASSERT_TRUE(exists(socketPath()));

    EXPECT_FALSE(makeRemote());
    const auto server = makeServer();
    ASSERT_TRUE(server);
    EXPECT_EQ(request(makeRemote(), 1, "x").status, kCFMessagePortSuccess);
}

TEST_F(CFMessagePort, ListenerWithoutTheLockKeepsItsNameAsWell)
{
    const Descriptor listener = listenByHand(m_home);
    ASSERT_TRUE(listener);
    EXPECT_FALSE(makeServer());
    EXPECT_TRUE(exists(socketPath()));
}

TEST_F(CFMessagePort, WhoHoldsTheLockOwnsTheName)
{
    const Descriptor lock(::open((socketPath() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
    EXPECT_FALSE(makeServer());
    ASSERT_EQ(::flock(lock.get(), LOCK_UN), 0);
    EXPECT_TRUE(makeServer());
}

TEST_F(CFMessagePort, FileUnderItsNameIsLeftAlone)
{
    m_home.folder().write(std::string("run/") + kPortName, "precious");
    EXPECT_FALSE(makeServer());
    EXPECT_EQ(readWholeFile(socketPath()), "precious");
}

TEST_F(CFMessagePort, FolderThatOthersMayEnterIsRefused)
{
    auto server = makeServer();
    ASSERT_TRUE(server);
    for (const mode_t mode : {0701, 0710, 0740, 0704, 0777}) {
        ::chmod(m_home.runtime().c_str(), mode);
        EXPECT_FALSE(makeRemote()) << std::oct << mode;
    }
    server = nullptr;
    EXPECT_FALSE(makeServer());
    ::chmod(m_home.runtime().c_str(), 0700);
    EXPECT_TRUE(makeServer());
}

TEST_F(CFMessagePort, FolderOfAnotherUserIsRefused)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "giving a folder away needs uid 0";
    ASSERT_EQ(::chown(m_home.runtime().c_str(), 65534, 65534), 0);
    EXPECT_FALSE(makeServer());
}

TEST_F(CFMessagePort, MissingFolderIsRefused)
{
    const ScopedEnvironment missing("XDG_RUNTIME_DIR", (m_home.runtime() / "nowhere").string());
    EXPECT_FALSE(makeServer());
    const ScopedEnvironment relative("XDG_RUNTIME_DIR", "run");
    EXPECT_FALSE(makeServer());
    const ScopedEnvironment unset("XDG_RUNTIME_DIR");
    EXPECT_FALSE(makeServer());
    EXPECT_FALSE(makeRemote());
}

TEST_F(CFMessagePort, LongFolderPathIsNoHindrance)
{
    const auto folder = m_home.folder().makeFolder("run/" + std::string(200, 'd'));
    ::chmod(folder.c_str(), 0700);
    const ScopedEnvironment runtime("XDG_RUNTIME_DIR", folder.string());
    const auto server = makeServer();
    ASSERT_TRUE(server);
    EXPECT_EQ(request(makeRemote(), 1, "x").status, kCFMessagePortSuccess);
    EXPECT_TRUE(exists((folder / kPortName).string()));
}

TEST_F(CFMessagePort, NameMustBeOneShortComponent)
{
    const std::u16string longest(64, u'n');
    for (const std::u16string& name : {std::u16string(), std::u16string(u"."), std::u16string(u".."),
             std::u16string(u"a/b"), std::u16string(u"a\0b", 3), longest + u"n"}) {
        const auto text = adoptCF(CFStringCreateWithView(name));
        EXPECT_FALSE(adoptCF(CFMessagePortCreateLocal(nullptr, text, Recorder::serve, &m_recorder)));
        EXPECT_FALSE(adoptCF(CFMessagePortCreateRemote(nullptr, text)));
    }
    const auto text = adoptCF(CFStringCreateWithView(longest));
    EXPECT_TRUE(adoptCF(CFMessagePortCreateLocal(nullptr, text, Recorder::serve, &m_recorder)));
}

TEST_F(CFMessagePort, InvalidatingFreesTheName)
{
    const auto server = makeServer();
    const auto remote = makeRemote();
    CFMessagePortInvalidate(server);
    CFMessagePortInvalidate(server);
    EXPECT_FALSE(exists(socketPath()));
    EXPECT_EQ(request(remote, 1, "x").status, kCFMessagePortIsInvalid);
    EXPECT_TRUE(makeServer());
}

TEST_F(CFMessagePort, ReleasingFreesTheName)
{
    auto server = makeServer();
    ASSERT_TRUE(exists(socketPath()));
    server = nullptr;
    EXPECT_FALSE(exists(socketPath()));
}

TEST_F(CFMessagePort, InvalidatedRemoteSendsNothing)
{
    const auto server = makeServer();
    const auto remote = makeRemote();
    CFMessagePortInvalidate(remote);
    EXPECT_EQ(request(remote, 1, "x").status, kCFMessagePortIsInvalid);
    (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.05, false);
    EXPECT_TRUE(m_recorder.requests.empty());
}

TEST_F(CFMessagePort, CallbackMayInvalidateItsPort)
{
    m_recorder.answer = [](CFMessagePortRef port) {
        CFMessagePortInvalidate(port);
        return fourZeroBytes(port);
    };
    const auto server = makeServer();
    const Reply reply = request(makeRemote(), 1, "x");
    EXPECT_EQ(reply.status, kCFMessagePortTransportError);
    EXPECT_FALSE(reply.data);
    EXPECT_FALSE(exists(socketPath()));
}

TEST_F(CFMessagePort, CallbackMayReleaseItsPort)
{
    auto server = makeServer();
    m_recorder.answer = [&](CFMessagePortRef port) {
        server = nullptr;
        CFMessagePortInvalidate(port); // it lives as long as its callback runs
        return fourZeroBytes(port);
    };
    const auto remote = makeRemote();
    EXPECT_EQ(request(remote, 1, "x").status, kCFMessagePortTransportError);
    EXPECT_FALSE(exists(socketPath()));
}

TEST_F(CFMessagePort, CallbackMaySendToItsOwnPort)
{
    CFMessagePortStatus nested = kCFMessagePortTransportError;
    m_recorder.answer = [&](CFMessagePortRef) -> CFDataRef {
        if (m_recorder.requests.size() == 1)
            nested = request(makeRemote(), 2, "inner").status;
        return nullptr;
    };
    const auto server = makeServer();
    EXPECT_EQ(request(makeRemote(), 1, "outer").status, kCFMessagePortSuccess);
    EXPECT_EQ(nested, kCFMessagePortSuccess);
    EXPECT_EQ(m_recorder.requests.size(), 2u);
}

TEST_F(CFMessagePort, RemoteMayBeInvalidatedWhileItWaits)
{
    const Descriptor listener = listenByHand(m_home);
    const auto remote = makeRemote();
    QTimer::singleShot(0, QCoreApplication::instance(), [&] { CFMessagePortInvalidate(remote); });
    EXPECT_EQ(request(remote, 1, "x").status, kCFMessagePortIsInvalid);
}

TEST_F(CFMessagePort, RemoteMayBeReleasedWhileItWaits)
{
    const Descriptor listener = listenByHand(m_home);
    auto remote = makeRemote();
    const CFMessagePortRef bare = remote;
    QTimer::singleShot(0, QCoreApplication::instance(), [&] { remote = nullptr; });
    EXPECT_EQ(request(bare, 1, "x", 0.2).status, kCFMessagePortReceiveTimeout);
}

TEST_F(CFMessagePort, TimersFireWhileItWaits)
{
    const Descriptor listener = listenByHand(m_home);
    int fired = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++fired; });
    timer.start(10);
    EXPECT_EQ(request(makeRemote(), 1, "x", 0.3).status, kCFMessagePortReceiveTimeout);
    EXPECT_GT(fired, 5);
}

TEST_F(CFMessagePort, AnswersWhileTheApplicationQuits)
{
    const auto server = makeServer();
    CFMessagePortStatus status = kCFMessagePortTransportError;
    QTimer::singleShot(0, QCoreApplication::instance(), [&] {
        QCoreApplication::quit();
        status = request(makeRemote(), 1, "bye").status;
    });
    QCoreApplication::exec();
    EXPECT_EQ(status, kCFMessagePortSuccess);
    EXPECT_EQ(m_recorder.requests.size(), 1u);
}
