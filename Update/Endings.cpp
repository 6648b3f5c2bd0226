// How an install sequence ends: with success, with an error, or cancelled by the host.
#include "Update/UpdateInter.h"

#include "Update/HostMessages.h"
#include "Update/descriptor/XMLInterpret.h"

#include <string>

namespace {

constexpr char kQuitText[] = "QUIT";

} // namespace

void CUpdateInter::InstallSuccess()
{
    const RunSerial run = m_run;
    leaveInstall();
    PubLumen::LumDocument texts;
    if (openTexts(texts)) {
        WideText success;
        texts.CopyItemText(kInstallSuccessText, success);
        MyMessageBox(success.c_str());
    }
    if (run == m_run) {
        CPListParse* const first = m_collection ? m_collection->GetIni(0) : nullptr;
        if (CXMLInterpret* const interpreter = interpreterOf(first))
            (void)interpreter->ClearAllFileInFixedDir(); // what stays is cleared by the next check
        if (!relaunchHost(first))
            (void)CommunicationWithApp(kUpdateEndMessage, kQuitText); // the answer changes nothing here
    }
    finishMessage(run);
}

/// Ends the host's event loop and asks it to start again, when the host product itself was updated.
bool CUpdateInter::relaunchHost(CPListParse* first)
{
    const std::string path = first && first->isHostProduct() ? first->bundlePath() : std::string();
    if (path.empty())
        return false;
    QuitApplicationEventLoop();
    (void)CommunicationWithApp(kRelaunchMessage, path.c_str()); // no answer is waited for
    return true;
}

void CUpdateInter::OperateHasError(SInt32 code)
{
    const RunSerial run = m_run;
    const bool wasShown = m_progressWindow.isShown();
    leaveInstall();
    if (wasShown && code != kUserCancelled)
        MyMessageBox(ErrorText.c_str());
    if (run == m_run) {
        CPListParse* const first = m_collection ? m_collection->GetIni(0) : nullptr;
        if (CXMLInterpret* const interpreter = interpreterOf(first))
            (void)interpreter->ClearAllFileInFixedDir();          // what stays is cleared by the next check
        (void)CommunicationWithApp(kUpdateEndMessage, kQuitText); // the answer changes nothing here
    }
    finishMessage(run);
}

SInt32 CUpdateInter::CancelProcessMsg(IUserMsg*)
{
    m_cancelledRun = m_run++;
    removeTimer();
    m_progressWindow.Dispose();
    m_productsWindow.Dispose();
    deleteDownloader();
    Busy = 0;
    StepTotal = 0;
    StepDone = 0;
    return 0;
}

/// Takes the progress window down and stops the steps.
void CUpdateInter::leaveInstall()
{
    m_progressWindow.Dispose();
    removeTimer();
    StepTotal = 0;
    StepDone = 0;
}

/// Tells the host that run `run` is over, unless the host cancelled it or the object is busy with another one
/// by now.
void CUpdateInter::finishMessage(RunSerial run)
{
    if (run == m_run)
        Busy = 0;
    else if (run <= m_cancelledRun || Busy)
        return;
    endMsgProcess();
}

void CUpdateInter::removeTimer()
{
    if (m_timer)
        (void)RemoveEventLoopTimer(m_timer); // it exists: nothing can fail
    m_timer = nullptr;
}

/// Deletes the downloader; one whose callback is still running is stopped, and deleted when the callback has
/// returned.
void CUpdateInter::deleteDownloader()
{
    if (m_callbackDepth == 0) {
        m_retiredDownloader.reset();
        m_downloader.reset();
        return;
    }
    if (!m_downloader)
        return;
    m_downloader->SetDownloadCallBack(nullptr, nullptr);
    m_downloader->TerminateDownload(1, 0);
    m_retiredDownloader = std::move(m_downloader);
}
