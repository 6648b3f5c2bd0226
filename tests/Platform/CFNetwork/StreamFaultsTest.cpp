// Servers that misbehave: every fault ends the stream with an error, bounded in time and memory, polled and
// scheduled.
#include "tests/Platform/CFNetwork/StreamReader.h"
#include "tests/support/ScopedServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

struct Fault {
    const char* name;
    ServerScript script;
    std::string body; ///< what arrives before the error
};

ServerScript raw(const std::string& bytes)
{
    return ServerScript().send(bytes).close();
}

const std::string kChunkedHead = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

class StreamFault : public ::testing::TestWithParam<Fault> { };

} // namespace

TEST_P(StreamFault, EndsWithAnError)
{
    ScopedServer server;
    server.on("/a", GetParam().script);
    const CFRef polled = makeStream(server.url("/a"));
    const StreamResult result = pollToEnd(polled);
    EXPECT_EQ(result.status, kCFStreamStatusError);
    EXPECT_EQ(result.body, GetParam().body);
    const CFRef scheduled = makeStream(server.url("/a"));
    StreamReader reader(scheduled);
    ASSERT_TRUE(reader.run());
    EXPECT_EQ(reader.last(), kCFStreamEventErrorOccurred);
    EXPECT_EQ(reader.body(), GetParam().body);
    EXPECT_EQ(CFReadStreamGetStatus(scheduled), kCFStreamStatusError);
    UInt8 byte = 0;
    EXPECT_EQ(CFReadStreamRead(scheduled, &byte, 1), -1);
}

INSTANTIATE_TEST_SUITE_P(Servers, StreamFault,
    ::testing::Values(Fault {"NothingButTheEnd", ServerScript().close(), ""},
        Fault {"ResetAtOnce", ServerScript().reset(), ""}, Fault {"NoStatusLine", raw("hello\r\n\r\n"), ""},
        Fault {"StatusLineWithoutNumber", raw("HTTP/1.1 abc OK\r\n\r\nbody"), ""},
        Fault {"StatusOfTwoDigits", raw("HTTP/1.1 20\r\n\r\nbody"), ""},
        Fault {"UnknownVersion", raw("HTTP/7.3 200 OK\r\n\r\nbody"), ""},
        Fault {"HeadersCutShort", raw("HTTP/1.1 200 OK\r\nContent-Len"), ""},
        Fault {"NegativeLength", raw("HTTP/1.1 200 OK\r\nContent-Length: -1\r\n\r\nx"), ""},
        Fault {"LengthIsNoNumber", raw("HTTP/1.1 200 OK\r\nContent-Length: many\r\n\r\nx"), ""},
        Fault {
            "LengthPast63Bits", raw("HTTP/1.1 200 OK\r\nContent-Length: 9223372036854775808\r\n\r\nx"), ""},
        Fault {"LengthOf63Bits", raw("HTTP/1.1 200 OK\r\nContent-Length: 9223372036854775807\r\n\r\nx"), "x"},
        Fault {"TwoLengths", raw("HTTP/1.1 200 OK\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nxy"), ""},
        Fault {"BodyTooShort", answer::announcing(10, "hello"), "hello"},
        Fault {"ResetInTheBody", ServerScript().send(answer::head(200, {"Content-Length: 100"})).reset(), ""},
        Fault {"ChunkSizeIsNoNumber", raw(kChunkedHead + "zz\r\nhello\r\n0\r\n\r\n"), ""},
        Fault {"ChunkSizeTooLarge", raw(kChunkedHead + "ffffffffffffffffffff\r\nhello"), ""},
        Fault {"ChunkWithoutItsEnd", raw(kChunkedHead + "5\r\nhelloX"), "hello"},
        Fault {"ChunksWithoutTheLast", raw(kChunkedHead + "5\r\nhello\r\n"), "hello"},
        Fault {"OneEndlessHeaderLine",
            ServerScript().send("HTTP/1.1 200 OK\r\nX: ").sendRepeatedly(std::string(10000, 'x'), 1000000),
            ""},
        Fault {"EndlessHeaderLines",
            ServerScript().send("HTTP/1.1 200 OK\r\n").sendRepeatedly("X-Header: some value\r\n", 100000000),
            ""},
        Fault {"EndlessInterimAnswers",
            ServerScript().sendRepeatedly("HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n", 100000000), ""},
        Fault {"EndlessTrailers",
            ServerScript().send(kChunkedHead + "5\r\nhello\r\n0\r\n").sendRepeatedly("X: y\r\n", 100000000),
            "hello"},
        Fault {"RedirectLoop", answer::redirect(302, "/a"), ""},
        Fault {"RedirectToFtp", answer::redirect(302, "ftp://127.0.0.1/x"), ""},
        Fault {"RedirectToAFile", answer::redirect(302, "file:///etc/hostname"), ""},
        Fault {"RedirectToNowhere", answer::redirect(302, "http://[broken"), ""}),
    [](const auto& row) { return row.param.name; });

TEST(StreamRedirects, TwentyAreFollowedAndOneMoreIsAnError)
{
    for (const int count : {20, 21}) {
        ScopedServer server;
        for (int i = 0; i < count; ++i)
            server.on("/" + std::to_string(i), answer::redirect(302, "/" + std::to_string(i + 1)));
        const std::string last = "/" + std::to_string(count);
        server.on(last, answer::ok("there"));
        server.expect(last, count == 20 ? 1 : 0);
        const StreamResult result = pollToEnd(makeStream(server.url("/0")));
        EXPECT_EQ(result.status, count == 20 ? kCFStreamStatusAtEnd : kCFStreamStatusError) << count;
        EXPECT_EQ(result.body, count == 20 ? "there" : "") << count;
    }
}

TEST(StreamRedirects, TheLastAnswerCounts)
{
    ScopedServer server;
    server.on("/a", answer::redirect(301, "/b"));
    server.on("/b", answer::status(404, "no"));
    const StreamResult result = pollToEnd(makeStream(server.url("/a")));
    EXPECT_EQ(result.answer, 404);
    EXPECT_EQ(result.body, "no");
}

TEST(StreamRedirects, AreDeliveredAsTheyAreWhenNotToBeFollowed)
{
    ScopedServer server;
    server.on("/a", answer::redirect(302, "/b"));
    const StreamResult result = pollToEnd(makeStream(server.url("/a"), false));
    EXPECT_EQ(result.answer, 302);
    EXPECT_EQ(result.body, "moved");
    EXPECT_EQ(result.status, kCFStreamStatusAtEnd);
}

TEST(StreamRedirects, LocationOfAnotherServerIsFollowed)
{
    ScopedServer target;
    target.on("/x", answer::ok("there"));
    ScopedServer server;
    server.on("/a", answer::redirect(307, target.url("/x")));
    EXPECT_EQ(pollToEnd(makeStream(server.url("/a"))).body, "there");
}

TEST(StreamRedirects, EachAnswerMayHaveItsOwnHeaderFields)
{
    const std::string wide = "X: " + std::string(40000, 'x');
    ScopedServer server;
    server.on("/a", ServerScript().send(answer::head(302, {"Location: /b", "Content-Length: 0", wide})));
    server.on("/b", ServerScript().send(answer::head(200, {"Content-Length: 2", wide}) + "ok"));
    EXPECT_EQ(pollToEnd(makeStream(server.url("/a"))).body, "ok");
}

TEST(StreamHeaders, UpTo64KiBAreTaken)
{
    ScopedServer server;
    server.on("/fits",
        ServerScript().send(
            answer::head(200, {"Content-Length: 2", "X: " + std::string(65000, 'x')}) + "ok"));
    server.on("/large",
        ServerScript().send(
            answer::head(200, {"Content-Length: 2", "X: " + std::string(65536, 'x')}) + "ok"));
    EXPECT_EQ(pollToEnd(makeStream(server.url("/fits"))).body, "ok");
    EXPECT_EQ(pollToEnd(makeStream(server.url("/large"))).status, kCFStreamStatusError);
}

TEST(StreamHeaders, ComeInSmallPieces)
{
    ScopedServer server;
    server.on("/a",
        ServerScript().sendSlowly(answer::head(200, {"Content-Length: 2", "X-Split: yes"}) + "ok", 1,
            std::chrono::milliseconds(1)));
    const StreamResult result = pollToEnd(makeStream(server.url("/a")));
    EXPECT_EQ(result.body, "ok");
    EXPECT_EQ(result.answer, 200);
}

TEST(StreamServers, NobodyThereIsAnErrorOfTheStream)
{
    std::string url;
    {
        const ScopedServer server;
        url = server.url("/a");
    }
    const CFRef stream = makeStream(url);
    StreamReader reader(stream);
    ASSERT_TRUE(reader.run());
    EXPECT_EQ(reader.last(), kCFStreamEventErrorOccurred);
    EXPECT_EQ(answerStatus(stream), 0);
}

TEST(StreamServers, OtherSchemesAreNotFetched)
{
    for (const char* url : {"ftp://127.0.0.1/x", "gopher://127.0.0.1/x", "dict://127.0.0.1/x"})
        EXPECT_EQ(pollToEnd(makeStream(url)).status, kCFStreamStatusError) << url;
}

TEST(StreamServers, DeadKeptConnectionIsReplaced)
{
    ScopedServer server;
    server.on("/a", ServerScript().send(answer::head(200, {"Content-Length: 1"}) + "x").close());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(pollToEnd(makeStream(server.url("/a"))).body, "x");
    EXPECT_EQ(server.connections(), 3);
}
