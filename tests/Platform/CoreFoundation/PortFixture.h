// What the port tests share: a private run-time folder, a recording server, and sockets that speak the
// protocol by hand.
#pragma once

#include "Platform/CoreFoundation/CFMessagePort.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/Descriptor.h"
#include "tests/support/FakeHome.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace port_test {

inline constexpr const char* kPortName = "com.velmora.test.port";

CFRef<CFStringRef> portName();
CFRef<CFDataRef> dataOf(std::string_view bytes);
std::string bytesOf(CFDataRef data);

/// Processes events until `done` holds; false when it does not within ten seconds.
bool pumpUntil(const std::function<bool()>& done);

/// Notes every request; answers with what `answer` gives.
struct Recorder {
    std::vector<std::pair<SInt32, std::string>> requests;
    std::function<CFDataRef(CFMessagePortRef)> answer = [](CFMessagePortRef) { return nullptr; };

    static CFDataRef serve(CFMessagePortRef port, SInt32 id, CFDataRef data, void* recorder);
};

/// A request or reply as it goes over the socket.
std::string frame(SInt32 id, std::string_view payload);
/// Only the eight bytes before a payload.
std::string header(SInt32 id, UInt32 length);

/// A blocking socket that is connected to the port, or none. Reads on it wait at most ten seconds.
Descriptor connectByHand(const FakeHome& home);
/// Sends everything; false when the other end refuses it.
bool sendByHand(const Descriptor& socket, std::string_view bytes);
/// True when the other end closes the connection, without a byte, while events are processed.
bool isClosedUnanswered(const Descriptor& socket);

/// A socket that listens under the port's name, made by hand.
Descriptor listenByHand(const FakeHome& home, int queued = 8);

/// Starts this folder's helper program; gives its process id and the reading end of its standard output.
std::pair<pid_t, Descriptor> startPeer(const std::vector<std::string>& arguments);
/// Waits for a child; its wait status.
int waitFor(pid_t child);

} // namespace port_test

class CFMessagePort : public testing::Test {
protected:
    /// Null when the port cannot be made.
    CFRef<CFMessagePortRef> makeServer()
    {
        return adoptCF(CFMessagePortCreateLocal(
            kCFAllocatorDefault, port_test::portName(), port_test::Recorder::serve, &m_recorder));
    }
    CFRef<CFMessagePortRef> makeRemote()
    {
        return adoptCF(CFMessagePortCreateRemote(kCFAllocatorDefault, port_test::portName()));
    }
    std::string socketPath() const { return (m_home.runtime() / port_test::kPortName).string(); }

    FakeHome m_home;
    port_test::Recorder m_recorder;
};
