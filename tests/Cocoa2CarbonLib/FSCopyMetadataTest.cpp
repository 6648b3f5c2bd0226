// Which modes, times and attributes a copy takes over from its source.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "tests/Cocoa2CarbonLib/CopyFixture.h"
#include "tests/support/FileTrees.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

class FSCopyMetadataTest : public CopyFixture { };

void setTimes(const fs::path& path, time_t accessed, time_t modified, UInt32 nanoseconds)
{
    const struct timespec times[2] = {{accessed, nanoseconds}, {modified, nanoseconds + 1}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

} // namespace

TEST_F(FSCopyMetadataTest, CopiesModesOfFilesAndFolders)
{
    int count = 0;
    for (const mode_t mode : {0644u, 0600u, 0755u, 0444u, 0400u, 0777u, 01777u, 0000u, 0200u}) {
        const std::string name = "mode" + std::to_string(count++);
        ASSERT_EQ(::chmod(m_temp.write("tree/" + name, "x").c_str(), mode), 0);
        ASSERT_EQ(::chmod(m_temp.makeFolder("tree/folder " + name).c_str(), mode), 0);
    }
    if (::geteuid() != 0)
        GTEST_SKIP() << "reading everything needs user id 0";
    expectCopies();
}

TEST_F(FSCopyMetadataTest, CopiesReadOnlyFoldersAsAnOrdinaryUser)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "needs user id 0 to become an ordinary user";
    m_temp.write("tree/sub/deeper/file", "x");
    const int status = runAsOwner([&] {
        for (const char* const folder : {"sub/deeper", "sub", ""})
            EXPECT_EQ(::chmod((m_tree / folder).c_str(), 0500), 0);
        expectCopies();
        return HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(statusOf(m_dest / "tree/sub/deeper").st_mode & 07777, 0500u);
}

TEST_F(FSCopyMetadataTest, CopiesAFolderThatCanBeReadButNotSearchedAsAnOrdinaryUser)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "needs user id 0 to become an ordinary user";
    const int status = runAsOwner([&] {
        EXPECT_EQ(::chmod(m_tree.c_str(), 0400), 0);
        EXPECT_EQ(copy(m_tree), 0);
        return HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(statusOf(m_dest / "tree").st_mode & 07777, 0400u);
}

TEST_F(FSCopyMetadataTest, CopiesFoldersWhoseModeClosesTheWayBackAsAnOrdinaryUser)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "needs user id 0 to become an ordinary user";
    // Others may read them, but their owner, who the user is of the copies, may not: the folder above, closed
    // while forty levels were at work, must be open before the mode is set.
    fs::path last = trees::makeChain(m_tree, 40, "d");
    for (fs::path folder = last; folder != m_temp.path(); folder = folder.parent_path())
        ASSERT_EQ(::chmod(folder.c_str(), 0055), 0);
    ASSERT_EQ(::chmod(m_temp.path().c_str(), 0755), 0);
    ASSERT_EQ(::chown(m_dest.c_str(), child::kNobody, child::kNobody), 0);
    EXPECT_EQ(child::runAsNobody([&] { return copy(m_tree) == 0 ? 0 : 1; }), 0);
    const fs::path copied = m_dest / last.lexically_relative(m_temp.path());
    EXPECT_EQ(statusOf(copied).st_mode & 07777, 0055u);
    EXPECT_EQ(statusOf(m_dest / "tree").st_mode & 07777, 0055u);
}

TEST_F(FSCopyMetadataTest, IgnoresTheFileCreationMask)
{
    ASSERT_EQ(::chmod(m_temp.write("tree/file", "x").c_str(), 0666), 0);
    const mode_t before = ::umask(0377);
    const OSStatus error = copy(m_tree);
    ::umask(before);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(statusOf(m_dest / "tree/file").st_mode & 07777, 0666u);
}

TEST_F(FSCopyMetadataTest, CopiesTimesToTheNanosecond)
{
    const fs::path file = m_temp.write("tree/sub/file", "x");
    fs::create_symlink("nowhere", m_tree / "link");
    setTimes(file, 1000000001, 1000000002, 123456788);
    setTimes(m_tree / "link", 1000000003, 1000000004, 223456788);
    setTimes(m_tree / "sub", 1000000005, 1000000006, 323456788);
    setTimes(m_tree, 1000000007, 1000000008, 423456788);
    EXPECT_EQ(copy(m_tree), 0);
    struct Expected {
        const char* name;
        time_t modified;
        int nanoseconds;
    };
    for (const Expected& expected :
        {Expected {"tree/sub/file", 1000000002, 123456789}, {"tree/link", 1000000004, 223456789},
            {"tree/sub", 1000000006, 323456789}, {"tree", 1000000008, 423456789}}) {
        const struct stat status = statusOf(m_dest / expected.name);
        EXPECT_EQ(status.st_mtim.tv_sec, expected.modified) << expected.name;
        EXPECT_EQ(status.st_mtim.tv_nsec, expected.nanoseconds) << expected.name;
    }
    EXPECT_EQ(statusOf(m_dest / "tree/sub/file").st_atim.tv_sec, 1000000001);
    EXPECT_EQ(statusOf(m_dest / "tree/sub/file").st_atim.tv_nsec, 123456788);
    EXPECT_EQ(statusOf(m_dest / "tree").st_atim.tv_sec, 1000000007);
}

TEST_F(FSCopyMetadataTest, CopiesAttributesOfFilesAndFolders)
{
    const fs::path file = m_temp.write("tree/file", "x");
    if (!setAttribute(file, "user.origin", "somewhere"))
        GTEST_SKIP() << "the file system has no extended attributes";
    ASSERT_TRUE(setAttribute(m_tree, "user.color", std::string_view("\0\1\xff", 3)));
    ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
    EXPECT_EQ(copy(m_tree), 0);
    EXPECT_EQ(attribute(m_dest / "tree/file", "user.origin"), "somewhere");
    EXPECT_EQ(attribute(m_dest / "tree", "user.color"), std::string("\0\1\xff", 3));
}

TEST_F(FSCopyMetadataTest, CopiesAttributesOfReadOnlyFilesAsAnOrdinaryUser)
{
    const fs::path file = m_temp.write("tree/file", "x");
    if (!child::canChangeUser() || !setAttribute(file, "user.origin", "somewhere"))
        GTEST_SKIP() << "needs user id 0 to become an ordinary user, and extended attributes";
    ASSERT_TRUE(setAttribute(m_tree, "user.color", "blue"));
    ASSERT_EQ(::chmod(file.c_str(), 0400), 0);
    ASSERT_EQ(::chmod(m_tree.c_str(), 0500), 0);
    EXPECT_EQ(runAsOwner([&] { return copy(m_tree) == 0 ? 0 : 1; }), 0);
    EXPECT_EQ(attribute(m_dest / "tree/file", "user.origin"), "somewhere");
    EXPECT_EQ(attribute(m_dest / "tree", "user.color"), "blue");
}

TEST_F(FSCopyMetadataTest, CopiesAccessControlListsAndInheritsNone)
{
    // acl(5) in its extended-attribute form: version 2, then tag, rights and id of each entry, little-endian:
    // the owner rw, user 4711 rw, the group -, the mask r, others -.
    const std::string list("\2\0\0\0"
                           "\1\0\6\0\xff\xff\xff\xff"
                           "\2\0\6\0\x67\x12\0\0"
                           "\4\0\0\0\xff\xff\xff\xff"
                           "\x10\0\4\0\xff\xff\xff\xff"
                           "\x20\0\0\0\xff\xff\xff\xff",
        44);
    const fs::path listed = m_temp.write("tree/listed", "x");
    const fs::path plain = m_temp.write("tree/plain", "x");
    ASSERT_EQ(::chmod(plain.c_str(), 0640), 0);
    if (!setAttribute(listed, "system.posix_acl_access", list)
        || !setAttribute(m_dest, "system.posix_acl_default", list))
        GTEST_SKIP() << "the file system has no access control lists";
    const fs::path sub = m_temp.makeFolder("tree/sub");
    ASSERT_TRUE(setAttribute(sub, "system.posix_acl_default", list));
    const mode_t listedMode = statusOf(listed).st_mode;
    EXPECT_EQ(copy(m_tree), 0);
    EXPECT_EQ(attribute(m_dest / "tree/sub", "system.posix_acl_default"), list);
    EXPECT_EQ(attribute(m_dest / "tree/sub", "system.posix_acl_access"), "(none)");
    EXPECT_EQ(attribute(m_dest / "tree/listed", "system.posix_acl_access"), list);
    EXPECT_EQ(statusOf(m_dest / "tree/listed").st_mode, listedMode);
    EXPECT_EQ(attribute(m_dest / "tree/plain", "system.posix_acl_access"), "(none)");
    EXPECT_EQ(attribute(m_dest / "tree", "system.posix_acl_access"), "(none)");
    EXPECT_EQ(attribute(m_dest / "tree", "system.posix_acl_default"), "(none)");
    EXPECT_EQ(statusOf(m_dest / "tree/plain").st_mode & 07777, 0640u);
}

TEST_F(FSCopyMetadataTest, KeepsSetUserBitsOnlyForTheSameOwner)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "needs user id 0 to give files away";
    const fs::path own = m_temp.write("tree/own", "x");
    const fs::path foreign = m_temp.write("tree/foreign", "x");
    ASSERT_EQ(::chown(foreign.c_str(), child::kNobody, child::kNobody), 0);
    ASSERT_EQ(::chmod(own.c_str(), 06755), 0);
    ASSERT_EQ(::chmod(foreign.c_str(), 06755), 0);
    EXPECT_EQ(copy(m_tree), 0);
    EXPECT_EQ(statusOf(m_dest / "tree/own").st_mode & 07777, 06755u);
    EXPECT_EQ(statusOf(m_dest / "tree/foreign").st_mode & 07777, 0755u) << "would lend the copier's rights";
}
