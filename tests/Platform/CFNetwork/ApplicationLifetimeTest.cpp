// Streams and the ends of the application object and of the process. This program has no application object
// of its own.
#include "tests/Platform/CFNetwork/StreamReader.h"
#include "tests/support/ScopedServer.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace {

/// An application object for as long as it lives.
struct Application {
    int count = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application {count, arguments};
};

} // namespace

TEST(ApplicationLifetime, PolledStreamsWorkWithoutAnApplication)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    EXPECT_EQ(pollToEnd(makeStream(server.url("/a"))).body, "hello");
}

TEST(ApplicationLifetime, StreamsWorkWithEachNewApplication)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    for (int i = 0; i < 2; ++i) {
        const Application application;
        const CFRef stream = makeStream(server.url("/a"));
        StreamReader reader(stream);
        ASSERT_TRUE(reader.run());
        EXPECT_EQ(reader.body(), "hello");
    }
}

TEST(ApplicationLifetime, RunningStreamFailsWhenTheApplicationEnds)
{
    ScopedServer server;
    server.on("/a", ServerScript().stall());
    std::optional<Application> application(std::in_place);
    const CFRef stream = makeStream(server.url("/a"));
    ASSERT_TRUE(CFReadStreamOpen(stream));
    while (server.requests().empty())
        CFReadStreamHasBytesAvailable(stream);
    application.reset();
    EXPECT_EQ(CFReadStreamGetStatus(stream), kCFStreamStatusError);
    EXPECT_TRUE(server.waitForClientsGone(1));
}

TEST(ApplicationLifetime, UnfinishedStreamLeavesTheProcessEndInPeace)
{
    // The leak check of the child's end makes its exit status.
    const auto endWithAStreamOpen = [](bool scheduled) {
        ScopedServer server;
        server.on("/a", ServerScript().stall());
        static Application application;
        static CFRef<CFReadStreamRef> stream = makeStream(server.url("/a"));
        if (scheduled)
            CFReadStreamScheduleWithRunLoop(stream, CFRunLoopGetCurrent(), kCFRunLoopCommonModes);
        CFReadStreamOpen(stream);
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
        std::exit(0);
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(endWithAStreamOpen(true), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(endWithAStreamOpen(false), ::testing::ExitedWithCode(0), "");
}
