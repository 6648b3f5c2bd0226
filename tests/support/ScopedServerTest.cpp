// The test server's own checks do fail.
#include "tests/Platform/CFNetwork/StreamReader.h"
#include "tests/support/ScopedServer.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

TEST(ScopedServer, FailsTheTestWhenAPathWasAskedForTooRarely)
{
    EXPECT_NONFATAL_FAILURE(
        {
            ScopedServer server;
            server.on("/a", answer::ok("x"));
            server.expect("/a", 1);
        },
        "requests for /a");
}

TEST(ScopedServer, FailsTheTestWhenAPathWithoutAScriptWasAskedFor)
{
    EXPECT_NONFATAL_FAILURE(
        {
            const ScopedServer server;
            EXPECT_EQ(pollToEnd(makeStream(server.url("/none"))).answer, 404);
        },
        "without a script: /none");
}

TEST(ScopedServer, AnswersInSequenceAndKeepsTheLast)
{
    ScopedServer server;
    server.onSequence("/a", {answer::ok("first"), answer::ok("then")});
    for (const char* body : {"first", "then", "then"})
        EXPECT_EQ(pollToEnd(makeStream(server.url("/a"))).body, body);
    EXPECT_EQ(server.countOf("/a"), 3);
}
