// What is read from a process's "stat" and "status".
#include "Cocoa2CarbonLib/KernelProcess.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

/// A "stat" of a process 42 with that command; its fields are those of proc(5), from the third on.
std::string stat(const std::string& command)
{
    return "42 (" + command
        + ") S 7 42 42 34816 -1 4194304 100 0 1 0 5 6 0 0 20 -5 1 0 123456 10000 250 18446744073709551615 "
          "1 1 0 0 0 0 0 0 65536 0 0 0 17 1 0 0 0 0 0 1 1 1 1 1 1 1 0\n";
}

const std::string kStatus = "Name:\tcat\nUmask:\t0022\nState:\tS (sleeping)\nTgid:\t42\nPid:\t42\nPPid:\t7\n"
                            "TracerPid:\t9\nUid:\t1\t2\t3\t4\nGid:\t5\t6\t7\t8\nSigBlk:\t0000000000000001\n"
                            "SigIgn:\t0000000000010000\nSigCgt:\t0000000000000002\n";

std::string without(std::string text, const std::string& line)
{
    return text.erase(text.find(line), line.size());
}

KernelProcess startedAt(UInt64 ticks, int pid)
{
    KernelProcess process;
    process.startTicks = ticks;
    process.pid = pid;
    return process;
}

} // namespace

TEST(ParseStat, ReadsTheFieldsThatAreUsed)
{
    KernelProcess process;
    ASSERT_TRUE(parseStat(stat("cat"), process));
    EXPECT_EQ(process.pid, 42);
    EXPECT_EQ(process.command, "cat");
    EXPECT_EQ(process.state, 'S');
    EXPECT_EQ(process.parent, 7);
    EXPECT_EQ(process.terminal, 34816);
    EXPECT_EQ(process.flags, 4194304u);
    EXPECT_EQ(process.priority, 20);
    EXPECT_EQ(process.nice, -5);
    EXPECT_EQ(process.startTicks, 123456u);
    EXPECT_EQ(process.residentPages, 250);
}

TEST(ParseStat, CommandMayHoldParenthesesBlanksAndLineEnds)
{
    for (const std::string& command : {") Z 1 (x"s, "a\n43 (b"s, "("s, ")"s, ""s, "\xFF) R"s}) {
        KernelProcess process;
        ASSERT_TRUE(parseStat(stat(command), process)) << command;
        EXPECT_EQ(process.command, command);
        EXPECT_EQ(process.pid, 42);
        EXPECT_EQ(process.state, 'S');
        EXPECT_EQ(process.parent, 7);
    }
}

TEST(ParseStat, RefusesEveryShorterText)
{
    const std::string whole = stat("cat");
    const std::size_t lastUsed = whole.find(" 250 ") + 2;
    for (std::size_t length = 0; length < lastUsed; ++length) {
        KernelProcess process;
        ASSERT_FALSE(parseStat(whole.substr(0, length), process)) << length;
    }
}

TEST(ParseStat, RefusesWhatIsNoNumber)
{
    KernelProcess process;
    EXPECT_FALSE(parseStat("x" + stat("cat"), process));
    EXPECT_FALSE(parseStat(")(", process));
    std::string text = stat("cat");
    text.replace(text.find("123456"), 6, "12x456");
    EXPECT_FALSE(parseStat(text, process));
    text = stat("cat");
    text.replace(text.find("4194304"), 7, "99999999999");
    EXPECT_FALSE(parseStat(text, process));
}

TEST(ParseStatus, ReadsTheFieldsThatAreUsed)
{
    KernelProcess process;
    ASSERT_TRUE(parseStatus(kStatus, process));
    EXPECT_EQ(process.group, 42);
    EXPECT_EQ(process.tracer, 9);
    EXPECT_EQ(process.realUser, 1u);
    EXPECT_EQ(process.effectiveUser, 2u);
    EXPECT_EQ(process.savedUser, 3u);
    EXPECT_EQ(process.realGroup, 5u);
    EXPECT_EQ(process.effectiveGroup, 6u);
    EXPECT_EQ(process.savedGroup, 7u);
    EXPECT_EQ(process.ignoredSignals, 0x10000u);
}

TEST(ParseStatus, RefusesATextWithoutAFieldThatIsUsed)
{
    for (const char* line : {"Tgid:\t42\n", "TracerPid:\t9\n", "Uid:\t1\t2\t3\t4\n", "Gid:\t5\t6\t7\t8\n",
             "SigIgn:\t0000000000010000\n"}) {
        KernelProcess process;
        EXPECT_FALSE(parseStatus(without(kStatus, line), process)) << line;
    }
    KernelProcess process;
    EXPECT_FALSE(parseStatus("", process));
}

TEST(ParseStatus, FieldsBeginTheirLine)
{
    KernelProcess process;
    std::string text = kStatus;
    text.replace(text.find("cat"), 3, "x\\nUid:\t0\t0\t0\t0"); // the kernel escapes the line end of a name
    ASSERT_TRUE(parseStatus(text, process));
    EXPECT_EQ(process.effectiveUser, 2u);
}

TEST(SortNewestFirst, OrdersByStartAndThenById)
{
    std::vector<KernelProcess> processes
        = {startedAt(5, 2), startedAt(5, 1), startedAt(900, 3), startedAt(7, 40), startedAt(7, 41)};
    sortNewestFirst(processes);
    std::vector<int> ids;
    for (const KernelProcess& process : processes)
        ids.push_back(process.pid);
    EXPECT_EQ(ids, (std::vector<int> {3, 41, 40, 2, 1}));
}
