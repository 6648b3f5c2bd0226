// What the port tests share.
#include "tests/Platform/CoreFoundation/PortFixture.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace port_test {

namespace {

sockaddr_un addressIn(const FakeHome& home)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    const std::string path = (home.runtime() / kPortName).string();
    if (path.size() >= sizeof address.sun_path)
        std::abort();
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

} // namespace

CFRef<CFStringRef> portName()
{
    return adoptCF(CFStringCreateWithCString(kCFAllocatorDefault, kPortName, kCFStringEncodingUTF8));
}

CFRef<CFDataRef> dataOf(std::string_view bytes)
{
    return adoptCF(CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
        static_cast<CFIndex>(bytes.size())));
}

std::string bytesOf(CFDataRef data)
{
    return std::string(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
        static_cast<std::size_t>(CFDataGetLength(data)));
}

bool pumpUntil(const std::function<bool()>& done)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.02, true);
    }
    return true;
}

CFDataRef Recorder::serve(CFMessagePortRef port, SInt32 id, CFDataRef data, void* recorder)
{
    auto* self = static_cast<Recorder*>(recorder);
    self->requests.emplace_back(id, bytesOf(data));
    return self->answer(port);
}

std::string header(SInt32 id, UInt32 length)
{
    std::string bytes(8, '\0');
    std::memcpy(bytes.data(), &id, 4);
    std::memcpy(bytes.data() + 4, &length, 4);
    return bytes;
}

std::string frame(SInt32 id, std::string_view payload)
{
    return header(id, static_cast<UInt32>(payload.size())) + std::string(payload);
}

Descriptor connectByHand(const FakeHome& home)
{
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval limit {10, 0};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    const sockaddr_un address = addressIn(home);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        socket.reset();
    return socket;
}

bool sendByHand(const Descriptor& socket, std::string_view bytes)
{
    return ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL)
        == static_cast<ssize_t>(bytes.size());
}

bool isClosedUnanswered(const Descriptor& socket)
{
    ssize_t got = 0;
    const bool ended = pumpUntil([&] {
        char byte;
        got = ::recv(socket.get(), &byte, 1, MSG_DONTWAIT);
        return got >= 0 || (errno != EAGAIN && errno != EINTR);
    });
    // What was left unread at the other end makes its closing a reset.
    return ended && (got == 0 || (got < 0 && errno == ECONNRESET));
}

Descriptor listenByHand(const FakeHome& home, int queued)
{
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = addressIn(home);
    if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || ::listen(socket.get(), queued) != 0)
        socket.reset();
    return socket;
}

std::pair<pid_t, Descriptor> startPeer(const std::vector<std::string>& arguments)
{
    std::string program = PORT_PEER_PROGRAM;
    std::vector<std::string> texts = arguments;
    std::vector<char*> argv {program.data()};
    for (std::string& text : texts)
        argv.push_back(text.data());
    argv.push_back(nullptr);

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        std::abort();
    Descriptor readEnd(ends[0]);
    const Descriptor writeEnd(ends[1]);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDOUT_FILENO);
    pid_t child = -1;
    if (::posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ) != 0)
        std::abort();
    ::posix_spawn_file_actions_destroy(&actions);
    return {child, std::move(readEnd)};
}

int waitFor(pid_t child)
{
    int status = -1;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    return status;
}

} // namespace port_test
