// Where a process's arguments end and its environment begins.
#include "Cocoa2CarbonLib/ProcessArguments.h"

#include "tests/support/RunningProgram.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <unistd.h>

using namespace std::string_literals;

namespace {

using Texts = std::vector<std::string>;

struct Split {
    Texts arguments;
    Texts environment;

    bool operator==(const Split&) const = default;
};

Split split(const std::string& area)
{
    Split result;
    splitArgumentArea(area, result.arguments, result.environment);
    return result;
}

std::string areaOf(int pid)
{
    std::string area;
    return readArgumentArea(pid, area) ? area : "none";
}

} // namespace

TEST(SplitArgumentArea, TextsWithoutEqualsSignAreArgumentsAtFirst)
{
    EXPECT_EQ(split("/bin/a\0a\0-v\0--long\0"s), (Split {{"/bin/a", "a", "-v", "--long"}, {}}));
}

TEST(SplitArgumentArea, TextWithEqualsSignBeginsTheEnvironment)
{
    EXPECT_EQ(split("/bin/a\0HOME=/root\0plain\0-v\0--long\0"s),
        (Split {{"/bin/a"}, {"HOME=/root", "plain", "-v", "--long"}}));
}

TEST(SplitArgumentArea, LongOptionWithValueIsAnArgument)
{
    EXPECT_EQ(split("/bin/a\0--mode=fast\0x\0HOME=/root\0y\0"s),
        (Split {{"/bin/a", "--mode=fast", "x"}, {"HOME=/root", "y"}}));
}

TEST(SplitArgumentArea, LongOptionWithValueIsAnArgumentInTheEnvironmentToo)
{
    EXPECT_EQ(split("A=b\0--mode=fast\0c\0"s), (Split {{"--mode=fast"}, {"A=b", "c"}}));
}

TEST(SplitArgumentArea, TheLastDashDecides)
{
    EXPECT_EQ(split("--dry-run=yes\0"s), (Split {{}, {"--dry-run=yes"}}));
    EXPECT_EQ(split("--a=b-c\0"s), (Split {{}, {"--a=b-c"}}));
    EXPECT_EQ(split("A=b--c\0"s), (Split {{"A=b--c"}, {}}));
    EXPECT_EQ(split("A=--\0"s), (Split {{"A=--"}, {}}));
}

TEST(SplitArgumentArea, SingleDashIsNoLongOption)
{
    EXPECT_EQ(split("-D=1\0"s), (Split {{}, {"-D=1"}}));
    EXPECT_EQ(split("-=\0"s), (Split {{}, {"-="}}));
    EXPECT_EQ(split("=\0"s), (Split {{}, {"="}}));
}

TEST(SplitArgumentArea, RunsOfZeroBytesSeparateOnce)
{
    EXPECT_EQ(split("\0\0/bin/a\0\0\0b\0\0A=1\0\0\0"s), (Split {{"/bin/a", "b"}, {"A=1"}}));
    EXPECT_EQ(split(""), (Split {}));
    EXPECT_EQ(split("\0\0"s), (Split {}));
}

TEST(SplitArgumentArea, LastTextMayLackItsZeroByte)
{
    EXPECT_EQ(split("/bin/a\0b"s), (Split {{"/bin/a", "b"}, {}}));
}

TEST(SplitArgumentArea, KeepsLineEndsAndOddBytes)
{
    EXPECT_EQ(split("a\nb\0\xFF\0C=\n\0"s), (Split {{"a\nb", "\xFF"}, {"C=\n"}}));
}

TEST(ReadArgumentArea, HoldsExecutableArgumentsAndEnvironment)
{
    const ScopedTempDir folder;
    copyWaitingProgram(folder.at("tool"));
    const RunningProgram running(folder.at("tool"), {"zeroth", "-s", "b c", ""}, {"A=1", "B=2"});
    EXPECT_EQ(areaOf(running.pid()), folder.at("tool").string() + "\0zeroth\0-s\0b c\0\0\0A=1\0B=2\0\0"s);
}

TEST(ReadArgumentArea, FailsForAProcessThatHasEnded)
{
    RunningProgram running("/usr/bin/cat");
    const int pid = running.pid();
    running.endUncollected();
    EXPECT_EQ(areaOf(pid), "none");
    running.end();
    EXPECT_EQ(areaOf(pid), "none");
    EXPECT_EQ(areaOf(0), "none");
    EXPECT_EQ(areaOf(-1), "none");
}
