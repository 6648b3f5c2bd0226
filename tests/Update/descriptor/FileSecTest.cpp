// One file of an update.
#include "Update/descriptor/FileSec.h"

#include "Update/descriptor/DownloadAction.h"
#include "tests/Update/descriptor/ParsedTree.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;

namespace {

constexpr SInt32 kOwner = 3;

std::unique_ptr<CFileSec> parsed(std::string_view element, const CConstants& constants = {})
{
    auto file = std::make_unique<CFileSec>(kOwner);
    EXPECT_EQ(file->Parse(ParsedTree(element).root(), &constants), 1);
    return file;
}

int parseResult(std::string_view element)
{
    const CConstants constants;
    return CFileSec(kOwner).Parse(ParsedTree(element).root(), &constants);
}

std::string downloadOf(std::string_view location)
{
    return "<action type='download'><location>" + std::string(location) + "</location></action>";
}

std::u16string fullUrl(const CFileSec& file)
{
    CLumStringW url(u"old");
    file.GatherDownloadFullURL(url);
    return std::u16string(url.view());
}

} // namespace

TEST(CFileSec, HasDefaults)
{
    const CFileSec file(kOwner);
    EXPECT_EQ(file.name(), u""sv);
    EXPECT_EQ(file.version(), (Version {0, 0, 0, 0}));
    EXPECT_EQ(file.size(), 0);
    EXPECT_EQ(file.ownerCode(), 3);
    EXPECT_EQ(file.title(), u""sv);
    EXPECT_EQ(file.mark(), 0);
    EXPECT_TRUE(file.actions().empty());
}

TEST(CFileSec, ReadsItsAttributesUnsubstituted)
{
    const auto file = parsed("<file name='%c%' size='1234' title='%c%' check='Version' version='1.2.3.4' "
                             "type='setting' date='x' datetime='y'/>",
        constantsWith(u"%c%", u"substituted"));
    EXPECT_EQ(file->name(), u"%c%"sv);
    EXPECT_EQ(file->size(), 1234);
    EXPECT_EQ(file->title(), u"%c%"sv);
    EXPECT_EQ(file->version(), (Version {1, 2, 3, 4}));
}

TEST(CFileSec, HeedsCaseOfAttributeNames)
{
    EXPECT_EQ(parsed("<FILE Name='N' check='version' version='1'/>")->name(), u""sv);
    EXPECT_EQ(parseResult("<FILE check='version' Version='1'/>"), 0);
}

TEST(CFileSec, NeedsAVersionWhenTheVersionIsChecked)
{
    EXPECT_EQ(parseResult("<FILE name='N' check='version'/>"), 0);
    EXPECT_EQ(parseResult("<FILE name='N' check='VERSION'/>"), 0);
}

TEST(CFileSec, IgnoresTheVersionWhenSomethingElseIsChecked)
{
    EXPECT_EQ(parsed("<FILE check='size' version='1.2'/>")->version(), (Version {0, 0, 0, 0}));
    EXPECT_EQ(parsed("<FILE version='1.2'/>")->version(), (Version {0, 0, 0, 0}));
}

TEST(CFileSec, TakesAnEmptyVersionAsOneThatIsThere)
{
    EXPECT_EQ(parsed("<FILE check='version' version=''/>")->version(), (Version {0, 0, 0, 0}));
    EXPECT_EQ(parsed("<FILE check=' version' version='1'/>")->version(), (Version {0, 0, 0, 0}));
}

TEST(CFileSec, ReadsASizeByItsLeadingDigits)
{
    struct Case {
        const char* text;
        SInt32 size;
    };
    for (const Case& one : {Case {"", 0}, Case {"-5", -5}, Case {"+7", 7}, Case {" \n12", 12},
             Case {"- 5", 0}, Case {"0x10", 0}, Case {"1e3", 1}, Case {"12.9", 12}, Case {"1,000", 1},
             Case {"0010", 10}, Case {"\xD9\xA1", 0}, // an Arabic digit
             Case {"2147483647", 2'147'483'647}, Case {"2147483648", 2'147'483'647},
             Case {"-2147483649", -2'147'483'647 - 1}, Case {"99999999999999999999", 2'147'483'647}})
        EXPECT_EQ(parsed("<FILE size='" + std::string(one.text) + "'/>")->size(), one.size) << one.text;
}

TEST(CFileSec, RefusesAnElementOfAnotherName)
{
    EXPECT_EQ(parseResult("<FILES name='N'/>"), 0);
}

TEST(CFileSec, IsReadWithoutAttributes)
{
    const auto file = parsed("<FILE>" + downloadOf("a") + "</FILE>");
    EXPECT_EQ(file->name(), u""sv);
    EXPECT_EQ(file->actions().size(), 1U);
}

TEST(CFileSec, CutsTextsAt1023Units)
{
    const std::string text(1'000'000, 'x');
    const auto file = parsed("<FILE name='" + text + "' title='" + text + "'/>");
    EXPECT_EQ(file->name().size(), 1023U);
    EXPECT_EQ(file->title().size(), 1023U);
}

TEST(CFileSec, MakesActionsByTypeInDocumentOrder)
{
    const auto file = parsed("<FILE size='9'><ACTION type='UNZIP'/><action type='Download'/>"
                             "<action type='copy'/><action type='delete'/><action type='other'/>"
                             "<action type='run'/></FILE>");
    ASSERT_EQ(file->actions().size(), 3U);
    EXPECT_EQ(file->actions()[0]->type(), 4);
    EXPECT_EQ(file->actions()[1]->type(), 0);
    EXPECT_EQ(static_cast<const CDownLoad&>(*file->actions()[1]).size(), 9);
    EXPECT_EQ(file->actions()[2]->type(), 1);
}

TEST(CFileSec, SkipsActionsWithoutAType)
{
    EXPECT_TRUE(parsed("<FILE><action/><action Type='run'/><action name='run'/><!--action--><other "
                       "type='run'/></FILE>")
                    ->actions()
                    .empty());
}

TEST(CFileSec, GivesARunActionTheApplicationsFolder)
{
    const std::string element = "<FILE><action type='run'><destination>/d</destination></action></FILE>";
    EXPECT_EQ(parsed(element, constantsWith(u"%app%", u"/A"))->actions()[0]->destination(), u"/A"sv);
    EXPECT_EQ(parsed(element)->actions()[0]->destination(), u"%app%"sv);
}

TEST(CFileSec, SubstitutesInItsActions)
{
    const auto file = parsed("<FILE>" + downloadOf("%d%/a.zip") + "</FILE>", constantsWith(u"%d%", u"D"));
    EXPECT_EQ(file->actions()[0]->location(), u"D/a.zip"sv);
}

TEST(CFileSec, JoinsSiteAndLocationAsTheyStand)
{
    const auto file = parsed("<FILE>" + downloadOf("a/b.zip") + "</FILE>");
    file->SetDownloadSiteUrl(u"S/dir/");
    EXPECT_EQ(fullUrl(*file), u"S/dir/a/b.zip"sv);
    file->SetDownloadSiteUrl(u"S/dir");
    EXPECT_EQ(fullUrl(*file), u"S/dira/b.zip"sv);
    file->SetDownloadSiteUrl(nullptr);
    EXPECT_EQ(fullUrl(*file), u"a/b.zip"sv);
}

TEST(CFileSec, TakesTheUrlFromTheFirstDownloadOnly)
{
    const auto file
        = parsed("<FILE><action type='unzip'/>" + downloadOf("first") + downloadOf("second") + "</FILE>");
    file->SetDownloadSiteUrl(u"S/");
    EXPECT_EQ(fullUrl(*file), u"S/first"sv);
    const auto withoutLocation = parsed("<FILE><action type='download'/>" + downloadOf("second") + "</FILE>");
    withoutLocation->SetDownloadSiteUrl(u"S/");
    EXPECT_EQ(fullUrl(*withoutLocation), u"S/"sv);
}

TEST(CFileSec, GivesEveryDownloadTheSite)
{
    const auto file
        = parsed("<FILE>" + downloadOf("1") + "<action type='run'/>" + downloadOf("2") + "</FILE>");
    file->SetDownloadSiteUrl(u"S/");
    EXPECT_EQ(static_cast<const CDownLoad&>(*file->actions()[0]).site(), u"S/"sv);
    EXPECT_EQ(static_cast<const CDownLoad&>(*file->actions()[2]).site(), u"S/"sv);
}

TEST(CFileSec, HasAnEmptyUrlWithoutADownload)
{
    const auto file = parsed("<FILE><action type='run'/></FILE>");
    file->SetDownloadSiteUrl(u"S/");
    EXPECT_EQ(fullUrl(*file), u""sv);
    EXPECT_TRUE(file->IsWebURLInDownload(u""));
    EXPECT_TRUE(file->IsWebURLInDownload(nullptr));
    EXPECT_FALSE(file->IsWebURLInDownload(u"S/"));
}

TEST(CFileSec, ComparesItsUrlIgnoringCase)
{
    const auto file = parsed("<FILE>" + downloadOf("A/b.zip") + "</FILE>");
    file->SetDownloadSiteUrl(u"http://S/");
    EXPECT_TRUE(file->IsWebURLInDownload(u"HTTP://s/a/B.ZIP"));
    EXPECT_FALSE(file->IsWebURLInDownload(u"http://S/A/b.zi"));
    EXPECT_FALSE(file->IsWebURLInDownload(u""));
}

TEST(CFileSec, FindsTheFirstActionOfAType)
{
    const auto file = parsed("<FILE><action type='run'/>" + downloadOf("1") + downloadOf("2") + "</FILE>");
    EXPECT_EQ(file->GetActionByType(0), file->actions()[1].get());
    EXPECT_EQ(file->GetActionByType(1), file->actions()[0].get());
    EXPECT_EQ(file->GetActionByType(2), nullptr);
    EXPECT_EQ(file->GetActionByType(4), nullptr);
}

TEST(CFileSec, AppendsAnAction)
{
    CFileSec file(kOwner);
    file.AddItem(std::make_unique<CDownLoad>(1));
    EXPECT_EQ(file.actions().size(), 1U);
}

TEST(CFileSec, KeepsItsMark)
{
    CFileSec file(kOwner);
    file.setMark();
    EXPECT_EQ(file.mark(), 1);
}
