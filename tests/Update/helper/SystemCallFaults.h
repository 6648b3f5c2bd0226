// Chosen outcomes for file calls of this test program, and for one memory request.
#pragma once

#include <cstddef>
#include <vector>

#include <sys/types.h>

/// What one call gives instead of its own outcome.
struct CallOutcome {
    ssize_t result; ///< kShortCall: the call is made, for at most `error` bytes
    int error;      ///< the value of errno, or the byte count of a short call
};
inline constexpr ssize_t kShortCall = -100;

/// As long as it lives, the calls for one descriptor give these outcomes, one after the other, and then their
/// own.
class ScopedReadFaults {
public:
    ScopedReadFaults(int fd, std::vector<CallOutcome> outcomes);
    ~ScopedReadFaults();
};
class ScopedWriteFaults {
public:
    ScopedWriteFaults(int fd, std::vector<CallOutcome> outcomes);
    ~ScopedWriteFaults();
};
/// As long as it lives, every write to a descriptor above the standard ones, after the first `count`, fails
/// with `error`.
class ScopedWriteLimit {
public:
    ScopedWriteLimit(int count, int error);
    ~ScopedWriteLimit();
};
/// As long as it lives, every call of that function fails with `error`.
enum class FaultyCall { kUnlink, kFchmod, kUtimes };
class ScopedCallFault {
public:
    ScopedCallFault(FaultyCall call, int error);
    ~ScopedCallFault();
};
/// As long as it lives, every close fails with EBADF.
class ScopedCloseFault {
public:
    ScopedCloseFault();
    ~ScopedCloseFault();
};
/// As long as it lives, a memory request of exactly `bytes` that may fail does.
class ScopedMemoryFault {
public:
    explicit ScopedMemoryFault(std::size_t bytes);
    ~ScopedMemoryFault();
};
/// As long as it lives, notes the sizes of the read requests for one descriptor.
class ScopedReadLog {
public:
    explicit ScopedReadLog(int fd);
    ~ScopedReadLog();
    const std::vector<std::size_t>& sizes() const;
};
