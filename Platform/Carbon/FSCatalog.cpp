#include "Platform/Carbon/FSCatalog.h"

#include "Platform/Carbon/FSCatalogInternal.h"
#include "Platform/Carbon/FSItem.h"
#include "Platform/Carbon/FSRefInternal.h"
#include "Platform/Support/ErrorNumbers.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

constexpr unsigned kLockFlags = FS_IMMUTABLE_FL | FS_APPEND_FL;
constexpr mode_t kOwnerOnlyMode = 0700;
constexpr UInt64 kLockAttributes = STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND;

/// The place and the status of the object that `ref` was made of, or of the link that stands there.
OSStatus findObject(const FSRef* ref, ItemPlace& place, struct statx& status)
{
    OSStatus error = ref ? openPlaceOfRef(*ref, place) : paramErr;
    if (error == noErr)
        error = catalogStatus(place.folder.get(), place.name.c_str(), status);
    if (error != noErr || S_ISLNK(status.stx_mode))
        return error;
    const bool same
        = makedev(status.stx_dev_major, status.stx_dev_minor) == ref->device && status.stx_ino == ref->inode;
    return same ? noErr : errFSBadFSRef;
}

} // namespace

OSStatus catalogStatus(int folder, const char* name, struct statx& status)
{
    constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    return ::statx(folder, name, kFlags, STATX_TYPE | STATX_INO, &status) == 0 ? noErr
                                                                               : errorFromErrno(errno);
}

UInt16 catalogNodeFlags(const struct statx& status)
{
    const bool locked = (status.stx_attributes & kLockAttributes) != 0;
    const bool isDirectory = S_ISDIR(status.stx_mode);
    return static_cast<UInt16>((locked ? kFSNodeLockedMask : 0) | (isDirectory ? kFSNodeIsDirectoryMask : 0));
}

bool catalogIsMountPoint(const struct statx& status)
{
    return (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

OSStatus unlockAt(int folder, const char* name)
{
    constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const Descriptor object(::openat(folder, name, kFlags));
    if (!object)
        return errno == ELOOP ? permErr : errorFromErrno(errno);
    struct stat status;
    if (::fstat(object.get(), &status) != 0)
        return errorFromErrno(errno);
    // A device would take the request below for one of its own.
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))
        return permErr;
    unsigned flags = 0;
    if (::ioctl(object.get(), FS_IOC_GETFLAGS, &flags) != 0)
        return errno == ENOTTY || errno == EOPNOTSUPP ? noErr : errorFromErrno(errno);
    if ((flags & kLockFlags) == 0)
        return noErr;
    flags &= ~kLockFlags;
    return ::ioctl(object.get(), FS_IOC_SETFLAGS, &flags) == 0 ? noErr : errorFromErrno(errno);
}

OSStatus openToOwnerAt(int folder, const char* name)
{
    if (::fchmodat(folder, name, kOwnerOnlyMode, AT_SYMLINK_NOFOLLOW) == 0)
        return noErr;
    return errno == EOPNOTSUPP ? permErr : errorFromErrno(errno);
}

OSStatus FSGetCatalogInfo(const FSRef* ref, FSCatalogInfo* info, FSRef* parent)
{
    ItemPlace place;
    struct statx status;
    const OSStatus error = findObject(ref, place, status);
    if (error != noErr)
        return error;
    if (info)
        info->nodeFlags = catalogNodeFlags(status);
    struct stat folderStatus;
    if (!parent)
        return noErr;
    if (::fstat(place.folder.get(), &folderStatus) != 0)
        return errorFromErrno(errno);
    *parent = refFromStatus(folderStatus, std::move(place.folderPath));
    return noErr;
}

OSStatus FSUnlockObject(const FSRef* ref)
{
    ItemPlace place;
    struct statx status;
    const OSStatus error = findObject(ref, place, status);
    return error == noErr ? unlockAt(place.folder.get(), place.name.c_str()) : error;
}

OSStatus FSOpenToOwner(const FSRef* ref)
{
    ItemPlace place;
    struct statx status;
    const OSStatus error = findObject(ref, place, status);
    return error == noErr ? openToOwnerAt(place.folder.get(), place.name.c_str()) : error;
}

OSStatus FSDeleteObject(const FSRef* ref)
{
    ItemPlace place;
    struct statx status;
    const OSStatus error = findObject(ref, place, status);
    if (error != noErr)
        return error;
    const int flags = S_ISDIR(status.stx_mode) ? AT_REMOVEDIR : 0;
    return ::unlinkat(place.folder.get(), place.name.c_str(), flags) == 0 ? noErr : errorFromErrno(errno);
}
