#include "SelfRepairStarter/ReadFile.h"

#include <cerrno>
#include <unistd.h>

namespace {

// What one call of read gives, whatever signals come.
ssize_t readOnce(int fd, void* buffer, std::size_t size)
{
    ssize_t count = -1;
    do
        count = read(fd, buffer, size);
    while (count < 0 && errno == EINTR);
    return count;
}

} // namespace

bool readExactly(int fd, std::string& bytes)
{
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t count = readOnce(fd, bytes.data() + filled, bytes.size() - filled);
        if (count <= 0)
            return false;
        filled += static_cast<std::size_t>(count);
    }
    char more = 0;
    return readOnce(fd, &more, 1) == 0;
}
