// The general section of a descriptor.
#include "Update/descriptor/General.h"

#include "tests/Update/descriptor/ParsedTree.h"

#include <gtest/gtest.h>

namespace {

CGeneral parsed(std::string_view content, const CConstants& constants = {})
{
    CGeneral general;
    const ParsedTree tree("<GENERAL>" + std::string(content) + "</GENERAL>");
    EXPECT_EQ(general.Parse(tree.root(), &constants), 1);
    return general;
}

SInt32 typeOf(std::string_view keyword)
{
    return parsed("<TYPE>" + std::string(keyword) + "</TYPE>").descriptorType;
}

SInt32 closeApplicationOf(std::string_view keyword)
{
    return parsed("<CLOSEAPPLICATION>" + std::string(keyword) + "</CLOSEAPPLICATION>").closeApplication;
}

} // namespace

TEST(CGeneral, HasDefaults)
{
    const CGeneral general;
    EXPECT_EQ(general.version, (Version {0, 0, 0, 0}));
    EXPECT_EQ(general.closeApplication, 0);
    EXPECT_EQ(general.showErrors, 0);
    EXPECT_EQ(general.selfUpdate, 1);
    EXPECT_EQ(general.resumeDownloads, 1);
    EXPECT_EQ(general.forceUpdate, 0);
    EXPECT_EQ(general.checkSeparately, 0);
    EXPECT_EQ(general.descriptorType, 0);
}

TEST(CGeneral, RefusesAnElementOfAnotherName)
{
    CGeneral general;
    const CConstants constants;
    EXPECT_EQ(general.Parse(ParsedTree("<FILES><TYPE>app</TYPE></FILES>").root(), &constants), 0);
    EXPECT_EQ(general.descriptorType, 0);
}

TEST(CGeneral, ReadsTheTypeAsItsCode)
{
    EXPECT_EQ(typeOf("updater"), 1);
    EXPECT_EQ(typeOf("section"), 2);
    EXPECT_EQ(typeOf("app"), 3);
    EXPECT_EQ(typeOf("common"), 5);
    EXPECT_EQ(typeOf("COMMON"), 5);
    EXPECT_EQ(typeOf("other"), 0);
}

TEST(CGeneral, KeepsTheTypeForAnUnknownKeyword)
{
    EXPECT_EQ(parsed("<TYPE>app</TYPE><TYPE>unknown</TYPE>").descriptorType, 3);
}

TEST(CGeneral, ReadsCloseApplicationAsItsCode)
{
    EXPECT_EQ(closeApplicationOf("True"), 1);
    EXPECT_EQ(parsed("<CLOSEAPPLICATION>True</CLOSEAPPLICATION><CLOSEAPPLICATION>False</CLOSEAPPLICATION>")
                  .closeApplication,
        0);
    EXPECT_EQ(closeApplicationOf("restart"), 2);
    EXPECT_EQ(closeApplicationOf("Restartsystem"), 3);
    EXPECT_EQ(closeApplicationOf("RESTARTSYSTEMAPP"), 4);
}

TEST(CGeneral, KeepsCloseApplicationForAnUnknownKeyword)
{
    EXPECT_EQ(parsed("<CLOSEAPPLICATION>Restart</CLOSEAPPLICATION><CLOSEAPPLICATION>no</CLOSEAPPLICATION>")
                  .closeApplication,
        2);
}

TEST(CGeneral, MovesFlagsAwayFromTheirDefaultsOnly)
{
    const CGeneral moved = parsed("<CHECKSEPARATALY>TRUE</CHECKSEPARATALY><SHOWERRORS>true</SHOWERRORS>"
                                  "<SELFUPDATE>False</SELFUPDATE><RESUMEDOWNLOADS>false</RESUMEDOWNLOADS>"
                                  "<FORCEUPDATE>True</FORCEUPDATE>"
                                  "<CHECKSEPARATALY>False</CHECKSEPARATALY><SHOWERRORS>False</SHOWERRORS>"
                                  "<SELFUPDATE>True</SELFUPDATE><RESUMEDOWNLOADS>True</RESUMEDOWNLOADS>"
                                  "<FORCEUPDATE>False</FORCEUPDATE>");
    EXPECT_EQ(moved.checkSeparately, 1);
    EXPECT_EQ(moved.showErrors, 1);
    EXPECT_EQ(moved.selfUpdate, 0);
    EXPECT_EQ(moved.resumeDownloads, 0);
    EXPECT_EQ(moved.forceUpdate, 1);
}

TEST(CGeneral, LeavesFlagsForOtherValues)
{
    const CGeneral general = parsed("<CHECKSEPARATALY>yes</CHECKSEPARATALY><SHOWERRORS>1</SHOWERRORS>"
                                    "<SELFUPDATE>no</SELFUPDATE><RESUMEDOWNLOADS>0</RESUMEDOWNLOADS>"
                                    "<FORCEUPDATE>yes</FORCEUPDATE>");
    EXPECT_EQ(general.checkSeparately, 0);
    EXPECT_EQ(general.showErrors, 0);
    EXPECT_EQ(general.selfUpdate, 1);
    EXPECT_EQ(general.resumeDownloads, 1);
    EXPECT_EQ(general.forceUpdate, 0);
}

TEST(CGeneral, KnowsTheKeyOnlyInItsOwnSpelling)
{
    EXPECT_EQ(parsed("<CHECKSEPARATELY>True</CHECKSEPARATELY>").checkSeparately, 0);
}

TEST(CGeneral, ReadsTheVersion)
{
    EXPECT_EQ(parsed("<VERSION>2,1,3</VERSION>").version, (Version {2, 1, 3, 0}));
    EXPECT_EQ(parsed("<version>2.1.3.7</version>").version, (Version {2, 1, 3, 7}));
}

TEST(CGeneral, SubstitutesTheVersionOnly)
{
    const CConstants constants = constantsWith(u"%v%", u"True");
    EXPECT_EQ(
        parsed("<VERSION>%v%</VERSION>", constantsWith(u"%v%", u"4.5")).version, (Version {4, 5, 0, 0}));
    EXPECT_EQ(parsed("<FORCEUPDATE>%v%</FORCEUPDATE>", constants).forceUpdate, 0);
    EXPECT_EQ(parsed("<CLOSEAPPLICATION>%v%</CLOSEAPPLICATION>", constants).closeApplication, 0);
}

TEST(CGeneral, IgnoresAnElementWithAnyAttribute)
{
    EXPECT_EQ(parsed("<VERSION a='b'>1.0</VERSION>").version, (Version {0, 0, 0, 0}));
}

TEST(CGeneral, IgnoresAnElementWithoutExactlyOneChild)
{
    EXPECT_EQ(parsed("<TYPE/>").descriptorType, 0);
    EXPECT_EQ(parsed("<TYPE>app<x/></TYPE>").descriptorType, 0);
    EXPECT_EQ(parsed("<TYPE>app<!-- why --></TYPE>").descriptorType, 0);
}

TEST(CGeneral, TakesCDataAndResolvedEntitiesAsText)
{
    EXPECT_EQ(parsed("<TYPE><![CDATA[app]]></TYPE>").descriptorType, 3);
    EXPECT_EQ(parsed("<TYPE>&#97;p&#x70;</TYPE>").descriptorType, 3);
}

TEST(CGeneral, TakesTheStringOfItsOneChildWhateverThatIs)
{
    EXPECT_EQ(parsed("<TYPE><app/></TYPE>").descriptorType, 3);
    EXPECT_EQ(parsed("<TYPE><!--app--></TYPE>").descriptorType, 3);
    EXPECT_EQ(parsed("<TYPE><![CDATA[a]]><![CDATA[pp]]></TYPE>").descriptorType, 0);
}

TEST(CGeneral, TakesTheTargetOfAnInstruction)
{
    EXPECT_EQ(parsed("<TYPE><?app and more?></TYPE>").descriptorType, 3);
}

TEST(CGeneral, CountsABlankAndATextAsOneNodeButACommentAsAnother)
{
    EXPECT_EQ(parsed("<TYPE>\n<!--app-->\n</TYPE>").descriptorType, 3);
    EXPECT_EQ(parsed("<TYPE>app<![CDATA[]]></TYPE>").descriptorType, 0);
    EXPECT_EQ(parsed("<VERSION>1&#46;2</VERSION>").version, (Version {1, 2, 0, 0}));
    EXPECT_EQ(parsed("<VERSION> 1.2 </VERSION>").version, (Version {1, 2, 0, 0}));
}

TEST(CGeneral, IgnoresKeysThatAreNoElementsOrLieDeeper)
{
    EXPECT_EQ(parsed("<!--TYPE-->TYPE<![CDATA[TYPE]]><?TYPE app?>").descriptorType, 0);
    EXPECT_EQ(parsed("<OTHER><TYPE>app</TYPE></OTHER>").descriptorType, 0);
    EXPECT_EQ(parsed("<TYPE xmlns=''>app</TYPE>").descriptorType, 0);
    EXPECT_EQ(parsed("<x:TYPE>app</x:TYPE>").descriptorType, 0);
}

TEST(CGeneral, TrimsNoValue)
{
    EXPECT_EQ(typeOf(" app "), 0);
}

TEST(CGeneral, LetsLaterValuesOverwriteEarlierOnes)
{
    CGeneral general = parsed("<TYPE>app</TYPE><VERSION>1.0</VERSION>");
    const CConstants constants;
    EXPECT_EQ(general.Parse(ParsedTree("<general><type>section</type></general>").root(), &constants), 1);
    EXPECT_EQ(general.descriptorType, 2);
    EXPECT_EQ(general.version, (Version {1, 0, 0, 0}));
}

TEST(CGeneral, ReadsAValueOfAMillionUnits)
{
    EXPECT_EQ(
        parsed("<VERSION>7." + std::string(1'000'000, '0') + "</VERSION>").version, (Version {7, 0, 0, 0}));
}
