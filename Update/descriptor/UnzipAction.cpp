#include "Update/descriptor/UnzipAction.h"

#include "Platform/Carbon/EventLoop.h"
#include "Platform/Carbon/LaunchServices.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"
#include "Update/descriptor/ElementReader.h"
#include "Update/descriptor/ExpandedFolders.h"
#include "Update/descriptor/LaunchWait.h"

namespace {

constexpr UInt32 kOpenArchiveFlags = kLSLaunchNewInstance | kLSLaunchNoParams | kLSLaunchDontAddToRecents;
constexpr EventTimerInterval kLastWaitSeconds = 0.001;

} // namespace

CUnzip::CUnzip()
    : CAction(kUnzipAction)
{
}

int CUnzip::Parse(CFTreeRef tree, const CConstants* constants)
{
    for (const CFTreeRef child : TreeChildren(tree)) {
        const std::optional<KeyElement> element = keyElement(child);
        if (!element)
            continue;
        if (equalIgnoringCase(element->key, u"destination")
            && !constants->mapPath(element->value, m_destination))
            return 0;
        if (equalIgnoringCase(element->key, u"location") && !constants->mapPath(element->value, m_location))
            return 0;
    }
    return 1;
}

void CUnzip::AddFSRef(const FSRef* ref)
{
    if (ref)
        m_archives.push_back(*ref);
}

int CUnzip::DoAction(CGeneral*, CPListParse*)
{
    FSRef archive;
    if (makeRefFromWidePath(m_location, archive))
        AddFSRef(&archive);
    return DoVecFSRefAction() ? 1 : 0;
}

bool CUnzip::DoVecFSRefAction() const
{
    if (m_archives.empty())
        return false;
    FSRef application;
    for (const FSRef& archive : m_archives) {
        LSLaunchFSRefSpec spec;
        spec.numDocs = 1;
        spec.itemRefs = &archive;
        spec.launchFlags = kOpenArchiveFlags;
        if (LSOpenFromRefSpec(&spec, &application) != noErr)
            return false;
        waitForLaunchTicks(application);
    }
    while (isLaunchedRunning(application))
        (void)ReceiveNextEvent(kLastWaitSeconds); // whether one came makes no difference
    return holdExpandedItems(countArchivesByFolder(m_archives));
}
