// The sections of a descriptor.
#include "Update/descriptor/Sections.h"

#include "tests/Update/descriptor/ParsedTree.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;

namespace {

CSect parsed(std::string_view element, const CConstants& constants = {})
{
    CSect sect;
    EXPECT_EQ(sect.Parse(ParsedTree(element).root(), &constants), 1);
    return sect;
}

std::string sectionAt(const std::filesystem::path& location, std::string_view name = "s")
{
    return "<SECTION name='" + std::string(name) + "' location='" + location.string() + "'/>";
}

} // namespace

TEST(CSect, HasDefaults)
{
    const CSect sect;
    EXPECT_EQ(sect.sectionId, -1);
    EXPECT_EQ(sect.name, u""sv);
    EXPECT_EQ(sect.check, 1);
    EXPECT_EQ(sect.language, u"eng"sv);
    EXPECT_EQ(sect.version, (Version {0, 0, 0, 0}));
    EXPECT_EQ(sect.enabled, 1);
    EXPECT_EQ(sect.link, u""sv);
    EXPECT_EQ(sect.site, u""sv);
    EXPECT_EQ(sect.url, u""sv);
    EXPECT_EQ(sect.description, u""sv);
    EXPECT_EQ(sect.size, 0);
    EXPECT_EQ(sect.location, u""sv);
}

TEST(CSect, ReadsEveryAttribute)
{
    const CSect sect
        = parsed("<section section='12' name='N' check='false' language='ger' version='3.1' enabled='False' "
                 "link='L' site='S' url='U' description='D' size='77' location='/P'/>");
    EXPECT_EQ(sect.sectionId, 12);
    EXPECT_EQ(sect.name, u"N"sv);
    EXPECT_EQ(sect.check, 0);
    EXPECT_EQ(sect.language, u"ger"sv);
    EXPECT_EQ(sect.version, (Version {3, 1, 0, 0}));
    EXPECT_EQ(sect.enabled, 0);
    EXPECT_EQ(sect.link, u"L"sv);
    EXPECT_EQ(sect.site, u"S"sv);
    EXPECT_EQ(sect.url, u"U"sv);
    EXPECT_EQ(sect.description, u"D"sv);
    EXPECT_EQ(sect.size, 77);
    EXPECT_EQ(sect.location, u"/P"sv);
}

TEST(CSect, ReadsFlagsByKeyword)
{
    EXPECT_EQ(parsed("<SECTION check='FALSE'/>").check, 0);
    EXPECT_EQ(parsed("<SECTION check='True'/>").check, 1);
    EXPECT_EQ(parsed("<SECTION check='no'/>").check, 1);
    EXPECT_EQ(parsed("<SECTION enabled='FALSE'/>").enabled, 0);
    EXPECT_EQ(parsed("<SECTION enabled='0'/>").enabled, 1);
}

TEST(CSect, HeedsCaseOfAttributeNames)
{
    EXPECT_EQ(parsed("<SECTION Name='N' LOCATION='/P'/>").name, u""sv);
    EXPECT_EQ(parsed("<SECTION Name='N' LOCATION='/P'/>").location, u""sv);
}

TEST(CSect, LosesTheDefaultLanguageWhenItHasOtherAttributes)
{
    EXPECT_EQ(parsed("<SECTION name='N'/>").language, u""sv);
    EXPECT_EQ(parsed("<SECTION/>").language, u"eng"sv);
}

TEST(CSect, KeepsTheDefaultNumbersForMissingAttributes)
{
    const CSect sect = parsed("<SECTION name='N'/>");
    EXPECT_EQ(sect.sectionId, -1);
    EXPECT_EQ(sect.size, 0);
}

TEST(CSect, ReadsNumbersByTheirLeadingDigits)
{
    EXPECT_EQ(parsed("<SECTION section='' size=''/>").sectionId, 0);
    EXPECT_EQ(parsed("<SECTION section='none'/>").sectionId, 0);
    EXPECT_EQ(parsed("<SECTION section=' -12x'/>").sectionId, -12);
    EXPECT_EQ(parsed("<SECTION size='0x10'/>").size, 0);
    EXPECT_EQ(parsed("<SECTION size='+7'/>").size, 7);
    EXPECT_EQ(parsed("<SECTION size='4294967296'/>").size, 2'147'483'647);
}

TEST(CSect, ReadsOverWhatItHeldBefore)
{
    CSect sect;
    const CConstants constants;
    EXPECT_EQ(sect.Parse(ParsedTree("<SECTION name='N' link='L' site='S' url='U' description='D' "
                                    "location='/P' version='3'/>")
                             .root(),
                  &constants),
        1);
    EXPECT_EQ(sect.Parse(ParsedTree("<SECTION section='1'/>").root(), &constants), 1);
    EXPECT_EQ(sect.name, u""sv);
    EXPECT_EQ(sect.link, u""sv);
    EXPECT_EQ(sect.site, u""sv);
    EXPECT_EQ(sect.url, u""sv);
    EXPECT_EQ(sect.description, u""sv);
    EXPECT_EQ(sect.location, u""sv);
}

TEST(CSect, SubstitutesLinkAndLocationOnly)
{
    const CSect sect
        = parsed("<SECTION name='%c%' language='%c%' version='%c%' link='%c%' site='%c%' url='%c%' "
                 "description='%c%' location='%c%/x'/>",
            constantsWith(u"%c%", u"9"));
    EXPECT_EQ(sect.link, u"9"sv);
    EXPECT_EQ(sect.location, u"9/x"sv);
    EXPECT_EQ(sect.name, u"%c%"sv);
    EXPECT_EQ(sect.language, u"%c%"sv);
    EXPECT_EQ(sect.version, (Version {0, 0, 0, 0}));
    EXPECT_EQ(sect.site, u"%c%"sv);
    EXPECT_EQ(sect.url, u"%c%"sv);
    EXPECT_EQ(sect.description, u"%c%"sv);
}

TEST(CSect, RefusesAnElementOfAnotherName)
{
    CSect sect;
    const CConstants constants;
    EXPECT_EQ(sect.Parse(ParsedTree("<SECTIONS name='N'/>").root(), &constants), 0);
    EXPECT_EQ(sect.name, u""sv);
}

TEST(CSect, CutsTextsAt1023UnitsButNeverAPath)
{
    const std::string text(1'000'000, 'x');
    const CSect sect = parsed("<SECTION name='" + text + "' location='/" + text + "'/>");
    EXPECT_EQ(sect.name.size(), 1023U);
    EXPECT_EQ(sect.location, u""sv);
}

TEST(CSects, RefusesAnElementOfAnotherName)
{
    CSects sects;
    const CConstants constants;
    const ScopedTempDir folder;
    EXPECT_EQ(
        sects.ParseSects(ParsedTree("<FILES>" + sectionAt(folder.path()) + "</FILES>").root(), &constants),
        0);
    EXPECT_TRUE(sects.items().empty());
}

TEST(CSects, KeepsInstalledSectionsInDocumentOrder)
{
    const ScopedTempDir folder;
    const ParsedTree tree("<sections>" + sectionAt(folder.path(), "first")
        + sectionAt(folder.at("missing"), "second") + "<SECTION name='nowhere'/><SECTION/><other location='"
        + folder.path().string() + "'/>" + sectionAt(folder.write("file", "x"), "third") + "</sections>");
    CSects sects;
    const CConstants constants;
    EXPECT_EQ(sects.ParseSects(tree.root(), &constants), 1);
    ASSERT_EQ(sects.items().size(), 2U);
    EXPECT_EQ(sects.items()[0]->name, u"first"sv);
    EXPECT_EQ(sects.items()[1]->name, u"third"sv);
}

TEST(CSects, TestsNeitherEnabledNorCheckNorLanguage)
{
    const ScopedTempDir folder;
    const ParsedTree tree("<SECTIONS><SECTION enabled='false' check='false' language='xyz' location='"
        + folder.path().string() + "'/></SECTIONS>");
    CSects sects;
    const CConstants constants;
    EXPECT_EQ(sects.ParseSects(tree.root(), &constants), 1);
    EXPECT_EQ(sects.items().size(), 1U);
}

TEST(CSects, FindsALocationOnlyWhenItsConstantIsDefined)
{
    const ScopedTempDir folder;
    (void)folder.write("Contents/Info.plist", "x");
    CSect sect;
    const ParsedTree tree("<SECTION location='%app%/Contents/Info.plist'/>");
    const CConstants none;
    EXPECT_EQ(sect.Parse(tree.root(), &none), 1);
    EXPECT_EQ(CSects().SectionCanUpdate(&sect), 0);
    const CConstants defined = constantsWith(u"%app%", folder.path().u16string());
    EXPECT_EQ(sect.Parse(tree.root(), &defined), 1);
    EXPECT_EQ(CSects().SectionCanUpdate(&sect), 1);
}

TEST(CSects, DropsALocationThatDoesNotConvertToAPath)
{
    CSect sect;
    EXPECT_EQ(CSects().SectionCanUpdate(&sect), 0);
    // Replaced, the lone surrogate would give a path that exists; so would the one that is a byte too long.
    const ScopedTempDir folder;
    (void)folder.write("\xEF\xBF\xBD", "x");
    sect.location = CLumStringW(folder.at("").u16string() + u"\xD800");
    EXPECT_EQ(CSects().SectionCanUpdate(&sect), 0);
    sect.location = CLumStringW(std::u16string(1023, u'/'));
    EXPECT_EQ(CSects().SectionCanUpdate(&sect), 1);
    sect.location = CLumStringW(std::u16string(1024, u'/'));
    EXPECT_EQ(CSects().SectionCanUpdate(&sect), 0);
}

TEST(CSects, ReleasesAll)
{
    CSects sects;
    sects.AddSectItem(std::make_unique<CSect>());
    sects.ReleaseAllSect();
    EXPECT_TRUE(sects.items().empty());
}
