// The downloader: receiving, ending, and what its callback is told; each rule in both modes.
#include "Platform/CoreFoundation/CFRunLoop.h"
#include "Platform/Support/Unicode.h"
#include "tests/Update/download/DownloadLog.h"
#include "tests/support/ScopedFileSizeLimit.h"
#include "tests/support/ScopedServer.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr SInt32 kTimeoutMs = 20000;

enum class Mode { synchronous, asynchronous };

/// Runs one download to its end and returns whether it ended with code 0.
bool download(CHttpDownload& downloader, DownloadLog& log, Mode mode, const std::u16string& url,
    const UniChar* filePath = nullptr)
{
    if (mode == Mode::synchronous)
        return downloader.Download(url.c_str(), 1, filePath) == 1;
    EXPECT_EQ(downloader.Download(url.c_str(), 0, filePath), 1);
    EXPECT_TRUE(log.waitForEnd());
    return downloader.status() == 0;
}

/// How many of this process's descriptors are open on the file.
int openDescriptors(const std::filesystem::path& file)
{
    int found = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone; // the listing's own descriptor
        found += std::filesystem::read_symlink(entry.path(), gone) == file ? 1 : 0;
    }
    return found;
}

class CHttpDownloadTest : public ::testing::TestWithParam<Mode> { };

} // namespace

INSTANTIATE_TEST_SUITE_P(Modes, CHttpDownloadTest, ::testing::Values(Mode::synchronous, Mode::asynchronous),
    [](const auto& mode) { return mode.param == Mode::synchronous ? "Synchronous" : "Asynchronous"; });

TEST_P(CHttpDownloadTest, CompleteBodyEndsWithCode0AfterItsChunks)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_TRUE(download(downloader, log, GetParam(), server.wideUrl("/a")));
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 5}, DownloadCall {0, 0}));
    EXPECT_EQ(receivedBytes(downloader), "hello");
    EXPECT_EQ(downloader.status(), 0);
}

TEST_P(CHttpDownloadTest, ChunksHold1To16384Bytes)
{
    const std::string body = longBody(1'000'000);
    ScopedServer server;
    server.on("/a", answer::ok(body));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_TRUE(download(downloader, log, GetParam(), server.wideUrl("/a")));
    int largest = 0;
    for (const auto& [event, value] : log.calls()) {
        if (event != 2)
            continue;
        EXPECT_GE(value, 1);
        largest = std::max(largest, value);
    }
    EXPECT_EQ(largest, 16384);
    EXPECT_EQ(log.chunkBytes(), body.size());
    EXPECT_TRUE(receivedBytes(downloader) == body);
}

TEST_P(CHttpDownloadTest, EmptyBodyEndsWithCode0WithoutAChunk)
{
    ScopedServer server;
    server.on("/a", answer::ok(""));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_TRUE(download(downloader, log, GetParam(), server.wideUrl("/a")));
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {0, 0}));
    SInt32 size = 0;
    EXPECT_EQ(downloader.GetData(size), nullptr);
    EXPECT_EQ(size, -1);
}

TEST_P(CHttpDownloadTest, AnswerOtherThan200ReportsItsChunksAndThenCode4)
{
    for (const int status : {201, 204, 206, 304, 401, 404, 410, 500, 503}) {
        const bool hasBody = status != 204 && status != 304;
        ScopedServer server;
        server.on(
            "/a", hasBody ? answer::status(status, "sorry") : ServerScript().send(answer::head(status, {})));
        CHttpDownload downloader(kTimeoutMs, 0);
        DownloadLog log(downloader);
        EXPECT_FALSE(download(downloader, log, GetParam(), server.wideUrl("/a"))) << status;
        EXPECT_THAT(log.ends(), ElementsAre(DownloadCall {4, 0})) << status;
        EXPECT_EQ(log.chunkBytes(), hasBody ? 5u : 0u) << status;
        EXPECT_EQ(downloader.status(), 4) << status;
    }
}

TEST_P(CHttpDownloadTest, FileURLHasNoAnswerAndEndsWithCode0)
{
    const ScopedTempDir folder;
    const std::string body = longBody(100'000);
    const std::string path = folder.write("a b.bin", body).string();
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_TRUE(download(downloader, log, GetParam(), wideFromUtf8("file://" + path)));
    EXPECT_TRUE(receivedBytes(downloader) == body);
    EXPECT_THAT(log.ends(), ElementsAre(DownloadCall {0, 0}));
}

TEST_P(CHttpDownloadTest, MissingFileCannotEvenStart)
{
    const ScopedTempDir folder;
    const std::u16string url = wideFromUtf8("file://" + folder.at("none").string());
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_EQ(downloader.Download(url.c_str(), GetParam() == Mode::synchronous, nullptr), 0);
    EXPECT_EQ(downloader.status(), 1);
    EXPECT_THAT(log.calls(), IsEmpty());
}

TEST_P(CHttpDownloadTest, CallbackThatReturns0ForAChunkCancelsWithCode3)
{
    ScopedServer server;
    server.on("/a", answer::ok(longBody(2'000'000)));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    log.chunkResult = 0;
    EXPECT_FALSE(download(downloader, log, GetParam(), server.wideUrl("/a")));
    ASSERT_EQ(log.calls().size(), 2u);
    EXPECT_EQ(log.calls()[0].first, 2);
    EXPECT_EQ(log.calls()[1], (DownloadCall {3, 0}));
    EXPECT_EQ(downloader.status(), 3);
}

TEST_P(CHttpDownloadTest, BodyThatEndsEarlyReportsItsChunksAndThenCodeMinus1)
{
    ScopedServer server;
    server.on("/a", answer::announcing(100, "only this"));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_FALSE(download(downloader, log, GetParam(), server.wideUrl("/a")));
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 9}, DownloadCall {-1, 0}));
    EXPECT_EQ(downloader.status(), -1);
}

TEST_P(CHttpDownloadTest, ConnectionResetEndsWithCodeMinus1)
{
    ScopedServer server;
    server.on("/a", ServerScript().reset());
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_FALSE(download(downloader, log, GetParam(), server.wideUrl("/a")));
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {-1, 0}));
}

TEST_P(CHttpDownloadTest, ServerThatIsNotThereEndsWithCodeMinus1)
{
    std::optional<ScopedServer> server(std::in_place);
    const std::u16string url = server->wideUrl("/a");
    server.reset(); // nobody listens at its port any more
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_FALSE(download(downloader, log, GetParam(), url));
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {-1, 0}));
}

TEST_P(CHttpDownloadTest, FollowsRedirectsAndJudgesTheLastAnswer)
{
    for (const int status : {301, 302, 303, 307, 308}) {
        ScopedServer server;
        server.on("/a/from", answer::redirect(status, "to"));
        server.on("/a/to", answer::ok("there"));
        CHttpDownload downloader(kTimeoutMs, 0);
        DownloadLog log(downloader);
        EXPECT_TRUE(download(downloader, log, GetParam(), server.wideUrl("/a/from"))) << status;
        EXPECT_EQ(receivedBytes(downloader), "there") << "the redirect's own body is not delivered";
        EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 5}, DownloadCall {0, 0}));
    }
}

TEST_P(CHttpDownloadTest, RedirectToAMissingPageEndsWithCode4)
{
    ScopedServer server;
    server.on("/from", answer::redirect(302, "/to"));
    server.on("/to", answer::status(404, "no"));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_FALSE(download(downloader, log, GetParam(), server.wideUrl("/from")));
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 2}, DownloadCall {4, 0}));
}

TEST_P(CHttpDownloadTest, RedirectToAnotherSchemeEndsWithCodeMinus1)
{
    const ScopedTempDir folder;
    const std::string file = folder.write("secret", "local").string();
    for (const char* target : {"ftp://127.0.0.1/x", "gopher://127.0.0.1/x"}) {
        ScopedServer server;
        server.on("/a", answer::redirect(302, target));
        CHttpDownload downloader(kTimeoutMs, 0);
        DownloadLog log(downloader);
        EXPECT_FALSE(download(downloader, log, GetParam(), server.wideUrl("/a"))) << target;
        EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {-1, 0})) << target;
    }
    ScopedServer server;
    server.on("/a", answer::redirect(302, "file://" + file));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_FALSE(download(downloader, log, GetParam(), server.wideUrl("/a")));
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {-1, 0}));
}

TEST_P(CHttpDownloadTest, WritesChunksToTheTargetFileAndFreesTheBuffer)
{
    const std::string body = longBody(100'000);
    const ScopedTempDir folder;
    const std::u16string target = wideFromUtf8(folder.write("target", "older and to be emptied").string());
    ScopedServer server;
    server.on("/memory", answer::ok("in memory"));
    server.on("/file", answer::ok(body));
    CHttpDownload downloader(kTimeoutMs, 0);
    {
        DownloadLog log(downloader);
        ASSERT_TRUE(download(downloader, log, GetParam(), server.wideUrl("/memory")));
    }
    DownloadLog log(downloader);
    EXPECT_TRUE(download(downloader, log, GetParam(), server.wideUrl("/file"), target.c_str()));
    EXPECT_TRUE(readWholeFile(folder.at("target")) == body);
    EXPECT_EQ(log.chunkBytes(), body.size());
    SInt32 size = 0;
    EXPECT_EQ(downloader.GetData(size), nullptr);
    EXPECT_EQ(size, 100'000) << "the received bytes are counted all the same";
}

TEST_P(CHttpDownloadTest, WriteThatFindsNoRoomIsNotCheckedAndTheDownloadGoesOn)
{
    const std::string body = longBody(100'000);
    const ScopedTempDir folder;
    const std::u16string target = wideFromUtf8(folder.at("target").string());
    ScopedServer server;
    server.on("/a", answer::ok(body));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    bool succeeded = false;
    {
        const ScopedFileSizeLimit limit(20'000);
        succeeded = download(downloader, log, GetParam(), server.wideUrl("/a"), target.c_str());
    }
    EXPECT_TRUE(succeeded);
    EXPECT_EQ(log.chunkBytes(), body.size());
    EXPECT_THAT(log.ends(), ElementsAre(DownloadCall {0, 0}));
    EXPECT_TRUE(readWholeFile(folder.at("target")) == body.substr(0, 20'000));
}

TEST_P(CHttpDownloadTest, EverythingIsSettledWhenTheEndIsTold)
{
    const ScopedTempDir folder;
    const std::u16string target = wideFromUtf8(folder.at("target").string());
    ScopedServer server;
    server.on("/a", answer::status(404, "no such page"));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    const int before = openDescriptors(folder.at("target"));
    int during = -1;
    int atEnd = -1;
    SInt32 status = 0;
    log.atChunk = [&] { during = openDescriptors(folder.at("target")); };
    log.atEnd = [&] {
        atEnd = openDescriptors(folder.at("target"));
        status = downloader.status();
    };
    EXPECT_FALSE(download(downloader, log, GetParam(), server.wideUrl("/a"), target.c_str()));
    EXPECT_EQ(before, 0);
    EXPECT_EQ(during, 1);
    EXPECT_EQ(atEnd, 0) << "the file is closed first";
    EXPECT_EQ(status, 4);
}

TEST_P(CHttpDownloadTest, TargetThatCannotBeCreatedIsToldAndGives0)
{
    const ScopedTempDir folder;
    const std::u16string target = wideFromUtf8(folder.at("no such folder/target").string());
    ScopedServer server;
    server.on("/a", ServerScript().stall());
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_EQ(
        downloader.Download(server.wideUrl("/a").c_str(), GetParam() == Mode::synchronous, target.c_str()),
        0);
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {-1, 0}));
    EXPECT_EQ(downloader.status(), -1);
}

TEST_P(CHttpDownloadTest, TargetThatIsNoPathLeavesTheBodyInMemory)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    const std::u16string tooLong(2000, u'x');
    for (const std::u16string& target : {std::u16string(), tooLong}) {
        CHttpDownload downloader(kTimeoutMs, 0);
        DownloadLog log(downloader);
        EXPECT_TRUE(download(downloader, log, GetParam(), server.wideUrl("/a"), target.c_str()));
        EXPECT_EQ(receivedBytes(downloader), "hello");
    }
}

TEST_P(CHttpDownloadTest, BytesStayUntilTheNextDownloadStarts)
{
    ScopedServer server;
    server.on("/long", answer::ok("a long body"));
    server.on("/short", answer::ok("short"));
    CHttpDownload downloader(kTimeoutMs, 0);
    {
        DownloadLog log(downloader);
        ASSERT_TRUE(download(downloader, log, GetParam(), server.wideUrl("/long")));
    }
    EXPECT_EQ(receivedBytes(downloader), "a long body");
    SInt32 size = 0;
    const UInt8* const buffer = downloader.GetData(size);
    DownloadLog log(downloader);
    ASSERT_TRUE(download(downloader, log, GetParam(), server.wideUrl("/short")));
    EXPECT_EQ(receivedBytes(downloader), "short");
    EXPECT_EQ(downloader.GetData(size), buffer) << "the buffer survives from one download to the next";
}

TEST_P(CHttpDownloadTest, BodiesComeInEveryFraming)
{
    ScopedServer server;
    server.on("/chunked", answer::chunked({"hel", "lo"}));
    server.on("/close", answer::untilClose("hello"));
    server.on("/longer", answer::announcing(5, "hello and more"));
    server.on("/interim",
        ServerScript().send("HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n"
                            "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello"));
    server.on("/continue",
        ServerScript().send(
            "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello"));
    server.on("/trailers",
        ServerScript().send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nTrailer: X\r\n\r\n"
                            "5;name=value\r\nhello\r\n0\r\nX: y\r\nContent-Length: none\r\n\r\n"));
    server.on("/both",
        ServerScript().send("HTTP/1.1 200 OK\r\nContent-Length: 2\r\nTransfer-Encoding: chunked\r\n\r\n"
                            "5\r\nhello\r\n0\r\n\r\n"));
    server.on("/drip",
        ServerScript().sendSlowly(
            answer::head(200, {"Content-Length: 5"}) + "hello", 1, std::chrono::milliseconds(1)));
    for (const char* path :
        {"/chunked", "/close", "/longer", "/interim", "/continue", "/trailers", "/both", "/drip"}) {
        CHttpDownload downloader(kTimeoutMs, 0);
        DownloadLog log(downloader);
        EXPECT_TRUE(download(downloader, log, GetParam(), server.wideUrl(path))) << path;
        EXPECT_EQ(receivedBytes(downloader), "hello") << path;
    }
}

TEST_P(CHttpDownloadTest, CompressedBodyArrivesAsItWasSent)
{
    ScopedServer server;
    server.on("/a",
        ServerScript().send(
            answer::head(200, {"Content-Encoding: gzip", "Content-Length: 3"}) + "\x1f\x8b!"));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_TRUE(download(downloader, log, GetParam(), server.wideUrl("/a")));
    EXPECT_EQ(receivedBytes(downloader), "\x1f\x8b!");
    EXPECT_EQ(server.requests()[0].headers.count("accept-encoding"), 0u);
}

TEST_P(CHttpDownloadTest, MayBeDestroyedInEachOfItsCallbacks)
{
    for (const int chunkResult : {0, 1}) {
        ScopedServer server;
        server.on("/a", answer::ok(longBody(100'000)));
        auto downloader = std::make_unique<CHttpDownload>(kTimeoutMs, 0);
        DownloadLog log(*downloader);
        log.chunkResult = chunkResult;
        log.atChunk = [&] { downloader.reset(); };
        const bool synchronous = GetParam() == Mode::synchronous;
        EXPECT_EQ(
            downloader->Download(server.wideUrl("/a").c_str(), synchronous, nullptr), synchronous ? 0 : 1);
        for (int i = 0; i < 1000 && downloader; ++i)
            CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
        EXPECT_EQ(log.calls().size(), 1u) << "the end of a destroyed downloader is not told";
    }
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    auto downloader = std::make_unique<CHttpDownload>(kTimeoutMs, 0);
    DownloadLog log(*downloader);
    log.atEnd = [&] { downloader.reset(); };
    (void)downloader->Download(server.wideUrl("/a").c_str(), GetParam() == Mode::synchronous, nullptr);
    EXPECT_TRUE(log.waitForEnd());
    EXPECT_EQ(downloader, nullptr);
}

TEST_P(CHttpDownloadTest, MayBeDestroyedWhenItIsToldThatItsTargetCannotBeCreated)
{
    const ScopedTempDir folder;
    const std::u16string target = wideFromUtf8(folder.at("no such folder/target").string());
    ScopedServer server;
    server.on("/a", ServerScript().stall());
    auto downloader = std::make_unique<CHttpDownload>(kTimeoutMs, 0);
    DownloadLog log(*downloader);
    log.atEnd = [&] { downloader.reset(); };
    EXPECT_EQ(
        downloader->Download(server.wideUrl("/a").c_str(), GetParam() == Mode::synchronous, target.c_str()),
        0);
    EXPECT_EQ(downloader, nullptr);
}
