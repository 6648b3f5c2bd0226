// The install steps, one a tick: archives are unpacked, then packages are handed to the host.
#include "Update/UpdateInter.h"

#include "Cocoa2CarbonLib/Cocoa2Carbon.h"
#include "Platform/Support/Unicode.h"
#include "Update/HostMessages.h"
#include "Update/descriptor/XMLInterpret.h"

#include <algorithm>

namespace {

constexpr SInt32 kStepFailed = -1;

} // namespace

std::u16string_view archiveFolderOf(std::u16string_view path)
{
    const std::size_t slash = path.rfind(u'/');
    return slash == std::u16string_view::npos ? std::u16string_view() : path.substr(0, slash);
}

std::u16string_view packageTargetOf(std::u16string_view destination)
{
    return destination.rfind(u'/') == 0 ? destination.substr(0, 1) : archiveFolderOf(destination);
}

void CUpdateInter::Install_TimeoutTimerProc(EventLoopTimerRef, void* userData)
{
    if (userData)
        static_cast<CUpdateInter*>(userData)->installTick();
}

void CUpdateInter::installTick()
{
    if (m_progressWindow.isCancelled()) {
        OperateHasError(kUserCancelled);
        return;
    }
    const SInt32 selected = static_cast<SInt32>(SelectedFiles.size());
    const bool unzipping = CurrentIndex >= 0 && CurrentIndex < selected;
    if (!unzipping && StepDone >= StepTotal) {
        InstallSuccess();
        return;
    }
    const RunSerial run = m_run;
    const bool succeeded
        = unzipping ? unzipStep(*SelectedFiles[static_cast<std::size_t>(CurrentIndex)]) : runStep();
    // The host's answer was waited for with events: a check or a cancel may have ended this run meanwhile.
    if (run != m_run) {
        finishMessage(run);
        return;
    }
    ++StepDone;
    ++CurrentIndex;
    if (!succeeded) {
        OperateHasError(kStepFailed);
        return;
    }
    m_progressWindow.SetProgressPercent(percentOf(StepDone, StepTotal));
    if (m_timer)
        (void)SetEventLoopTimerNextFireTime(m_timer, kInstallTickSeconds); // it exists: nothing can fail
}

/// Unpacks a chosen file's archive beside itself; true also when it is none.
bool CUpdateInter::unzipStep(const CFileSec& file) const
{
    const CAction* const action = file.GetActionByType(kUnzipAction);
    if (!action)
        return true;
    const std::u16string_view parent = archiveFolderOf(action->location());
    std::string archive;
    std::string folder;
    // An archive without a folder of its own is unpacked into the working directory: an empty folder is
    // handed on as it is.
    if (!pathFromWide(action->location(), archive) || (!parent.empty() && !pathFromWide(parent, folder)))
        return false;
    return C2C_UnzipFile(archive.c_str(), folder.c_str()) == 1;
}

/// Has the host install the package that the current step stands for; true also when there is none or it was
/// not chosen.
bool CUpdateInter::runStep()
{
    const CFileSec* const file = fileAtRunStep(StepDone - static_cast<SInt32>(SelectedFiles.size()));
    const CAction* const action = file ? file->GetActionByType(kRunAction) : nullptr;
    if (!action || action->location().empty() || action->destination().empty() || !isSelected(*file))
        return true;
    std::string package;
    std::string target;
    // A destination without "/" names no folder: nothing is installed at a guess.
    if (!pathFromWide(action->location(), package)
        || !pathFromWide(packageTargetOf(action->destination()), target))
        return false;
    return CommunicationWithApp(kInstallPackageMessage, package.c_str(), target.c_str());
}

/// The file that run step `step` (from 0) stands for: the products' lists of files to update, one after the
/// other; or null.
CFileSec* CUpdateInter::fileAtRunStep(SInt32 step) const
{
    if (step < 0)
        return nullptr;
    std::size_t index = static_cast<std::size_t>(step);
    for (CPListParse* product = m_collection->GetIni(0); product; product = m_collection->NextIni()) {
        const CXMLInterpret* const interpreter = interpreterOf(product);
        if (!interpreter)
            continue;
        const auto& files = interpreter->filesToUpdate();
        if (index < files.size())
            return files[index].get();
        index -= files.size();
    }
    return nullptr;
}

bool CUpdateInter::isSelected(const CFileSec& file) const
{
    CLumStringW url;
    file.GatherDownloadFullURL(url);
    return std::any_of(SelectedFiles.begin(), SelectedFiles.end(),
        [&](const CFileSec* chosen) { return chosen->IsWebURLInDownload(url.c_str()); });
}
