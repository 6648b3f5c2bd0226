// The files of an update as a list.
#include "Update/descriptor/Files.h"

#include "tests/Update/descriptor/ParsedTree.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;

namespace {

CFiles parsed(std::string_view content)
{
    CFiles files;
    const CConstants constants;
    const ParsedTree tree("<FILES>" + std::string(content) + "</FILES>");
    EXPECT_EQ(files.ParseFiles(tree.root(), &constants, 5, u"S/"), 1);
    return files;
}

std::vector<std::u16string> names(const CFiles& files)
{
    std::vector<std::u16string> result;
    for (const auto& file : files.items())
        result.emplace_back(file->name().view());
    return result;
}

using Names = std::vector<std::u16string>;

} // namespace

TEST(CFiles, RefusesAnElementOfAnotherName)
{
    CFiles files;
    const CConstants constants;
    EXPECT_EQ(files.ParseFiles(ParsedTree("<SECTIONS><FILE/></SECTIONS>").root(), &constants, 0, u""), 0);
    EXPECT_TRUE(files.items().empty());
}

TEST(CFiles, ReadsFilesInDocumentOrderAndDropsBadOnes)
{
    EXPECT_EQ(
        names(parsed("<FILE name='1'/><other name='2'/><FILE name='3' check='version'/><file name='4'/>")),
        (Names {u"1", u"4"}));
}

TEST(CFiles, KeepsANodeOfThatNameThatIsNoElementAsAFileWithoutName)
{
    const CFiles files = parsed("<!--FILE--><FILE name='1'/><!-- FILE -->");
    EXPECT_EQ(names(files), (Names {u"", u"1"}));
    EXPECT_TRUE(files.items()[0]->actions().empty());
}

TEST(CFiles, KeepsATextOfThatNameAsAFileWithoutName)
{
    EXPECT_EQ(names(parsed("FILE<FILE name='1'/> FILE ")), (Names {u"", u"1"}));
    EXPECT_EQ(names(parsed("<![CDATA[file]]><?FILE x?>")), (Names {u"", u""}));
}

TEST(CFiles, DropsAFileWhoseActionCannotBeReadAndGoesOn)
{
    const std::string tooLong
        = "<action type='unzip'><location>/" + std::string(1023, 'x') + "</location></action>";
    EXPECT_EQ(names(parsed("<FILE name='1'>" + tooLong + "</FILE><FILE name='2'/>")), (Names {u"2"}));
}

TEST(CFiles, AddsABlockToWhatIsThere)
{
    CFiles files = parsed("<FILE name='1'/>");
    const CConstants constants;
    EXPECT_EQ(
        files.ParseFiles(ParsedTree("<FILES><FILE name='2'/></FILES>").root(), &constants, 0, nullptr), 1);
    EXPECT_EQ(names(files), (Names {u"1", u"2"}));
}

TEST(CFiles, GivesEveryFileOwnerCodeAndSite)
{
    const CFiles files
        = parsed("<FILE name='1'><action type='download'><location>a</location></action></FILE>");
    ASSERT_EQ(files.items().size(), 1U);
    EXPECT_EQ(files.items()[0]->ownerCode(), 5);
    EXPECT_TRUE(files.items()[0]->IsWebURLInDownload(u"S/a"));
}

TEST(CFiles, ReleasesFilesByNameIgnoringCase)
{
    CFiles files = parsed("<FILE name='Setup.zip'/><FILE name='other'/><FILE name='SETUP.zip'/>");
    files.ReleaseFileByName(u"SETUP.ZIP");
    EXPECT_EQ(names(files), (Names {u"other"}));
}

TEST(CFiles, ReleasesAllFilesWithoutAName)
{
    CFiles files = parsed("<FILE name='1'/><FILE/>");
    files.ReleaseFileByName(nullptr);
    EXPECT_TRUE(files.items().empty());
    files = parsed("<FILE name='1'/><FILE/>");
    files.ReleaseFileByName(u"");
    EXPECT_TRUE(files.items().empty());
}

TEST(CFiles, ReleasesFilesOfTheEmptyNameOnly)
{
    CFiles files = parsed("<FILE name='1'/><FILE/><FILE name=' '/>");
    files.releaseNamed(u"");
    EXPECT_EQ(names(files), (Names {u"1", u" "}));
}

TEST(CFiles, ReleasesNullEntriesWithAnyName)
{
    CFiles files = parsed("<FILE name='1'/>");
    files.AddItem(nullptr);
    files.ReleaseFileByName(u"unknown");
    EXPECT_EQ(names(files), (Names {u"1"}));
}

TEST(CFiles, HandsAllFilesOverInOrder)
{
    CFiles files = parsed("<FILE name='1'/><FILE name='2'/>");
    const auto taken = files.takeAll();
    EXPECT_TRUE(files.items().empty());
    ASSERT_EQ(taken.size(), 2U);
    EXPECT_EQ(taken[0]->name(), u"1"sv);
    EXPECT_EQ(taken[1]->name(), u"2"sv);
}

TEST(CFiles, ReadsAHundredThousandFiles)
{
    std::string content;
    for (int i = 0; i < 100'000; ++i)
        content += "<FILE name='f'><action type='download'><location>l</location></action></FILE>";
    CFiles files = parsed(content);
    EXPECT_EQ(files.items().size(), 100'000U);
    files.ReleaseFileByName(u"F");
    EXPECT_TRUE(files.items().empty());
}
