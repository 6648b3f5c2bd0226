// The dependencies of a descriptor.
#include "Update/descriptor/Dependencies.h"

#include "tests/Update/descriptor/ParsedTree.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;

namespace {

CDependency parsed(std::string_view element, const CConstants& constants = {})
{
    CDependency dependency;
    EXPECT_EQ(dependency.Parse(ParsedTree(element).root(), &constants), 1);
    return dependency;
}

int parseResult(std::string_view element)
{
    CDependency dependency;
    const CConstants constants;
    return dependency.Parse(ParsedTree(element).root(), &constants);
}

} // namespace

TEST(CDependency, HasDefaults)
{
    const CDependency dependency;
    EXPECT_EQ(dependency.dependencyType, -1);
    EXPECT_EQ(dependency.name, u""sv);
    EXPECT_EQ(dependency.version, (Version {0, 0, 0, 0}));
    EXPECT_EQ(dependency.language, u"eng"sv);
    EXPECT_EQ(dependency.location, u""sv);
}

TEST(CDependency, ReadsEveryAttribute)
{
    const CDependency dependency
        = parsed("<dependency type='common' name='N' language='ger' version='1,2' location='/P'/>");
    EXPECT_EQ(dependency.dependencyType, 0);
    EXPECT_EQ(dependency.name, u"N"sv);
    EXPECT_EQ(dependency.language, u"ger"sv);
    EXPECT_EQ(dependency.version, (Version {1, 2, 0, 0}));
    EXPECT_EQ(dependency.location, u"/P"sv);
}

TEST(CDependency, KnowsTheTypeCommonOnly)
{
    EXPECT_EQ(parsed("<DEPENDENCY type='COMMON' location='/P'/>").dependencyType, 0);
    EXPECT_EQ(parsed("<DEPENDENCY type='app' location='/P'/>").dependencyType, -1);
}

TEST(CDependency, NeedsTypeAndLocation)
{
    EXPECT_EQ(parseResult("<DEPENDENCY location='/P'/>"), 0);
    EXPECT_EQ(parseResult("<DEPENDENCY type='common'/>"), 0);
    EXPECT_EQ(parseResult("<DEPENDENCY Type='common' location='/P'/>"), 0);
    EXPECT_EQ(parseResult("<OTHER type='common' location='/P'/>"), 0);
}

TEST(CDependency, LosesTheDefaultLanguageWhenItHasAttributes)
{
    EXPECT_EQ(parsed("<DEPENDENCY type='common' location='/P'/>").language, u""sv);
}

TEST(CDependency, KeepsItsDefaultsWithoutAttributes)
{
    const CDependency dependency = parsed("<DEPENDENCY/>");
    EXPECT_EQ(dependency.language, u"eng"sv);
    EXPECT_EQ(dependency.location, u""sv);
}

TEST(CDependency, SubstitutesTheLocationOnly)
{
    const CDependency dependency
        = parsed("<DEPENDENCY type='common' name='%VelCommon%' version='%VelCommon%' "
                 "location='%VelCommon%/x.plist'/>",
            constantsWith(u"%VelCommon%", u"/7"));
    EXPECT_EQ(dependency.location, u"/7/x.plist"sv);
    EXPECT_EQ(dependency.name, u"%VelCommon%"sv);
    EXPECT_EQ(dependency.version, (Version {0, 0, 0, 0}));
}

TEST(CDependency, KeepsAnOverlongLocationAsOneThatNamesNothing)
{
    const CDependency dependency
        = parsed("<DEPENDENCY type='common' location='/" + std::string(1'000'000, 'x') + "'/>");
    EXPECT_EQ(dependency.location, u""sv);
}

TEST(CDependencies, RefusesAnElementOfAnotherName)
{
    CDependencies dependencies;
    const CConstants constants;
    EXPECT_EQ(dependencies.ParseDependencies(ParsedTree("<SECTIONS/>").root(), &constants), 0);
}

TEST(CDependencies, KeepsEntriesInDocumentOrderAndDropsIncompleteOnes)
{
    const ParsedTree tree("<dependencies><DEPENDENCY type='app' name='1' location='/a'/>"
                          "<DEPENDENCY type='common' name='2'/><DEPENDENCY name='3' location='/a'/>"
                          "<other type='common' name='4' location='/a'/>"
                          "<DEPENDENCY type='common' name='5' location='/a'/></dependencies>");
    CDependencies dependencies;
    const CConstants constants;
    EXPECT_EQ(dependencies.ParseDependencies(tree.root(), &constants), 1);
    ASSERT_EQ(dependencies.items().size(), 2U);
    EXPECT_EQ(dependencies.items()[0]->name, u"1"sv);
    EXPECT_EQ(dependencies.items()[1]->name, u"5"sv);
}

TEST(CDependencies, KeepsAnEntryWithoutAttributes)
{
    CDependencies dependencies;
    const CConstants constants;
    EXPECT_EQ(dependencies.ParseDependencies(
                  ParsedTree("<DEPENDENCIES><DEPENDENCY/></DEPENDENCIES>").root(), &constants),
        1);
    EXPECT_EQ(dependencies.items().size(), 1U);
}

TEST(CDependencies, KeepsANodeOfThatNameThatIsNoElement)
{
    CDependencies dependencies;
    const CConstants constants;
    const ParsedTree tree("<DEPENDENCIES><!--DEPENDENCY--></DEPENDENCIES>");
    EXPECT_EQ(dependencies.ParseDependencies(tree.root(), &constants), 1);
    ASSERT_EQ(dependencies.items().size(), 1U);
    EXPECT_EQ(dependencies.items()[0]->location, u""sv);
}

TEST(CDependencies, ReleasesAll)
{
    CDependencies dependencies;
    dependencies.AddItem(std::make_unique<CDependency>());
    dependencies.ReleaseAllDpcy();
    EXPECT_TRUE(dependencies.items().empty());
}
