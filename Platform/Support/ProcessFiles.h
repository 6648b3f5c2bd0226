// What the kernel tells about a process: the files of its folder in /proc.
#pragma once

#include "Platform/Support/Descriptor.h"
#include "Platform/Support/Types.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The most bytes that the arguments and the environment of a process take together: three quarters of 8 MiB
/// (execve(2)).
inline constexpr std::size_t kMaxProcessArgumentBytes = 6 * 1024 * 1024;

/// The ids of all processes, in ascending order; empty when they cannot be listed.
std::vector<int> runningProcessIds();

/// The file that a process runs, as it was found.
struct ProcessExecutable {
    enum Place {
        kInPlace,
        kRemoved,    ///< deleted, or another file has taken its place
        kOutOfSight, ///< the path counts in the process's own view of the file system, as in a container
    };

    std::string path; ///< where the file lies, or lay
    Place place = kInPlace;
    UInt64 device = 0;
    UInt64 inode = 0;
};

/// A process's folder, held open: all that is read through one object is of one process, also when its id
/// is given to another one meanwhile. Each error is an errno value: ESRCH or ENOENT for a process that has
/// ended, EACCES for what another user's process does not show.
class ProcessFolder {
public:
    /// Opens the folder of the process `pid`; false as a condition when there is none.
    explicit ProcessFolder(int pid);

    explicit operator bool() const { return static_cast<bool>(m_folder); }
    /// Reads a file of the folder, at most `maxBytes` of it. Returns 0 or an error; then `bytes` is empty.
    int read(const char* name, std::size_t maxBytes, std::string& bytes) const;
    /// Finds the program's file. ENOENT also for a process without one: a kernel thread, or one that has
    /// ended and waits to be collected by its parent.
    int executable(ProcessExecutable& executable) const;
    /// The folder that relative paths of the process count from.
    int workingFolder(std::string& path) const;

private:
    int linkTarget(const char* name, std::string& path) const;

    Descriptor m_folder;
};

/// The texts of an area in which each ends in a zero byte; the last one may lack it. Empty ones count.
std::vector<std::string_view> zeroTerminatedTexts(std::string_view area);
