// Read streams of file URLs.
#include "tests/Platform/CFNetwork/StreamReader.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <sys/stat.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(FileStream, GivesTheBytesAndNoAnswer)
{
    const ScopedTempDir folder;
    const std::string body(200'000, 'f');
    const StreamResult result = pollToEnd(makeStream("file://" + folder.write("a", body).string()));
    EXPECT_TRUE(result.body == body);
    EXPECT_EQ(result.status, kCFStreamStatusAtEnd);
    EXPECT_EQ(result.answer, 0);
}

TEST(FileStream, SchemeMayBeInAnyCaseAndThePathEscaped)
{
    const ScopedTempDir folder;
    folder.write("a b", "blank");
    EXPECT_EQ(pollToEnd(makeStream("FILE://" + folder.path().string() + "/a%20b")).body, "blank");
}

TEST(FileStream, TellsItsEventsOutOfTheEventLoop)
{
    const ScopedTempDir folder;
    const CFRef stream = makeStream("file://" + folder.write("a", "hello").string());
    StreamReader reader(stream);
    EXPECT_THAT(reader.events(), IsEmpty());
    ASSERT_TRUE(reader.run());
    EXPECT_THAT(reader.events(),
        ElementsAre(
            kCFStreamEventOpenCompleted, kCFStreamEventHasBytesAvailable, kCFStreamEventEndEncountered));
    EXPECT_EQ(reader.body(), "hello");
}

TEST(FileStream, EmptyFileEndsAtOnce)
{
    const ScopedTempDir folder;
    const CFRef stream = makeStream("file://" + folder.write("a", "").string());
    ASSERT_TRUE(CFReadStreamOpen(stream));
    EXPECT_FALSE(CFReadStreamHasBytesAvailable(stream));
    EXPECT_EQ(CFReadStreamGetStatus(stream), kCFStreamStatusAtEnd);
}

TEST(FileStream, OnlyRegularFilesOpen)
{
    const ScopedTempDir folder;
    ASSERT_EQ(::mkfifo(folder.at("fifo").c_str(), 0600), 0);
    folder.makeFolder("folder");
    for (const char* path : {"/none", "/fifo", "/folder", ""}) {
        const CFRef stream = makeStream("file://" + folder.path().string() + path);
        EXPECT_FALSE(CFReadStreamOpen(stream)) << path;
        EXPECT_EQ(CFReadStreamGetStatus(stream), kCFStreamStatusError) << path;
    }
    EXPECT_FALSE(CFReadStreamOpen(makeStream("file:///dev/zero")));
}

TEST(FileStream, FileThatWasShortenedMeanwhileEndsWhereItEnds)
{
    const ScopedTempDir folder;
    const std::filesystem::path path = folder.write("a", std::string(200'000, 'f'));
    const CFRef stream = makeStream("file://" + path.string());
    ASSERT_TRUE(CFReadStreamOpen(stream));
    std::filesystem::resize_file(path, 10);
    std::size_t total = 0;
    UInt8 bytes[16384];
    while (CFReadStreamHasBytesAvailable(stream))
        total += static_cast<std::size_t>(CFReadStreamRead(stream, bytes, sizeof bytes));
    EXPECT_EQ(total, 65536u) << "what was read ahead";
    EXPECT_EQ(CFReadStreamGetStatus(stream), kCFStreamStatusAtEnd);
}
