// The fixed folders in the user's caches folder, and the constants that name folders.
#include "Update/descriptor/XMLInterpret.h"

#include "Cocoa2CarbonLib/FSDeleteObjects.h"
#include "Platform/Carbon/Folders.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"
#include "Update/helper/FixedFolders.h"

#include <array>

namespace {

/// Adds a constant for a folder; false, and nothing added, when the path does not fit.
bool addFolder(CConstants& constants, std::u16string_view name, std::u16string_view path)
{
    tagStrCon item;
    if (!item.name.assign(name) || !item.value.assign(path))
        return false;
    constants.AddItem(item);
    return true;
}

/// The local domain's frameworks folder, or empty when there is none.
std::u16string frameworksFolder()
{
    std::u16string path;
    FSRef folder;
    std::array<UInt8, kMaxPathBytes + 1> bytes {};
    if (FSFindFolder(kLocalDomain, kFrameworksFolderType, kDontCreateFolder, &folder) == noErr
        && FSRefMakePath(&folder, bytes.data(), bytes.size()) == noErr)
        (void)wideFromPath(reinterpret_cast<const char*>(bytes.data()), path); // leaves it empty on failure
    return path;
}

/// The folder `path` itself; a symbolic link in its place is not followed. `levels` says how many of its last
/// components that holds for.
bool findFolderWithoutLink(std::u16string_view path, int levels, FSRef& folder)
{
    if (levels == 0)
        return makeRefFromWidePath(path, folder);
    const std::size_t slash = path.rfind(u'/');
    FSRef parent;
    if (slash == std::u16string_view::npos
        || !findFolderWithoutLink(path.substr(0, slash), levels - 1, parent))
        return false;
    const std::u16string_view name = path.substr(slash + 1);
    return FSMakeFSRefUnicode(&parent, static_cast<UInt32>(name.size()), name.data(), &folder) == noErr;
}

} // namespace

bool CXMLInterpret::InitFixedConst(const UniChar* appPath)
{
    m_tempDir = CreateFixedDir(m_tempSubFolder.c_str(), 0);
    if (m_tempDir.empty())
        return false;
    // What cannot be deleted now is found, and refused or used, by RealCreateDir.
    (void)ClearAllFileInFixedDir();
    if (!addFolder(m_constants, u"%updatertemp%", m_tempDir))
        return false;

    const std::u16string frameworks = frameworksFolder();
    if (!frameworks.empty())
        (void)addFolder(m_constants, u"%VelCommon%", frameworks); // it fits: its length was limited
    if (!appPath || *appPath == u'\0')
        return true;
    // Three names, one path: that is meant. A path that does not fit leaves them undefined.
    for (const std::u16string_view name : {u"%app%", u"%bundle%", u"%framework%"})
        (void)addFolder(m_constants, name, appPath);
    return true;
}

CLumStringW CXMLInterpret::CreateFixedDir(const UniChar* subFolder, SInt32 selector)
{
    return createFixedFolder(subFolder, selector);
}

bool CXMLInterpret::RealCreateDir()
{
    FSRef folder;
    if (findWorkFolder(folder))
        return true;
    m_tempDir = CreateFixedDir(m_tempSubFolder.c_str(), 0);
    return !m_tempDir.empty();
}

bool CXMLInterpret::ClearAllFileInFixedDir()
{
    FSRef folder;
    return findWorkFolder(folder) && FSDeleteObjects(&folder) == noErr;
}

bool CXMLInterpret::findWorkFolder(FSRef& folder) const
{
    return !m_tempDir.empty() && findFolderWithoutLink(m_tempDir, m_tempSubFolder.empty() ? 1 : 2, folder);
}
