#include "Update/helper/MoreUNIX.h"

#include "Platform/Support/Assertion.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr std::size_t kCopyBufferBytes = 65536;
// Everything but the set-user-id, set-group-id and sticky bits.
constexpr mode_t kCopiedModeBits = 0xF1FF;

timeval microsecondsFrom(const timespec& time)
{
    constexpr int kNanosecondsPerMicrosecond = 1000;
    return {time.tv_sec, time.tv_nsec / kNanosecondsPerMicrosecond};
}

// `info` is the source's. Closes both descriptors, which are -1 where the file could not be opened.
int copyOpened(int source, const char* dest, const struct stat& info)
{
    const mode_t mode = info.st_mode & kCopiedModeBits;
    const int target = open(dest, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    int err = target < 0 ? errno : 0;
    // The mode that open was given went through the umask, and an older file kept its own.
    if (err == 0 && fchmod(target, mode) != 0)
        err = errno;
    if (err == 0)
        err = MoreUNIXCopyDescriptorToDescriptor(source, target);

    int junk = close(source);
    VELMORA_ASSERT(junk == 0);
    if (target >= 0) {
        junk = close(target);
        VELMORA_ASSERT(junk == 0);
    }
    return err;
}

} // namespace

int MoreUNIXRead(int fd, void* buf, unsigned long bytesToRead, unsigned long* bytesRead)
{
    VELMORA_ASSERT(fd >= 0);
    VELMORA_ASSERT_TEXT(buf != nullptr, "buf != NULL");
    auto* cursor = static_cast<std::byte*>(buf);
    unsigned long bytesLeft = bytesToRead;
    int err = 0;
    while (err == 0 && bytesLeft != 0) {
        errno = 0;
        const ssize_t bytesThisTime = read(fd, cursor, bytesLeft);
        if (bytesThisTime > 0) {
            cursor += bytesThisTime;
            bytesLeft -= static_cast<unsigned long>(bytesThisTime);
        } else if (bytesThisTime == 0) {
            err = EPIPE;
        } else {
            VELMORA_ASSERT(bytesThisTime == -1);
            err = errno;
            VELMORA_ASSERT(err != 0);
            if (err == EINTR)
                err = 0;
        }
    }
    if (bytesRead)
        *bytesRead = bytesToRead - bytesLeft;
    return err;
}

int MoreUNIXWrite(int fd, const void* buf, unsigned long bytesToWrite, unsigned long* bytesWritten)
{
    VELMORA_ASSERT(fd >= 0);
    VELMORA_ASSERT_TEXT(buf != nullptr, "buf != NULL");
    const auto* cursor = static_cast<const std::byte*>(buf);
    unsigned long bytesLeft = bytesToWrite;
    int err = 0;
    while (err == 0 && bytesLeft != 0) {
        errno = 0;
        const ssize_t bytesThisTime = write(fd, cursor, bytesLeft);
        VELMORA_ASSERT_TEXT(bytesThisTime != 0, "false");
        if (bytesThisTime > 0) {
            cursor += bytesThisTime;
            bytesLeft -= static_cast<unsigned long>(bytesThisTime);
        } else {
            VELMORA_ASSERT(bytesThisTime == -1);
            err = errno;
            VELMORA_ASSERT(err != 0);
            if (err == EINTR)
                err = 0;
        }
    }
    if (bytesWritten)
        *bytesWritten = bytesToWrite - bytesLeft;
    return err;
}

int MoreUNIXCopyDescriptorToDescriptor(int source, int dest)
{
    VELMORA_ASSERT(source >= 0);
    VELMORA_ASSERT(dest >= 0);
    const std::unique_ptr<std::byte[]> buffer(new (std::nothrow) std::byte[kCopyBufferBytes]);
    if (!buffer)
        return ENOMEM;
    int err = 0;
    bool atEnd = false;
    while (err == 0 && !atEnd) {
        unsigned long bytesRead = 0;
        err = MoreUNIXRead(source, buffer.get(), kCopyBufferBytes, &bytesRead);
        if (err == EPIPE) {
            atEnd = true;
            err = 0;
        }
        if (err == 0)
            err = MoreUNIXWrite(dest, buffer.get(), bytesRead, nullptr);
    }
    return err;
}

int MoreUNIXCopyFile(const char* source, const char* dest)
{
    VELMORA_ASSERT_TEXT(source != nullptr, "source != NULL");
    VELMORA_ASSERT_TEXT(dest != nullptr, "dest != NULL");
    struct stat info { };
    if (stat(source, &info) != 0)
        return errno;
    const int sourceFd = open(source, O_RDONLY | O_CLOEXEC);
    if (sourceFd < 0)
        return errno;
    const int err = copyOpened(sourceFd, dest, info);
    if (err != 0)
        return err;
    const timeval times[2] = {microsecondsFrom(info.st_atim), microsecondsFrom(info.st_mtim)};
    return utimes(dest, times) == 0 ? 0 : errno;
}
