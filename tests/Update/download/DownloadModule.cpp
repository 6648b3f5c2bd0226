// A module with a downloader of its own, to be unloaded again.
#include "Update/download/HttpDownload.h"

#include <memory>

namespace {

constexpr SInt32 kTimeoutMs = 20000;

std::unique_ptr<CHttpDownload> running;

} // namespace

/// Downloads synchronously and gives the code that it ended with.
extern "C" __attribute__((visibility("default"))) SInt32 downloadNow(const UniChar* url)
{
    CHttpDownload downloader(kTimeoutMs, 0);
    (void)downloader.Download(url, 1, nullptr); // the code tells
    return downloader.status();
}

/// Starts a download that ends with the module.
extern "C" __attribute__((visibility("default"))) int downloadUntilUnloaded(const UniChar* url)
{
    running = std::make_unique<CHttpDownload>(kTimeoutMs, 0);
    return running->Download(url, 0, nullptr);
}
