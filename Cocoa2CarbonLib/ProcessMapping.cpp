#include "Cocoa2CarbonLib/ProcessMapping.h"

#include <algorithm>
#include <csignal>

namespace {

struct StateRow {
    char kernelState;
    UInt8 documented;
};

// A kernel tells no state for a process that is being made: 1 never appears.
constexpr StateRow kStates[] = {
    {'R', 2}, // runs, or waits for a processor
    {'S', 3}, // sleeps until something happens or a signal comes
    {'D', 3}, // sleeps, and no signal wakes it
    {'I', 3}, // a kernel thread without work
    {'P', 3}, // a kernel thread that was parked
    {'K', 3}, // sleeps, and only a deadly signal wakes it
    {'W', 3}, // sleeps and is being paged in
    {'T', 4}, // stopped by a signal
    {'t', 4}, // stopped by its tracer
    {'Z', 5}, // ended, not yet collected by its parent
    {'X', 5}, // ended, being removed
    {'x', 5}, // the same
};

// The kernel's flags, as its "stat" shows them (include/linux/sched.h).
constexpr UInt32 kExiting = 0x4;
constexpr UInt32 kForkedWithoutExec = 0x40;
constexpr UInt32 kKernelThread = 0x200000;

struct FlagRow {
    UInt32 documented;
    bool (*holds)(const KernelProcess& process);
};

constexpr FlagRow kFlags[] = {
    // A controlling terminal: its device is not 0.
    {0x2, [](const KernelProcess& p) { return p.terminal != 0; }},
    // Loaded into memory: some of its pages are resident. Kernel threads and ended processes have none.
    {0x4, [](const KernelProcess& p) { return p.residentPages > 0; }},
    // In interruptible sleep: the kernel's own state of that name.
    {0x80, [](const KernelProcess& p) { return p.state == 'S'; }},
    // Privileges by set id: its real, effective and saved ids are not the same.
    {0x100,
        [](const KernelProcess& p) {
            return p.realUser != p.effectiveUser || p.effectiveUser != p.savedUser
                || p.realGroup != p.effectiveGroup || p.effectiveGroup != p.savedGroup;
        }},
    // A system process: a kernel thread.
    {0x200, [](const KernelProcess& p) { return (p.flags & kKernelThread) != 0; }},
    // Being traced: it has a tracer.
    {0x800, [](const KernelProcess& p) { return p.tracer != 0; }},
    // Working on exit: the kernel's flag for it, which ended processes keep.
    {0x2000, [](const KernelProcess& p) { return (p.flags & kExiting) != 0; }},
    // Called exec: neither forked without it since, nor a kernel thread.
    {0x4000, [](const KernelProcess& p) { return (p.flags & (kForkedWithoutExec | kKernelThread)) == 0; }},
    // No zombies of its children: it ignores the signal of their end.
    {0x40000000, [](const KernelProcess& p) { return (p.ignoredSignals >> (SIGCHLD - 1) & 1) != 0; }},
    // The kernel tells nothing about the other documented flags, or has nothing like them: they never hold.
};

} // namespace

UInt8 documentedState(const KernelProcess& process)
{
    for (const StateRow& row : kStates) {
        if (row.kernelState == process.state)
            return row.documented;
    }
    return 0;
}

UInt32 documentedFlags(const KernelProcess& process)
{
    UInt32 flags = 0;
    for (const FlagRow& row : kFlags) {
        if (row.holds(process))
            flags |= row.documented;
    }
    return flags;
}

UInt8 documentedPriority(const KernelProcess& process)
{
    // What the kernel shows is its own priority less 100, the number of the real-time ones.
    return static_cast<UInt8>(std::clamp(process.priority, -100, 155) + 100);
}
