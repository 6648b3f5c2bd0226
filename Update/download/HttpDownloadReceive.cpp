// Receiving: the stream's events, the polling loop of synchronous downloads and the time-out.
#include "Platform/Lumen/LumFile.h"
#include "Update/download/DownloadSizes.h"
#include "Update/download/HttpDownload.h"

#include <array>
#include <cstring>

namespace {

constexpr CFIndex kChunkBytes = 16384;
constexpr UInt32 kMillisecondsPerSecond = 1000;
constexpr UInt32 kTicksPerSecond = 60;

} // namespace

/// A busy loop on purpose: no sleep and no events of the application, only the stream's own short wait. The
/// callback may destroy this object: nothing is touched after that.
void CHttpDownload::poll()
{
    const std::weak_ptr<void> alive = m_alive;
    UInt32 mark = TickCount();
    while (
        !alive.expired() && m_stream) { // ends with the body, a failure, or a time-out's length without data
        if (CFReadStreamHasBytesAvailable(m_stream)) {
            ReadStreamClientCallBack(m_stream, kCFStreamEventHasBytesAvailable);
            mark = TickCount();
        } else {
            const UInt32 idleMs = (TickCount() - mark) * kMillisecondsPerSecond / kTicksPerSecond;
            if (SInt64 {idleMs} > m_timeoutMs)
                TerminateDownload(kDownloadTimedOut, 1);
        }
        if (alive.expired() || !m_stream)
            return;
        const CFStreamStatus status = CFReadStreamGetStatus(m_stream);
        if (status == kCFStreamStatusAtEnd)
            TerminateDownload(kDownloadComplete, 1);
        else if (status == kCFStreamStatusClosed || status == kCFStreamStatusError)
            TerminateDownload(kDownloadFailed, 1);
    }
}

void CHttpDownload::UpReadStreamClientCallBack(CFReadStreamRef stream, CFStreamEventType event, void* info)
{
    if (info)
        static_cast<CHttpDownload*>(info)->ReadStreamClientCallBack(stream, event);
}

void CHttpDownload::UpNetworkTimeoutTimerProc(EventLoopTimerRef, void* userData)
{
    if (userData)
        static_cast<CHttpDownload*>(userData)->TerminateDownload(kDownloadTimedOut, 1);
}

void CHttpDownload::ReadStreamClientCallBack(CFReadStreamRef stream, CFStreamEventType event)
{
    if (event == kCFStreamEventErrorOccurred)
        TerminateDownload(kDownloadFailed, 1);
    else if (event == kCFStreamEventEndEncountered)
        TerminateDownload(kDownloadComplete, 1);
    else if (event == kCFStreamEventHasBytesAvailable)
        receiveChunk(stream);
}

void CHttpDownload::receiveChunk(CFReadStreamRef stream)
{
    std::array<UInt8, kChunkBytes> chunk;
    const CFIndex count = CFReadStreamRead(stream, chunk.data(), kChunkBytes);
    if (count <= 0) {
        TerminateDownload(count < 0 ? kDownloadFailed : kDownloadComplete, 1);
        return;
    }
    if (!storeChunk(chunk.data(), count)) {
        TerminateDownload(kDownloadOutOfMemory, 1);
        return;
    }
    m_receivedSize = addReceivedBytes(m_receivedSize, count);
    if (m_timer)
        (void)SetEventLoopTimerNextFireTime(m_timer, timeout()); // it is installed: cannot fail
    if (!m_callback)
        return;
    const std::weak_ptr<void> alive = m_alive;
    const bool goesOn = m_callback(kDownloadChunkEvent, count, m_callbackUserData) != 0;
    if (!goesOn && !alive.expired())
        TerminateDownload(kDownloadCancelled, 1);
}

bool CHttpDownload::storeChunk(const UInt8* bytes, SInt32 count)
{
    if (m_file != 0) {
        (void)LumFileWriteExt(m_file, bytes, count, 0); // not checked here: what reads the file checks it
        return true;
    }
    if (!fitsInBuffer(m_receivedSize, count, m_bufferCapacity) && !growBuffer(count))
        return false;
    std::memcpy(m_buffer.get() + m_receivedSize, bytes, static_cast<std::size_t>(count));
    return true;
}

bool CHttpDownload::growBuffer(SInt32 count)
{
    const SInt32 capacity = grownCapacity(m_receivedSize, count);
    if (capacity == 0)
        return false;
    void* const grown = std::realloc(m_buffer.get(), static_cast<std::size_t>(capacity));
    if (!grown)
        return false;         // the old block is kept
    (void)m_buffer.release(); // realloc took it
    m_buffer.reset(static_cast<UInt8*>(grown));
    m_bufferCapacity = capacity;
    return true;
}
