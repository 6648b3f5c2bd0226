#include "WatchSelfUpdate/Hardening.h"

#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A standard descriptor that was handed down closed would be taken by the first file that is opened, which
// messages would then be written to.
bool openStandardDescriptors()
{
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) != -1)
            continue;
        // The lowest free number is taken, which is this one.
        if (open("/dev/null", fd == STDIN_FILENO ? O_RDONLY : O_WRONLY) != fd)
            return false;
    }
    return true;
}

} // namespace

bool hardenProcess()
{
    constexpr unsigned kFirstInheritedDescriptor = STDERR_FILENO + 1;
    constexpr mode_t kPrivateUmask = 077;
    if (clearenv() != 0 || !openStandardDescriptors())
        return false;
    if (close_range(kFirstInheritedDescriptor, ~0U, 0) != 0)
        return false;
    (void)umask(kPrivateUmask); // gives the former one
    return chdir("/") == 0;
}
