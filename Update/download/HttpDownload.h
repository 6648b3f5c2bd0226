// Fetches one resource at a time over HTTP or from a file URL, into memory or into a file.
#pragma once

#include "Platform/CFNetwork/CFReadStream.h"
#include "Platform/Carbon/EventLoop.h"
#include "Platform/CoreFoundation/CFRef.h"

#include <cstdlib>
#include <memory>

/// Told of a download's progress. (2, n, userData): a chunk of n bytes, 1 to 16384, was stored; nonzero goes
/// on, 0 cancels, which ends the download with code 3. (code, 0, userData): the download ended, told once
/// whatever the reason (but for the destructor); the result is ignored. In that last call of an asynchronous
/// download the downloader may be used again; in every call it may be destroyed.
using DownloadCallBack = int (*)(int event, int value, void* userData);

/// The event that reports a chunk: the number of the stream's event.
inline constexpr int kDownloadChunkEvent = static_cast<int>(kCFStreamEventHasBytesAvailable);

/// How a download ended.
enum DownloadCode : SInt32 {
    kDownloadComplete = 0,  ///< the whole body came, with HTTP status 200 or from a file
    kDownloadDestroyed = 1, ///< never told
    kDownloadCancelled = 3,
    kDownloadNotFound = 4,         ///< the stream ended well, but the HTTP status was not 200
    kDownloadFailed = -1,          ///< the stream failed, or the target file could not be created
    kDownloadTimedOut = 0xF000,    ///< nothing came for longer than the time-out
    kDownloadOutOfMemory = 0xF100, ///< the buffer could not grow, or would pass 2^31-1 bytes
};

class CHttpDownload {
public:
    /// `timeoutMs`: how long nothing may come before the download is given up, in milliseconds; a value of 0
    /// or less waits for nothing. `initialBufferSize`: bytes to allocate at once, when positive.
    CHttpDownload(SInt32 timeoutMs, SInt32 initialBufferSize);
    /// Ends a download under way without telling the callback.
    ~CHttpDownload();
    CHttpDownload(const CHttpDownload&) = delete;
    CHttpDownload& operator=(const CHttpDownload&) = delete;

    /// May be called at any time; a null callback ends all calls.
    void SetDownloadCallBack(DownloadCallBack callback, void* userData);
    /// Starts a download of `url` (see UrlRules.h) into the file at `filePath`, or into memory when that is
    /// null, empty or no path. Asynchronous: 1 once it runs, driven by the event loop of this thread.
    /// Synchronous: returns when it is over, 1 only when it ended with code 0; no events are processed
    /// meanwhile. 0 when it could not start, among others since another one is under way. A target file that
    /// cannot be created is told to the callback (-1) and gives 0.
    int Download(const UniChar* url, int synchronous, const UniChar* filePath);
    /// Ends the download under way, telling the callback when `notify` is not 0. Without one it only stops
    /// the timer.
    void TerminateDownload(SInt32 code, int notify);
    /// The bytes received in memory, and their number in `size`: -1 when none came. The bytes stay the
    /// downloader's, until the next download starts or it is destroyed.
    UInt8* GetData(SInt32& size) const;

    /// Handles one event of the stream of the download under way.
    void ReadStreamClientCallBack(CFReadStreamRef stream, CFStreamEventType event);
    /// What the stream and the timer call; `info` and `userData` are the downloader.
    static void UpReadStreamClientCallBack(CFReadStreamRef stream, CFStreamEventType event, void* info);
    static void UpNetworkTimeoutTimerProc(EventLoopTimerRef timer, void* userData);

    /// 1 before the first download and while one is being prepared, 2 while it runs, then a DownloadCode.
    SInt32 status() const { return m_status; }

private:
    struct FreeDeleter {
        void operator()(UInt8* bytes) const { std::free(bytes); }
    };

    int PrepareDownload(const UniChar* url, int synchronous);
    bool openStream(int synchronous);
    EventTimerInterval timeout() const;
    void startTimer(int synchronous);
    void removeTimer();
    void dropStream();
    bool openTargetFile(const UniChar* filePath);
    void poll();
    void receiveChunk(CFReadStreamRef stream);
    bool storeChunk(const UInt8* bytes, SInt32 count);
    bool growBuffer(SInt32 count);

    const SInt32 m_timeoutMs;
    CFRef<CFURLRef> m_url;
    EventLoopTimerRef m_timer = nullptr; ///< asynchronous downloads only; stays installed after their end
    CFRef<CFReadStreamRef> m_stream;     ///< set while a download is under way
    SInt32 m_status = 1;
    std::unique_ptr<UInt8, FreeDeleter> m_buffer; ///< from malloc; survives from one download to the next
    SInt32 m_receivedSize = 0; ///< held at 2^31-1, which only a download into a file can reach
    SInt32 m_bufferCapacity = 0;
    DownloadCallBack m_callback = nullptr;
    void* m_callbackUserData = nullptr;
    SInt16 m_file = 0; ///< the target; 0 for memory, -1 when it could not be created
    const std::shared_ptr<void> m_alive = std::make_shared<char>(); ///< tells that a callback destroyed this

    struct UPPDisposer {
        void operator()(OpaqueEventLoopTimerUPP* upp) const { DisposeEventLoopTimerUPP(upp); }
    };
    /// Made by the first constructor call; stays as long as the module that holds this code.
    static std::unique_ptr<OpaqueEventLoopTimerUPP, UPPDisposer> _st_networkTimeoutTimerUPP;
};
