// The toolkit's files: making, reading, writing and numbering them.
#include "Platform/Lumen/LumFile.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/FileTrees.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

LumFSRefOwner refTo(const fs::path& path)
{
    return LumFSRefOwner(Lum0FSRCreateWithPath(path.u16string().c_str()));
}

class LumFileTest : public testing::Test {
protected:
    SInt16 create(const fs::path& path) const { return LumFileCreateExt(refTo(path).get(), 8); }
    SInt16 openForReading(const fs::path& path) const { return LumFileOpenExt(refTo(path).get(), 1); }

    ScopedTempDir m_temp;
    const fs::path m_path = m_temp.at("file");
};

} // namespace

TEST_F(LumFileTest, MakesAReferenceToAPlaceWhereNothingNeedExist)
{
    EXPECT_NE(refTo(m_temp.at("nothing/there")), nullptr);
}

TEST_F(LumFileTest, MakesNoReferenceFromAPathThatIsNone)
{
    EXPECT_EQ(Lum0FSRCreateWithPath(nullptr), nullptr);
    EXPECT_EQ(Lum0FSRCreateWithPath(u""), nullptr);
    EXPECT_EQ(Lum0FSRCreateWithPath(u"/tmp/\xD800"), nullptr);
    EXPECT_EQ(Lum0FSRCreateWithPath(std::u16string(1024, u'n').c_str()), nullptr);
    EXPECT_EQ(Lum0FSRCreateWithPath(std::u16string(512, u'\u00FC').c_str()), nullptr)
        << "1024 bytes of UTF-8";
    EXPECT_NE(LumFSRefOwner(Lum0FSRCreateWithPath(std::u16string(1023, u'n').c_str())), nullptr);
    Lum0FSRRelease(nullptr);
}

TEST_F(LumFileTest, WritesAndReadsBack)
{
    const SInt16 out = create(m_path);
    ASSERT_GT(out, 0);
    EXPECT_EQ(LumFileWriteExt(out, "hello ", 6, 0), 6);
    EXPECT_EQ(LumFileWriteExt(out, "world", 5, 0), 5);
    EXPECT_EQ(LumFileWriteExt(out, nullptr, 0, 0), 0);
    EXPECT_EQ(LumFileGetFileSizeExt(out), 11);
    EXPECT_EQ(LumFileCloseExt(out), 0);
    const SInt16 in = openForReading(m_path);
    ASSERT_GT(in, 0);
    EXPECT_EQ(LumFileGetFileSizeExt(in), 11);
    char bytes[16] = {};
    EXPECT_EQ(LumFileReadExt(in, bytes, 6), 6);
    EXPECT_EQ(LumFileReadExt(in, bytes, 16), 5) << "what is left";
    EXPECT_EQ(std::string(bytes, 5), "world");
    EXPECT_EQ(LumFileReadExt(in, bytes, 16), 0) << "the end";
    EXPECT_EQ(LumFileCloseExt(in), 0);
}

TEST_F(LumFileTest, MakesFilesThatOnlyTheUserReads)
{
    const mode_t formerMask = ::umask(0);
    const SInt16 file = create(m_path);
    ::umask(formerMask);
    struct stat status;
    ASSERT_EQ(::stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
    EXPECT_EQ(LumFileCloseExt(file), 0);
}

TEST_F(LumFileTest, EmptiesAnExistingFile)
{
    m_temp.write("file", "something longer");
    const SInt16 file = create(m_path);
    EXPECT_EQ(LumFileGetFileSizeExt(file), 0);
    EXPECT_EQ(LumFileWriteExt(file, "new", 3, 0), 3);
    EXPECT_EQ(LumFileCloseExt(file), 0);
    EXPECT_EQ(readWholeFile(m_path), "new");
}

TEST_F(LumFileTest, CreatesThroughNoLink)
{
    const fs::path target = m_temp.write("target", "kept");
    fs::create_symlink(target, m_path);
    EXPECT_EQ(create(m_path), -1);
    EXPECT_EQ(readWholeFile(target), "kept");
    fs::create_symlink(m_temp.at("nowhere"), m_temp.at("dangling"));
    EXPECT_EQ(create(m_temp.at("dangling")), -1);
    EXPECT_FALSE(trees::exists(m_temp.at("nowhere")));
}

TEST_F(LumFileTest, OpensThroughALink)
{
    fs::create_symlink(m_temp.write("target", "abc"), m_path);
    const SInt16 file = openForReading(m_path);
    EXPECT_EQ(LumFileGetFileSizeExt(file), 3);
    EXPECT_EQ(LumFileCloseExt(file), 0);
}

TEST_F(LumFileTest, TakesRegularFilesOnlyAndWaitsForNothing)
{
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    const fs::path folder = m_temp.makeFolder("folder");
    for (const fs::path& path : {m_path, folder, fs::path("/dev/null")}) {
        EXPECT_EQ(openForReading(path), -1) << path;
        EXPECT_EQ(create(path), -1) << path;
    }
}

TEST_F(LumFileTest, FailsWithoutAReferenceOrAFile)
{
    EXPECT_EQ(LumFileCreateExt(nullptr, 8), -1);
    EXPECT_EQ(LumFileOpenExt(nullptr, 1), -1);
    EXPECT_EQ(LumFileDeleteExt(nullptr), -1);
    EXPECT_EQ(openForReading(m_temp.at("nothing")), -1);
    EXPECT_EQ(create(m_temp.at("nothing/there")), -1);
}

TEST_F(LumFileTest, RefusesNumbersThatAreNotOpen)
{
    char byte = 0;
    const SInt16 closed = create(m_path);
    EXPECT_EQ(LumFileCloseExt(closed), 0);
    for (const SInt16 file : {SInt16(-32768), SInt16(-1), SInt16(0), closed, SInt16(257), SInt16(32767)}) {
        EXPECT_EQ(LumFileGetFileSizeExt(file), -1) << file;
        EXPECT_EQ(LumFileReadExt(file, &byte, 1), -1) << file;
        EXPECT_EQ(LumFileWriteExt(file, &byte, 1, 0), -1) << file;
        EXPECT_EQ(LumFileCloseExt(file), -1) << file;
    }
}

TEST_F(LumFileTest, RefusesWrongBuffersAndDirections)
{
    char byte = 0;
    const SInt16 out = create(m_path);
    EXPECT_EQ(LumFileWriteExt(out, &byte, -1, 0), -1);
    EXPECT_EQ(LumFileWriteExt(out, nullptr, 1, 0), -1);
    EXPECT_EQ(LumFileReadExt(out, &byte, 1), -1) << "opened for writing only";
    EXPECT_EQ(LumFileCloseExt(out), 0);
    const SInt16 in = openForReading(m_path);
    EXPECT_EQ(LumFileReadExt(in, &byte, -1), -1);
    EXPECT_EQ(LumFileReadExt(in, nullptr, 1), -1);
    EXPECT_EQ(LumFileWriteExt(in, &byte, 1, 0), 0) << "opened for reading only: nothing could be stored";
    EXPECT_EQ(LumFileCloseExt(in), 0);
}

TEST_F(LumFileTest, NumbersFilesFromOneAndGivesOutNoMoreThanItHolds)
{
    std::vector<SInt16> files;
    m_temp.write("file", "x");
    for (int i = 0; i < 256; ++i)
        files.push_back(openForReading(m_path));
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(files[static_cast<std::size_t>(i)], i + 1);
    EXPECT_EQ(openForReading(m_path), -1) << "no number is free";
    EXPECT_EQ(LumFileCloseExt(17), 0);
    EXPECT_EQ(openForReading(m_path), 17) << "a number that was given back is used again";
    for (const SInt16 file : files)
        EXPECT_EQ(LumFileCloseExt(file), 0);
}

TEST_F(LumFileTest, HandsNoFileOnToStartedPrograms)
{
    const std::set<std::string> before = trees::names("/proc/self/fd");
    const SInt16 file = create(m_path);
    int found = 0;
    for (int fd = 0; fd < 1024; ++fd) {
        std::error_code none;
        if (fs::read_symlink("/proc/self/fd/" + std::to_string(fd), none) != m_path)
            continue;
        ++found;
        EXPECT_NE(::fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    }
    EXPECT_EQ(found, 1);
    EXPECT_EQ(LumFileCloseExt(file), 0);
    EXPECT_EQ(trees::names("/proc/self/fd"), before);
}

TEST_F(LumFileTest, TellsHowMuchOfAWriteFoundRoom)
{
    // A limit on the file's size stands in for a full disk: the write is cut there, then fails.
    const int status = child::run([this] {
        const rlimit limit {1000, 1000};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0 || ::signal(SIGXFSZ, SIG_IGN) == SIG_ERR)
            return 1;
        const SInt16 file = create(m_path);
        const std::string bytes(1500, 'b');
        const bool cut = LumFileWriteExt(file, bytes.data(), 1500, 0) == 1000;
        return cut && LumFileWriteExt(file, bytes.data(), 1, 0) == 0 && LumFileCloseExt(file) == 0 ? 0 : 2;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fs::file_size(m_path), 1000u);
}

TEST_F(LumFileTest, DeletesTheFileOrTheLinkItself)
{
    const fs::path target = m_temp.write("target", "kept");
    fs::create_symlink(target, m_path);
    EXPECT_EQ(LumFileDeleteExt(refTo(m_path).get()), 0);
    EXPECT_FALSE(trees::exists(m_path));
    EXPECT_EQ(readWholeFile(target), "kept");
    EXPECT_EQ(LumFileDeleteExt(refTo(m_path).get()), -1) << "it is gone";
    EXPECT_EQ(LumFileDeleteExt(refTo(m_temp.path()).get()), -1) << "a folder is no file";
}

TEST_F(LumFileTest, RefusesOtherModesAndFlags)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(LumFileCreateExt(nullptr, 1), "failed assertion");
    EXPECT_DEATH(LumFileOpenExt(nullptr, 8), "failed assertion");
    EXPECT_DEATH(LumFileWriteExt(1, "", 0, 1), "failed assertion");
}
