#include "Platform/Carbon/FSIterator.h"

#include "Platform/Carbon/FSCatalogInternal.h"
#include "Platform/Support/Descriptor.h"
#include "Platform/Support/ErrorNumbers.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <utility>

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
/// Some file systems pass over children while others are deleted. A walk that deleted starts again, so often
/// at most.
constexpr int kMaxRewinds = 2;

struct StreamCloser {
    void operator()(DIR* stream) const
    {
        (void)::closedir(stream); // it was only read from
    }
};
using Stream = std::unique_ptr<DIR, StreamCloser>;

/// Which folder a walk is over.
struct Identity {
    dev_t device;
    ino_t inode;
};

OSStatus openStream(Descriptor&& folder, Stream& stream)
{
    if (!folder)
        return errno == ELOOP ? dirNFErr : errorFromErrno(errno);
    stream.reset(::fdopendir(folder.get()));
    if (!stream)
        return errorFromErrno(errno);
    (void)folder.release(); // now the stream's
    return noErr;
}

OSStatus identityOf(const Stream& stream, Identity& identity)
{
    struct stat status;
    if (::fstat(::dirfd(stream.get()), &status) != 0)
        return errorFromErrno(errno);
    identity = {status.st_dev, status.st_ino};
    return noErr;
}

bool isMountPoint(const Stream& stream, dev_t deviceAbove)
{
    struct statx status;
    if (::statx(::dirfd(stream.get()), "", AT_EMPTY_PATH, STATX_TYPE, &status) != 0)
        return true; // what cannot be looked at is left alone
    if ((status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0)
        return catalogIsMountPoint(status);
    // A system before Linux 5.8 does not tell; better a subvolume stays than what is mounted goes.
    return makedev(status.stx_dev_major, status.stx_dev_minor) != deviceAbove;
}

bool isDotEntry(const char* name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

} // namespace

struct FSIteratorRecord {
    FSIterator parent = nullptr;
    Stream stream; ///< null while a walk far enough below holds the chain, and after a failure
    Identity identity {};
    std::string childName; ///< empty when there is no child that was given last
    bool childIsFolder = false;
    bool deletedSome = false; ///< since the stream was last at its start
    int rewinds = 0;
};

namespace {

/// Reads the next child's name and status. errFSNoMoreItems at the end.
OSStatus nextChild(FSIteratorRecord& walk, struct statx& status)
{
    walk.childName.clear();
    for (;;) {
        errno = 0;
        const struct dirent* const entry = ::readdir(walk.stream.get());
        if (!entry && errno != 0)
            return errorFromErrno(errno);
        if (!entry && (!walk.deletedSome || walk.rewinds == kMaxRewinds))
            return errFSNoMoreItems;
        if (!entry) {
            ::rewinddir(walk.stream.get());
            walk.deletedSome = false;
            ++walk.rewinds;
            continue;
        }
        if (isDotEntry(entry->d_name))
            continue;
        const OSStatus error = catalogStatus(::dirfd(walk.stream.get()), entry->d_name, status);
        if (error == fnfErr)
            continue;
        if (error == noErr)
            walk.childName = entry->d_name;
        return error;
    }
}

OSStatus checkCurrentChild(FSIterator iterator)
{
    if (!iterator || (iterator->stream && iterator->childName.empty()))
        return paramErr;
    return iterator->stream ? noErr : errFSBadFSRef;
}

/// Lets the walk kMaxOpenLevels above the new innermost one give its descriptor back.
void closeFarAncestor(FSIterator innermost)
{
    FSIterator ancestor = innermost;
    for (int i = 0; i < kMaxOpenLevels && ancestor; ++i)
        ancestor = ancestor->parent;
    if (ancestor)
        ancestor->stream.reset();
}

/// Opens the walk above `below` again. Whatever is left of its children is given anew.
OSStatus reopenParent(const FSIteratorRecord& below)
{
    FSIteratorRecord& walk = *below.parent;
    if (!below.stream)
        return errFSBadFSRef;
    Stream stream;
    OSStatus error
        = openStream(Descriptor(::openat(::dirfd(below.stream.get()), "..", kFolderFlags)), stream);
    Identity identity {};
    if (error == noErr)
        error = identityOf(stream, identity);
    if (error != noErr)
        return error;
    if (identity.device != walk.identity.device || identity.inode != walk.identity.inode)
        return errFSBadFSRef;
    walk.stream = std::move(stream);
    return noErr;
}

} // namespace

OSStatus FSOpenIterator(const FSRef* folder, FSIterator* iterator)
{
    if (!folder || !iterator)
        return paramErr;
    auto walk = std::make_unique<FSIteratorRecord>();
    OSStatus error = openStream(Descriptor(::open(folder->path.c_str(), kFolderFlags)), walk->stream);
    if (error == noErr)
        error = identityOf(walk->stream, walk->identity);
    if (error != noErr)
        return error;
    if (walk->identity.device != folder->device || walk->identity.inode != folder->inode)
        return errFSBadFSRef;
    *iterator = walk.release();
    return noErr;
}

OSStatus FSOpenChildIterator(FSIterator parent, FSIterator* child)
{
    OSStatus error = child ? checkCurrentChild(parent) : paramErr;
    if (error != noErr)
        return error;
    auto walk = std::make_unique<FSIteratorRecord>();
    walk->parent = parent;
    const int parentFolder = ::dirfd(parent->stream.get());
    error = openStream(
        Descriptor(::openat(parentFolder, parent->childName.c_str(), kFolderFlags)), walk->stream);
    if (error == noErr)
        error = identityOf(walk->stream, walk->identity);
    if (error != noErr)
        return error;
    if (isMountPoint(walk->stream, parent->identity.device))
        return fBsyErr;
    closeFarAncestor(walk.get());
    *child = walk.release();
    return noErr;
}

OSStatus FSGetCatalogInfoBulk(FSIterator iterator, UInt32 maximum, UInt32* actual, FSCatalogInfo* infos)
{
    if (!iterator || maximum == 0 || !actual)
        return paramErr;
    *actual = 0;
    if (!iterator->stream)
        return errFSBadFSRef;
    while (*actual < maximum) {
        struct statx status;
        const OSStatus error = nextChild(*iterator, status);
        if (error != noErr)
            return error;
        const UInt16 nodeFlags = catalogNodeFlags(status);
        iterator->childIsFolder = (nodeFlags & kFSNodeIsDirectoryMask) != 0;
        if (infos)
            infos[*actual].nodeFlags = nodeFlags;
        ++*actual;
    }
    return noErr;
}

OSStatus FSUnlockChild(FSIterator iterator)
{
    const OSStatus error = checkCurrentChild(iterator);
    return error == noErr ? unlockAt(::dirfd(iterator->stream.get()), iterator->childName.c_str()) : error;
}

OSStatus FSOpenChildToOwner(FSIterator iterator)
{
    const OSStatus error = checkCurrentChild(iterator);
    return error == noErr ? openToOwnerAt(::dirfd(iterator->stream.get()), iterator->childName.c_str())
                          : error;
}

OSStatus FSDeleteChild(FSIterator iterator)
{
    const OSStatus error = checkCurrentChild(iterator);
    if (error != noErr)
        return error;
    const int flags = iterator->childIsFolder ? AT_REMOVEDIR : 0;
    if (::unlinkat(::dirfd(iterator->stream.get()), iterator->childName.c_str(), flags) != 0)
        return errorFromErrno(errno);
    iterator->childName.clear();
    iterator->deletedSome = true;
    return noErr;
}

OSStatus FSCloseIterator(FSIterator iterator)
{
    if (!iterator)
        return paramErr;
    const std::unique_ptr<FSIteratorRecord> walk(iterator);
    const bool parentNeedsOpening = walk->parent && !walk->parent->stream;
    return parentNeedsOpening ? reopenParent(*walk) : noErr;
}
