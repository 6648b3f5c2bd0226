// A name server that does not answer holds nobody up. This program's own getaddrinfo stands in for it: it is
// found before the system's, by libcurl as well.
#include "tests/Platform/CFNetwork/StreamReader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <dlfcn.h>
#include <mutex>
#include <netdb.h>

using namespace std::chrono_literals;

namespace {

constexpr std::string_view kStallingHost = "stalls.invalid";
/// How long a look-up stalls when nobody lets it go: so long that whoever waits for it is seen to.
constexpr std::chrono::seconds kLongestStall = 8s;

/// Holds look-ups of kStallingHost until the gate is opened.
class Gate {
public:
    void pass()
    {
        std::unique_lock lock(m_mutex);
        ++m_waiting;
        m_changed.notify_all();
        (void)m_changed.wait_for(lock, kLongestStall, [this] { return m_isOpen; }); // it ends in either case
        --m_waiting;
        m_changed.notify_all();
    }
    void open()
    {
        const std::lock_guard lock(m_mutex);
        m_isOpen = true;
        m_changed.notify_all();
    }
    bool waitFor(int waiting)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, kLongestStall, [&] { return m_waiting == waiting; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_waiting = 0;
    bool m_isOpen = false;
};

Gate& gate()
{
    // Never destroyed: a look-up may end later than the program's static objects.
    static Gate* const theGate = new Gate;
    return *theGate;
}

} // namespace

extern "C" int getaddrinfo(
    const char* node, const char* service, const addrinfo* hints, addrinfo** result) noexcept(false)
{
    if (node && node == kStallingHost) {
        gate().pass();
        return EAI_AGAIN;
    }
    using LookUp = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto next = reinterpret_cast<LookUp>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return next(node, service, hints, result);
}

TEST(StreamLookUps, StallingOneDoesNotHoldUpTheClosing)
{
    const CFRef stream = makeStream("http://stalls.invalid/a");
    ASSERT_TRUE(CFReadStreamOpen(stream));
    EXPECT_FALSE(CFReadStreamHasBytesAvailable(stream)); // drives the transfer to its look-up
    ASSERT_TRUE(gate().waitFor(1));

    const auto begin = std::chrono::steady_clock::now();
    CFReadStreamClose(stream);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kLongestStall / 2);

    gate().open();
    EXPECT_TRUE(gate().waitFor(0));
}
