#include "Platform/Carbon/FSItem.h"

#include "Platform/Carbon/FSCatalogInternal.h"
#include "Platform/Carbon/FSRefInternal.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
constexpr int kLookUpFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr int kItemFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr UInt32 kModeBits = 07777;
constexpr std::size_t kMaxNameUnits = 255;
constexpr std::size_t kMaxNameBytes = 255;
/// Far above what a path may hold: a folder chain that somebody keeps lengthening ends.
constexpr int kMaxFoldersAbove = 1'000'000;

struct StreamCloser {
    void operator()(DIR* stream) const
    {
        (void)::closedir(stream); // it was only read from
    }
};

ItemKind kindOf(const struct statx& status)
{
    if (S_ISREG(status.stx_mode))
        return ItemKind::kFile;
    if (S_ISDIR(status.stx_mode))
        return ItemKind::kFolder;
    return S_ISLNK(status.stx_mode) ? ItemKind::kLink : ItemKind::kOther;
}

OSStatus describe(int folder, const char* name, int flags, ItemInfo& info)
{
    struct statx status;
    if (::statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | flags, STATX_BASIC_STATS, &status) != 0)
        return errorFromErrno(errno);
    info.kind = kindOf(status);
    info.device = makedev(status.stx_dev_major, status.stx_dev_minor);
    info.inode = status.stx_ino;
    info.nodeFlags = catalogNodeFlags(status);
    info.mode = status.stx_mode & kModeBits;
    info.owner = status.stx_uid;
    info.group = status.stx_gid;
    info.links = status.stx_nlink;
    info.isMountPoint = catalogIsMountPoint(status);
    info.accessed = {status.stx_atime.tv_sec, status.stx_atime.tv_nsec};
    info.modified = {status.stx_mtime.tv_sec, status.stx_mtime.tv_nsec};
    return noErr;
}

} // namespace

bool isSameItem(const ItemInfo& a, const ItemInfo& b)
{
    return a.device == b.device && a.inode == b.inode;
}

FSRef refToItem(const ItemInfo& info, const std::string& folderPath, const std::string& name)
{
    return {info.device, info.inode, childPath(folderPath, name)};
}

OSStatus openFolderOfRef(const FSRef& ref, Descriptor& folder)
{
    return openReferencedFolder(ref, folder);
}

OSStatus openPlaceOfRef(const FSRef& ref, ItemPlace& place)
{
    const std::size_t slash = ref.path.rfind('/');
    if (slash == std::string::npos)
        return paramErr;
    place.name = ref.path.substr(slash + 1);
    if (place.name.empty() || place.name == "..")
        return paramErr;
    place.folderPath = slash == 0 ? "/" : ref.path.substr(0, slash);
    place.folder.reset(::open(place.folderPath.c_str(), kLookUpFlags));
    return place.folder ? noErr : errorFromErrno(errno);
}

std::string currentPath(int folder, const std::string& formerPath)
{
    struct stat status;
    struct stat found;
    const bool leadsThere = ::fstat(folder, &status) == 0 && ::stat(formerPath.c_str(), &found) == 0
        && status.st_dev == found.st_dev && status.st_ino == found.st_ino;
    std::string path;
    const std::string self = "/proc/self/fd/" + std::to_string(folder);
    return leadsThere || linkTarget(AT_FDCWD, self, path) != noErr ? formerPath : path;
}

OSStatus itemInfo(int folder, const std::string& name, ItemInfo& info)
{
    return describe(folder, name.c_str(), 0, info);
}

OSStatus openItemInfo(int item, ItemInfo& info)
{
    return describe(item, "", AT_EMPTY_PATH, info);
}

OSStatus openItem(int folder, const std::string& name, Descriptor& item, ItemInfo& info)
{
    ItemInfo found;
    OSStatus error = itemInfo(folder, name, found);
    // Opening a device or a pipe would already do something to it.
    if (error == noErr && found.kind != ItemKind::kFile && found.kind != ItemKind::kFolder)
        error = notAFileErr;
    if (error != noErr)
        return error;
    Descriptor opened(::openat(folder, name.c_str(), kItemFlags));
    if (!opened && errno == ELOOP)
        return errFSBadFSRef;
    if (!opened)
        return errno == EWOULDBLOCK ? fBsyErr : errorFromErrno(errno);
    error = openItemInfo(opened.get(), info);
    if (error == noErr && !isSameItem(info, found))
        error = errFSBadFSRef;
    if (error == noErr)
        item = std::move(opened);
    return error;
}

OSStatus linkTarget(int folder, const std::string& name, std::string& target)
{
    target.resize(PATH_MAX);
    const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size());
    if (length < 0)
        return errno == EINVAL ? errFSBadFSRef : errorFromErrno(errno);
    if (static_cast<std::size_t>(length) == target.size())
        return errFSNameTooLong;
    target.resize(static_cast<std::size_t>(length));
    return noErr;
}

OSStatus openFolderAbove(int folder, const ItemInfo& expected, Descriptor& above)
{
    Descriptor opened(::openat(folder, "..", kFolderFlags));
    if (!opened)
        return errorFromErrno(errno);
    ItemInfo info;
    const OSStatus error = openItemInfo(opened.get(), info);
    if (error != noErr)
        return error;
    if (!isSameItem(info, expected))
        return errFSBadFSRef;
    above = std::move(opened);
    return noErr;
}

OSStatus folderLiesInside(int folder, const ItemInfo& container, bool& inside)
{
    inside = false;
    Descriptor current(::openat(folder, ".", kLookUpFlags));
    ItemInfo below;
    for (int i = 0; i < kMaxFoldersAbove; ++i) {
        ItemInfo info;
        const OSStatus error = current ? openItemInfo(current.get(), info) : errorFromErrno(errno);
        if (error != noErr)
            return error;
        inside = isSameItem(info, container);
        const bool isRoot = i > 0 && isSameItem(info, below);
        if (inside || isRoot)
            return noErr;
        below = info;
        current = Descriptor(::openat(current.get(), "..", kLookUpFlags));
    }
    return errFSBadFSRef;
}

OSStatus childNames(int folder, std::vector<std::string>& names)
{
    names.clear();
    Descriptor copy(::fcntl(folder, F_DUPFD_CLOEXEC, 0)); // opening "." would need the right to search
    if (!copy)
        return errorFromErrno(errno);
    const std::unique_ptr<DIR, StreamCloser> stream(::fdopendir(copy.get()));
    if (!stream)
        return errorFromErrno(errno);
    (void)copy.release(); // now the stream's
    ::rewinddir(stream.get());
    for (;;) {
        errno = 0;
        const struct dirent* const entry = ::readdir(stream.get());
        if (!entry)
            return errorFromErrno(errno);
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            names.emplace_back(entry->d_name);
    }
}

bool isDropBoxFolder(int folder)
{
    return ::faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) == 0
        && ::faccessat(folder, ".", R_OK, AT_EACCESS) != 0 && errno == EACCES;
}

OSStatus itemNameFromUnicode(const HFSUniStr255& unicode, std::string& name)
{
    if (unicode.length > kMaxNameUnits)
        return errFSNameTooLong;
    if (!pathFromWide({unicode.unicode, unicode.length}, name, kMaxNameUnits * 3))
        return bdNamErr;
    if (name == "." || name == ".." || name.find('/') != std::string::npos)
        return bdNamErr;
    return name.size() <= kMaxNameBytes ? noErr : errFSNameTooLong;
}

HFSUniStr255 unicodeFromItemName(const std::string& name)
{
    const std::u16string wide = wideFromUtf8(name);
    HFSUniStr255 unicode;
    unicode.length = static_cast<UInt16>(std::min(wide.size(), kMaxNameUnits));
    std::copy_n(wide.begin(), unicode.length, unicode.unicode);
    return unicode;
}
