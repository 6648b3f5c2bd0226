#include "Update/descriptor/DeletableFolder.h"

#include "Cocoa2CarbonLib/FSDeleteObjects.h"
#include "Platform/Carbon/Folders.h"
#include "Platform/Carbon/Processes.h"
#include "Platform/Support/Descriptor.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Update/descriptor/MountPoints.h"
#include "Update/descriptor/ProductBundles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kFolderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
/// How far up a folder's real place is followed; what lies deeper is not deleted.
constexpr int kMaxLevels = 4096;

bool isSame(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// True when `folder` is the folder at `path`, or one that its path passes through as it is written.
bool isOnWrittenPath(const struct stat& folder, const std::string& path)
{
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        struct stat status;
        if (::stat(path.substr(0, end).c_str(), &status) == 0 && isSame(status, folder))
            return true;
        if (end == std::string::npos)
            return false;
    }
}

/// True when `folder` is the folder at `path`, or one above its real place; also when that cannot be told.
bool isAtOrAbove(const struct stat& folder, const std::string& path)
{
    Descriptor level(::open(path.c_str(), kFolderFlags));
    if (!level)
        return errno != ENOENT && errno != ENOTDIR; // what is not there cannot be lost
    struct stat status;
    if (::fstat(level.get(), &status) != 0)
        return true;
    for (int i = 0; i < kMaxLevels; ++i) {
        if (isSame(status, folder))
            return true;
        Descriptor parent(::openat(level.get(), "..", kFolderFlags));
        struct stat parentStatus;
        if (!parent || ::fstat(parent.get(), &parentStatus) != 0)
            return true;
        if (isSame(parentStatus, status))
            return false; // "/" is its own parent
        level = std::move(parent);
        status = parentStatus;
    }
    return true;
}

/// True for "/", for the folders directly under it, and when that cannot be told.
bool isNearRoot(int folder, const struct stat& status)
{
    struct stat root;
    struct stat parent;
    return ::stat("/", &root) != 0 || ::fstatat(folder, "..", &parent, 0) != 0 || isSame(status, root)
        || isSame(parent, root);
}

/// True for a folder that another file system, or another folder, is mounted on.
bool isMountPoint(int folder, const struct stat& status)
{
    struct stat parent;
    struct statx extended;
    if (::fstatat(folder, "..", &parent, 0) != 0 || parent.st_dev != status.st_dev)
        return true;
    constexpr int kFlags = AT_EMPTY_PATH | AT_NO_AUTOMOUNT;
    return ::statx(folder, "", kFlags, STATX_BASIC_STATS, &extended) != 0
        || (extended.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

/// An open folder's real path, or the empty text.
std::string realPathOf(int folder)
{
    std::array<char, PATH_MAX> path;
    const ssize_t length
        = ::readlink(("/proc/self/fd/" + std::to_string(folder)).c_str(), path.data(), path.size());
    if (length <= 0 || static_cast<std::size_t>(length) == path.size() || path[0] != '/')
        return {};
    return {path.data(), static_cast<std::size_t>(length)};
}

void addPath(std::vector<std::string>& paths, const char* path)
{
    if (path && *path == '/')
        paths.emplace_back(path);
}

} // namespace

std::vector<std::string> keptFolders()
{
    std::vector<std::string> kept = productBundleFolders();
    addPath(kept, ::getenv("HOME"));
    if (const struct passwd* const user = ::getpwuid(::getuid()))
        addPath(kept, user->pw_dir);
    FSRef folder;
    if (FSFindFolder(kUserDomain, kCachedDataFolderType, kDontCreateFolder, &folder) == noErr)
        kept.push_back(folder.path);
    ProcessSerialNumber process;
    if (GetCurrentProcess(&process) == noErr && GetProcessBundleLocation(&process, &folder) == noErr)
        kept.push_back(folder.path);
    return kept;
}

bool isDeletableFolder(FSRef& folder, const std::vector<std::string>& kept)
{
    const Descriptor opened(::open(folder.path.c_str(), kFolderFlags | O_NOFOLLOW));
    struct stat status;
    if (!opened || ::fstat(opened.get(), &status) != 0 || status.st_dev != folder.device
        || status.st_ino != folder.inode)
        return false;
    const std::string path = realPathOf(opened.get());
    if (path.empty() || isNearRoot(opened.get(), status) || isMountPoint(opened.get(), status)
        || holdsMountPoint(path))
        return false;
    const bool isKept = std::any_of(kept.begin(), kept.end(), [&status](const std::string& keptPath) {
        return isAtOrAbove(status, keptPath) || isOnWrittenPath(status, keptPath);
    });
    if (!isKept)
        folder.path = path;
    return !isKept;
}

void deleteFolderUnlessKept(const FSRef& folder)
{
    FSRef real = folder;
    if (isDeletableFolder(real, keptFolders()))
        (void)FSDeleteObjects(&real); // what cannot be deleted stays, and has told so
}
