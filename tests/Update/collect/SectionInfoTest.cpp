// The list of a bundle's sections.
#include "Update/collect/SectionInfo.h"

#include "tests/support/BundleBuilder.h"
#include "tests/support/FileURL.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_view_literals;

class ReadBundleSectionInfoTest : public testing::Test {
protected:
    int read(std::string_view document)
    {
        const auto bundle
            = BundleBuilder().file("Contents/Resources/sections.xml", document).build(m_folder, "A.bundle");
        return ReadBundleSectionInfo(folderURL(bundle), m_sections);
    }

    ScopedTempDir m_folder;
    std::vector<SectInfo> m_sections;
};

} // namespace

TEST_F(ReadBundleSectionInfoTest, ReadsNumberVersionAndLanguage)
{
    ASSERT_EQ(read("<SECTIONS><SECTION ID='7' language='de' version='1.2.3.4'/>"
                   "<SECTION ID='-1' language='' version='5'/></SECTIONS>"),
        1);
    ASSERT_EQ(m_sections.size(), 2u);
    EXPECT_EQ(m_sections[0].ID, 7);
    EXPECT_EQ(m_sections[0].language, u"de"sv);
    EXPECT_EQ(m_sections[0].version, (Version {1, 2, 3, 4}));
    EXPECT_EQ(m_sections[1].ID, -1);
    EXPECT_EQ(m_sections[1].language, u""sv);
    EXPECT_EQ(m_sections[1].version, (Version {5, 0, 0, 0}));
}

TEST_F(ReadBundleSectionInfoTest, AppendsOnlySectionsWithAllThreeAttributes)
{
    EXPECT_EQ(read("<SECTIONS><SECTION/><SECTION language='a' version='1'/><SECTION ID='1' version='1'/>"
                   "<SECTION ID='2' language='a'/><SECTION id='3' Language='a' VERSION='1'/>"
                   "<SECTION ID='4' language='a' version='1' more='x'/></SECTIONS>"),
        1);
    ASSERT_EQ(m_sections.size(), 1u);
    EXPECT_EQ(m_sections[0].ID, 4);
}

TEST_F(ReadBundleSectionInfoTest, ComparesElementNamesIgnoringCaseAndSkipsOthers)
{
    EXPECT_EQ(
        read("<?xml version='1.0'?><!-- x --><Sections>text<!-- y --><OTHER ID='1' language='a' version='1'/>"
             "<section ID='2' language='a' version='1'><SECTION ID='3' language='a' version='1'/></section>"
             "</Sections>"),
        1);
    ASSERT_EQ(m_sections.size(), 1u);
    EXPECT_EQ(m_sections[0].ID, 2);
}

TEST_F(ReadBundleSectionInfoTest, EmptyListCountsAsRead)
{
    EXPECT_EQ(read("<SECTIONS/>"), 1);
    EXPECT_TRUE(m_sections.empty());
}

TEST_F(ReadBundleSectionInfoTest, AppendsToWhatIsThere)
{
    const char* const document = "<SECTIONS><SECTION ID='1' language='a' version='1'/></SECTIONS>";
    EXPECT_EQ(read(document), 1);
    EXPECT_EQ(read(document), 1);
    EXPECT_EQ(m_sections.size(), 2u);
}

TEST_F(ReadBundleSectionInfoTest, LanguageIsCutAt1023Units)
{
    EXPECT_EQ(
        read("<SECTIONS><SECTION ID='1' language='" + std::string(2000, 'l') + "' version='1'/></SECTIONS>"),
        1);
    ASSERT_EQ(m_sections.size(), 1u);
    EXPECT_EQ(m_sections[0].language.size(), 1023u);
}

TEST_F(ReadBundleSectionInfoTest, ReadsNothingWithoutAList)
{
    const auto bundle = BundleBuilder().build(m_folder, "B.bundle");
    EXPECT_EQ(ReadBundleSectionInfo(folderURL(bundle), m_sections), 0);
    EXPECT_EQ(ReadBundleSectionInfo(folderURL("/nowhere"), m_sections), 0);
    EXPECT_EQ(ReadBundleSectionInfo(nullptr, m_sections), 0);
}

TEST_F(ReadBundleSectionInfoTest, ReadsNothingFromDamagedOrOtherDocuments)
{
    EXPECT_EQ(read(""), 0);
    EXPECT_EQ(read("<SECTIONS><SECTION ID='1' language='a' version='1'/>"), 0);
    EXPECT_EQ(read("<LIST><SECTIONS><SECTION ID='1' language='a' version='1'/></SECTIONS></LIST>"), 0);
    EXPECT_EQ(read("<SECTIONS>" + std::string(1 << 20, ' ') + "</SECTIONS>"), 0) << "larger than one MiB";
    EXPECT_TRUE(m_sections.empty());
}

TEST_F(ReadBundleSectionInfoTest, ReadsAListOfUpToOneMebibyte)
{
    std::string list = "<SECTIONS/>";
    list.resize(1'048'576, ' ');
    EXPECT_EQ(read(list), 1);
    EXPECT_EQ(read(list + " "), 0);
}

TEST_F(ReadBundleSectionInfoTest, ReadsNothingFromAFolderInTheListsPlace)
{
    (void)m_folder.makeFolder("A.bundle/Contents/Resources/sections.xml");
    EXPECT_EQ(ReadBundleSectionInfo(folderURL(m_folder.at("A.bundle")), m_sections), 0);
}
