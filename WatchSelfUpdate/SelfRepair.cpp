#include "WatchSelfUpdate/SelfRepair.h"

#include "WatchSelfUpdate/Failure.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uid_t kRootUser = 0;
constexpr gid_t kRootGroup = 0;
// Set-user-id, readable and executable by all, writable by none.
constexpr mode_t kToolMode = 04555;

bool isSingleRegularFile(const struct stat& info)
{
    return S_ISREG(info.st_mode) && info.st_nlink == 1;
}

ExitStatus refused()
{
    std::fprintf(stderr, "WatchSelfUpdate: the tool is not a regular file with exactly one link\n");
    return ExitStatus::Refused;
}

ExitStatus repair(int fd)
{
    struct stat before { };
    if (fstat(fd, &before) != 0)
        return failed("fstat");
    if (!isSingleRegularFile(before))
        return refused();
    // The owner first: changing it clears the set-user-id bit, and from then on only root can change the
    // file.
    if (fchown(fd, kRootUser, kRootGroup) != 0)
        return failed("fchown");
    struct stat after { };
    if (fstat(fd, &after) != 0)
        return failed("fstat");
    // Its former owner could give it a second name until now, through which the set-user-id file would live
    // on.
    if (!isSingleRegularFile(after))
        return refused();
    if (fchmod(fd, kToolMode) != 0)
        return failed("fchmod");
    const timespec times[2] = {{0, UTIME_OMIT}, before.st_mtim};
    return futimens(fd, times) == 0 ? ExitStatus::Ok : failed("futimens");
}

} // namespace

ExitStatus repairSelf()
{
    if (geteuid() != kRootUser) {
        std::fprintf(stderr, "WatchSelfUpdate: --self-repair needs root\n");
        return ExitStatus::NotPermitted;
    }
    // The kernel's own link to the running file, not its name: it must be followed, and whoever renames or
    // replaces the name changes nothing.
    const int fd = open("/proc/self/exe", O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return failed("open");
    const ExitStatus status = repair(fd);
    if (close(fd) != 0 && status == ExitStatus::Ok)
        return failed("close");
    return status;
}
