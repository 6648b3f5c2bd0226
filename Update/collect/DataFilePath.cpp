#include "Update/collect/DataFilePath.h"

#include "Platform/Carbon/FSCatalog.h"
#include "Platform/Carbon/Folders.h"
#include "Platform/Support/ErrorNumbers.h"

#include <cstring>
#include <string_view>

namespace {

constexpr UInt32 kFolderMode = 0755;

/// Replaces `folder` by its child folder, which is made when it is missing. The length that the calls are
/// given counts the name's terminating zero: so every reader and writer of these folders has always asked.
bool enterFolder(FSRef& folder, const UniChar* name)
{
    const auto length = static_cast<UInt32>(std::u16string_view(name).size() + 1);
    FSRef child;
    OSStatus error = FSMakeFSRefUnicode(&folder, length, name, &child);
    if (error == fnfErr)
        error = FSCreateDirectoryUnicode(&folder, length, name, kFolderMode, &child);
    FSCatalogInfo info;
    if (error != noErr || FSGetCatalogInfo(&child, &info, nullptr) != noErr
        || (info.nodeFlags & kFSNodeIsDirectoryMask) == 0)
        return false;
    folder = child;
    return true;
}

} // namespace

int GetDataFilePathAtAppSupportFloder(SInt16 domain, UInt8* path, const UInt8* name)
{
    FSRef folder;
    if (!path || !name
        || FSFindFolder(static_cast<FSDomain>(domain), kApplicationSupportFolderType, kCreateFolder, &folder)
            != noErr)
        return 0;
    if (!enterFolder(folder, u"Velmora") || !enterFolder(folder, u"Tandem Service"))
        return 0;
    if (FSRefMakePath(&folder, path, kDataFilePathBytes) != noErr)
        return 0;
    char* const text = reinterpret_cast<char*>(path);
    const char* const nameText = reinterpret_cast<const char*>(name);
    const std::size_t length = std::strlen(text);
    if (length + 1 + std::strlen(nameText) >= kDataFilePathBytes)
        return 0;
    text[length] = '/';
    std::strcpy(text + length + 1, nameText);
    return 1;
}
