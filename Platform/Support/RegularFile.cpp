#include "Platform/Support/RegularFile.h"

#include <cerrno>
#include <fcntl.h>

Descriptor openRegularFile(const std::string& path, struct stat& status)
{
    if (::stat(path.c_str(), &status) != 0)
        return {};
    Descriptor file;
    if (S_ISREG(status.st_mode)) {
        // Should something else have taken its place meanwhile, it is not waited for.
        file.reset(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        if (!file || ::fstat(file.get(), &status) != 0)
            return {};
    }
    if (S_ISREG(status.st_mode))
        return file;
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return {};
}
