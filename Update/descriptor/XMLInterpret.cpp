// Loading a descriptor, and the order in which its blocks are read.
#include "Update/descriptor/XMLInterpret.h"

#include "Update/collect/XMLDocument.h"
#include "Update/descriptor/ElementReader.h"
#include "Update/download/DescriptorFetch.h"

CXMLInterpret::CXMLInterpret(OpacLumFSRef* file)
{
    const XMLDocument document = readXMLDocument(file, kMaxDescriptorBytes);
    m_xmlTree = document.tree;
    m_descriptorBytes = document.bytes;
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
