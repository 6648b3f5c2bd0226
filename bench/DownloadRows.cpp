// Downloads: a large one out of the event loop, and many small ones.
#include "bench/Peers.h"
#include "bench/Rows.h"

#include "Platform/CoreFoundation/CFRunLoop.h"
#include "Platform/Support/Unicode.h"
#include "Update/download/HttpDownload.h"

#include <fstream>

namespace bench {
namespace {

constexpr SInt32 kTimeoutMs = 30'000;
constexpr std::uintmax_t kLargeBytes = std::uintmax_t {64} << 20;
constexpr std::size_t kSmallBytes = 2000;
constexpr int kSmallFetches = 1000;
constexpr int kRounds = 7;

struct Ending {
    bool over = false;
    int code = -1;
};

int noteEnding(int event, int value, void* userData)
{
    if (event == kDownloadChunkEvent && value > 0)
        return 1;
    *static_cast<Ending*>(userData) = {true, event};
    return 1;
}

} // namespace

void downloadOurs(const std::string& url, const std::string& path)
{
    Ending ending;
    CHttpDownload download(kTimeoutMs, 0);
    download.SetDownloadCallBack(noteEnding, &ending);
    require(download.Download(wideFromUtf8(url).c_str(), 0, wideFromUtf8(path).c_str()) == 1, "a download");
    while (!ending.over)
        (void)CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1, true); // the download has a time-out of its own
    require(ending.code == kDownloadComplete, "a download");
    SInt32 size = 0;
    (void)download.GetData(size);
    require(!path.empty() || size == static_cast<SInt32>(kLargeBytes), "a download into memory");
}

void downloadRows(Table& table, const Stage& stage)
{
    std::ofstream(stage.www / (kLargeFile + 1)).close();
    std::filesystem::resize_file(stage.www / (kLargeFile + 1), kLargeBytes);
    std::ofstream(stage.www / (kSmallFile + 1)) << std::string(kSmallBytes, 'x');

    const std::string large = stage.site + kLargeFile;
    const std::string small = stage.site + kSmallFile;
    const std::string file = (stage.folder / "download").string();
    const char* const peerName = "curl_easy_perform";
    CurlPeer curl;
    table.row(
        "download of 64 MiB to disk", peerName, [&] { return secondsOf([&] { downloadOurs(large, file); }); },
        [&] { return secondsOf([&] { curl.fetchToFile(large, file); }); }, kRounds);
    table.row(
        "download of 64 MiB to memory", peerName, [&] { return secondsOf([&] { downloadOurs(large, ""); }); },
        [&] { return secondsOf([&] { (void)curl.fetchToMemory(large); }); }, kRounds);

    CHttpDownload download(kTimeoutMs, 0);
    const std::u16string wideUrl = wideFromUtf8(small);
    const auto fetchOurs = [&] {
        for (int i = 0; i < kSmallFetches; ++i)
            require(download.Download(wideUrl.c_str(), 1, nullptr) == 1, "a small fetch");
    };
    const auto fetchTheirs = [&] {
        for (int i = 0; i < kSmallFetches; ++i)
            require(curl.fetchToMemory(small).size() == kSmallBytes, "a small fetch");
    };
    table.row(
        "1,000 synchronous fetches of 2 kB", "curl_easy_perform, one handle",
        [&] { return secondsOf(fetchOurs); }, [&] { return secondsOf(fetchTheirs); }, kRounds);
}

} // namespace bench
