// The downloader's life: before and between downloads, a second one, termination, destruction, both modes at
// once.
#include "Platform/CoreFoundation/CFRunLoop.h"
#include "Platform/Support/Unicode.h"
#include "tests/Update/download/DownloadLog.h"
#include "tests/support/ScopedServer.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr SInt32 kTimeoutMs = 20000;

} // namespace

TEST(CHttpDownload, StartsWithStatus1AndNoBytes)
{
    const CHttpDownload downloader(kTimeoutMs, -1);
    EXPECT_EQ(downloader.status(), 1);
    SInt32 size = 0;
    EXPECT_EQ(downloader.GetData(size), nullptr);
    EXPECT_EQ(size, -1);
}

TEST(CHttpDownload, InitialBufferIsUsedWhileItSuffices)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    CHttpDownload downloader(kTimeoutMs, 5);
    SInt32 size = 0;
    const UInt8* const initial = downloader.GetData(size);
    ASSERT_NE(initial, nullptr);
    EXPECT_EQ(size, -1);
    ASSERT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 1, nullptr), 1);
    EXPECT_EQ(downloader.GetData(size), initial);
    EXPECT_EQ(receivedBytes(downloader), "hello");
}

TEST(CHttpDownload, NullURLGives0AndChangesNothing)
{
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_EQ(downloader.Download(nullptr, 1, nullptr), 0);
    EXPECT_EQ(downloader.Download(nullptr, 0, nullptr), 0);
    EXPECT_EQ(downloader.status(), 1);
    EXPECT_THAT(log.calls(), IsEmpty());
}

TEST(CHttpDownload, TextThatIsNoURLCannotStart)
{
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    EXPECT_EQ(downloader.Download(u"http://127.0.0.1/100%", 0, nullptr), 0);
    EXPECT_EQ(downloader.status(), 1);
    EXPECT_THAT(log.calls(), IsEmpty());
}

TEST(CHttpDownload, DownloadThatCannotStartLeavesTheBytesOfTheLastOne)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    CHttpDownload downloader(kTimeoutMs, 0);
    ASSERT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 1, nullptr), 1);
    EXPECT_EQ(downloader.Download(u"file:///nowhere/at/all", 0, nullptr), 0);
    EXPECT_EQ(downloader.status(), 1);
    EXPECT_EQ(receivedBytes(downloader), "hello");
}

TEST(CHttpDownload, TargetThatCannotBeCreatedLeavesTheBufferOfTheLastOne)
{
    const ScopedTempDir folder;
    const std::u16string target = wideFromUtf8(folder.at("no such folder/target").string());
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    CHttpDownload downloader(kTimeoutMs, 0);
    for (const int synchronous : {0, 1}) {
        ASSERT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 1, nullptr), 1);
        SInt32 size = 0;
        const UInt8* const buffer = downloader.GetData(size);
        EXPECT_EQ(size, 5);
        EXPECT_EQ(downloader.Download(server.wideUrl("/a").c_str(), synchronous, target.c_str()), 0);
        EXPECT_NE(buffer, nullptr);
        EXPECT_EQ(downloader.GetData(size), buffer);
        EXPECT_EQ(size, -1) << "the stream was opened before";
    }
    ASSERT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 1, nullptr), 1);
    EXPECT_EQ(receivedBytes(downloader), "hello");
}

TEST(CHttpDownload, AsksForTheEscapedPath)
{
    ScopedServer server;
    server.on("/a%20b", answer::ok("x"));
    server.expect("/a%20b", 3);
    const std::u16string host = u"127.0.0.1:" + wideFromUtf8(std::to_string(server.port()));
    CHttpDownload downloader(kTimeoutMs, 0);
    EXPECT_EQ(downloader.Download((host + u"/a b").c_str(), 1, nullptr), 1);
    EXPECT_EQ(downloader.Download((host + u"/a%20b").c_str(), 1, nullptr), 1);
    EXPECT_EQ(downloader.Download((u"HTTP://" + host + u"/a b").c_str(), 1, nullptr), 1);
}

TEST(CHttpDownload, SecondDownloadGives0AndLeavesTheRunningOneAlone)
{
    ScopedServer server;
    server.on("/a", answer::ok("first"));
    server.on("/b", answer::ok("second"));
    server.expect("/b", 0);
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    ASSERT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 0, nullptr), 1);
    EXPECT_EQ(downloader.status(), 2);
    EXPECT_EQ(downloader.Download(server.wideUrl("/b").c_str(), 0, nullptr), 0);
    EXPECT_EQ(downloader.Download(server.wideUrl("/b").c_str(), 1, nullptr), 0);
    EXPECT_EQ(downloader.status(), 2);
    ASSERT_TRUE(log.waitForEnd());
    EXPECT_EQ(receivedBytes(downloader), "first");
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 5}, DownloadCall {0, 0}));
}

TEST(CHttpDownload, AsynchronousCallbackComesOutOfTheEventLoopOnly)
{
    const ScopedTempDir folder;
    const std::u16string url = wideFromUtf8("file://" + folder.write("a", "x").string());
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    ASSERT_EQ(downloader.Download(url.c_str(), 0, nullptr), 1);
    EXPECT_THAT(log.calls(), IsEmpty());
    EXPECT_TRUE(log.waitForEnd());
}

TEST(CHttpDownload, DestructionDuringADownloadClosesStreamAndFileSilently)
{
    const ScopedTempDir folder;
    const std::u16string target = wideFromUtf8(folder.at("target").string());
    ScopedServer server;
    server.on("/a", ServerScript().send(answer::head(200, {"Content-Length: 100"}) + "first").stall());
    std::optional<CHttpDownload> downloader(std::in_place, kTimeoutMs, 0);
    DownloadLog log(*downloader);
    ASSERT_EQ(downloader->Download(server.wideUrl("/a").c_str(), 0, target.c_str()), 1);
    for (int i = 0; i < 1000 && log.calls().empty(); ++i)
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
    downloader.reset();
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 5}));
    EXPECT_EQ(readWholeFile(folder.at("target")), "first");
    EXPECT_TRUE(server.waitForClientsGone(1));
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 5}));
}

TEST(CHttpDownload, MayBeDestroyedInItsLastCallback)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    auto downloader = std::make_unique<CHttpDownload>(kTimeoutMs, 0);
    DownloadLog log(*downloader);
    log.atEnd = [&] { downloader.reset(); };
    ASSERT_EQ(downloader->Download(server.wideUrl("/a").c_str(), 0, nullptr), 1);
    ASSERT_TRUE(log.waitForEnd());
    EXPECT_EQ(downloader, nullptr);
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 5}, DownloadCall {0, 0}));
}

TEST(CHttpDownload, NextDownloadMayStartInTheLastCallback)
{
    ScopedServer server;
    server.on("/1", answer::ok("one"));
    server.on("/2", answer::status(404, "three"));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    log.atEnd = [&] {
        if (log.ends().size() == 1) {
            EXPECT_EQ(downloader.Download(server.wideUrl("/2").c_str(), 0, nullptr), 1);
        }
    };
    ASSERT_EQ(downloader.Download(server.wideUrl("/1").c_str(), 0, nullptr), 1);
    for (int i = 0; i < 1000 && log.ends().size() < 2; ++i)
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
    EXPECT_THAT(log.calls(),
        ElementsAre(DownloadCall {2, 3}, DownloadCall {0, 0}, DownloadCall {2, 5}, DownloadCall {4, 0}));
}

TEST(CHttpDownload, TerminatingTwiceTellsOnce)
{
    ScopedServer server;
    server.on("/a", ServerScript().stall());
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    downloader.TerminateDownload(-1, 1);
    EXPECT_THAT(log.calls(), IsEmpty()) << "nothing is under way";
    ASSERT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 0, nullptr), 1);
    downloader.TerminateDownload(3, 1);
    downloader.TerminateDownload(-1, 1);
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {3, 0}));
    EXPECT_EQ(downloader.status(), 3);
}

TEST(CHttpDownload, TerminatingWithoutNotifyTellsNothing)
{
    ScopedServer server;
    server.on("/a", ServerScript().stall());
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    ASSERT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 0, nullptr), 1);
    downloader.TerminateDownload(-1, 0);
    EXPECT_THAT(log.calls(), IsEmpty());
    EXPECT_EQ(downloader.status(), -1);
}

TEST(CHttpDownload, TerminatingAsCompleteIsJudgedByTheAnswer)
{
    ScopedServer server;
    server.on("/missing", ServerScript().send(answer::head(404, {"Content-Length: 9"}) + "hello").stall());
    server.on("/silent", ServerScript().stall());
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    log.atChunk = [&] { downloader.TerminateDownload(0, 1); };
    ASSERT_EQ(downloader.Download(server.wideUrl("/missing").c_str(), 0, nullptr), 1);
    EXPECT_TRUE(log.waitForEnd());
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 5}, DownloadCall {4, 0}));
    ASSERT_EQ(downloader.Download(server.wideUrl("/silent").c_str(), 0, nullptr), 1);
    downloader.TerminateDownload(0, 1);
    EXPECT_EQ(downloader.status(), 0) << "no answer came that could tell otherwise";
    EXPECT_EQ(log.calls().back(), (DownloadCall {0, 0}));
}

TEST(CHttpDownload, CallbackMayTerminateTheDownloadItself)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    for (const int synchronous : {0, 1}) {
        CHttpDownload downloader(kTimeoutMs, 0);
        DownloadLog log(downloader);
        log.chunkResult = 0;
        log.atChunk = [&] { downloader.TerminateDownload(9, 1); };
        EXPECT_EQ(
            downloader.Download(server.wideUrl("/a").c_str(), synchronous, nullptr), synchronous ? 0 : 1);
        EXPECT_TRUE(log.waitForEnd());
        EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 5}, DownloadCall {9, 0}));
        EXPECT_EQ(downloader.status(), 9) << "a cancel finds nothing under way";
    }
}

TEST(CHttpDownload, CallbackMayTakeItselfAway)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    log.chunkResult = 0;
    log.atChunk = [&] { downloader.SetDownloadCallBack(nullptr, nullptr); };
    EXPECT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 1, nullptr), 0);
    EXPECT_EQ(downloader.status(), 3);
    EXPECT_THAT(log.calls(), ElementsAre(DownloadCall {2, 5}));
}

TEST(CHttpDownload, WorksWithoutACallback)
{
    ScopedServer server;
    server.on("/a", answer::ok("hello"));
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    downloader.SetDownloadCallBack(nullptr, nullptr);
    EXPECT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 1, nullptr), 1);
    EXPECT_THAT(log.calls(), IsEmpty());
}

TEST(CHttpDownload, TrampolinesIgnoreANullObject)
{
    CHttpDownload::UpReadStreamClientCallBack(nullptr, kCFStreamEventErrorOccurred, nullptr);
    CHttpDownload::UpNetworkTimeoutTimerProc(nullptr, nullptr);
}

TEST(CHttpDownload, OtherEventsAreIgnored)
{
    ScopedServer server;
    server.on("/a", ServerScript().stall());
    CHttpDownload downloader(kTimeoutMs, 0);
    DownloadLog log(downloader);
    ASSERT_EQ(downloader.Download(server.wideUrl("/a").c_str(), 0, nullptr), 1);
    for (const CFStreamEventType event : {0u, 1u, 4u, 32u})
        downloader.ReadStreamClientCallBack(nullptr, event);
    EXPECT_EQ(downloader.status(), 2);
    EXPECT_THAT(log.calls(), IsEmpty());
}

TEST(CHttpDownload, SynchronousDownloadRunsWithinACallbackOfAnAsynchronousOne)
{
    ScopedServer server;
    server.on("/async", answer::ok(longBody(400'000)));
    server.on("/sync", answer::ok("descriptor"));
    CHttpDownload asynchronous(kTimeoutMs, 0);
    DownloadLog log(asynchronous);
    int depth = 0;
    log.atChunk = [&] {
        EXPECT_EQ(++depth, 1) << "no event of the other download is delivered meanwhile";
        CHttpDownload synchronous(kTimeoutMs, 0);
        EXPECT_EQ(synchronous.Download(server.wideUrl("/sync").c_str(), 1, nullptr), 1);
        EXPECT_EQ(receivedBytes(synchronous), "descriptor");
        --depth;
    };
    ASSERT_EQ(asynchronous.Download(server.wideUrl("/async").c_str(), 0, nullptr), 1);
    ASSERT_TRUE(log.waitForEnd());
    EXPECT_TRUE(receivedBytes(asynchronous) == longBody(400'000));
    EXPECT_THAT(log.ends(), ElementsAre(DownloadCall {0, 0}));
}
