// The two fixed folders in the user's caches folder that updates work in.
#include "Update/helper/FixedFolders.h"

#include "Platform/Carbon/Folders.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFURL.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"
#include "Update/helper/MoreSecurity.h"

#include <array>
#include <string>

namespace {

constexpr UInt32 kFolderMode = 0700;
constexpr UInt32 kMaxSubFolderPathBytes = 2048; ///< with the terminating zero

/// The path of the fixed folder itself, made when missing; empty on a failure.
CLumStringW cacheFolder(SInt32 selector)
{
    const CFRef name = adoptCF(CFStringCreateWithView(
        selector == kWorkFolder ? u"VelmoraTandemUpdater" : u"com.Velmora.Tandem.XMLFile"));
    const CFRef noTool = adoptCF(CFStringCreateWithView(u""));
    CFURLRef folderURL = nullptr;
    const int error = MoreSecCopyHelperToolURL(
        kUserDomain, kCachedDataFolderType, name, noTool, kCreateFolder, &folderURL);
    const CFRef url = adoptCF(folderURL);
    if (error != 0)
        return {};
    const CFRef path = adoptCF(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle));
    return path ? CLumStringW(CFStringGetView(path)) : CLumStringW();
}

CLumStringW childFolder(const FSRef& parent, std::u16string_view name)
{
    const UInt32 length = static_cast<UInt32>(name.size());
    FSRef child;
    OSStatus error = FSMakeFSRefUnicode(&parent, length, name.data(), &child);
    if (error == fnfErr)
        error = FSCreateDirectoryUnicode(&parent, length, name.data(), kFolderMode, &child);
    std::array<UInt8, kMaxSubFolderPathBytes> bytes {};
    if (error != noErr || FSRefMakePath(&child, bytes.data(), kMaxSubFolderPathBytes) != noErr)
        return {};
    // Something else than a folder may stand there.
    Boolean isFolder = 0;
    std::u16string path;
    if (FSPathMakeRef(bytes.data(), &child, &isFolder) != noErr || !isFolder)
        return {};
    if (!wideFromPath(reinterpret_cast<const char*>(bytes.data()), path))
        return {};
    return CLumStringW(path);
}

} // namespace

CLumStringW createFixedFolder(const UniChar* subFolder, SInt32 selector)
{
    const CLumStringW path = cacheFolder(selector);
    FSRef folder;
    if (path.size() > kMaxPathBytes || !makeRefFromWidePath(path, folder))
        return {};
    if (!subFolder || !*subFolder)
        return path;
    return childFolder(folder, subFolder);
}
