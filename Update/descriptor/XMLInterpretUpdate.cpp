// The update computation: following sections and dependencies into other bundles' descriptors.
#include "Update/descriptor/XMLInterpret.h"

#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"
#include "Update/collect/AppIni.h"
#include "Update/download/DescriptorFetch.h"

namespace {

/// The record's download base without the 2 KB buffer that it comes in: that buffer would stay in the frame
/// of every level of a chain if this were inlined.
[[gnu::noinline]] CLumStringW downloadBaseOf(const CPListParse& plist)
{
    return CLumStringW(plist.downloadBase().view());
}

} // namespace

int CXMLInterpret::CompNameAndVersion(const UniChar* name, const UniChar* versionText, int stopAtFirst) const
{
    if (!name || !versionText)
        return -1;
    UniText<256> scratch(versionText);
    Version asked {};
    (void)CheckVersionSupport(asked.data(), scratch.data()); // always 1
    int result = -1;
    for (const std::unique_ptr<CFileSec>& file : m_files.items()) {
        if (!file || lum_wcscmpi(file->name().c_str(), name) != 0)
            continue;
        result = CompareVerion(file->version().data(), asked.data());
        if (result == 1 || (result == 0 && stopAtFirst != 0))
            break;
    }
    return result;
}

void CXMLInterpret::CalcSectionUpdate()
{
    for (const std::unique_ptr<CSect>& sect : m_sects.items()) {
        FSRef bundle;
        if (makeRefFromWidePath(sect->location, bundle))
            (void)followBundle(bundle, sect->version); // a section that cannot be followed is just left out
    }
}

bool CXMLInterpret::CaclDependencyUpdate()
{
    for (const std::unique_ptr<CDependency>& dependency : m_dependencies.items()) {
        FSRef bundle;
        if (!makeRefFromWidePath(dependency->location, bundle))
            return false;
        const SInt32 result = followBundle(bundle, dependency->version);
        if (result != noErr && result != fnfErr)
            return false;
    }
    return true;
}

/// What DownloadAndGatherUpdate returns, or dirNFErr when the property list of a bundle that may be followed
/// cannot be read.
SInt32 CXMLInterpret::followBundle(const FSRef& bundle, const Version& requiredVersion)
{
    // Looked at before the property list is read: a descriptor can name one bundle some 500,000 times.
    if (!mayFollow(&bundle))
        return noErr;
    // On the heap, being some 9 KB: a chain of 100 levels must fit a small stack.
    const auto plist = std::make_unique<CAppIni>();
    const CFRef url = adoptCF(CFURLCreateFromFSRef(kCFAllocatorDefault, &bundle));
    if (!url || plist->Parse(url) == 0)
        return dirNFErr;
    return DownloadAndGatherUpdate(plist.get(), requiredVersion.data());
}

SInt32 CXMLInterpret::DownloadAndGatherUpdate(CPListParse* plist, const SInt32* requiredVersion)
{
    FSRef folder;
    if (!mayFollow(plist->bundleURL() && CFURLGetFSRef(plist->bundleURL(), &folder) ? &folder : nullptr))
        return noErr;
    topOfChain().m_followedBytes += kFollowedBundleBytes; // a fetch that fails costs time as well
    const CLumStringW base = downloadBaseOf(*plist);
    const SInt32 fetched
        = DownloadXMLFile2Loacl(base.c_str(), plist->xmlFileName().c_str(), plist->getSerTimeout());
    if (fetched != noErr)
        return fetched;

    const CLumStringW bundlePath = bundlePathOf(*plist);
    LumFSRefOwner file(CreateXMLFileRef(plist->xmlFileName().c_str()));
    const auto child = std::make_unique<CXMLInterpret>(file.get());
    file.reset();
    child->m_tempSubFolder = m_tempSubFolder;
    child->m_parent = this;
    topOfChain().m_followedBytes += child->m_descriptorBytes;
    child->m_constants.setUnitsLeft(m_constants.unitsLeft());
    const bool hasFiles = child->ParseFile(
        plist->productName().c_str(), plist->version().c_str(), bundlePath.c_str(), base.c_str());
    m_constants.setUnitsLeft(child->m_constants.unitsLeft());
    if (!hasFiles)
        return noErr;
    const int offered
        = child->CompNameAndVersion(plist->productName().c_str(), versionText(requiredVersion).c_str(), 1);
    if (offered == 0 || offered == 1)
        takeOverFiles(*child);
    return noErr;
}

/// False for a bundle that is already being interpreted on this chain, and at the limits: what is cut there
/// gathers nothing. `bundle` is null for one without a folder.
bool CXMLInterpret::mayFollow(const FSRef* bundle) const
{
    int levels = 0;
    const CXMLInterpret* top = this;
    for (const CXMLInterpret* level = this; level; level = level->m_parent) {
        ++levels;
        top = level;
        if (bundle && level->m_bundle && FSCompareFSRefs(bundle, &*level->m_bundle) == noErr)
            return false;
    }
    return levels < kMaxChainLevels && top->m_followedBytes < kMaxFollowedBytes
        && m_files.items().size() < kMaxGatheredFiles;
}

/// The bundle's folder, or what "%app%" means here when the record has none; empty when the path does not
/// fit.
CLumStringW CXMLInterpret::bundlePathOf(const CPListParse& plist) const
{
    if (!plist.bundleURL())
        return m_constants.mappedPath(u"%app%");
    std::u16string path;
    (void)wideFromPath(plist.bundlePath(), path); // leaves it empty on failure
    return CLumStringW(path);
}

void CXMLInterpret::takeOverFiles(CXMLInterpret& child)
{
    for (std::unique_ptr<CFileSec>& file : child.m_files.takeAll()) {
        if (!file)
            continue;
        if (file->ownerCode() == kSectionDescriptor && isBelowCommonDescriptor())
            file->setMark();
        m_files.AddItem(std::move(file));
        m_gathered = 1;
    }
}

/// True when this descriptor, or one above it on the chain, is of the type "common".
bool CXMLInterpret::isBelowCommonDescriptor() const
{
    for (const CXMLInterpret* level = this; level; level = level->m_parent)
        if (level->m_general.descriptorType == kCommonDescriptor)
            return true;
    return false;
}

CXMLInterpret& CXMLInterpret::topOfChain()
{
    CXMLInterpret* level = this;
    while (level->m_parent)
        level = level->m_parent;
    return *level;
}
