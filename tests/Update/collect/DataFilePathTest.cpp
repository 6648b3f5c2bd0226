// The path of a data file in the suite's application-support folder.
#include "Update/collect/DataFilePath.h"

#include "Platform/Carbon/Folders.h"
#include "tests/support/FakeHome.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

class GetDataFilePath : public testing::Test {
protected:
    int ask(const std::string& name, SInt16 domain = kLocalDomain)
    {
        std::memset(m_path, 0x7F, sizeof m_path);
        return GetDataFilePathAtAppSupportFloder(
            domain, m_path, reinterpret_cast<const UInt8*>(name.c_str()));
    }
    std::string path() const { return reinterpret_cast<const char*>(m_path); }
    fs::path support() const { return m_home.root() / "Library/Application Support"; }

    FakeHome m_home;
    UInt8 m_path[kDataFilePathBytes];
};

} // namespace

TEST_F(GetDataFilePath, MakesTheFoldersThatAreMissing)
{
    ASSERT_EQ(ask("Product Infos"), 1);
    EXPECT_EQ(path(), (support() / "Velmora/Tandem Service/Product Infos").string());
    EXPECT_TRUE(fs::is_directory(support() / "Velmora/Tandem Service"));
    EXPECT_FALSE(fs::exists(path()));
}

TEST_F(GetDataFilePath, UsesTheFoldersThatAreThere)
{
    const fs::path file = m_home.folder().write("root/Library/Application Support/Velmora/kept", "x");
    ASSERT_EQ(ask("a"), 1);
    ASSERT_EQ(ask("b"), 1);
    EXPECT_EQ(path(), (support() / "Velmora/Tandem Service/b").string());
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(GetDataFilePath, FailsWhereAFolderCannotBeMade)
{
    (void)m_home.folder().write("root/Library/Application Support/Velmora", "a file");
    EXPECT_EQ(ask("a"), 0);
    fs::remove(support() / "Velmora");
    (void)m_home.folder().write("root/Library/Application Support/Velmora/Tandem Service", "a file");
    EXPECT_EQ(ask("a"), 0);
}

TEST_F(GetDataFilePath, FailsWhereALinkStandsForAFolder)
{
    fs::create_directories(support());
    fs::create_symlink(m_home.folder().makeFolder("elsewhere"), support() / "Velmora");
    EXPECT_EQ(ask("a"), 0);
    EXPECT_TRUE(fs::is_empty(m_home.folder().at("elsewhere")));
}

TEST_F(GetDataFilePath, FailsForADomainWithoutSuchAFolder)
{
    EXPECT_EQ(ask("a", kUserDomain), 0);
    EXPECT_EQ(ask("a", 0), 0);
}

TEST_F(GetDataFilePath, NeverCutsAPath)
{
    ASSERT_EQ(ask(""), 1);
    const std::size_t room = kDataFilePathBytes - 1 - path().size();
    ASSERT_EQ(ask(std::string(room, 'n')), 1);
    EXPECT_EQ(path().size(), kDataFilePathBytes - 1);
    EXPECT_EQ(ask(std::string(room + 1, 'n')), 0);
}

TEST_F(GetDataFilePath, FailsForAFolderWhosePathIsTooLong)
{
    std::string deep = m_home.root().string();
    while (deep.size() < 990)
        deep += "/" + std::string(100, 'd');
    fs::create_directories(deep);
    const ScopedEnvironment root("VELMORA_ROOT", deep);
    EXPECT_EQ(ask("a"), 0);
}

TEST_F(GetDataFilePath, FailsForNull)
{
    EXPECT_EQ(GetDataFilePathAtAppSupportFloder(kLocalDomain, m_path, nullptr), 0);
    const UInt8 name[] = "a";
    EXPECT_EQ(GetDataFilePathAtAppSupportFloder(kLocalDomain, nullptr, name), 0);
}
