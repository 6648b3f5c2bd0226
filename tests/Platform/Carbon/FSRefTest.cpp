// References to file-system objects: what they name, and when they cannot be made.
#include "Platform/Carbon/FSRef.h"

#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

OSStatus makeRef(const std::string& path, FSRef& ref, Boolean* isDirectory = nullptr)
{
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, isDirectory);
}

class FSRefTest : public testing::Test {
protected:
    ScopedTempDir m_temp;
    const fs::path m_file = m_temp.write("folder/file", "x");
    const fs::path m_folder = m_temp.at("folder");
    FSRef m_ref;
};

} // namespace

TEST_F(FSRefTest, HoldsDeviceInodeAndPath)
{
    struct stat status;
    ASSERT_EQ(::stat(m_file.c_str(), &status), 0);
    ASSERT_EQ(makeRef(m_file, m_ref), 0);
    EXPECT_EQ(m_ref.device, status.st_dev);
    EXPECT_EQ(m_ref.inode, status.st_ino);
    EXPECT_EQ(m_ref.path, m_file.string());
}

TEST_F(FSRefTest, TellsFoldersFromFiles)
{
    Boolean isDirectory = 2;
    EXPECT_EQ(makeRef(m_file, m_ref, &isDirectory), 0);
    EXPECT_EQ(isDirectory, 0);
    EXPECT_EQ(makeRef(m_folder, m_ref, &isDirectory), 0);
    EXPECT_NE(isDirectory, 0);
}

TEST_F(FSRefTest, NamesErrors)
{
    EXPECT_EQ(FSPathMakeRef(nullptr, &m_ref, nullptr), -50);
    EXPECT_EQ(makeRef("", m_ref), -50);
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>("/"), nullptr, nullptr), -50);
    EXPECT_EQ(makeRef(m_temp.at("nothing"), m_ref), -43);
    EXPECT_EQ(makeRef(m_file.string() + "/below", m_ref), -120);
    EXPECT_EQ(makeRef(m_file.string() + "/", m_ref), -120) << "a trailing slash asks for a folder";
    EXPECT_EQ(makeRef("/" + std::string(5000, 'n'), m_ref), -1410);
    EXPECT_TRUE(m_ref.path.empty()) << "a failure leaves the reference alone";
}

TEST_F(FSRefTest, FollowsALinkToTheObjectButKeepsTheLinksPath)
{
    fs::create_symlink(m_folder, m_temp.at("link"));
    FSRef target;
    Boolean isDirectory = 0;
    ASSERT_EQ(makeRef(m_temp.at("link"), m_ref, &isDirectory), 0);
    ASSERT_EQ(makeRef(m_folder, target), 0);
    EXPECT_NE(isDirectory, 0);
    EXPECT_EQ(FSCompareFSRefs(&m_ref, &target), 0);
    EXPECT_EQ(m_ref.path, m_temp.at("link").string());
}

TEST_F(FSRefTest, RefusesADanglingLink)
{
    fs::create_symlink("nowhere", m_temp.at("link"));
    EXPECT_EQ(makeRef(m_temp.at("link"), m_ref), -43);
}

TEST_F(FSRefTest, TidiesThePath)
{
    ASSERT_EQ(makeRef(m_temp.path().string() + "//folder/././", m_ref), 0);
    EXPECT_EQ(m_ref.path, m_folder.string());
    ASSERT_EQ(makeRef("//.", m_ref), 0);
    EXPECT_EQ(m_ref.path, "/");
    ASSERT_EQ(makeRef(m_folder.string() + "/..", m_ref), 0);
    EXPECT_EQ(m_ref.path, m_folder.string() + "/..") << "where that leads is the file system's to say";
}

TEST_F(FSRefTest, MakesARelativePathAbsolute)
{
    ASSERT_EQ(makeRef(".", m_ref), 0);
    EXPECT_EQ(m_ref.path, fs::current_path().string());
}

TEST_F(FSRefTest, KeepsNamesThatAreNotUtf8)
{
    const fs::path odd = m_temp.write("\xff\xfe", "x");
    ASSERT_EQ(makeRef(odd, m_ref), 0);
    EXPECT_EQ(m_ref.path, odd.string());
}

TEST_F(FSRefTest, ComparesByObjectAndNotByPath)
{
    const fs::path second = m_temp.at("second name");
    fs::create_hard_link(m_file, second);
    FSRef other;
    ASSERT_EQ(makeRef(m_file, m_ref), 0);
    ASSERT_EQ(makeRef(second, other), 0);
    EXPECT_EQ(FSCompareFSRefs(&m_ref, &other), 0);
    ASSERT_EQ(makeRef(m_folder, other), 0);
    EXPECT_EQ(FSCompareFSRefs(&m_ref, &other), -50);
    EXPECT_EQ(FSCompareFSRefs(nullptr, &other), -50);
}

TEST_F(FSRefTest, WritesThePathOnlyWhenItFitsWithItsZero)
{
    ASSERT_EQ(makeRef(m_file, m_ref), 0);
    const UInt32 length = static_cast<UInt32>(m_ref.path.size());
    std::vector<UInt8> buffer(length + 1, 0xAA);
    EXPECT_EQ(FSRefMakePath(&m_ref, buffer.data(), length), -1410);
    EXPECT_EQ(buffer[0], 0xAA);
    EXPECT_EQ(FSRefMakePath(&m_ref, buffer.data(), length + 1), 0);
    EXPECT_STREQ(reinterpret_cast<const char*>(buffer.data()), m_file.c_str());
    EXPECT_EQ(FSRefMakePath(nullptr, buffer.data(), length + 1), -50);
    EXPECT_EQ(FSRefMakePath(&m_ref, nullptr, length + 1), -50);
    const FSRef none;
    EXPECT_EQ(FSRefMakePath(&none, buffer.data(), length + 1), -1401);
}

TEST_F(FSRefTest, MakesAReferenceFromAWidePath)
{
    const fs::path wide = m_temp.write("Grüße 日本 😀", "x");
    ASSERT_TRUE(makeRefFromWidePath(wide.u16string(), m_ref));
    EXPECT_EQ(m_ref.path, wide.string());
    EXPECT_FALSE(makeRefFromWidePath(u"", m_ref));
    EXPECT_FALSE(makeRefFromWidePath(m_temp.at("nothing").u16string(), m_ref));
    EXPECT_FALSE(makeRefFromWidePath(std::u16string(u"/tmp\0x", 6), m_ref)) << "a zero inside is not cut off";
    EXPECT_FALSE(makeRefFromWidePath(u"/tmp/\xD800", m_ref));
}

TEST_F(FSRefTest, TakesWidePathsOf1023BytesAndNoMore)
{
    const std::u16string longest = u"/" + std::u16string(1018, u'/') + u"/tmp";
    ASSERT_EQ(longest.size(), 1023u);
    EXPECT_TRUE(makeRefFromWidePath(longest, m_ref));
    EXPECT_FALSE(makeRefFromWidePath(u"/" + longest, m_ref));
}
