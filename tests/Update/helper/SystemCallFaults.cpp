#include "tests/Update/helper/SystemCallFaults.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

struct Faults {
    int fd = -1;
    std::vector<CallOutcome> outcomes;
};

Faults g_reads;
Faults g_writes;
std::optional<int> g_writesLeft;
int g_writeLimitError = 0;
bool g_closeFails = false;
std::optional<FaultyCall> g_faultyCall;
int g_callError = 0;
std::size_t g_failingRequestBytes = 0;
int g_loggedFd = -1;
std::vector<std::size_t> g_readSizes;

std::optional<CallOutcome> takeOutcome(Faults& faults, int fd)
{
    if (fd < 0 || fd != faults.fd || faults.outcomes.empty())
        return std::nullopt;
    const CallOutcome outcome = faults.outcomes.front();
    faults.outcomes.erase(faults.outcomes.begin());
    return outcome;
}

bool fails(FaultyCall call)
{
    if (g_faultyCall != call)
        return false;
    errno = g_callError;
    return true;
}

} // namespace

// The program's own definitions stand before the C library's.
extern "C" ssize_t read(int fd, void* buffer, std::size_t size)
{
    if (fd >= 0 && fd == g_loggedFd)
        g_readSizes.push_back(size);
    if (const auto outcome = takeOutcome(g_reads, fd)) {
        if (outcome->result != kShortCall) {
            errno = outcome->error;
            return outcome->result;
        }
        size = std::min(size, static_cast<std::size_t>(outcome->error));
    }
    return syscall(SYS_read, fd, buffer, size);
}

extern "C" ssize_t write(int fd, const void* buffer, std::size_t size)
{
    if (const auto outcome = takeOutcome(g_writes, fd)) {
        if (outcome->result != kShortCall) {
            errno = outcome->error;
            return outcome->result;
        }
        size = std::min(size, static_cast<std::size_t>(outcome->error));
    }
    if (g_writesLeft && fd > STDERR_FILENO && (*g_writesLeft)-- <= 0) {
        errno = g_writeLimitError;
        return -1;
    }
    return syscall(SYS_write, fd, buffer, size);
}

extern "C" int close(int fd)
{
    if (g_closeFails) {
        errno = EBADF;
        return -1;
    }
    return static_cast<int>(syscall(SYS_close, fd));
}

extern "C" int unlink(const char* path) noexcept
{
    return fails(FaultyCall::kUnlink) ? -1 : static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

extern "C" int fchmod(int fd, mode_t mode) noexcept
{
    return fails(FaultyCall::kFchmod) ? -1 : static_cast<int>(syscall(SYS_fchmod, fd, mode));
}

extern "C" int utimes(const char* path, const timeval times[2]) noexcept
{
    if (fails(FaultyCall::kUtimes))
        return -1;
    const timespec exact[2]
        = {{times[0].tv_sec, times[0].tv_usec * 1000}, {times[1].tv_sec, times[1].tv_usec * 1000}};
    return utimensat(AT_FDCWD, path, exact, 0);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return size == g_failingRequestBytes ? nullptr : std::malloc(size);
}

void* operator new[](std::size_t size)
{
    if (void* const memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

ScopedReadFaults::ScopedReadFaults(int fd, std::vector<CallOutcome> outcomes)
{
    g_reads = {fd, std::move(outcomes)};
}
ScopedReadFaults::~ScopedReadFaults()
{
    g_reads = {};
}

ScopedWriteFaults::ScopedWriteFaults(int fd, std::vector<CallOutcome> outcomes)
{
    g_writes = {fd, std::move(outcomes)};
}
ScopedWriteFaults::~ScopedWriteFaults()
{
    g_writes = {};
}

ScopedWriteLimit::ScopedWriteLimit(int count, int error)
{
    g_writesLeft = count;
    g_writeLimitError = error;
}
ScopedWriteLimit::~ScopedWriteLimit()
{
    g_writesLeft.reset();
}

ScopedCallFault::ScopedCallFault(FaultyCall call, int error)
{
    g_faultyCall = call;
    g_callError = error;
}
ScopedCallFault::~ScopedCallFault()
{
    g_faultyCall.reset();
}

ScopedCloseFault::ScopedCloseFault()
{
    g_closeFails = true;
}
ScopedCloseFault::~ScopedCloseFault()
{
    g_closeFails = false;
}

ScopedMemoryFault::ScopedMemoryFault(std::size_t bytes)
{
    g_failingRequestBytes = bytes;
}
ScopedMemoryFault::~ScopedMemoryFault()
{
    g_failingRequestBytes = 0;
}

ScopedReadLog::ScopedReadLog(int fd)
{
    g_loggedFd = fd;
    g_readSizes.clear();
}
ScopedReadLog::~ScopedReadLog()
{
    g_loggedFd = -1;
}
const std::vector<std::size_t>& ScopedReadLog::sizes() const
{
    return g_readSizes;
}
