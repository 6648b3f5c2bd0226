// A downloader with a callback that writes down what it is told.
#pragma once

#include "Update/download/HttpDownload.h"

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

/// One call of the callback: event and value.
using DownloadCall = std::pair<int, int>;

/// Registers itself with the downloader for as long as both live.
class DownloadLog {
public:
    explicit DownloadLog(CHttpDownload& downloader);

    const std::vector<DownloadCall>& calls() const { return m_calls; }
    /// The calls but for the chunks.
    std::vector<DownloadCall> ends() const;
    /// The sum of the chunks.
    std::size_t chunkBytes() const;
    /// Processes events until the end was told. False after 10 seconds without.
    bool waitForEnd() const;

    int chunkResult = 1;           ///< what the callback returns for a chunk
    std::function<void()> atChunk; ///< called at each chunk
    std::function<void()> atEnd;   ///< called at the end

private:
    static int told(int event, int value, void* userData);

    std::vector<DownloadCall> m_calls;
};

/// The bytes received in memory.
std::string receivedBytes(const CHttpDownload& downloader);

/// A body of `size` bytes that repeats late.
std::string longBody(std::size_t size);
