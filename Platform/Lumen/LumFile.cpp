#include "Platform/Lumen/LumFile.h"

#include "Platform/Support/Assertion.h"
#include "Platform/Support/Descriptor.h"
#include "Platform/Support/Unicode.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

struct OpacLumFSRef {
    std::string path;
};

namespace {

constexpr mode_t kNewFileMode = 0600;
constexpr SInt16 kNoFile = -1;

/// The open files; a file's number is its index plus one, so that it is never 0 nor -1.
std::array<Descriptor, kLumMaxOpenFiles>& openFiles()
{
    static std::array<Descriptor, kLumMaxOpenFiles> files;
    return files;
}

/// The table's place for `file`, or null when no file of that number is open.
Descriptor* openFile(SInt16 file)
{
    if (file < 1 || file > kLumMaxOpenFiles)
        return nullptr;
    Descriptor& entry = openFiles()[static_cast<std::size_t>(file - 1)];
    return entry ? &entry : nullptr;
}

SInt16 numberFor(Descriptor&& descriptor)
{
    for (SInt16 i = 0; i < kLumMaxOpenFiles; ++i) {
        Descriptor& entry = openFiles()[static_cast<std::size_t>(i)];
        if (entry)
            continue;
        entry = std::move(descriptor);
        return static_cast<SInt16>(i + 1);
    }
    return kNoFile;
}

/// Opens what must turn out to be a regular file. O_NONBLOCK keeps a named pipe from holding the caller up
/// before that is known; for a regular file it means nothing.
Descriptor openRegular(const std::string& path, int flags)
{
    Descriptor descriptor(::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, kNewFileMode));
    struct stat status;
    const bool regular = descriptor && ::fstat(descriptor.get(), &status) == 0 && S_ISREG(status.st_mode);
    return regular ? std::move(descriptor) : Descriptor();
}

} // namespace

OpacLumFSRef* Lum0FSRCreateWithPath(const UniChar* path)
{
    std::string bytes;
    if (!path || !pathFromWide(path, bytes))
        return nullptr;
    return new OpacLumFSRef {std::move(bytes)};
}

void Lum0FSRRelease(OpacLumFSRef* ref)
{
    delete ref;
}

SInt16 LumFileCreateExt(OpacLumFSRef* ref, SInt32 mode)
{
    VELMORA_ASSERT(mode == kLumFileCreateWrite);
    if (!ref)
        return kNoFile;
    // Emptied only once it is known to be a regular file.
    Descriptor descriptor = openRegular(ref->path, O_WRONLY | O_CREAT | O_NOFOLLOW);
    if (!descriptor || ::ftruncate(descriptor.get(), 0) != 0)
        return kNoFile;
    return numberFor(std::move(descriptor));
}

SInt16 LumFileOpenExt(OpacLumFSRef* ref, SInt32 mode)
{
    VELMORA_ASSERT(mode == kLumFileOpenRead);
    if (!ref)
        return kNoFile;
    Descriptor descriptor = openRegular(ref->path, O_RDONLY);
    return descriptor ? numberFor(std::move(descriptor)) : kNoFile;
}

SInt64 LumFileGetFileSizeExt(SInt16 file)
{
    const Descriptor* const entry = openFile(file);
    struct stat status;
    return entry && ::fstat(entry->get(), &status) == 0 ? status.st_size : -1;
}

SInt64 LumFileReadExt(SInt16 file, void* bytes, SInt64 length)
{
    const Descriptor* const entry = openFile(file);
    if (!entry || length < 0 || (!bytes && length > 0))
        return -1;
    SInt64 done = 0;
    while (done < length) {
        const ssize_t count
            = ::read(entry->get(), static_cast<char*>(bytes) + done, static_cast<std::size_t>(length - done));
        if (count > 0)
            done += count;
        else if (count == 0)
            break;
        else if (errno != EINTR)
            return -1;
    }
    return done;
}

SInt64 LumFileWriteExt(SInt16 file, const void* bytes, SInt64 length, SInt32 flags)
{
    VELMORA_ASSERT(flags == 0);
    const Descriptor* const entry = openFile(file);
    if (!entry || length < 0 || (!bytes && length > 0))
        return -1;
    SInt64 done = 0;
    while (done < length) {
        const ssize_t count = ::write(
            entry->get(), static_cast<const char*>(bytes) + done, static_cast<std::size_t>(length - done));
        if (count > 0)
            done += count;
        else if (count == 0 || errno != EINTR)
            break;
    }
    return done;
}

SInt32 LumFileCloseExt(SInt16 file)
{
    Descriptor* const entry = openFile(file);
    if (!entry)
        return -1;
    // Interrupted, the descriptor is closed all the same (close(2)): a second try could close another's.
    return ::close(entry->release()) == 0 || errno == EINTR ? 0 : -1;
}

SInt32 LumFileDeleteExt(OpacLumFSRef* ref)
{
    return ref && ::unlink(ref->path.c_str()) == 0 ? 0 : -1;
}
