// The time-out of the downloader, which counts from the last chunk, in both modes; and the end of memory.
#include "Platform/CoreFoundation/CFRunLoop.h"
#include "tests/Update/download/DownloadLog.h"
#include "tests/support/ScopedServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <ctime>

using ::testing::ElementsAre;

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kTimedOut = 61440;
constexpr int kOutOfMemory = 61696;

/// How long a download takes until its end was told.
milliseconds timeOf(CHttpDownload& downloader, DownloadLog& log, int synchronous, const std::u16string& url)
{
    const auto start = Clock::now();
    (void)downloader.Download(url.c_str(), synchronous, nullptr); // the log is looked at instead
    EXPECT_TRUE(log.waitForEnd());
    return std::chrono::duration_cast<milliseconds>(Clock::now() - start);
}

bool reallocFails = false;

} // namespace

// The linker sends the calls of realloc in this program's own code here.
extern "C" void* __real_realloc(void* block, std::size_t size);
extern "C" void* __wrap_realloc(void* block, std::size_t size)
{
    return reallocFails ? nullptr : __real_realloc(block, size);
}

class CHttpDownloadTimeout : public ::testing::TestWithParam<int> { };

INSTANTIATE_TEST_SUITE_P(Modes, CHttpDownloadTimeout, ::testing::Values(0, 1),
    [](const auto& mode) { return mode.param ? "Synchronous" : "Asynchronous"; });

TEST_P(CHttpDownloadTimeout, SilentServerEndsWithCode0xF000)
{
    ScopedServer server;
    server.on("/a", ServerScript().stall());
    CHttpDownload downloader(300, 0);
    DownloadLog log(downloader);
    const milliseconds time = timeOf(downloader, log, GetParam(), server.wideUrl("/a"));
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {kTimedOut, 0}));
    EXPECT_EQ(downloader.status(), kTimedOut);
    EXPECT_GE(time, milliseconds(295));
    EXPECT_LT(time, milliseconds(3000));
    EXPECT_TRUE(server.waitForClientsGone(1));
}

TEST_P(CHttpDownloadTimeout, CountsFromTheLastChunk)
{
    ScopedServer server;
    // Fifteen pieces, together longer than the time-out, each well within it.
    server.on("/a",
        ServerScript()
            .send(answer::head(200, {"Content-Length: 15"}))
            .sendSlowly("0123456789abcde", 1, milliseconds(100)));
    CHttpDownload downloader(1000, 0);
    DownloadLog log(downloader);
    const milliseconds time = timeOf(downloader, log, GetParam(), server.wideUrl("/a"));
    EXPECT_THAT(log.ends(), ElementsAre(DownloadCall {0, 0}));
    EXPECT_EQ(receivedBytes(downloader), "0123456789abcde");
    EXPECT_GE(time, milliseconds(1400));
}

TEST_P(CHttpDownloadTimeout, StallInTheMiddleEndsWithCode0xF000)
{
    ScopedServer server;
    server.on("/a", ServerScript().send(answer::head(200, {"Content-Length: 100"}) + "first").stall());
    CHttpDownload downloader(200, 0);
    DownloadLog log(downloader);
    (void)timeOf(downloader, log, GetParam(), server.wideUrl("/a"));
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 5}, DownloadCall {kTimedOut, 0}));
}

TEST_P(CHttpDownloadTimeout, HeaderFieldsWithoutABodyDoNotCount)
{
    ScopedServer server;
    server.on("/a",
        ServerScript().send("HTTP/1.1 200 OK\r\n").sendSlowly(std::string(1000, 'x'), 1, milliseconds(20)));
    CHttpDownload downloader(200, 0);
    DownloadLog log(downloader);
    EXPECT_LT(timeOf(downloader, log, GetParam(), server.wideUrl("/a")), milliseconds(3000));
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {kTimedOut, 0}));
}

TEST_P(CHttpDownloadTimeout, ZeroAndLessWaitForNothing)
{
    for (const SInt32 timeoutMs : {0, -5}) {
        ScopedServer server;
        server.on("/a", ServerScript().stall());
        CHttpDownload downloader(timeoutMs, 0);
        DownloadLog log(downloader);
        (void)timeOf(downloader, log, GetParam(), server.wideUrl("/a"));
        EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {kTimedOut, 0})) << timeoutMs;
    }
}

TEST_P(CHttpDownloadTimeout, DoesNotReachIntoTheNextDownload)
{
    ScopedServer server;
    server.on("/fast", answer::ok("x"));
    server.on("/slow",
        ServerScript()
            .send(answer::head(200, {"Content-Length: 4"}))
            .sendSlowly("slow", 1, milliseconds(300)));
    CHttpDownload downloader(800, 0);
    {
        DownloadLog log(downloader);
        (void)timeOf(downloader, log, 0, server.wideUrl("/fast"));
    }
    DownloadLog log(downloader);
    (void)timeOf(downloader, log, GetParam(), server.wideUrl("/slow"));
    EXPECT_THAT(log.ends(), ElementsAre(DownloadCall {0, 0}));
}

TEST_P(CHttpDownloadTimeout, BufferThatCannotGrowEndsWithCode0xF100)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    CHttpDownload downloader(5000, 3);
    DownloadLog log(downloader);
    SInt32 size = 0;
    const UInt8* const initial = downloader.GetData(size);
    reallocFails = true;
    (void)timeOf(downloader, log, GetParam(), server.wideUrl("/a"));
    reallocFails = false;
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {kOutOfMemory, 0}));
    EXPECT_EQ(downloader.status(), kOutOfMemory);
    EXPECT_EQ(downloader.GetData(size), initial) << "the old block is kept";
    EXPECT_EQ(size, -1);
}

TEST(CHttpDownloadTimeout, ExpiredTimerStaysSilentAfterTheEnd)
{
    ScopedServer server;
    server.on("/a", answer::ok("x"));
    CHttpDownload downloader(50, 0);
    DownloadLog log(downloader);
    ASSERT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 0, nullptr), 1);
    ASSERT_TRUE(log.waitForEnd());
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.2, false);
    EXPECT_THAT(log.ends(), ElementsAre(DownloadCall {0, 0}));
    EXPECT_EQ(downloader.status(), 0);
}

TEST(CHttpDownloadTimeout, SynchronousDownloadDoesNotBurnTheProcessor)
{
    const auto processorMs = [] {
        timespec used {};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
        return used.tv_sec * 1000 + used.tv_nsec / 1'000'000;
    };
    ScopedServer server;
    server.on("/a", ServerScript().stall());
    CHttpDownload downloader(600, 0);
    const auto before = processorMs();
    EXPECT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 1, nullptr), 0);
    EXPECT_LT(processorMs() - before, 300);
}

TEST(CHttpDownloadTimeout, SynchronousDownloadProcessesNoEvents)
{
    ScopedServer server;
    server.on("/a", ServerScript().stall());
    CHttpDownload other(10, 0);
    DownloadLog otherLog(other);
    ASSERT_EQ(other.Download(server.wideUrl("/a").c_str(), 0, nullptr), 1);
    CHttpDownload downloader(200, 0);
    EXPECT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 1, nullptr), 0);
    EXPECT_EQ(otherLog.calls().size(), 0u) << "its timer was due long ago, but no event loop ran";
    EXPECT_TRUE(otherLog.waitForEnd());
}
