// A downloader with a callback that writes down what it is told.
#include "tests/Update/download/DownloadLog.h"

#include "Platform/CoreFoundation/CFRunLoop.h"

#include <chrono>

DownloadLog::DownloadLog(CHttpDownload& downloader)
{
    downloader.SetDownloadCallBack(&DownloadLog::told, this);
}

int DownloadLog::told(int event, int value, void* userData)
{
    DownloadLog& log = *static_cast<DownloadLog*>(userData);
    log.m_calls.emplace_back(event, value);
    if (event != 2) {
        if (log.atEnd)
            log.atEnd();
        return 0;
    }
    if (log.atChunk)
        log.atChunk();
    return log.chunkResult;
}

std::vector<DownloadCall> DownloadLog::ends() const
{
    std::vector<DownloadCall> result;
    for (const DownloadCall& call : m_calls)
        if (call.first != 2)
            result.push_back(call);
    return result;
}

std::size_t DownloadLog::chunkBytes() const
{
    std::size_t sum = 0;
    for (const DownloadCall& call : m_calls)
        if (call.first == 2)
            sum += static_cast<std::size_t>(call.second);
    return sum;
}

bool DownloadLog::waitForEnd() const
{
    const auto bound = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (ends().empty() && std::chrono::steady_clock::now() < bound)
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
    return !ends().empty();
}

std::string receivedBytes(const CHttpDownload& downloader)
{
    SInt32 size = 0;
    const UInt8* const bytes = downloader.GetData(size);
    return bytes && size > 0
        ? std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size))
        : std::string();
}

std::string longBody(std::size_t size)
{
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        text[i] = static_cast<char>(i * 7 + i / 256);
    return text;
}
