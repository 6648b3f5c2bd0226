// The copy's pure rules: the size of its buffer, and names that are still free.
#include "Cocoa2CarbonLib/FSCopyBuffer.h"
#include "Cocoa2CarbonLib/FSUniqueName.h"

#include "Platform/Support/Descriptor.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <climits>
#include <fcntl.h>

namespace fs = std::filesystem;

namespace {

class GetUniqueNameTest : public testing::Test {
protected:
    ScopedTempDir m_temp;
    const Descriptor m_folder {::open(m_temp.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)};
    std::string m_unique;
};

} // namespace

TEST(CopyBufferBytes, HasTheDefaultSizeForAnUnknownSpeed)
{
    EXPECT_EQ(copyBufferBytes(18, 0), 262144u);
}

TEST(CopyBufferBytes, HasAQuarterOfTheSpeedInWholeUnits)
{
    EXPECT_EQ(copyBufferBytes(18, -1000000), 249856u);
    EXPECT_EQ(copyBufferBytes(18, -8192), 2048u);
    EXPECT_EQ(copyBufferBytes(18, -10239), 2048u);
    EXPECT_EQ(copyBufferBytes(18, -10240), 2560u);
}

TEST(CopyBufferBytes, IsHeldAtItsBounds)
{
    EXPECT_EQ(copyBufferBytes(18, -1), 1024u);
    EXPECT_EQ(copyBufferBytes(18, -1000), 1024u);
    EXPECT_EQ(copyBufferBytes(18, -8388608), 2097152u);
    EXPECT_EQ(copyBufferBytes(18, -8390656), 2097152u);
    EXPECT_EQ(copyBufferBytes(18, -100000000), 2097152u);
    EXPECT_EQ(copyBufferBytes(18, INT_MIN), 2097152u);
}

TEST(CopyBufferBytes, TakesAGradeAboveZeroForNoSpeed)
{
    EXPECT_EQ(copyBufferBytes(18, 1), 262144u);
    EXPECT_EQ(copyBufferBytes(18, INT_MAX), 262144u);
}

TEST(CopyBufferBytes, TakesABlockOfSeventeenBytesForOneWithoutAGrade)
{
    EXPECT_EQ(copyBufferBytes(17, -1000000), 262144u);
    EXPECT_EQ(copyBufferBytes(0, -1000000), 262144u);
    EXPECT_EQ(copyBufferBytes(UINT_MAX, -1000000), 249856u);
}

TEST(NameWithDigit, PutsTheDigitBeforeTheLastDot)
{
    EXPECT_EQ(nameWithDigit("report.txt", '1'), "report_1.txt");
    EXPECT_EQ(nameWithDigit("report.txt", '9'), "report_9.txt");
    EXPECT_EQ(nameWithDigit("archive.tar.gz", '2'), "archive.tar_2.gz");
    EXPECT_EQ(nameWithDigit("name.", '1'), "name_1.");
    EXPECT_EQ(nameWithDigit("..x", '1'), "._1.x");
    EXPECT_EQ(nameWithDigit("a.b", '1'), "a_1.b");
}

TEST(NameWithDigit, AppendsTheDigitWhereThereIsNoExtension)
{
    EXPECT_EQ(nameWithDigit("report", '1'), "report_1");
    EXPECT_EQ(nameWithDigit(".profile", '3'), ".profile_3");
}

TEST(NameWithDigit, TakesAnyBytes)
{
    EXPECT_EQ(nameWithDigit("\xff\xfe.\x80", '1'), "\xff\xfe_1.\x80");
}

TEST_F(GetUniqueNameTest, TakesTheFirstNameThatDoesNotExist)
{
    EXPECT_EQ(GetUniqueName(m_folder.get(), "report.txt", m_unique), 0);
    EXPECT_EQ(m_unique, "report_1.txt");
    m_temp.write("report_1.txt", "");
    m_temp.makeFolder("report_2.txt");
    fs::create_symlink("nowhere", m_temp.at("report_3.txt"));
    m_temp.write("report_5.txt", "");
    EXPECT_EQ(GetUniqueName(m_folder.get(), "report.txt", m_unique), 0);
    EXPECT_EQ(m_unique, "report_4.txt");
}

TEST_F(GetUniqueNameTest, TakesTheNinthAtLast)
{
    for (int i = 1; i <= 8; ++i)
        m_temp.write("name_" + std::to_string(i), "");
    EXPECT_EQ(GetUniqueName(m_folder.get(), "name", m_unique), 0);
    EXPECT_EQ(m_unique, "name_9");
}

TEST_F(GetUniqueNameTest, HasTheClashsErrorWhenAllNineExist)
{
    for (int i = 1; i <= 9; ++i)
        m_temp.write("name_" + std::to_string(i), "");
    EXPECT_EQ(GetUniqueName(m_folder.get(), "name", m_unique), -48);
}

TEST_F(GetUniqueNameTest, RefusesANameThatTheDigitMakesTooLong)
{
    EXPECT_EQ(GetUniqueName(m_folder.get(), std::string(253, 'n'), m_unique), 0);
    EXPECT_EQ(GetUniqueName(m_folder.get(), std::string(254, 'n'), m_unique), -1410);
}
