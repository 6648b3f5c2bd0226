#include "tests/Update/ui/ProductsFixture.h"

#include "Platform/CoreFoundation/CFString.h"
#include "Update/ui/CheckIcons.h"
#include "Update/ui/PluginResources.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using PAuProductsWindTest = ProductsFixture;

TEST_F(PAuProductsWindTest, ShowsTheSizeOfWhatIsChecked)
{
    scene.addMandatory({.sizeBytes = 1048576});
    scene.product({{.title = "Studio", .sizeBytes = 2097152}, {.ownerCode = 2, .sizeBytes = 512}});
    EXPECT_EQ(show(), 1);
    EXPECT_EQ(line(), "Download size:     3.00 M");
    EXPECT_EQ(wind.NeedDiskSpace(), 3146240);
    clickBox(branch(1));
    EXPECT_EQ(line(), "Download size:     1024.00 K");
}

TEST_F(PAuProductsWindTest, NothingCheckedShowsBytesAndDisablesOK)
{
    scene.product({{.title = "Studio", .sizeBytes = 2097152}});
    show();
    EXPECT_TRUE(ok()->isEnabled());
    clickBox(branch(0));
    EXPECT_EQ(line(), "Download size:     0 Byte(s)");
    EXPECT_FALSE(ok()->isEnabled());
    clickBox(branch(0));
    EXPECT_TRUE(ok()->isEnabled());
    EXPECT_EQ(line(), "Download size:     2.00 M");
}

TEST_F(PAuProductsWindTest, LeavesNullEntriesOutOfTheSize)
{
    scene.mandatory = {nullptr, scene.entry({.sizeBytes = 700}), nullptr};
    show();
    EXPECT_EQ(line(), "Download size:     700 Byte(s)");
}

TEST_F(PAuProductsWindTest, TakesTheSizeAsUnsigned)
{
    scene.addMandatory({.sizeBytes = 2147483647});
    scene.addMandatory({.sizeBytes = 1});
    show();
    EXPECT_EQ(line(), "Download size:     2048.00 M");
    EXPECT_TRUE(ok()->isEnabled());
}

TEST_F(PAuProductsWindTest, SizeWrapsAroundIn32Bits)
{
    scene.addMandatory({.sizeBytes = 2147483647});
    scene.addMandatory({.sizeBytes = 2147483647});
    scene.addMandatory({.sizeBytes = 2});
    show();
    EXPECT_EQ(line(), "Download size:     0 Byte(s)");
    EXPECT_FALSE(ok()->isEnabled());
}

TEST_F(PAuProductsWindTest, OKHandsOverTheChosenFilesAfterClosing)
{
    scene.addMandatory({.sizeBytes = 5});
    show();
    QTest::mouseClick(ok(), Qt::LeftButton);
    ASSERT_THAT(response.answers, SizeIs(1));
    ASSERT_TRUE(response.answers[0]);
    EXPECT_THAT(*response.answers[0], ElementsAre(scene.mandatory[0]));
    EXPECT_TRUE(response.windowWasClosed);
    EXPECT_FALSE(wind.isShown());
}

TEST_F(PAuProductsWindTest, LaterHandsOverNothingAfterClosing)
{
    scene.addMandatory({.sizeBytes = 5});
    show();
    QTest::mouseClick(later(), Qt::LeftButton);
    ASSERT_THAT(response.answers, SizeIs(1));
    EXPECT_FALSE(response.answers[0]);
    EXPECT_TRUE(response.windowWasClosed);
}

TEST_F(PAuProductsWindTest, WindowManagersCloseIsLater)
{
    scene.addMandatory({.sizeBytes = 5});
    show();
    windows::only()->close();
    windows::settle();
    ASSERT_THAT(response.answers, SizeIs(1));
    EXPECT_FALSE(response.answers[0]);
    EXPECT_FALSE(wind.isShown());
}

class ConfirmingKey : public ProductsFixture, public testing::WithParamInterface<Qt::Key> { };

TEST_P(ConfirmingKey, ActsAsOK)
{
    scene.addMandatory({.sizeBytes = 5});
    show();
    windows::pressKey(GetParam());
    ASSERT_THAT(response.answers, SizeIs(1));
    ASSERT_TRUE(response.answers[0]);
    EXPECT_THAT(*response.answers[0], ElementsAre(scene.mandatory[0]));
    EXPECT_TRUE(response.windowWasClosed);
}

TEST_P(ConfirmingKey, ActsWhileOKIsDisabled)
{
    show();
    ASSERT_FALSE(ok()->isEnabled());
    windows::pressKey(GetParam());
    ASSERT_THAT(response.answers, SizeIs(1));
    ASSERT_TRUE(response.answers[0]);
    EXPECT_THAT(*response.answers[0], IsEmpty());
}

TEST_P(ConfirmingKey, AnswersOnceWhileAButtonHasTheFocus)
{
    scene.addMandatory({.sizeBytes = 5});
    for (const char* button : {"butn_OK", "butn_Later"}) {
        response.answers.clear();
        show();
        windows::control<QPushButton>(button)->setFocus();
        windows::pressKey(GetParam());
        ASSERT_THAT(response.answers, SizeIs(1));
        EXPECT_TRUE(response.answers[0]);
    }
}

INSTANTIATE_TEST_SUITE_P(ReturnAndEnter, ConfirmingKey, testing::Values(Qt::Key_Return, Qt::Key_Enter));

TEST_F(PAuProductsWindTest, EscapeActsAsLater)
{
    scene.addMandatory({.sizeBytes = 5});
    show();
    windows::pressKey(Qt::Key_Escape);
    ASSERT_THAT(response.answers, SizeIs(1));
    EXPECT_FALSE(response.answers[0]);
}

TEST_F(PAuProductsWindTest, OtherKeysAnswerNothing)
{
    scene.addMandatory({.sizeBytes = 5});
    show();
    for (const Qt::Key key : {Qt::Key_A, Qt::Key_Tab, Qt::Key_Delete, Qt::Key_Down})
        windows::pressKey(key);
    EXPECT_THAT(response.answers, IsEmpty());
    EXPECT_TRUE(wind.isShown());
}

TEST_F(PAuProductsWindTest, KeyInTheMomentOfAClickAnswersOnce)
{
    scene.addMandatory({.sizeBytes = 5});
    show();
    const QPointer<QPushButton> button = ok();
    QTest::mousePress(button, Qt::LeftButton);
    QTest::keyPress(windows::only()->windowHandle(), Qt::Key_Return);
    if (button)
        QTest::mouseRelease(button, Qt::LeftButton);
    windows::settle();
    EXPECT_THAT(response.answers, SizeIs(1));
}

TEST_F(PAuProductsWindTest, ClickAfterAKeyOnTheClosedWindowAnswersNothing)
{
    scene.addMandatory({.sizeBytes = 5});
    show();
    PAuProductsWind::DUButtonCancelProc(nullptr, 1000, nullptr, &wind);
    PAuProductsWind::DUButtonOKProc(nullptr, 1000, nullptr, &wind);
    PAuProductsWind::DUButtonCancelProc(nullptr, 1000, nullptr, &wind);
    ASSERT_THAT(response.answers, SizeIs(1));
    EXPECT_FALSE(response.answers[0]);
}

TEST_F(PAuProductsWindTest, ButtonProceduresTakeOnlyThePress)
{
    show();
    EXPECT_EQ(PAuProductsWind::DUButtonOKProc(nullptr, 999, nullptr, &wind), 0);
    EXPECT_EQ(PAuProductsWind::DUButtonCancelProc(nullptr, 1001, nullptr, &wind), 0);
    EXPECT_EQ(PAuProductsWind::DUButtonOKProc(nullptr, 1000, nullptr, nullptr), 0);
    EXPECT_EQ(PAuProductsWind::DUButtonCancelProc(nullptr, 1000, nullptr, nullptr), 0);
    EXPECT_THAT(response.answers, IsEmpty());
    EXPECT_TRUE(wind.isShown());
}

TEST_F(PAuProductsWindTest, AnswerMayShowTheWindowAgain)
{
    scene.addMandatory({.sizeBytes = 5});
    show();
    response.then = [this] { show(); };
    windows::pressKey(Qt::Key_Return);
    EXPECT_THAT(response.answers, SizeIs(1));
    EXPECT_TRUE(wind.isShown());
    ASSERT_TRUE(windows::only());
    EXPECT_EQ(line(), "Download size:     5 Byte(s)");
}

TEST_F(PAuProductsWindTest, ShowingTheShownWindowKeepsWhatTheUserChose)
{
    scene.product({{.title = "Studio", .sizeBytes = 7}});
    show();
    clickBox(branch(0));
    EXPECT_EQ(show(), 1);
    EXPECT_EQ(tree()->topLevelItemCount(), 1);
    EXPECT_EQ(state(branch(0)), 0x2000);
}

TEST_F(PAuProductsWindTest, EndingWhileShownAnswersNothing)
{
    scene.addMandatory({.sizeBytes = 5});
    {
        PAuProductsWind other(response);
        other.ShowWnd(&scene.files, &scene.mandatory, &scene.optional, &scene.products);
    }
    windows::settle();
    EXPECT_THAT(response.answers, IsEmpty());
    EXPECT_TRUE(windows::shown().empty());
}

TEST_F(PAuProductsWindTest, WithoutALayoutThereIsNothingToChoose)
{
    scene.addMandatory({.sizeBytes = 5});
    const PubLumen::LumFileManager noFolder;
    EXPECT_EQ(wind.ShowWnd(&noFolder, &scene.mandatory, &scene.optional, &scene.products), 1);
    wind.ChangePaneInfo();
    EXPECT_EQ(wind.NeedDiskSpace(), 0);
}

TEST_F(PAuProductsWindTest, TabReachesTreeLaterAndOK)
{
    scene.addMandatory({.sizeBytes = 5});
    show();
    const auto afterTab = [](const QWidget* from) {
        QWidget* next = from->nextInFocusChain();
        while (next != from && !(next->isVisible() && (next->focusPolicy() & Qt::TabFocus)))
            next = next->nextInFocusChain();
        return next;
    };
    EXPECT_EQ(afterTab(tree()), later());
    EXPECT_EQ(afterTab(later()), ok());
    EXPECT_EQ(afterTab(ok()), tree());
}

TEST_F(PAuProductsWindTest, WordsItsRowsForScreenReaders)
{
    scene.addMandatory({.sizeBytes = 5});
    scene.product({{.title = "Studio"}, {.ownerCode = 2, .title = "Looks"}});
    show();
    clickBox(child(1, 0));
    const auto spoken = [](const QTreeWidgetItem* item) {
        return item->data(0, Qt::AccessibleTextRole).toString().toStdString();
    };
    EXPECT_EQ(spoken(branch(0)), "Common Library, always included");
    EXPECT_EQ(spoken(branch(1)), "Studio, chosen");
    EXPECT_EQ(spoken(child(1, 0)), "Looks, left out");
    EXPECT_EQ(tree()->accessibleName().toStdString(), "Available updates");
}

TEST(CheckIcons, AreFourWithNoneAtTheBeginning)
{
    const CFRef bundle = openStagedBundle();
    std::vector<IconRef> icons = loadCheckIcons();
    ASSERT_THAT(icons, SizeIs(4));
    EXPECT_EQ(icons[0], nullptr);
    for (int i = 1; i < 4; ++i)
        EXPECT_NE(icons[i], nullptr);
    releaseCheckIcons(icons);
    EXPECT_THAT(icons, IsEmpty());
}

TEST(CheckIcons, AreNullWithoutTheBundle)
{
    std::vector<IconRef> icons = loadCheckIcons();
    EXPECT_THAT(icons, ElementsAre(nullptr, nullptr, nullptr, nullptr));
    releaseCheckIcons(icons);
}

TEST(CheckIcons, AreNullForWhatIsNoIcon)
{
    const CFRef bundle = openStagedBundle();
    const CFRef folder = pluginResourcesFolder();
    const CFRef missing = adoptCF(CFStringCreateWithView(u"Missing.icns"));
    const CFRef layout = adoptCF(CFStringCreateWithView(u"Au_products.aui"));
    EXPECT_EQ(st_CreateIconRef(folder, missing), nullptr);
    EXPECT_EQ(st_CreateIconRef(folder, layout), nullptr);
    EXPECT_EQ(st_CreateIconRef(nullptr, layout), nullptr);
}

TEST(CheckIcons, MissingOnesGiveTheDesktopsCheckBoxes)
{
    RecordingResponse response;
    PAuProductsWind wind(response); // no bundle is registered yet: it has no icons
    ProductsScene scene;
    scene.product({{.title = "Studio"}});
    wind.ShowWnd(&scene.files, &scene.mandatory, &scene.optional, &scene.products);
    const auto* tree = windows::control<QTreeWidget>("trev1");
    EXPECT_FALSE(tree->topLevelItem(0)->icon(0).isNull());
    EXPECT_FALSE(tree->topLevelItem(0)->icon(0).pixmap(16).isNull());
}

} // namespace
