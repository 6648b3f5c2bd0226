// Starting and ending downloads.
#include "Update/download/HttpDownload.h"

#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/Lumen/LumFile.h"
#include "Update/download/UrlRules.h"

#include <algorithm>

namespace {

constexpr SInt32 kStatusPreparing = 1;
constexpr SInt32 kStatusRunning = 2;
constexpr CFIndex kHttpOk = 200;
constexpr CFStreamEventType kStreamEvents = kCFStreamEventOpenCompleted | kCFStreamEventHasBytesAvailable
    | kCFStreamEventErrorOccurred | kCFStreamEventEndEncountered;

} // namespace

constinit std::unique_ptr<OpaqueEventLoopTimerUPP, CHttpDownload::UPPDisposer>
    CHttpDownload::_st_networkTimeoutTimerUPP;

CHttpDownload::CHttpDownload(SInt32 timeoutMs, SInt32 initialBufferSize)
    : m_timeoutMs(timeoutMs)
{
    if (!_st_networkTimeoutTimerUPP)
        _st_networkTimeoutTimerUPP.reset(NewEventLoopTimerUPP(&CHttpDownload::UpNetworkTimeoutTimerProc));
    if (initialBufferSize <= 0)
        return;
    m_buffer.reset(static_cast<UInt8*>(std::malloc(static_cast<std::size_t>(initialBufferSize))));
    if (m_buffer)
        m_bufferCapacity = initialBufferSize;
}

CHttpDownload::~CHttpDownload()
{
    TerminateDownload(kDownloadDestroyed, 0);
    removeTimer();
}

void CHttpDownload::SetDownloadCallBack(DownloadCallBack callback, void* userData)
{
    m_callback = callback;
    m_callbackUserData = userData;
}

int CHttpDownload::Download(const UniChar* url, int synchronous, const UniChar* filePath)
{
    if (!url || m_stream)
        return 0;
    m_file = 0;
    if (!PrepareDownload(url, synchronous))
        return 0;
    // The stream is opened before the file is created: a failure is told to the callback all the same.
    if (filePath && *filePath && !openTargetFile(filePath)) {
        TerminateDownload(kDownloadFailed, 1);
        return 0;
    }
    if (!synchronous)
        return 1;
    const std::weak_ptr<void> alive = m_alive;
    poll();
    return !alive.expired() && m_status == kDownloadComplete ? 1 : 0;
}

/// False when the file could not be created. A path that names no place leaves the download in memory.
bool CHttpDownload::openTargetFile(const UniChar* filePath)
{
    if (OpacLumFSRef* const ref = Lum0FSRCreateWithPath(filePath)) {
        m_file = LumFileCreateExt(ref, kLumFileCreateWrite);
        Lum0FSRRelease(ref);
    }
    if (m_file == -1)
        return false;
    m_buffer.reset();
    m_bufferCapacity = 0;
    return true;
}

int CHttpDownload::PrepareDownload(const UniChar* url, int synchronous)
{
    m_url = createDownloadURL(url);
    m_status = kStatusPreparing;
    if (!m_url || !openStream(synchronous)) {
        dropStream();
        return 0;
    }
    m_receivedSize = 0;
    removeTimer();
    startTimer(synchronous);
    m_status = kStatusRunning;
    return 1;
}

bool CHttpDownload::openStream(int synchronous)
{
    const CFRef method = adoptCF(CFStringCreateWithView(u"GET"));
    const CFRef request
        = adoptCF(CFHTTPMessageCreateRequest(kCFAllocatorDefault, method, m_url, kCFHTTPVersion1_1));
    if (!request)
        return false;
    m_stream = adoptCF(CFReadStreamCreateForHTTPRequest(kCFAllocatorDefault, request));
    const CFRef yes = adoptCF(CFBooleanCreate(true));
    if (!m_stream || !CFReadStreamSetProperty(m_stream, kCFStreamPropertyHTTPShouldAutoredirect, yes))
        return false;
    if (!synchronous) {
        CFStreamClientContext context;
        context.info = this;
        if (!CFReadStreamSetClient(
                m_stream, kStreamEvents, &CHttpDownload::UpReadStreamClientCallBack, &context))
            return false;
        CFReadStreamScheduleWithRunLoop(m_stream, CFRunLoopGetCurrent(), kCFRunLoopCommonModes);
    }
    return CFReadStreamOpen(m_stream);
}

void CHttpDownload::dropStream()
{
    if (!m_stream)
        return;
    CFReadStreamSetClient(m_stream, kCFStreamEventNone, nullptr, nullptr);
    CFReadStreamUnscheduleFromRunLoop(m_stream, CFRunLoopGetCurrent(), kCFRunLoopCommonModes);
    CFReadStreamClose(m_stream);
    m_stream = nullptr;
}

/// In seconds. A negative one would never end.
EventTimerInterval CHttpDownload::timeout() const
{
    return std::max(m_timeoutMs, 0) * 0.001;
}

void CHttpDownload::startTimer(int synchronous)
{
    if (synchronous)
        return;
    // Without a timer the download runs all the same, only without a time-out.
    (void)InstallEventLoopTimer(
        GetCurrentEventLoop(), timeout(), 0, _st_networkTimeoutTimerUPP.get(), this, &m_timer);
}

void CHttpDownload::removeTimer()
{
    if (!m_timer)
        return;
    (void)RemoveEventLoopTimer(m_timer); // it is installed: removing cannot fail
    m_timer = nullptr;
}

void CHttpDownload::TerminateDownload(SInt32 code, int notify)
{
    if (m_timer)
        (void)SetEventLoopTimerNextFireTime(m_timer, kEventDurationForever); // it is installed: cannot fail
    if (!m_stream)
        return;
    if (code == kDownloadComplete) {
        const CFRef answer = adoptCF(static_cast<CFHTTPMessageRef>(
            CFReadStreamCopyProperty(m_stream, kCFStreamPropertyHTTPResponseHeader)));
        if (answer && CFHTTPMessageGetResponseStatusCode(answer) != kHttpOk)
            code = kDownloadNotFound;
    }
    if (m_file != 0 && m_file != -1) {
        (void)LumFileCloseExt(m_file); // writes are not checked either: what reads the file checks it
        m_file = 0;
    }
    dropStream();
    m_status = code;
    // The last step: the callback may start the next download or destroy this object.
    if (m_callback && notify)
        m_callback(code, 0, m_callbackUserData);
}

UInt8* CHttpDownload::GetData(SInt32& size) const
{
    size = m_receivedSize > 0 ? m_receivedSize : -1;
    return m_buffer.get();
}
