// One process as the kernel describes it in its folder in /proc. Private to this folder and its tests.
#pragma once

#include "Platform/Support/Types.h"

#include <string>
#include <string_view>
#include <vector>

/// The fields of "stat" and "status" that are used (proc(5)).
struct KernelProcess {
    int pid = 0;   ///< of a thread, when it was asked for one
    int group = 0; ///< the process that the thread belongs to: itself for a process
    int parent = 0;
    char state = '\0';        ///< one letter, such as 'S'
    UInt32 flags = 0;         ///< the kernel's own PF_ flags
    int terminal = 0;         ///< the controlling terminal's device, 0 for none
    int priority = 0;         ///< as the scheduler sees it: 0 to 39, below 0 for real-time processes
    int nice = 0;             ///< -20 to 19
    SInt64 residentPages = 0; ///< in memory now
    UInt64 startTicks = 0;    ///< since the system's start, in units of 1/sysconf(_SC_CLK_TCK) s
    std::string command;      ///< at most 15 bytes, which may be any but zero
    int tracer = 0;           ///< the tracing process, 0 for none
    UInt32 realUser = 0;
    UInt32 effectiveUser = 0;
    UInt32 savedUser = 0;
    UInt32 realGroup = 0;
    UInt32 effectiveGroup = 0;
    UInt32 savedGroup = 0;
    UInt64 ignoredSignals = 0; ///< bit N - 1 stands for signal N
};

/// Reads the text of "stat"; false when it is not of its form.
bool parseStat(std::string_view text, KernelProcess& process);
/// Reads the text of "status"; false when a field that is used is missing.
bool parseStatus(std::string_view text, KernelProcess& process);
/// Reads one process; false when there is none of that id (a thread's is none), or it has ended meanwhile.
bool readKernelProcess(int pid, KernelProcess& process);
/// Reads all processes, the newest first; of those that started in the same tick, the one with the higher id
/// first. Empty when they cannot be listed.
std::vector<KernelProcess> readKernelProcesses();
/// Puts them in that order.
void sortNewestFirst(std::vector<KernelProcess>& processes);
