// How the kernel's states, flags and priorities stand for the documented ones.
#include "Cocoa2CarbonLib/ProcessMapping.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

/// A process of which no documented flag holds: a fork that never called exec, without anything in memory.
KernelProcess plain()
{
    KernelProcess process;
    process.state = 'R';
    process.flags = 0x40;
    return process;
}

} // namespace

TEST(DocumentedState, HasARowForEachOfTheKernels)
{
    KernelProcess process;
    const auto stateOf = [&process](char letter) {
        process.state = letter;
        return int {documentedState(process)};
    };
    EXPECT_EQ(stateOf('R'), 2);
    for (const char sleeping : {'S', 'D', 'I', 'P', 'K', 'W'})
        EXPECT_EQ(stateOf(sleeping), 3) << sleeping;
    EXPECT_EQ(stateOf('T'), 4);
    EXPECT_EQ(stateOf('t'), 4);
    for (const char ended : {'Z', 'X', 'x'})
        EXPECT_EQ(stateOf(ended), 5) << ended;
    EXPECT_EQ(stateOf('?'), 0);
    EXPECT_EQ(stateOf('\0'), 0);
}

TEST(DocumentedFlags, AreNoneForAPlainProcess)
{
    EXPECT_EQ(documentedFlags(plain()), 0u);
}

TEST(DocumentedFlags, ControllingTerminal)
{
    KernelProcess process = plain();
    process.terminal = 34816;
    EXPECT_EQ(documentedFlags(process), 0x2u);
    process.terminal = -1; // a device whose number fills the field
    EXPECT_EQ(documentedFlags(process), 0x2u);
}

TEST(DocumentedFlags, LoadedIntoMemory)
{
    KernelProcess process = plain();
    process.residentPages = 1;
    EXPECT_EQ(documentedFlags(process), 0x4u);
}

TEST(DocumentedFlags, InterruptibleSleepIsNotTheUninterruptibleOne)
{
    KernelProcess process = plain();
    process.state = 'S';
    EXPECT_EQ(documentedFlags(process), 0x80u);
    process.state = 'D';
    EXPECT_EQ(documentedFlags(process), 0u);
}

TEST(DocumentedFlags, PrivilegesOfASetIdAreAnyIdThatDiffers)
{
    for (UInt32 KernelProcess::*const id :
        {&KernelProcess::realUser, &KernelProcess::effectiveUser, &KernelProcess::savedUser,
            &KernelProcess::realGroup, &KernelProcess::effectiveGroup, &KernelProcess::savedGroup}) {
        KernelProcess process = plain();
        process.*id = 1000;
        EXPECT_EQ(documentedFlags(process), 0x100u);
    }
    KernelProcess process = plain();
    process.realUser = process.effectiveUser = process.savedUser = 1000;
    EXPECT_EQ(documentedFlags(process), 0u);
}

TEST(DocumentedFlags, SystemProcessIsAKernelThreadWhichNeverCalledExec)
{
    KernelProcess process = plain();
    process.flags = 0x200000;
    EXPECT_EQ(documentedFlags(process), 0x200u);
}

TEST(DocumentedFlags, Traced)
{
    KernelProcess process = plain();
    process.tracer = 1;
    EXPECT_EQ(documentedFlags(process), 0x800u);
}

TEST(DocumentedFlags, WorkingOnExit)
{
    KernelProcess process = plain();
    process.flags |= 0x4;
    EXPECT_EQ(documentedFlags(process), 0x2000u);
}

TEST(DocumentedFlags, CalledExec)
{
    KernelProcess process = plain();
    process.flags = 0;
    EXPECT_EQ(documentedFlags(process), 0x4000u);
}

TEST(DocumentedFlags, NoZombiesWhereTheSignalOfTheirEndIsIgnored)
{
    KernelProcess process = plain();
    process.ignoredSignals = 0x10000; // bit 16, signal 17
    ASSERT_EQ(SIGCHLD, 17);
    EXPECT_EQ(documentedFlags(process), 0x40000000u);
    process.ignoredSignals = ~UInt64 {0x10000};
    EXPECT_EQ(documentedFlags(process), 0u);
}

TEST(DocumentedPriority, IsTheKernelsOwnOne)
{
    KernelProcess process;
    const auto priorityOf = [&process](int shown) {
        process.priority = shown;
        return int {documentedPriority(process)};
    };
    EXPECT_EQ(priorityOf(20), 120); // nice 0
    EXPECT_EQ(priorityOf(0), 100);  // nice -20
    EXPECT_EQ(priorityOf(39), 139); // nice 19
    EXPECT_EQ(priorityOf(-2), 98);  // the lowest real-time one
    EXPECT_EQ(priorityOf(-100), 0);
    EXPECT_EQ(priorityOf(-101), 0); // one with a deadline
    EXPECT_EQ(priorityOf(1000), 255);
}
