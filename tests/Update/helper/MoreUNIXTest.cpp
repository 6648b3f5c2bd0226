// Full reads and writes, and the copying of data between descriptors.
#include "Platform/Support/Descriptor.h"
#include "Update/helper/MoreUNIX.h"
#include "tests/Update/helper/SystemCallFaults.h"
#include "tests/support/TempDir.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

std::string pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>('a' + i % 23 + i / 65536);
    return bytes;
}

Descriptor openForReading(const fs::path& file)
{
    return Descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC));
}

Descriptor openForWriting(const fs::path& file)
{
    return Descriptor(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
}

} // namespace

TEST(MoreUNIXRead, ReadsNothingForARequestOfZeroBytes)
{
    char buffer[1] = {'x'};
    unsigned long bytesRead = 77;
    EXPECT_EQ(MoreUNIXRead(9999, buffer, 0, &bytesRead), 0); // the descriptor is not even touched
    EXPECT_EQ(bytesRead, 0u);
    EXPECT_EQ(buffer[0], 'x');
}

TEST(MoreUNIXRead, FillsTheWholeRequestOverShortReads)
{
    const ScopedTempDir folder;
    const Descriptor file = openForReading(folder.write("f", "0123456789"));
    const ScopedReadFaults faults(file.get(), {{kShortCall, 1}, {kShortCall, 3}, {kShortCall, 2}});
    char buffer[9] = {};
    unsigned long bytesRead = 0;
    EXPECT_EQ(MoreUNIXRead(file.get(), buffer, 8, &bytesRead), 0);
    EXPECT_EQ(bytesRead, 8u);
    EXPECT_STREQ(buffer, "01234567");
}

TEST(MoreUNIXRead, GivesEPIPEAndTheCountAtTheEnd)
{
    const ScopedTempDir folder;
    const Descriptor file = openForReading(folder.write("f", "abc"));
    char buffer[10] = {};
    unsigned long bytesRead = 0;
    EXPECT_EQ(MoreUNIXRead(file.get(), buffer, 10, &bytesRead), 32);
    EXPECT_EQ(bytesRead, 3u);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(MoreUNIXRead(file.get(), buffer, 1, &bytesRead), 32);
    EXPECT_EQ(bytesRead, 0u);
}

TEST(MoreUNIXRead, GivesAnotherErrorWithTheCount)
{
    const ScopedTempDir folder;
    const Descriptor file = openForReading(folder.write("f", "0123456789"));
    const ScopedReadFaults faults(file.get(), {{kShortCall, 4}, {-1, EIO}});
    char buffer[10] = {};
    unsigned long bytesRead = 0;
    EXPECT_EQ(MoreUNIXRead(file.get(), buffer, 10, &bytesRead), EIO);
    EXPECT_EQ(bytesRead, 4u);
}

TEST(MoreUNIXRead, NeedsNoCount)
{
    const ScopedTempDir folder;
    const Descriptor file = openForReading(folder.write("f", "abc"));
    char buffer[4] = {};
    EXPECT_EQ(MoreUNIXRead(file.get(), buffer, 2, nullptr), 0);
    EXPECT_STREQ(buffer, "ab");
    EXPECT_EQ(MoreUNIXRead(file.get(), buffer, 2, nullptr), EPIPE);
}

TEST(MoreUNIXRead, RetriesAnInterruptedCall)
{
    const ScopedTempDir folder;
    const Descriptor file = openForReading(folder.write("f", "abcdef"));
    const ScopedReadFaults faults(file.get(), {{-1, EINTR}, {kShortCall, 2}, {-1, EINTR}, {-1, EINTR}});
    char buffer[7] = {};
    unsigned long bytesRead = 0;
    EXPECT_EQ(MoreUNIXRead(file.get(), buffer, 6, &bytesRead), 0);
    EXPECT_EQ(bytesRead, 6u);
    EXPECT_STREQ(buffer, "abcdef");
}

TEST(MoreUNIXRead, ResumesWithoutLossWhenSignalsArrive)
{
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    struct sigaction interrupting { };
    struct sigaction former { };
    interrupting.sa_handler = [](int) {}; // and no SA_RESTART: a waiting read is interrupted
    ASSERT_EQ(sigaction(SIGUSR1, &interrupting, &former), 0);
    const pid_t reader = getpid();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        for (int i = 0; i < 20; ++i) {
            (void)usleep(1000); // gives the reader time to wait again; the outcome does not depend on it
            (void)kill(reader, SIGUSR1);
            if (::write(writing.get(), "01234", 5) != 5)
                _exit(1);
        }
        _exit(0);
    }
    writing.reset();
    char buffer[101] = {};
    unsigned long bytesRead = 0;
    EXPECT_EQ(MoreUNIXRead(reading.get(), buffer, 100, &bytesRead), 0);
    EXPECT_EQ(bytesRead, 100u);
    std::string expected;
    for (int i = 0; i < 20; ++i)
        expected += "01234";
    EXPECT_EQ(std::string(buffer), expected);
    int state = -1;
    pid_t reaped = -1;
    do
        reaped = waitpid(child, &state, 0);
    while (reaped == -1 && errno == EINTR);
    EXPECT_EQ(state, 0);
    ASSERT_EQ(sigaction(SIGUSR1, &former, nullptr), 0);
}

TEST(MoreUNIXReadDeathTest, AssertsItsArgumentsAndTheCallsOutcome)
{
    char buffer[4];
    EXPECT_DEATH(
        (void)MoreUNIXRead(-1, buffer, 1, nullptr), "MoreUNIX.cpp:[0-9]+: failed assertion `fd >= 0'\n");
    EXPECT_DEATH(
        (void)MoreUNIXRead(0, nullptr, 1, nullptr), "MoreUNIX.cpp:[0-9]+: failed assertion `buf != NULL'\n");
    const Descriptor file = openForReading("/dev/zero");
    EXPECT_DEATH(
        {
            const ScopedReadFaults faults(file.get(), {{-2, EIO}});
            (void)MoreUNIXRead(file.get(), buffer, 4, nullptr);
        },
        "failed assertion `bytesThisTime == -1'\n");
    EXPECT_DEATH(
        {
            const ScopedReadFaults faults(file.get(), {{-1, 0}});
            (void)MoreUNIXRead(file.get(), buffer, 4, nullptr);
        },
        "failed assertion `err != 0'\n");
}

TEST(MoreUNIXWrite, WritesNothingForARequestOfZeroBytes)
{
    unsigned long bytesWritten = 77;
    EXPECT_EQ(MoreUNIXWrite(9999, "", 0, &bytesWritten), 0);
    EXPECT_EQ(bytesWritten, 0u);
}

TEST(MoreUNIXWrite, WritesTheWholeRequestOverShortAndInterruptedWrites)
{
    const ScopedTempDir folder;
    const Descriptor file = openForWriting(folder.at("f"));
    const ScopedWriteFaults faults(file.get(), {{kShortCall, 3}, {-1, EINTR}, {kShortCall, 1}});
    unsigned long bytesWritten = 0;
    EXPECT_EQ(MoreUNIXWrite(file.get(), "0123456789", 10, &bytesWritten), 0);
    EXPECT_EQ(bytesWritten, 10u);
    EXPECT_EQ(readWholeFile(folder.at("f")), "0123456789");
}

TEST(MoreUNIXWrite, GivesAnErrorWithTheCount)
{
    const ScopedTempDir folder;
    const Descriptor file = openForWriting(folder.at("f"));
    const ScopedWriteFaults faults(file.get(), {{kShortCall, 6}, {-1, ENOSPC}});
    unsigned long bytesWritten = 0;
    EXPECT_EQ(MoreUNIXWrite(file.get(), "0123456789", 10, &bytesWritten), ENOSPC);
    EXPECT_EQ(bytesWritten, 6u);
}

TEST(MoreUNIXWrite, GivesTheErrorOfAFullDevice)
{
    const Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(MoreUNIXWrite(full.get(), "x", 1, nullptr), ENOSPC);
}

TEST(MoreUNIXWriteDeathTest, AssertsItsArgumentsAndTheCallsOutcome)
{
    EXPECT_DEATH((void)MoreUNIXWrite(-1, "x", 1, nullptr), "failed assertion `fd >= 0'\n");
    EXPECT_DEATH((void)MoreUNIXWrite(1, nullptr, 1, nullptr), "failed assertion `buf != NULL'\n");
    const Descriptor file(open("/dev/null", O_WRONLY | O_CLOEXEC));
    const struct {
        CallOutcome outcome;
        const char* text;
    } cases[] = {
        {{0, 0}, "failed assertion `false'\n"},
        {{-2, EIO}, "failed assertion `bytesThisTime == -1'\n"},
        {{-1, 0}, "failed assertion `err != 0'\n"},
    };
    for (const auto& each : cases)
        EXPECT_DEATH(
            {
                const ScopedWriteFaults faults(file.get(), {each.outcome});
                (void)MoreUNIXWrite(file.get(), "text", 4, nullptr);
            },
            each.text);
}

TEST(MoreUNIXCopyDescriptorToDescriptor, CopiesAnyLength)
{
    for (const std::size_t size : {0u, 1u, 65535u, 65536u, 65537u, 131072u, 200000u}) {
        const ScopedTempDir folder;
        const std::string bytes = pattern(size);
        const Descriptor source = openForReading(folder.write("source", bytes));
        const Descriptor dest = openForWriting(folder.at("dest"));
        EXPECT_EQ(MoreUNIXCopyDescriptorToDescriptor(source.get(), dest.get()), 0) << size;
        EXPECT_EQ(readWholeFile(folder.at("dest")), bytes) << size;
    }
}

TEST(MoreUNIXCopyDescriptorToDescriptor, CopiesFromTheCurrentPosition)
{
    const ScopedTempDir folder;
    const Descriptor source = openForReading(folder.write("source", "skipped|kept"));
    ASSERT_EQ(lseek(source.get(), 8, SEEK_SET), 8);
    const Descriptor dest = openForWriting(folder.at("dest"));
    EXPECT_EQ(MoreUNIXCopyDescriptorToDescriptor(source.get(), dest.get()), 0);
    EXPECT_EQ(readWholeFile(folder.at("dest")), "kept");
}

TEST(MoreUNIXCopyDescriptorToDescriptor, ReadsThroughABufferOf65536Bytes)
{
    const ScopedTempDir folder;
    const Descriptor source = openForReading(folder.write("source", pattern(70000)));
    const Descriptor dest = openForWriting(folder.at("dest"));
    const ScopedReadLog log(source.get());
    EXPECT_EQ(MoreUNIXCopyDescriptorToDescriptor(source.get(), dest.get()), 0);
    // A full buffer, then what is left of 70,000 bytes, then the end within the same request.
    EXPECT_EQ(log.sizes(), (std::vector<std::size_t> {65536, 65536, 65536 - (70000 - 65536)}));
}

TEST(MoreUNIXCopyDescriptorToDescriptor, GivesENOMEMWithoutABuffer)
{
    const Descriptor source = openForReading("/dev/null");
    const Descriptor dest(open("/dev/null", O_WRONLY | O_CLOEXEC));
    const ScopedMemoryFault fault(65536);
    EXPECT_EQ(MoreUNIXCopyDescriptorToDescriptor(source.get(), dest.get()), 12);
}

TEST(MoreUNIXCopyDescriptorToDescriptor, StopsAtTheFirstError)
{
    const ScopedTempDir folder;
    const std::string bytes = pattern(100000);
    const Descriptor source = openForReading(folder.write("source", bytes));
    const Descriptor dest = openForWriting(folder.at("dest"));
    {
        const ScopedReadFaults faults(source.get(), {{kShortCall, 65536}, {-1, EIO}});
        EXPECT_EQ(MoreUNIXCopyDescriptorToDescriptor(source.get(), dest.get()), EIO);
        EXPECT_EQ(readWholeFile(folder.at("dest")), bytes.substr(0, 65536));
    }
    const Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(MoreUNIXCopyDescriptorToDescriptor(source.get(), full.get()), ENOSPC);
}

TEST(MoreUNIXCopyDescriptorToDescriptorDeathTest, AssertsItsArguments)
{
    EXPECT_DEATH((void)MoreUNIXCopyDescriptorToDescriptor(-1, 1), "failed assertion `source >= 0'\n");
    EXPECT_DEATH((void)MoreUNIXCopyDescriptorToDescriptor(0, -1), "failed assertion `dest >= 0'\n");
}
