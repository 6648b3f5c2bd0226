#include "SelfRepairStarter/FreshTool.h"

#include "SelfRepairStarter/Failure.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr uid_t kRootUser = 0;
constexpr gid_t kRootGroup = 0;
constexpr mode_t kToolMode = 0555;
// One name for all runs: what a kill left behind is removed by the next.
constexpr char kFreshName[] = ".WatchSelfUpdate.fresh";

bool writeAll(int fd, const std::string& bytes)
{
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write(fd, bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno != EINTR)
            return false;
        if (count > 0)
            written += static_cast<std::size_t>(count);
    }
    return true;
}

// Some servers give what root makes to another user.
bool isRoots(int fd)
{
    struct stat info { };
    return fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_uid == kRootUser && info.st_nlink == 1;
}

bool fill(int fd, const std::string& bytes, const timespec& modificationTime)
{
    const timespec times[2] = {{0, UTIME_OMIT}, modificationTime};
    return fchown(fd, kRootUser, kRootGroup) == 0 && isRoots(fd) && writeAll(fd, bytes)
        && fchmod(fd, kToolMode) == 0 && futimens(fd, times) == 0 && fsync(fd) == 0;
}

// The same file again, whatever its name is by now, for reading alone.
int reopenForReading(int fd)
{
    return open(("/proc/self/fd/" + std::to_string(fd)).c_str(), O_RDONLY | O_CLOEXEC);
}

bool hasName(int fd, const Place& place)
{
    struct stat own { };
    struct stat named { };
    return fstat(fd, &own) == 0
        && fstatat(place.folder.get(), place.name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0
        && own.st_dev == named.st_dev && own.st_ino == named.st_ino;
}

bool makeAndPlace(
    const Place& place, const std::string& bytes, const timespec& modificationTime, OwnedDescriptor& file)
{
    const int folder = place.folder.get();
    // Without any permission until it is filled; a name that somebody took first is not opened.
    OwnedDescriptor writer(
        openat(folder, kFreshName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0));
    if (!writer)
        return false;
    if (fill(writer.get(), bytes, modificationTime))
        file = OwnedDescriptor(reopenForReading(writer.get()));
    writer.close();
    if (file && renameat(folder, kFreshName, folder, place.name.c_str()) == 0)
        return hasName(file.get(), place);
    (void)unlinkat(folder, kFreshName, 0); // the next run removes it otherwise
    return false;
}

} // namespace

bool placeFreshTool(
    const Place& place, const std::string& bytes, const timespec& modificationTime, OwnedDescriptor& file)
{
    if (unlinkat(place.folder.get(), kFreshName, 0) != 0 && errno != ENOENT)
        return notStarted("what a former run left behind cannot be removed");
    return makeAndPlace(place, bytes, modificationTime, file)
        || notStarted("the tool could not be put in its place");
}
