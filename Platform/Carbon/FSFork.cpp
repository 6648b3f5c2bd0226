#include "Platform/Carbon/FSFork.h"

#include "Platform/Support/Descriptor.h"
#include "Platform/Support/ErrorNumbers.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <linux/limits.h>
#include <memory>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

struct FSForkRecord {
    Descriptor content; ///< of the content's fork
    int item = -1;      ///< the content's descriptor, or the one that an attribute's fork borrows
    std::string name;   ///< empty for the content
    UInt64 size = 0;
    std::string value; ///< an attribute's: it is read as a whole when opened, and stored so
};

namespace {

constexpr std::size_t kMaxCopyPieceBytes = 1U << 30; ///< what one request to the system asks for

bool isFork(std::string_view attribute)
{
    return attribute.starts_with("user.") || attribute == "system.posix_acl_access"
        || attribute == "system.posix_acl_default";
}

OSStatus attributeError(int posixError)
{
    if (posixError == ENODATA)
        return fnfErr;
    return posixError == EOPNOTSUPP ? wrgVolTypErr : errorFromErrno(posixError);
}

OSStatus openFork(int item, const std::string& name, std::unique_ptr<FSForkRecord>& fork)
{
    fork = std::make_unique<FSForkRecord>();
    fork->name = name;
    fork->item = item;
    if (!name.empty())
        return noErr;
    fork->content.reset(::fcntl(item, F_DUPFD_CLOEXEC, 0));
    fork->item = fork->content.get();
    return fork->content ? noErr : errorFromErrno(errno);
}

OSStatus readAttribute(FSForkRecord& fork)
{
    std::string value(XATTR_SIZE_MAX, '\0');
    const ssize_t bytes = ::fgetxattr(fork.item, fork.name.c_str(), value.data(), value.size());
    if (bytes < 0)
        return attributeError(errno);
    fork.value.assign(value, 0, static_cast<std::size_t>(bytes));
    fork.size = fork.value.size();
    return noErr;
}

OSStatus storeAttribute(const FSForkRecord& fork)
{
    const int result = ::fsetxattr(fork.item, fork.name.c_str(), fork.value.data(), fork.value.size(), 0);
    return result == 0 ? noErr : attributeError(errno);
}

OSStatus currentSize(const FSForkRecord& fork, UInt64& size)
{
    struct stat status;
    if (::fstat(fork.item, &status) != 0)
        return errorFromErrno(errno);
    size = static_cast<UInt64>(status.st_size);
    return noErr;
}

/// False when there is nothing but a hole at and behind `position`.
bool findData(const FSForkRecord& fork, UInt64 position, UInt64& start, UInt64& end)
{
    if (position >= fork.size)
        return false;
    const off_t data = ::lseek(fork.item, static_cast<off_t>(position), SEEK_DATA);
    if (data < 0 && errno == ENXIO)
        return false;
    const off_t hole = data < 0 ? -1 : ::lseek(fork.item, data, SEEK_HOLE);
    if (hole < 0)
        return true; // a file system that knows no holes: everything is data
    start = static_cast<UInt64>(data);
    end = std::min(static_cast<UInt64>(hole), fork.size);
    return start < fork.size;
}

/// noErr and the end of the piece copied; at least one byte.
OSStatus copyPiece(FSForkRecord& source, FSForkRecord& destination, UInt64& position, UInt64 end)
{
    off_t from = static_cast<off_t>(position);
    off_t to = from;
    const std::size_t wanted = std::min<UInt64>(end - position, kMaxCopyPieceBytes);
    const ssize_t copied = ::copy_file_range(source.item, &from, destination.item, &to, wanted, 0);
    if (copied > 0) {
        position += static_cast<UInt64>(copied);
        return noErr;
    }
    if (copied < 0 && errno == EINTR)
        return noErr;
    // Nothing at all where there should be data: some file systems know their sizes but not this call.
    const bool cannot = copied == 0 || errno == EXDEV || errno == EOPNOTSUPP || errno == ENOSYS
        || errno == EINVAL || errno == EPERM || errno == ETXTBSY;
    return cannot ? unimpErr : errorFromErrno(errno);
}

} // namespace

OSStatus FSIterateForks(int item, std::vector<std::string>& names)
{
    names.clear();
    struct stat status;
    if (::fstat(item, &status) != 0)
        return errorFromErrno(errno);
    if (S_ISREG(status.st_mode))
        names.emplace_back();
    std::string list(XATTR_LIST_MAX, '\0');
    const ssize_t bytes = ::flistxattr(item, list.data(), list.size());
    if (bytes < 0)
        return errno == EOPNOTSUPP ? noErr : errorFromErrno(errno);
    const std::string_view found(list.data(), static_cast<std::size_t>(bytes));
    for (std::size_t at = 0; at < found.size();) {
        const std::string_view name = found.substr(at, found.find('\0', at) - at);
        if (isFork(name))
            names.emplace_back(name);
        at += name.size() + 1;
    }
    return noErr;
}

OSStatus FSOpenForkForReading(int item, const std::string& name, FSForkRef* fork)
{
    std::unique_ptr<FSForkRecord> opened;
    OSStatus error = openFork(item, name, opened);
    if (error == noErr)
        error = name.empty() ? currentSize(*opened, opened->size) : readAttribute(*opened);
    if (error == noErr)
        *fork = opened.release();
    return error;
}

OSStatus FSOpenForkForWriting(int item, const std::string& name, FSForkRef* fork)
{
    std::unique_ptr<FSForkRecord> opened;
    const OSStatus error = openFork(item, name, opened);
    if (error == noErr)
        *fork = opened.release();
    return error;
}

void FSCloseFork(FSForkRef fork)
{
    const std::unique_ptr<FSForkRecord> closed(fork);
}

const std::string& FSGetForkName(FSForkRef fork)
{
    return fork->name;
}

UInt64 FSGetForkSize(FSForkRef fork)
{
    return fork->size;
}

OSStatus FSSetForkSize(FSForkRef fork, UInt64 size)
{
    fork->size = size;
    if (fork->name.empty())
        return ::ftruncate(fork->item, static_cast<off_t>(size)) == 0 ? noErr : errorFromErrno(errno);
    fork->value.resize(static_cast<std::size_t>(size));
    return storeAttribute(*fork);
}

OSStatus FSNextForkData(FSForkRef fork, UInt64 position, UInt64* start, UInt64* end)
{
    *start = position;
    *end = fork->size;
    if (!fork->name.empty())
        return position < fork->size ? noErr : errFSNoMoreItems;
    const bool found = findData(*fork, position, *start, *end);
    // Asked only now: a file that has just become shorter looks as if it ended in a hole.
    UInt64 size = 0;
    const OSStatus error = currentSize(*fork, size);
    if (error != noErr)
        return error;
    if (size < fork->size)
        return eofErr;
    return found ? noErr : errFSNoMoreItems;
}

OSStatus FSReadFork(FSForkRef fork, UInt64 position, UInt32 bytes, void* buffer)
{
    if (!fork->name.empty()) {
        if (position + bytes > fork->size)
            return eofErr;
        std::copy_n(fork->value.data() + position, bytes, static_cast<char*>(buffer));
        return noErr;
    }
    for (UInt32 done = 0; done < bytes;) {
        const ssize_t got = ::pread(
            fork->item, static_cast<char*>(buffer) + done, bytes - done, static_cast<off_t>(position + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0 ? eofErr : errorFromErrno(errno);
        done += static_cast<UInt32>(got);
    }
    return noErr;
}

OSStatus FSWriteFork(FSForkRef fork, UInt64 position, UInt32 bytes, const void* buffer)
{
    const char* const from = static_cast<const char*>(buffer);
    fork->size = std::max(fork->size, position + bytes);
    if (!fork->name.empty()) {
        fork->value.resize(static_cast<std::size_t>(fork->size));
        std::copy_n(from, bytes, fork->value.data() + position);
        return noErr;
    }
    for (UInt32 done = 0; done < bytes;) {
        const ssize_t put
            = ::pwrite(fork->item, from + done, bytes - done, static_cast<off_t>(position + done));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return put == 0 ? ioErr : errorFromErrno(errno);
        done += static_cast<UInt32>(put);
    }
    return noErr;
}

OSStatus PBHCopyFileSync(FSForkRef source, FSForkRef destination)
{
    if (::ioctl(destination->item, FICLONE, source->item) == 0)
        return noErr;
    for (UInt64 position = 0;;) {
        UInt64 end = 0;
        OSStatus error = FSNextForkData(source, position, &position, &end);
        if (error == errFSNoMoreItems)
            return FSSetForkSize(destination, source->size);
        while (error == noErr && position < end)
            error = copyPiece(*source, *destination, position, end);
        if (error != noErr)
            return error;
    }
}
