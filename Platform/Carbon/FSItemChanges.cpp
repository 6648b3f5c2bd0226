#include "Platform/Carbon/FSItemChanges.h"

#include "Platform/Carbon/FSCatalogInternal.h"
#include "Platform/Support/ErrorNumbers.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr int kCreateFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kNewFolderMode = 0700;

/// Gives a new item its mode, whatever its folder's default access control list and the user's creation mask
/// left of it. Where there is no list, or the file system knows none, there is nothing to take away.
OSStatus setFirstMode(int item, mode_t mode)
{
    (void)::fremovexattr(item, "system.posix_acl_access");  // as above
    (void)::fremovexattr(item, "system.posix_acl_default"); // as above
    return ::fchmod(item, mode) == 0 ? noErr : errorFromErrno(errno);
}

struct timespec asTimespec(const ItemTime& time)
{
    return {static_cast<time_t>(time.seconds), static_cast<long>(time.nanoseconds)};
}

/// A rename that does not replace, for file systems that have no such call: somebody else may take the name
/// between the look and the rename.
OSStatus renameAfterLook(int folder, const std::string& oldName, const std::string& newName)
{
    ItemInfo taken;
    const OSStatus error = itemInfo(folder, newName, taken);
    if (error != fnfErr)
        return error == noErr ? dupFNErr : error;
    return ::renameat(folder, oldName.c_str(), folder, newName.c_str()) == 0 ? noErr : errorFromErrno(errno);
}

} // namespace

OSStatus createFileItem(int folder, const std::string& name, Descriptor& file)
{
    file.reset(::openat(folder, name.c_str(), kCreateFlags, kBusyFileMode));
    if (!file)
        return errorFromErrno(errno);
    const OSStatus error = setFirstMode(file.get(), kBusyFileMode);
    if (error != noErr)
        (void)::unlinkat(folder, name.c_str(), 0); // the first error is the one to tell
    return error;
}

OSStatus createFolderItem(int folder, const std::string& name, Descriptor& created)
{
    if (::mkdirat(folder, name.c_str(), kNewFolderMode) != 0)
        return errorFromErrno(errno);
    created.reset(::openat(folder, name.c_str(), kFolderFlags));
    // The inherited rights may close it to its owner.
    if (!created && errno == EACCES && openToOwnerAt(folder, name.c_str()) == noErr)
        created.reset(::openat(folder, name.c_str(), kFolderFlags));
    OSStatus error = noErr;
    if (!created)
        error = errno == ELOOP ? errFSBadFSRef : errorFromErrno(errno);
    if (error == noErr)
        error = setFirstMode(created.get(), kNewFolderMode);
    if (error != noErr)
        (void)::unlinkat(folder, name.c_str(), AT_REMOVEDIR); // the first error is the one to tell
    return error;
}

OSStatus createLinkItem(int folder, const std::string& name, const std::string& target, const ItemInfo& info)
{
    if (::symlinkat(target.c_str(), folder, name.c_str()) != 0)
        return errorFromErrno(errno);
    const struct timespec times[2] = {asTimespec(info.accessed), asTimespec(info.modified)};
    (void)::utimensat(folder, name.c_str(), times, AT_SYMLINK_NOFOLLOW); // not every file system can
    return noErr;
}

OSStatus renameItem(int folder, const std::string& oldName, const std::string& newName)
{
    if (::renameat2(folder, oldName.c_str(), folder, newName.c_str(), RENAME_NOREPLACE) == 0)
        return noErr;
    if (errno == EINVAL || errno == ENOSYS)
        return renameAfterLook(folder, oldName, newName);
    return errorFromErrno(errno);
}

OSStatus finishItem(int item, const ItemInfo& info)
{
    ItemInfo made;
    const OSStatus error = openItemInfo(item, made);
    if (error != noErr)
        return error;
    mode_t mode = info.mode;
    if (made.owner != info.owner)
        mode &= ~static_cast<mode_t>(S_ISUID);
    if (made.group != info.group)
        mode &= ~static_cast<mode_t>(S_ISGID);
    const struct timespec times[2] = {asTimespec(info.accessed), asTimespec(info.modified)};
    if (::futimens(item, times) != 0 || ::fchmod(item, mode) != 0)
        return errorFromErrno(errno);
    return noErr;
}

OSStatus flushItem(int item)
{
    // Some file systems have no storage, and some cannot flush a folder.
    const bool done = ::fsync(item) == 0 || errno == EINVAL || errno == EROFS;
    return done ? noErr : errorFromErrno(errno);
}

OSStatus closeItem(Descriptor& item)
{
    // An interrupted close has closed all the same.
    return ::close(item.release()) == 0 || errno == EINTR ? noErr : errorFromErrno(errno);
}
