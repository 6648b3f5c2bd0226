// What is opened, and what is not even touched.
#include "Platform/Support/RegularFile.h"

#include "tests/support/TempDir.h"

#include <cerrno>
#include <sys/inotify.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

/// The error of an attempt, or 0 when it gave a descriptor.
int errorOf(const fs::path& path)
{
    struct stat status;
    errno = 0;
    const Descriptor file = openRegularFile(path.string(), status);
    const int error = errno;
    EXPECT_TRUE(file || error != 0) << path;
    return file ? 0 : error;
}

} // namespace

TEST(OpenRegularFile, GivesAFileWithItsStatusAlsoThroughALink)
{
    const ScopedTempDir folder;
    const fs::path path = folder.write("file", "12345");
    fs::create_symlink("file", folder.at("link"));
    for (const char* const name : {"file", "link"}) {
        struct stat status { };
        const Descriptor file = openRegularFile(folder.at(name).string(), status);
        ASSERT_TRUE(file);
        EXPECT_EQ(status.st_size, 5);
        EXPECT_TRUE(S_ISREG(status.st_mode));
        char bytes[6] = {};
        EXPECT_EQ(::read(file.get(), bytes, 5), 5);
        EXPECT_STREQ(bytes, "12345");
    }
}

TEST(OpenRegularFile, SaysWhyItGivesNone)
{
    const ScopedTempDir folder;
    EXPECT_EQ(errorOf(folder.at("missing")), ENOENT);
    EXPECT_EQ(errorOf(folder.path()), EISDIR);
    EXPECT_EQ(errorOf("/dev/null"), EINVAL);
    fs::create_symlink("loop", folder.at("loop"));
    EXPECT_EQ(errorOf(folder.at("loop")), ELOOP);
    EXPECT_EQ(errorOf(folder.write("file", "") / "below"), ENOTDIR);
}

TEST(OpenRegularFile, DoesNotEvenOpenWhatIsNone)
{
    const ScopedTempDir folder;
    const fs::path pipe = folder.at("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const Descriptor watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    ASSERT_GE(::inotify_add_watch(watch.get(), pipe.c_str(), IN_OPEN), 0);
    EXPECT_EQ(errorOf(pipe), EINVAL);
    alignas(inotify_event) char event[256];
    EXPECT_EQ(::read(watch.get(), event, sizeof event), -1);
    EXPECT_EQ(errno, EAGAIN) << "it was opened";
}
