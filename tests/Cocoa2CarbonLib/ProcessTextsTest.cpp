// The texts of states and flags, bit by bit.
#include "Cocoa2CarbonLib/ProcessTexts.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

struct FlagCase {
    UInt32 flag;
    const char* text;
};

const FlagCase kFlagCases[] = {
    {0x1, "Process may hold POSIX advisory lock"},
    {0x2, "Process has a controlling terminal"},
    {0x4, "Process loaded into memory"},
    {0x8, "No SIGCHLD when child(ren) stop"},
    {0x10, "Parent waiting for child(ren) exec/exit"},
    {0x20, "Process has started profiling"},
    {0x40, "Selecting; wakeup/waiting danger"},
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

struct StateCase {
    int state;
    const char* text;
};

const StateCase kStateCases[] = {
    {0, "None available"},
    {1, "Process being created by fork "},
    {2, "Currently runnable "},
    {3, "Process being created by fork Currently runnable Sleeping on an address "},
    {4, "Process debugging or suspension "},
    {5, "Process being created by fork Process debugging or suspension Awaiting collection by parent "},
    {6, "Currently runnable Process debugging or suspension "},
    {7,
        "Process being created by fork Currently runnable Sleeping on an address "
        "Process debugging or suspension Awaiting collection by parent "},
    {8, "Unknown state"},
    {0x78, "Unknown state"},
    {0x80, "None available"}, // as a signed value it is below 0
    {0xF8, "None available"},
    {0x82, "Currently runnable "},
};

} // namespace

TEST(StateText, JoinsTheTextsOfItsBits)
{
    for (const StateCase& state : kStateCases)
        EXPECT_EQ(stateText(static_cast<UInt8>(state.state)), state.text) << state.state;
}

TEST(FlagTexts, GiveEachFlagItsText)
{
    for (const FlagCase& flag : kFlagCases)
        EXPECT_EQ(flagTexts(flag.flag), Texts {flag.text}) << std::hex << flag.flag;
}

TEST(FlagTexts, CoverEveryBitButTwo)
{
    UInt32 covered = 0;
    for (const FlagCase& flag : kFlagCases)
        covered |= flag.flag;
    EXPECT_EQ(~covered, 0x20000u | 0x4000000u);
}

TEST(FlagTexts, AllLowBitsGiveFourMoreTextsInTheirPlaces)
{
    const Texts all = {
        "Process may hold POSIX advisory lock",
        "Process has a controlling terminal",
        "Process loaded into memory",
        "No SIGCHLD when child(ren) stop",
        "Parent waiting for child(ren) exec/exit",
        "Process has started profiling",
        "Selecting; wakeup/waiting danger",
        "Process was stopped and continued",
        "Process in interruptible sleep",
        "Process has set group id privileges",
        "System process: no signals, stats, or swap",
        "Process is timing out during sleep",
        "Debugged process being traced",
        "Debugged process has waited for child(ren)",
        "Process working on exit",
        "Process called exec",
        "Owe process an addupc() call at next ast.",
        "P_AFFINITY",
        "P_TRANSLATED or P_CLASSIC",
        "Process tracing via filesystem",
        "Process needs single-step fixup",
        "Process has a wait() in progress",
        "kdebug tracing is on for this process",
        "Process blocked due to SIGTTOU or SIGTTIN",
        "Process called reboot()",
        "Process is TBE",
        "Process has signal exceptions",
        "Process is being branch traced",
        "Process has vfork child(ren)",
        "Process in vfork routine",
        "Process is not using shared libs",
        "Forced quota for root",
        "No zombies when child processes exit",
    };
    EXPECT_EQ(flagTexts(0x7FFFFFFF), all);
    EXPECT_EQ(all.size(), 33u);
    Texts withHighBit = all;
    withHighBit.emplace_back("No hang on remote filesystem operations");
    EXPECT_EQ(flagTexts(0xFFFFFFFF), withHighBit);
}

TEST(FlagTexts, OneLowBitLessTakesTheFourAway)
{
    EXPECT_EQ(flagTexts(0x7FFFFFFF & ~0x20000u).size(), 29u);
    EXPECT_EQ(flagTexts(0x7FFFFFFE).size(), 28u);
}

TEST(FlagTexts, SeveralFlagsKeepTheOrderOfTheTable)
{
    EXPECT_EQ(flagTexts(0x4000 | 0x80 | 0x4),
        (Texts {"Process loaded into memory", "Process in interruptible sleep", "Process called exec"}));
}

TEST(FlagTexts, ZeroGivesNoFlags)
{
    EXPECT_EQ(flagTexts(0), Texts {"No flags"});
}

TEST(FlagTexts, FlagsWithoutATextAreUnknown)
{
    for (const UInt32 flags : {0x20000u, 0x4000000u, 0x4020000u})
        EXPECT_EQ(flagTexts(flags), Texts {"Unknown flag"});
    EXPECT_EQ(flagTexts(0x20001), Texts {"Process may hold POSIX advisory lock"});
}

TEST(ReportedFlagTexts, PrintUnknownFlagsOnly)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(reportedFlagTexts(0x4020000), Texts {"Unknown flag"});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "procFlags: 67239936\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(reportedFlagTexts(0), Texts {"No flags"});
    EXPECT_EQ(reportedFlagTexts(1), Texts {"Process may hold POSIX advisory lock"});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}
