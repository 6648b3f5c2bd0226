#include "Platform/Carbon/Folders.h"

#include "Platform/Carbon/FSRefInternal.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <pwd.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr mode_t kUserFolderMode = 0700;
constexpr mode_t kLocalFolderMode = 0755;
constexpr UInt32 kMaxNameUnits = 255;
constexpr std::size_t kMaxNameBytes = 255;

/// A variable's value, or the empty text when it is unset or holds no absolute path.
std::string absoluteVariable(const char* name)
{
    const char* const value = std::getenv(name);
    return value && value[0] == '/' ? value : "";
}

std::string homeFolder()
{
    const std::string home = absoluteVariable("HOME");
    if (!home.empty())
        return home;
    const struct passwd* const user = ::getpwuid(::getuid());
    return user && user->pw_dir ? user->pw_dir : "";
}

std::string userCachesFolder()
{
    const std::string caches = absoluteVariable("XDG_CACHE_HOME");
    if (!caches.empty())
        return caches;
    const std::string home = homeFolder();
    return home.empty() ? "" : home + "/.cache";
}

/// The place of a standard folder; empty for a pair that does not exist.
std::string standardFolder(FSDomain domain, FSFolderType folderType)
{
    if (domain == kUserDomain && folderType == kCachedDataFolderType)
        return userCachesFolder();
    if (domain == kLocalDomain && folderType == kFrameworksFolderType)
        return localDomainRoot() + "/Library/Frameworks";
    if (domain == kLocalDomain && folderType == kApplicationSupportFolderType)
        return localDomainRoot() + "/Library/Application Support";
    return "";
}

/// Makes what is missing of the absolute `path`. Whether a folder stands at its end is left to the caller's
/// look-up.
OSStatus makeFolders(const std::string& path, mode_t mode)
{
    struct stat status;
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string upToHere = path.substr(0, end);
        // Asked first: on a volume that may not be written, mkdir reports that even for a folder that exists.
        if (::stat(upToHere.c_str(), &status) != 0 && ::mkdir(upToHere.c_str(), mode) != 0 && errno != EEXIST)
            return errorFromErrno(errno);
        if (end == std::string::npos)
            return noErr;
    }
}

OSStatus nameFromUnits(UInt32 length, const UniChar* units, std::string& name)
{
    if (!units)
        return paramErr;
    if (length > 0 && length <= kMaxNameUnits + 1 && units[length - 1] == u'\0')
        --length;
    if (length > kMaxNameUnits)
        return errFSNameTooLong;
    if (!pathFromWide({units, length}, name, kMaxNameUnits * 3))
        return bdNamErr;
    if (name == "." || name == ".." || name.find('/') != std::string::npos)
        return bdNamErr;
    return name.size() <= kMaxNameBytes ? noErr : errFSNameTooLong;
}

/// The status of the child `name` of an open folder; permErr for a symbolic link.
OSStatus childStatus(const Descriptor& folder, const std::string& name, struct stat& status)
{
    if (::fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errorFromErrno(errno);
    return S_ISLNK(status.st_mode) ? permErr : noErr;
}

} // namespace

std::string localDomainRoot()
{
    const char* const value = std::getenv("VELMORA_ROOT");
    std::string root = value ? value : "";
    if (!root.empty() && root.front() != '/') {
        std::error_code error;
        root = (std::filesystem::current_path(error) / root).string();
    }
    while (!root.empty() && root.back() == '/')
        root.pop_back();
    return root;
}

OSStatus FSFindFolder(FSDomain domain, FSFolderType folderType, Boolean createFolder, FSRef* folder)
{
    const std::string path = standardFolder(domain, folderType);
    if (path.empty() || !folder)
        return paramErr;
    if (createFolder) {
        const OSStatus error = makeFolders(path, domain == kUserDomain ? kUserFolderMode : kLocalFolderMode);
        if (error != noErr)
            return error;
    }
    FSRef found;
    Boolean isDirectory = false;
    const OSStatus error = FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &found, &isDirectory);
    if (error != noErr)
        return error;
    if (!isDirectory)
        return dirNFErr;
    *folder = std::move(found);
    return noErr;
}

OSStatus FSMakeFSRefUnicode(const FSRef* parent, UInt32 nameLength, const UniChar* name, FSRef* child)
{
    if (!parent || !child)
        return paramErr;
    std::string childName;
    OSStatus error = nameFromUnits(nameLength, name, childName);
    Descriptor folder;
    if (error == noErr)
        error = openReferencedFolder(*parent, folder);
    struct stat status { };
    if (error == noErr)
        error = childStatus(folder, childName, status);
    if (error == noErr)
        *child = refFromStatus(status, childPath(parent->path, childName));
    return error;
}

OSStatus FSCreateDirectoryUnicode(
    const FSRef* parent, UInt32 nameLength, const UniChar* name, UInt32 mode, FSRef* newFolder)
{
    if (!parent || !newFolder)
        return paramErr;
    std::string childName;
    OSStatus error = nameFromUnits(nameLength, name, childName);
    Descriptor folder;
    if (error == noErr)
        error = openReferencedFolder(*parent, folder);
    if (error != noErr)
        return error;
    if (::mkdirat(folder.get(), childName.c_str(), mode) != 0)
        return errorFromErrno(errno);
    struct stat status { };
    error = childStatus(folder, childName, status);
    if (error == noErr)
        *newFolder = refFromStatus(status, childPath(parent->path, childName));
    return error;
}

OSStatus FlushVol(const void* volumeName, SInt16 volumeNumber)
{
    VELMORA_ASSERT(volumeName == nullptr && volumeNumber == 0);
    FSRef caches;
    const OSStatus error = FSFindFolder(kUserDomain, kCachedDataFolderType, kDontCreateFolder, &caches);
    if (error != noErr)
        return error;
    const Descriptor folder(::open(caches.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder || ::syncfs(folder.get()) != 0)
        return errorFromErrno(errno);
    return noErr;
}
