// The download of the chosen files, one after another: each file's end starts the next one.
#include "Update/UpdateInter.h"

#include "Platform/Carbon/Folders.h"
#include "Platform/Lumen/LumFile.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Update/descriptor/DownloadAction.h"
#include "Update/descriptor/XMLInterpret.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

/// A larger file goes straight to its destination, a smaller one through memory.
constexpr SInt32 kLargeFileBytes = 10485760;

enum DownloadEvent : int { kFileComplete = 0, kChunkArrived = 2 };

const CDownLoad* downloadActionOf(const CFileSec& file)
{
    return static_cast<const CDownLoad*>(file.GetActionByType(kDownloadAction));
}

/// Writes all of `size` bytes to a new file; a file that could not be filled is removed again.
bool writeFile(const UniChar* path, const unsigned char* bytes, SInt32 size)
{
    const LumFSRefOwner ref(Lum0FSRCreateWithPath(path));
    const SInt16 file = ref ? LumFileCreateExt(ref.get(), kLumFileCreateWrite) : -1;
    if (file == -1)
        return false;
    bool written = LumFileWriteExt(file, bytes, size, 0) == size;
    written = LumFileCloseExt(file) == 0 && written;
    if (!written)
        (void)LumFileDeleteExt(ref.get()); // the step that needs the file will report that it is missing
    return written;
}

} // namespace

SInt32 addSizes(SInt32 a, SInt32 b)
{
    const SInt64 sum = static_cast<SInt64>(a) + b;
    return static_cast<SInt32>(
        std::clamp<SInt64>(sum, std::numeric_limits<SInt32>::min(), std::numeric_limits<SInt32>::max()));
}

SInt32 percentOf(SInt32 done, SInt32 total)
{
    if (total <= 0)
        return 100;
    const double percent = std::floor(static_cast<double>(done) * 100.0 / total + 0.5);
    return static_cast<SInt32>(std::min(percent, 100.0));
}

/// Starts the download of `file`: 1 when it started.
int CUpdateInter::startDownload(const CFileSec& file)
{
    CLumStringW url;
    file.GatherDownloadFullURL(url);
    const CDownLoad* const action = downloadActionOf(file);
    const bool toFile = action && action->size() > kLargeFileBytes;
    (void)FlushVol(nullptr, 0); // it only makes a crash cost less
    return m_downloader->Download(url.c_str(), 0, toFile ? action->destination().c_str() : nullptr);
}

int CUpdateInter::MyDownloadCallBack(int event, int value, void* userData)
{
    auto* const self = static_cast<CUpdateInter*>(userData);
    if (!self)
        return 0;
    ++self->m_callbackDepth;
    const int result = self->downloadEvent(event, value);
    --self->m_callbackDepth;
    return result;
}

int CUpdateInter::downloadEvent(int event, int value)
{
    if (m_progressWindow.isCancelled() && event != kUserCancelled) {
        // A chunk's 0 makes the downloader end with "cancelled". Any other event is the end already: nothing
        // would follow it.
        if (event != kChunkArrived)
            OperateHasError(kUserCancelled);
        return 0;
    }
    if (event == kChunkArrived) {
        StepDone = addSizes(StepDone, value);
        m_progressWindow.SetProgressPercent(percentOf(StepDone, StepTotal));
        return 1;
    }
    if (event == kFileComplete)
        return fileDownloaded();
    OperateHasError(event);
    return 0;
}

/// Stores the file that is complete and starts the next one.
int CUpdateInter::fileDownloaded()
{
    const SInt32 count = static_cast<SInt32>(SelectedFiles.size());
    if (CurrentIndex < 0 || CurrentIndex >= count)
        return 0;
    if (!storeDownload(*SelectedFiles[static_cast<std::size_t>(CurrentIndex)])) {
        // Meant: a file that cannot be written ends the download phase; the install step that needs it fails
        // then.
        DownloadOK();
        return 0;
    }
    if (CurrentIndex + 1 >= count) {
        DownloadOK();
        return 1;
    }
    ++CurrentIndex;
    const CFileSec& next = *SelectedFiles[static_cast<std::size_t>(CurrentIndex)];
    if (!downloadActionOf(next)) {
        DownloadOK();
        return 1;
    }
    const RunSerial run = m_run;
    const int started = startDownload(next);
    if (!started && run == m_run)
        OperateHasError(0);
    return started;
}

/// Writes a download that was received in memory to its destination; true also when there is nothing to
/// write.
bool CUpdateInter::storeDownload(const CFileSec& file)
{
    SInt32 size = 0;
    const unsigned char* const bytes = m_downloader->GetData(size);
    if (size <= 0 || !bytes)
        return true;
    const CDownLoad* const action = downloadActionOf(file);
    return action && writeFile(action->destination().c_str(), bytes, size);
}

void CUpdateInter::DownloadOK()
{
    m_progressWindow.Dispose();
    StepDone = 0;
    StepTotal = 0;
    CurrentIndex = 0;
    removeTimer();
    if (!m_timerUPP)
        m_timerUPP = NewEventLoopTimerUPP(&CUpdateInter::Install_TimeoutTimerProc);
    if (InstallEventLoopTimer(GetCurrentEventLoop(), kInstallTickSeconds, 0, m_timerUPP, this, &m_timer)
        != noErr)
        m_timer = nullptr;
    if (m_timer) {
        StepTotal = static_cast<SInt32>(SelectedFiles.size());
        for (CPListParse* product = m_collection->GetIni(0); product; product = m_collection->NextIni()) {
            if (const CXMLInterpret* interpreter = interpreterOf(product))
                StepTotal = addSizes(StepTotal, static_cast<SInt32>(interpreter->filesToUpdate().size()));
        }
        if (!m_progressWindow.ShowWnd(m_fileManager.get(), 0))
            removeTimer();
    }
    if (!m_timer) {
        Busy = 0;
        endMsgProcess();
    }
}
