#include "WatchSelfUpdate/MarkerFile.h"

#include "WatchSelfUpdate/Failure.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

ExitStatus refused(const char* reason)
{
    std::fprintf(stderr, "WatchSelfUpdate: %s\n", reason);
    return ExitStatus::Refused;
}

ExitStatus noMarker()
{
    std::fprintf(stderr, "WatchSelfUpdate: there is no marker beside the tool\n");
    return ExitStatus::NoMarker;
}

// The folder that holds the file of this process, or -1. The kernel's own link tells it: the name that the
// process was started by is the caller's choice.
int openOwnFolder()
{
    char path[PATH_MAX] = {};
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (length <= 0)
        return -1;
    const std::string_view file(path, static_cast<std::size_t>(length));
    const std::size_t nameStart = file.rfind('/');
    if (nameStart == std::string_view::npos)
        return -1;
    path[nameStart == 0 ? 1 : nameStart] = '\0';
    return open(path, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool isOwn(int fd)
{
    struct stat info { };
    return fstat(fd, &info) == 0 && info.st_uid == getuid();
}

bool isSingleRegularFile(int fd)
{
    struct stat info { };
    return fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_nlink == 1;
}

// Reads to the end, or one byte more than a marker may have. False when reading fails.
bool readBounded(int fd, std::string& bytes)
{
    bytes.resize(kMaxMarkerBytes + 1);
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t count = read(fd, bytes.data() + filled, bytes.size() - filled);
        if (count < 0 && errno != EINTR)
            return false;
        if (count == 0)
            break;
        if (count > 0)
            filled += static_cast<std::size_t>(count);
    }
    bytes.resize(filled);
    return true;
}

ExitStatus takeFrom(int folder, int file, Marker& marker)
{
    if (!isSingleRegularFile(file) || !isOwn(file))
        return refused("the marker is not a regular file of the calling user with one link");
    std::string bytes;
    if (!readBounded(file, bytes))
        return failed("read");
    // Whoever removes it does the hand-over: another tool may have read it at the same time.
    if (unlinkat(folder, kMarkerFileName, 0) != 0)
        return errno == ENOENT ? noMarker() : failed("unlink");
    return parseMarker(bytes, marker) ? ExitStatus::Ok : refused("the marker does not hold two paths");
}

ExitStatus takeFromFolder(int folder, Marker& marker)
{
    if (!isOwn(folder))
        return refused("the tool's folder does not belong to the calling user");
    // Without blocking: a pipe or a device at its place would keep the tool waiting.
    const int file
        = openat(folder, kMarkerFileName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0 && errno == ENOENT)
        return noMarker();
    if (file < 0)
        return refused("the marker cannot be opened");
    const ExitStatus status = takeFrom(folder, file, marker);
    (void)close(file); // it was only read
    return status;
}

} // namespace

ExitStatus takeMarker(Marker& marker)
{
    const int folder = openOwnFolder();
    if (folder < 0)
        return failed("open");
    const ExitStatus status = takeFromFolder(folder, marker);
    (void)close(folder); // nothing was written through it
    return status;
}
