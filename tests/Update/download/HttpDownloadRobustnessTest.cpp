// Hundreds of answers made by chance, from a fixed seed: each download ends, in time, with a code that it may
// end with.
#include "Platform/CoreFoundation/CFRunLoop.h"
#include "tests/Update/download/DownloadLog.h"
#include "tests/support/ScopedServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <random>
#include <string>

using ::testing::AnyOf;

namespace {

constexpr int kAnswers = 400;
constexpr SInt32 kTimeoutMs = 150;
constexpr std::chrono::seconds kBound {60};

/// Makes answers that are nearly right: pieces of real ones, in order, with pieces left out, doubled or
/// damaged.
class AnswerMaker {
public:
    ServerScript next()
    {
        std::string bytes;
        for (const auto& choices : kPieces)
            for (std::size_t times = below(10) < 8 ? 1 : below(3); times > 0; --times)
                bytes += choices[below(choices.size())];
        for (std::size_t damages = below(3); damages > 0 && !bytes.empty(); --damages)
            damage(bytes);
        ServerScript script;
        if (below(4) == 0)
            script.sendSlowly(bytes, 1 + below(40), std::chrono::milliseconds(1));
        else
            script.send(bytes);
        // A stall costs a whole time-out: a few are enough.
        const std::size_t end = below(10);
        return end == 0 ? script.stall() : end < 3 ? script.reset() : script.close();
    }

private:
    std::size_t below(std::size_t bound) { return m_random() % bound; }

    void damage(std::string& bytes)
    {
        const std::size_t at = below(bytes.size());
        switch (below(4)) {
        case 0:
            bytes[at] = static_cast<char>(below(256));
            break;
        case 1:
            bytes.erase(at, 1 + below(20));
            break;
        case 2:
            bytes.insert(at, bytes.substr(below(bytes.size()), below(50)));
            break;
        default:
            bytes.insert(at, 1, '\0');
        }
    }

    static inline const std::vector<std::vector<std::string>> kPieces {
        {"HTTP/1.1 200 OK\r\n", "HTTP/1.0 200 OK\r\n", "HTTP/1.1 404 No\r\n", "HTTP/1.1 100 Continue\r\n\r\n",
            "HTTP/1.1 302 Found\r\nLocation: /again\r\n", "HTTP/2 200\r\n", "HTTP/1.1 999 \r\n",
            "ICY 200 OK\r\n"},
        {"Content-Length: 20\r\n", "Content-Length: 200\r\n", "Content-Length: 99999999999999999999\r\n",
            "Transfer-Encoding: chunked\r\n", "Transfer-Encoding: gzip, chunked\r\n", "Content-Length: 0\r\n",
            "Location: ftp://x/\r\n", ""},
        {"Connection: close\r\n", "Set-Cookie: a=b\r\n", " folded\r\n", ":\r\n", "X\r\n", ""},
        {"\r\n", "\n", "\r\r\n"},
        {"5\r\nhello\r\n", "twenty bytes of body", "fffffffff\r\nhello\r\n", std::string(3000, 'x'), ""},
        {"0\r\n\r\n", "0\r\nTrailer: x\r\n\r\n", "HTTP/1.1 200 OK\r\n\r\n", ""},
    };

    std::mt19937 m_random {5}; // one in whose answers no redirect leads to an unknown page
};

} // namespace

TEST(CHttpDownloadRobustness, EveryAnswerEndsWithAKnownCodeInTime)
{
    const auto start = std::chrono::steady_clock::now();
    AnswerMaker maker;
    CHttpDownload downloader(kTimeoutMs, -1);
    std::array<int, 4> seen {}; // complete, not found, failed, timed out
    for (int i = 0; i < kAnswers; ++i) {
        ScopedServer server;
        server.on("/a", maker.next());
        server.on("/again", answer::ok("again"));
        DownloadLog log(downloader);
        const int synchronous = i % 2;
        const int result = downloader.Download(server.wideUrl("/a").c_str(), synchronous, nullptr);
        ASSERT_TRUE(log.waitForEnd()) << "answer " << i;
        const SInt32 code = downloader.status();
        ASSERT_THAT(code, AnyOf(0, 4, -1, 0xF000)) << "answer " << i;
        EXPECT_EQ(result, synchronous ? (code == 0 ? 1 : 0) : 1) << "answer " << i;
        ASSERT_EQ(log.ends().size(), 1u) << "answer " << i;
        EXPECT_EQ(receivedBytes(downloader).size(), log.chunkBytes()) << "answer " << i;
        ++seen[code == 0 ? 0u : code == 4 ? 1u : code == -1 ? 2u : 3u];
        ASSERT_LT(std::chrono::steady_clock::now() - start, kBound);
    }
    for (const int count : seen)
        EXPECT_GT(count, 0) << "the answers are no longer of every kind";
}
