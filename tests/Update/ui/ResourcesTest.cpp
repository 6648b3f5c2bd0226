// What the shipped resources must hold for the code that uses them.
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/Lumen/LumResource.h"
#include "Platform/Support/Unicode.h"
#include "tests/Update/ui/ProductsFixture.h"

#include <QProgressBar>

namespace {

std::string textOf(SInt32 id)
{
    PubLumen::LumFileManager files;
    FSSpec folder;
    folder.path = TANDEM_TEXTS_FOLDER;
    PubLumen::LumDocument document;
    WideText text;
    if (files.OpenFolder(folder) && document.Open(files, u"VelTanRes.aui"))
        document.CopyItemText(id, text);
    return utf8FromWide(text);
}

/// How many conversions a template holds; "%%" is none.
std::vector<std::string> conversionsOf(const std::string& text)
{
    std::vector<std::string> found;
    for (std::size_t at = text.find('%'); at < text.size(); at = text.find('%', at + 2))
        if (text.substr(at, 2) != "%%")
            found.push_back(text.substr(at, 2));
    return found;
}

TEST(HostTexts, OneProductTakesItsName)
{
    EXPECT_THAT(conversionsOf(textOf(618)), testing::ElementsAre("%s"));
}

TEST(HostTexts, SeveralProductsTakeTheirNumber)
{
    EXPECT_THAT(conversionsOf(textOf(620)), testing::ElementsAre("%d"));
}

TEST(HostTexts, EndingsTakeNothing)
{
    for (const SInt32 id : {622, 625}) {
        EXPECT_FALSE(textOf(id).empty());
        EXPECT_THAT(conversionsOf(textOf(id)), testing::IsEmpty());
    }
}

class ProgressLayout : public testing::TestWithParam<const char16_t*> { };

TEST_P(ProgressLayout, HasItsControlsAndOneNumberInItsLine)
{
    const ProductsScene scene;
    PLumenWind wind;
    wind.Show(GetParam(), &scene.files, false);
    ASSERT_TRUE(windows::control<QLabel>("view11"));
    EXPECT_THAT(
        conversionsOf(windows::control<QLabel>("view11")->text().toStdString()), testing::ElementsAre("%d"));
    EXPECT_TRUE(windows::control<QProgressBar>("hscrl_process"));
    EXPECT_TRUE(windows::control<QPushButton>("butn_cancel"));
}

INSTANTIATE_TEST_SUITE_P(
    Both, ProgressLayout, testing::Values(u"Mac_download_dlg.aui", u"Au_processing.aui"));

TEST(ProductsLayout, HasItsControlsAndNoConversionInItsLine)
{
    const ProductsScene scene;
    PLumenWind wind;
    wind.Show(u"Au_products.aui", &scene.files, false);
    ASSERT_TRUE(windows::control<QLabel>("view11"));
    EXPECT_THAT(conversionsOf(windows::control<QLabel>("view11")->text().toStdString()), testing::IsEmpty());
    EXPECT_TRUE(windows::control<QTreeWidget>("trev1"));
    EXPECT_TRUE(windows::control<QPushButton>("butn_Later"));
    EXPECT_TRUE(windows::control<QPushButton>("butn_OK"));
}

TEST(StagedBundle, SaysWhatItIs)
{
    const CFRef bundle = openStagedBundle();
    ASSERT_TRUE(bundle);
    const auto value = [&bundle](std::u16string_view key) {
        const CFTypeRef found = CFBundleGetValueForInfoDictionaryKey(bundle, key);
        return found ? utf8FromWide(CFStringGetView(static_cast<CFStringRef>(found))) : std::string();
    };
    EXPECT_EQ(value(kCFBundleIdentifierKey), "com.Velmora.Update");
    EXPECT_EQ(value(kCFBundleExecutableKey), "Update");
    EXPECT_EQ(value(kCFBundleVersionKey), "2.0.0.0");
    EXPECT_FALSE(value(kCFBundleNameKey).empty());
}

} // namespace
