// The plug-in object's start and end, and what it needs of its host.
#include "Update/UpdateInter.h"

#include "Cocoa2CarbonLib/FSDeleteObjects.h"
#include "Platform/Carbon/Folders.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Update/descriptor/XMLInterpret.h"
#include "Update/ui/PluginResources.h"

namespace {

constexpr std::u16string_view kHostIdentifier = u"com.velmora.Daemon";
constexpr char kHostBundlePath[] = "/Library/Application Support/Velmora/Tandem Service/TandemService.app";
constexpr std::u16string_view kTextsDocument = u"VelTanRes.aui";
constexpr SInt32 kWorkFolder = 0;
constexpr SInt32 kDescriptorFolder = 1;

/// The host's bundle: the one that is registered, or else the installed one.
CFRef<CFBundleRef> hostBundle()
{
    const CFRef identifier = adoptCF(CFStringCreateWithView(kHostIdentifier));
    if (const CFBundleRef registered = CFBundleGetBundleWithIdentifier(identifier))
        return retainCF(registered);
    const std::string path = localDomainRoot() + kHostBundlePath;
    const CFRef folder = adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), 1));
    return folder ? adoptCF(CFBundleCreate(kCFAllocatorDefault, folder)) : nullptr;
}

} // namespace

CUpdateInter::CUpdateInter()
    : m_productsWindow(*this)
{
}

CUpdateInter::~CUpdateInter()
{
    removeTimer();
    if (m_timerUPP)
        DisposeEventLoopTimerUPP(m_timerUPP);
    FreeCollectAndSelfData();
    m_container = nullptr;
}

bool CUpdateInter::attach(IMsgPluginContainer* container)
{
    if (!m_cleanupDone) {
        clearFixedFolder(kWorkFolder);
        clearFixedFolder(kDescriptorFolder);
        m_cleanupDone = 1;
    }
    const CFRef host = hostBundle();
    if (!host || !container)
        return false;
    const CFRef name = adoptCF(CFStringCreateWithView(u"VelTanRes"));
    const CFRef type = adoptCF(CFStringCreateWithView(u"UI"));
    const CFRef url = adoptCF(container->CopyResourceURL(host, name, type));
    FSSpec folder;
    if (!url || !CFURLGetFSRef(url, &folder))
        return false;
    if (!m_fileManager) {
        auto files = std::make_unique<PubLumen::LumFileManager>();
        if (!files->OpenFolder(folder))
            return false;
        // The windows' layouts lie in the plug-in's own bundle.
        const CFRef layouts = pluginResourcesFolder();
        FSSpec layoutFolder;
        if (layouts && CFURLGetFSRef(layouts, &layoutFolder))
            (void)files->AddFolder(layoutFolder); // a window without its layout shows without content
        m_fileManager = std::move(files);
    }
    SetContainer(container);
    return true;
}

/// Deletes what earlier runs left in a fixed folder; failures only leave old files behind.
void CUpdateInter::clearFixedFolder(SInt32 selector)
{
    const CLumStringW path = CXMLInterpret::CreateFixedDir(nullptr, selector);
    FSRef folder;
    if (makeRefFromWidePath(path, folder))
        (void)FSDeleteObjects(&folder); // what cannot be deleted is replaced when it is written again
}

void CUpdateInter::SetContainer(IMsgPluginContainer* container)
{
    m_container = container;
}

SInt32 CUpdateInter::CanShowNow(IUserMsg*)
{
    if (!m_collection)
        (void)GenerateMsg(nullptr); // without a collection afterwards the check could not run
    if (!m_collection)
        return -1;
    return m_collection->count() > 0 ? 0 : -1;
}

bool CUpdateInter::openTexts(PubLumen::LumDocument& texts) const
{
    return m_fileManager && texts.Open(*m_fileManager, kTextsDocument);
}

void CUpdateInter::endMsgProcess()
{
    if (m_container)
        m_container->EndMsgProcess(kProviderId, nullptr, 1, 0, 0);
}
