#include "Update/descriptor/RunAction.h"

#include "Platform/Carbon/EventLoop.h"
#include "Platform/Carbon/FSCatalog.h"
#include "Platform/Carbon/LaunchServices.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"
#include "Update/collect/RunningProcess.h"
#include "Update/descriptor/DeletableFolder.h"
#include "Update/descriptor/ElementReader.h"
#include "Update/descriptor/General.h"
#include "Update/descriptor/LaunchWait.h"
#include "Update/descriptor/SelfUpdateHandOver.h"

namespace {

constexpr EventTimerInterval kRunWaitSeconds = 0.5;
constexpr SInt32 kCloseApplication = 1;

bool launchApplication(const FSSpec& file)
{
    LaunchParamBlockRec block;
    block.launchBlockID = extendedBlock;
    block.launchEPBLength = extendedBlockLen;
    block.launchControlFlags = launchContinue | launchNoFileFlags;
    block.launchAppSpec = &file;
    return LaunchApplication(&block) == noErr;
}

bool isOwnBundle(const FSRef& file)
{
    ProcessSerialNumber process;
    FSRef bundle;
    return GetCurrentProcess(&process) == noErr && GetProcessBundleLocation(&process, &bundle) == noErr
        && FSCompareFSRefs(&bundle, &file) == noErr;
}

/// `delivered`: the application is the file that the update delivered. It may have started itself anew before
/// it ended, and its folder must not be taken away from under it: any process of it counts. This program
/// itself is left out: it would wait for its own end.
void waitUntilEnded(const FSRef& application, bool delivered)
{
    const bool byFile = delivered && !isOwnBundle(application);
    while (isLaunchedRunning(application) || (byFile && ProcessIsRunning(&application) != 0))
        (void)ReceiveNextEvent(kRunWaitSeconds); // whether one came makes no difference
}

} // namespace

CRun::CRun()
    : CAction(kRunAction)
{
}

int CRun::Parse(CFTreeRef tree, const CConstants* constants)
{
    for (const CFTreeRef child : TreeChildren(tree)) {
        const std::optional<KeyElement> element = keyElement(child);
        if (!element)
            continue;
        if (equalIgnoringCase(element->key, u"filetype") && equalIgnoringCase(element->value, u"setup"))
            m_fileType = 0;
        else if (equalIgnoringCase(element->key, u"location")
            && !constants->mapPath(element->value, m_location))
            return 0;
        else if (equalIgnoringCase(element->key, u"wait") && equalIgnoringCase(element->value, u"false"))
            m_wait = 0;
    }
    return 1;
}

void CRun::SetDPath(const UniChar* path)
{
    m_destination = path ? boundedText(path) : CLumStringW();
}

int CRun::DoAction(CGeneral* general, CPListParse*)
{
    FSRef file;
    if (!makeRefFromWidePath(m_location, file))
        return 0;
    const bool isUpdater = general && general->descriptorType == kUpdaterDescriptor;
    if (isUpdater)
        m_wait = 0;
    FSRef folder;
    if (FSGetCatalogInfo(&file, nullptr, &folder) != noErr)
        return 0;
    FSRef application = file;
    const bool delivered = launchApplication(file);
    if (!delivered && !openDocument(file, application))
        return 0;
    if (m_wait == 1) {
        waitUntilEnded(application, delivered);
        deleteFolderUnlessKept(folder);
        return 1;
    }
    if (isUpdater && general->closeApplication == kCloseApplication)
        handOverSelfUpdate(file);
    return 1;
}

bool CRun::openDocument(const FSRef& file, FSRef& application) const
{
    // Where a package goes is known here alone. A destination without "/" names no folder: nothing is
    // installed at a guess.
    const std::u16string_view destination = m_destination;
    const std::size_t slash = destination.rfind(u'/');
    FSRef target;
    const bool hasTarget = slash != std::u16string_view::npos
        && makeRefFromWidePath(slash == 0 ? u"/" : destination.substr(0, slash), target);
    LSLaunchFSRefSpec spec;
    spec.numDocs = 1;
    spec.itemRefs = &file;
    spec.passThruParams = hasTarget ? &target : nullptr;
    spec.launchFlags = kLSLaunchAndDisplayErrors;
    return LSOpenFromRefSpec(&spec, &application) == noErr;
}
