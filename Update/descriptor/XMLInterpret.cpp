// Loading a descriptor, and the order in which its blocks are read.
#include "Update/descriptor/XMLInterpret.h"

#include "Update/descriptor/ElementReader.h"

#include <vector>

namespace {

/// The whole file's bytes, or nothing when it is empty, too large or cannot be read.
std::vector<UInt8> readDescriptor(OpacLumFSRef* ref)
{
    std::vector<UInt8> bytes;
    const SInt16 file = LumFileOpenExt(ref, kLumFileOpenRead);
    if (file == -1)
        return bytes;
    const SInt64 size = LumFileGetFileSizeExt(file);
    if (size > 0 && size <= kMaxDescriptorBytes) {
        bytes.resize(static_cast<std::size_t>(size));
        if (LumFileReadExt(file, bytes.data(), size) != size)
            bytes.clear();
    }
    (void)LumFileCloseExt(file); // it was only read
    return bytes;
}

} // namespace

CXMLInterpret::CXMLInterpret(OpacLumFSRef* file)
{
    const std::vector<UInt8> bytes = file ? readDescriptor(file) : std::vector<UInt8>();
    if (bytes.empty())
        return;
    m_descriptorBytes = static_cast<SInt64>(bytes.size());
    const CFRef data
        = adoptCF(CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
    if (data)
        m_xmlTree = adoptCF(CFXMLTreeCreateFromData(
            kCFAllocatorDefault, data, nullptr, kCFXMLParserSkipWhitespace, kCFXMLNodeCurrentVersion));
}

CXMLInterpret::~CXMLInterpret() = default;

bool CXMLInterpret::ParseFile(
    const UniChar* productName, const UniChar* productVersion, const UniChar* appPath, const UniChar* siteUrl)
{
    if (!m_xmlTree || !InitFixedConst(appPath))
        return false;
    const CFTreeRef root = findRoot();
    if (!root)
        return false;
    m_status = 1;
    m_gathered = 0;
    m_bundle.reset();
    FSRef bundle;
    if (appPath && makeRefFromWidePath(appPath, bundle))
        m_bundle = bundle;
    if (!readSettings(root) || !readDependencies(root) || !readFiles(root, siteUrl) || !readSections(root))
        return false;
    releaseInstalled(productName, productVersion);
    return !m_files.items().empty();
}

/// Null when the document has no such element at its top level.
CFTreeRef CXMLInterpret::findRoot() const
{
    for (const CFTreeRef child : TreeChildren(m_xmlTree))
        if (isElement(child) && isNamed(child, u"UPDATEINFO"))
            return child;
    return nullptr;
}

/// Reads what everything else may use, as it comes: a general section sees only the constants before it.
bool CXMLInterpret::readSettings(CFTreeRef root)
{
    for (const CFTreeRef child : TreeChildren(root)) {
        if (isNamed(child, u"CONSTANTS") && m_constants.ParseConstants(child) == 0)
            return false;
        if (isNamed(child, u"GENERAL") && m_general.Parse(child, &m_constants) == 0)
            return false;
    }
    return true;
}

bool CXMLInterpret::readDependencies(CFTreeRef root)
{
    for (const CFTreeRef child : TreeChildren(root)) {
        if (!isNamed(child, u"DEPENDENCIES"))
            continue;
        m_status = 0;
        const bool met = m_dependencies.ParseDependencies(child, &m_constants) != 0 && CaclDependencyUpdate();
        m_dependencies.ReleaseAllDpcy();
        if (!met)
            return false;
        m_status = 1;
    }
    return true;
}

bool CXMLInterpret::readFiles(CFTreeRef root, const UniChar* siteUrl)
{
    for (const CFTreeRef child : TreeChildren(root))
        if (isNamed(child, u"FILES")
            && m_files.ParseFiles(child, &m_constants, m_general.descriptorType, siteUrl) == 0)
            return false;
    return true;
}

bool CXMLInterpret::readSections(CFTreeRef root)
{
    for (const CFTreeRef child : TreeChildren(root)) {
        if (!isNamed(child, u"SECTIONS"))
            continue;
        if (m_sects.ParseSects(child, &m_constants) == 0)
            return false;
        CalcSectionUpdate();
        m_sects.ReleaseAllSect();
    }
    return true;
}

/// Drops what is not newer than the installed product: all files, or only the product's own when other
/// bundles gave some.
void CXMLInterpret::releaseInstalled(const UniChar* productName, const UniChar* productVersion)
{
    if (CompNameAndVersion(productName, productVersion, 0) == 1)
        return;
    if (m_gathered == 0)
        m_files.ReleaseFileByName(nullptr);
    else
        m_files.releaseNamed(productName); // of a product without a name, too: the others stay
}
