#include "Cocoa2CarbonLib/ProcessTexts.h"

#include <cstdio>
#include <string_view>

namespace {

constexpr std::string_view kUnknownFlag = "Unknown flag";

struct Row {
    UInt32 bits; ///< all of them must be set
    std::string_view text;
};

constexpr Row kStateTexts[] = {
    {0x1, "Process being created by fork "},
    {0x2, "Currently runnable "},
    {0x1 | 0x2, "Sleeping on an address "},
    {0x4, "Process debugging or suspension "},
    {0x4 | 0x1, "Awaiting collection by parent "},
};

/// What four of the rows ask for instead of a bit of their own; no process has all of these, which is meant.
constexpr UInt32 kAllLowBits = 0x7FFFFFFF;

// 0x20000 and 0x4000000 have no text.
constexpr Row kFlagTexts[] = {
    {0x1, "Process may hold POSIX advisory lock"},
    {0x2, "Process has a controlling terminal"},
    {0x4, "Process loaded into memory"},
    {0x8, "No SIGCHLD when child(ren) stop"},
    {0x10, "Parent waiting for child(ren) exec/exit"},
    {0x20, "Process has started profiling"},
    {0x40, "Selecting; wakeup/waiting danger"},
    {kAllLowBits, "Process was stopped and continued"},
    {0x80, "Process in interruptible sleep"},
    {0x100, "Process has set group id privileges"},
    {0x200, "System process: no signals, stats, or swap"},
    {0x400, "Process is timing out during sleep"},
    {0x800, "Debugged process being traced"},
    {0x1000, "Debugged process has waited for child(ren)"},
    {0x2000, "Process working on exit"},
    {0x4000, "Process called exec"},
    {0x8000, "Owe process an addupc() call at next ast."},
    {0x10000, "P_AFFINITY"},
    {kAllLowBits, "P_TRANSLATED or P_CLASSIC"},
    {kAllLowBits, "Process tracing via filesystem"},
    {kAllLowBits, "Process needs single-step fixup"},
    {0x40000, "Process has a wait() in progress"},
    {0x80000, "kdebug tracing is on for this process"},
    {0x100000, "Process blocked due to SIGTTOU or SIGTTIN"},
    {0x200000, "Process called reboot()"},
    {0x400000, "Process is TBE"},
    {0x800000, "Process has signal exceptions"},
    {0x1000000, "Process is being branch traced"},
    {0x2000000, "Process has vfork child(ren)"},
    {0x8000000, "Process in vfork routine"},
    {0x10000000, "Process is not using shared libs"},
    {0x20000000, "Forced quota for root"},
    {0x40000000, "No zombies when child processes exit"},
    {0x80000000, "No hang on remote filesystem operations"},
};

} // namespace

std::string stateText(UInt8 state)
{
    std::string text;
    for (const Row& row : kStateTexts) {
        if ((state & row.bits) == row.bits)
            text += row.text;
    }
    if (!text.empty())
        return text;
    return static_cast<signed char>(state) > 0 ? "Unknown state" : "None available";
}

std::vector<std::string> flagTexts(UInt32 flags)
{
    std::vector<std::string> texts;
    for (const Row& row : kFlagTexts) {
        if ((flags & row.bits) == row.bits)
            texts.emplace_back(row.text);
    }
    if (texts.empty())
        texts.emplace_back(static_cast<SInt32>(flags) > 0 ? kUnknownFlag : "No flags");
    return texts;
}

std::vector<std::string> reportedFlagTexts(UInt32 flags)
{
    std::vector<std::string> texts = flagTexts(flags);
    if (texts.front() == kUnknownFlag) {
        (void)std::printf("procFlags: %d\n", static_cast<SInt32>(flags)); // nobody waits for this line
        (void)std::fflush(stdout);
    }
    return texts;
}
