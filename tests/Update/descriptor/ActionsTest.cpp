// The actions of a file, as they are read.
#include "Update/descriptor/DownloadAction.h"
#include "Update/descriptor/RunAction.h"
#include "Update/descriptor/UnzipAction.h"

#include "tests/Update/descriptor/ParsedTree.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;

namespace {

void parse(CAction& action, std::string_view content, const CConstants& constants = {})
{
    const ParsedTree tree("<action>" + std::string(content) + "</action>");
    EXPECT_EQ(action.Parse(tree.root(), &constants), 1);
}

void expectRefused(CAction&& action, std::string_view content)
{
    const ParsedTree tree("<action>" + std::string(content) + "</action>");
    const CConstants constants;
    EXPECT_EQ(action.Parse(tree.root(), &constants), 0) << content.substr(0, 20);
}

const std::string kOverlongPath = "/" + std::string(1'000'000, 'x');

} // namespace

TEST(CAction, ReadsAndDoesNothing)
{
    CAction action;
    parse(action, "<destination>d</destination><location>l</location>");
    EXPECT_EQ(action.type(), -1);
    EXPECT_EQ(action.destination(), u""sv);
    EXPECT_EQ(action.location(), u""sv);
    EXPECT_EQ(action.DoAction(nullptr, nullptr), 0);
}

TEST(CDownLoad, HasItsTypeAndDefaults)
{
    const CDownLoad download(77);
    EXPECT_EQ(download.type(), 0);
    EXPECT_EQ(download.size(), 77);
    EXPECT_EQ(download.site(), u""sv);
}

TEST(CDownLoad, ReadsDestinationAndLocationSubstituted)
{
    CDownLoad download(0);
    parse(download, "<Destination>%t%/a.zip</Destination><LOCATION>%t%/b.zip</LOCATION><other>x</other>",
        constantsWith(u"%t%", u"/T"));
    EXPECT_EQ(download.destination(), u"/T/a.zip"sv);
    EXPECT_EQ(download.location(), u"/T/b.zip"sv);
}

TEST(CDownLoad, TakesTheLaterOfTwoChildren)
{
    CDownLoad download(0);
    parse(download, "<location>1</location><location>2</location><location a='b'>3</location>");
    EXPECT_EQ(download.location(), u"2"sv);
}

TEST(CDownLoad, IgnoresChildrenWithAttributesOrWithoutExactlyOneNode)
{
    CDownLoad download(0);
    parse(download, "<location a='b'>1</location><destination/><destination>a<!--b--></destination>");
    EXPECT_EQ(download.location(), u""sv);
    EXPECT_EQ(download.destination(), u""sv);
}

TEST(CDownLoad, RefusesADestinationThatDoesNotFitAndCutsALocation)
{
    expectRefused(CDownLoad(0), "<destination>" + kOverlongPath + "</destination>");
    CDownLoad download(0);
    parse(download, "<location>" + kOverlongPath + "</location>");
    EXPECT_EQ(download.location().view(), u"/" + std::u16string(1022, u'x'));
}

TEST(CDownLoad, ReplacesAndClearsItsSite)
{
    CDownLoad download(0);
    download.SetSiteUrl(u"S/");
    EXPECT_EQ(download.site(), u"S/"sv);
    download.SetSiteUrl(u"T");
    EXPECT_EQ(download.site(), u"T"sv);
    download.SetSiteUrl(nullptr);
    EXPECT_EQ(download.site(), u""sv);
}

TEST(CDownLoad, DoesNothingItself)
{
    CDownLoad download(0);
    EXPECT_EQ(download.DoAction(nullptr, nullptr), 0);
}

TEST(CUnzip, HasItsType)
{
    EXPECT_EQ(CUnzip().type(), 4);
}

TEST(CUnzip, ReadsDestinationAndLocationSubstituted)
{
    CUnzip unzip;
    parse(unzip, "<destination>%t%/d</destination><Location>%t%/a.zip</Location><wait>x</wait>",
        constantsWith(u"%t%", u"/T"));
    EXPECT_EQ(unzip.destination(), u"/T/d"sv);
    EXPECT_EQ(unzip.location(), u"/T/a.zip"sv);
}

TEST(CUnzip, IgnoresALocationWithAnAttribute)
{
    CUnzip unzip;
    parse(unzip, "<location type='x'>/T/a.zip</location>");
    EXPECT_EQ(unzip.location(), u""sv);
}

TEST(CUnzip, RefusesAPathThatDoesNotFit)
{
    expectRefused(CUnzip(), "<destination>" + kOverlongPath + "</destination>");
    expectRefused(CUnzip(), "<location>" + kOverlongPath + "</location>");
}

TEST(CUnzip, TakesAPathOf1023UnitsAndNotOfMore)
{
    const std::string longest = "/" + std::string(1022, 'x');
    CUnzip unzip;
    parse(unzip, "<location>" + longest + "</location><destination>" + longest + "</destination>");
    EXPECT_EQ(unzip.location().size(), 1023u);
    EXPECT_EQ(unzip.destination().size(), 1023u);
    expectRefused(CUnzip(), "<location>" + longest + "x</location>");
    expectRefused(CUnzip(), "<destination>" + longest + "x</destination>");
}

TEST(CUnzip, CollectsArchivesInOrderAndIgnoresNull)
{
    CUnzip unzip;
    const FSRef first {1, 2, "/a"};
    const FSRef second {1, 3, "/b"};
    unzip.AddFSRef(&first);
    unzip.AddFSRef(nullptr);
    unzip.AddFSRef(&second);
    ASSERT_EQ(unzip.archives().size(), 2U);
    EXPECT_EQ(unzip.archives()[0].path, "/a");
    EXPECT_EQ(unzip.archives()[1].path, "/b");
}

TEST(CRun, HasItsTypeAndDefaults)
{
    const CRun run;
    EXPECT_EQ(run.type(), 1);
    EXPECT_EQ(run.wait(), 1);
    EXPECT_EQ(run.fileType(), -1);
}

TEST(CRun, ReadsItsChildren)
{
    CRun run;
    parse(run, "<FileType>Setup</FileType><location>%t%/a.pkg</location><Wait>FALSE</Wait>",
        constantsWith(u"%t%", u"/T"));
    EXPECT_EQ(run.fileType(), 0);
    EXPECT_EQ(run.location(), u"/T/a.pkg"sv);
    EXPECT_EQ(run.wait(), 0);
}

TEST(CRun, LeavesItsDefaultsForOtherValues)
{
    CRun run;
    parse(run, "<filetype>application</filetype><wait>no</wait>");
    EXPECT_EQ(run.fileType(), -1);
    EXPECT_EQ(run.wait(), 1);
}

TEST(CRun, CannotTakeBackWhatAnEarlierChildSet)
{
    CRun run;
    parse(run, "<filetype>setup</filetype><filetype>x</filetype><wait>false</wait><wait>true</wait>");
    EXPECT_EQ(run.fileType(), 0);
    EXPECT_EQ(run.wait(), 0);
}

TEST(CRun, SubstitutesNeitherWaitNorFileType)
{
    CRun run;
    parse(run, "<filetype>%t%</filetype><wait>%t%</wait>", constantsWith(u"%t%", u"false"));
    EXPECT_EQ(run.wait(), 1);
    EXPECT_EQ(run.fileType(), -1);
}

TEST(CRun, ReadsNoDestination)
{
    CRun run;
    parse(run, "<destination>/d</destination><location a='b'>/l</location>");
    EXPECT_EQ(run.destination(), u""sv);
    EXPECT_EQ(run.location(), u""sv);
}

TEST(CRun, RefusesALocationThatDoesNotFit)
{
    expectRefused(CRun(), "<location>" + kOverlongPath + "</location>");
}

TEST(CRun, TakesALocationOf1023UnitsAndNotOfMore)
{
    const std::string longest = "/" + std::string(1022, 'x');
    CRun run;
    parse(run, "<location>" + longest + "</location>");
    EXPECT_EQ(run.location().size(), 1023u);
    expectRefused(CRun(), "<location>" + longest + "x</location>");
}

TEST(CRun, ReplacesAndClearsItsDefaultFolder)
{
    CRun run;
    run.SetDPath(u"/A");
    EXPECT_EQ(run.destination(), u"/A"sv);
    run.SetDPath(nullptr);
    EXPECT_EQ(run.destination(), u""sv);
}
