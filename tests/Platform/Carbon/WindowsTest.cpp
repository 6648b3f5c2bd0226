#include "Platform/Carbon/WindowsInternal.h"

#include "tests/support/Windows.h"

#include <QLineEdit>
#include <QScreen>
#include <QVBoxLayout>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What the definition procedure below is asked and answers.
struct Definition {
    UInt32 features = kWindowCanGetWindowRegion;
    SInt32 part = kWindowPartContent;
    std::vector<SInt16> asked;
    std::vector<WindowRegionCode> regions;
};
Definition* g_definition = nullptr;

SInt32 define(SInt16 varCode, WindowRef window, SInt16 message, std::intptr_t param)
{
    EXPECT_EQ(varCode, 0);
    g_definition->asked.push_back(message);
    if (message == kWindowMsgHitTest)
        return g_definition->part;
    if (message == kWindowMsgGetFeatures) {
        *reinterpret_cast<UInt32*>(param) = g_definition->features;
        return 1;
    }
    auto& record = *reinterpret_cast<GetWindowRegionRec*>(param);
    g_definition->regions.push_back(record.regionCode);
    Rect bounds;
    GetWindowBounds(window, kWindowContentRgn, &bounds);
    RectRgn(record.winRgn, &bounds);
    return 0;
}

/// Records the keys it is given.
struct KeyLog {
    std::vector<int> keys;
    OSStatus answer = -9874;
    WindowRef disposes = nullptr;
};

OSStatus logKey(EventHandlerCallRef, EventRef event, void* userData)
{
    auto& log = *static_cast<KeyLog*>(userData);
    char key = 'x';
    EXPECT_EQ(GetEventParameter(event, kEventParamKeyMacCharCodes, typeChar, nullptr, 1, nullptr, &key), 0);
    log.keys.push_back(key);
    if (log.disposes)
        DisposeWindow(std::exchange(log.disposes, nullptr));
    return log.answer;
}

class CarbonWindows : public testing::Test {
protected:
    CarbonWindows() { g_definition = &definition; }
    ~CarbonWindows() override
    {
        if (window)
            DisposeWindow(window);
        windows::settle();
        g_definition = nullptr;
    }

    WindowRef create(WindowClass windowClass = kDocumentWindowClass)
    {
        const WindowDefSpec def {kWindowDefProcPtr, &define};
        const Rect bounds {100, 150, 300, 450};
        EXPECT_EQ(
            CreateCustomWindow(&def, windowClass, kWindowStandardHandlerAttribute, &bounds, &window), 0);
        return window;
    }

    void listen()
    {
        const EventTypeSpec rawKeyDown {0x6B657962, 1};
        EXPECT_EQ(InstallWindowEventHandler(window, &logKey, 1, &rawKeyDown, &keys, nullptr), 0);
    }
    void dispose()
    {
        alive = window;
        DisposeWindow(std::exchange(window, nullptr));
    }

    Definition definition;
    KeyLog keys;
    WindowRef window = nullptr;
    QPointer<QWidget> alive;
};

TEST_F(CarbonWindows, IsMadeHiddenAndFrameless)
{
    create();
    EXPECT_FALSE(window->isVisible());
    EXPECT_TRUE(window->windowFlags() & Qt::FramelessWindowHint);
    EXPECT_EQ(window->windowModality(), Qt::NonModal);
    EXPECT_FALSE(window->testAttribute(Qt::WA_QuitOnClose));
}

TEST_F(CarbonWindows, ModalClassHoldsOffTheOthers)
{
    create(kModalWindowClass);
    EXPECT_EQ(window->windowModality(), Qt::ApplicationModal);
}

TEST_F(CarbonWindows, AsksForFeaturesFirstAndThenForBothRegions)
{
    create();
    EXPECT_THAT(definition.asked, ElementsAre(7, 8, 8));
    EXPECT_THAT(definition.regions, ElementsAre(32, 33));
}

TEST_F(CarbonWindows, AsksForNoRegionThatTheDefinitionCannotGive)
{
    definition.features = 0;
    create();
    EXPECT_THAT(definition.asked, ElementsAre(7));
}

TEST_F(CarbonWindows, GivesTheBoundsThatWereSet)
{
    create();
    Rect bounds;
    EXPECT_EQ(GetWindowBounds(window, kWindowContentRgn, &bounds), 0);
    EXPECT_EQ(bounds, (Rect {100, 150, 300, 450}));
    const Rect next {0, 0, 440, 500};
    EXPECT_EQ(SetWindowBounds(window, kWindowContentRgn, &next), 0);
    GetWindowBounds(window, kWindowContentRgn, &bounds);
    EXPECT_EQ(bounds, next);
    EXPECT_EQ(window->size(), QSize(500, 440));
}

TEST_F(CarbonWindows, SizeIsTheUsersOnlyWithTheGrowFeature)
{
    create();
    EXPECT_EQ(window->minimumSize(), window->maximumSize());
    dispose();
    definition.features = kWindowCanGrow;
    create();
    EXPECT_NE(window->minimumSize(), window->maximumSize());
}

TEST_F(CarbonWindows, IsCentredOnTheMainScreen)
{
    create();
    EXPECT_EQ(RepositionWindow(window, nullptr, kWindowCenterOnMainScreen), 0);
    const QPoint off
        = window->geometry().center() - QGuiApplication::primaryScreen()->availableGeometry().center();
    EXPECT_LE(off.manhattanLength(), 2);
}

TEST_F(CarbonWindows, ThatIsTooLargeBeginsWhereTheScreenDoes)
{
    create();
    const Rect bounds {0, 0, 5000, 5000};
    SetWindowBounds(window, kWindowContentRgn, &bounds);
    RepositionWindow(window, nullptr, kWindowCenterOnMainScreen);
    EXPECT_EQ(window->pos(), QGuiApplication::primaryScreen()->availableGeometry().topLeft());
}

TEST_F(CarbonWindows, ShowsAndHides)
{
    create();
    ShowWindow(window);
    EXPECT_EQ(windows::only(), window);
    BringToFront(window);
    SelectWindow(window);
    HideWindow(window);
    EXPECT_TRUE(windows::shown().empty());
}

TEST_F(CarbonWindows, DisposeHidesAtOnceAndFreesLater)
{
    create();
    ShowWindow(window);
    dispose();
    EXPECT_TRUE(windows::shown().empty());
    EXPECT_TRUE(alive);
    windows::settle();
    EXPECT_FALSE(alive);
}

TEST_F(CarbonWindows, DragMovesTheWindowByItsContent)
{
    create();
    ShowWindow(window);
    QTest::mousePress(window, Qt::LeftButton, {}, {10, 10});
    QTest::mouseMove(window, {40, 30});
    QTest::mouseRelease(window, Qt::LeftButton);
    EXPECT_THAT(definition.asked, testing::Contains(1));
    EXPECT_EQ(window->pos(), QPoint(180, 120));
    QTest::mouseMove(window, {80, 80});
    EXPECT_EQ(window->pos(), QPoint(180, 120));
}

TEST_F(CarbonWindows, DoesNotMoveWhereTheDefinitionSeesNoContent)
{
    definition.part = kWindowPartNone;
    create();
    ShowWindow(window);
    QTest::mousePress(window, Qt::LeftButton, {}, {10, 10});
    QTest::mouseMove(window, {40, 30});
    QTest::mouseRelease(window, Qt::LeftButton);
    EXPECT_EQ(window->pos(), QPoint(150, 100));
}

TEST_F(CarbonWindows, CloseWithoutAnActionHides)
{
    create();
    ShowWindow(window);
    window->close();
    EXPECT_TRUE(windows::shown().empty());
}

TEST_F(CarbonWindows, CloseWithAnActionLeavesItToTheAction)
{
    create();
    int closes = 0;
    window->closeAction = [&closes] { ++closes; };
    ShowWindow(window);
    window->close();
    EXPECT_EQ(closes, 1);
    EXPECT_EQ(windows::only(), window);
}

TEST_F(CarbonWindows, CloseActionMayDisposeTheWindow)
{
    create();
    window->closeAction = [this] { dispose(); };
    ShowWindow(window);
    window->close();
    EXPECT_TRUE(windows::shown().empty());
    windows::settle();
    EXPECT_FALSE(alive);
}

struct KeyCase {
    Qt::Key key;
    int character;
};
class CarbonKeys : public CarbonWindows, public testing::WithParamInterface<KeyCase> { };

TEST_P(CarbonKeys, AreGivenOnceWithTheirCharacter)
{
    create();
    listen();
    ShowWindow(window);
    QTest::keyClick(window->windowHandle(), GetParam().key);
    EXPECT_THAT(keys.keys, ElementsAre(GetParam().character));
}

INSTANTIATE_TEST_SUITE_P(Characters, CarbonKeys,
    testing::Values(KeyCase {Qt::Key_Return, 13}, KeyCase {Qt::Key_Enter, 3}, KeyCase {Qt::Key_Escape, 27},
        KeyCase {Qt::Key_A, 'a'}, KeyCase {Qt::Key_Space, ' '}, KeyCase {Qt::Key_F5, 0}));

TEST_F(CarbonWindows, KeyIsGivenOnceAlsoWithNestedControls)
{
    create();
    listen();
    auto* layout = new QVBoxLayout(window);
    auto* edit = new QLineEdit(window);
    layout->addWidget(edit);
    ShowWindow(window);
    edit->setFocus();
    QTest::keyClick(window->windowHandle(), Qt::Key_A);
    EXPECT_THAT(keys.keys, ElementsAre('a'));
}

TEST_F(CarbonWindows, KeyThatWasNotHandledGoesOnToTheControls)
{
    create();
    listen();
    auto* edit = new QLineEdit(window);
    ShowWindow(window);
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    edit->setFocus();
    QTest::keyClick(window->windowHandle(), Qt::Key_A);
    EXPECT_EQ(edit->text(), "a");
    keys.answer = 0;
    QTest::keyClick(window->windowHandle(), Qt::Key_A);
    EXPECT_EQ(edit->text(), "a");
}

TEST_F(CarbonWindows, RepetitionsOfAKeyAreNotGiven)
{
    create();
    listen();
    ShowWindow(window);
    QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r", true);
    QCoreApplication::sendEvent(window->windowHandle(), &repeated);
    EXPECT_THAT(keys.keys, IsEmpty());
}

TEST_F(CarbonWindows, KeyHandlerMayDisposeTheWindow)
{
    create();
    listen();
    ShowWindow(window);
    alive = window;
    keys.disposes = std::exchange(window, nullptr);
    QTest::keyPress(alive->windowHandle(), Qt::Key_Return);
    windows::settle();
    EXPECT_FALSE(alive);
    EXPECT_THAT(keys.keys, ElementsAre(13));
}

TEST_F(CarbonWindows, KeyThatDisposedTheWindowReachesNoControl)
{
    create();
    listen();
    auto* edit = new QLineEdit(window);
    ShowWindow(window);
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    edit->setFocus();
    keys.disposes = std::exchange(window, nullptr);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, "a");
    QCoreApplication::sendEvent(edit->window()->windowHandle(), &key);
    EXPECT_THAT(keys.keys, ElementsAre('a'));
    EXPECT_EQ(edit->text(), "");
}

TEST_F(CarbonWindows, DisposedWindowGivesNoKeys)
{
    create();
    listen();
    ShowWindow(window);
    dispose();
    QKeyEvent key(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r");
    QCoreApplication::sendEvent(alive->windowHandle(), &key);
    EXPECT_THAT(keys.keys, IsEmpty());
}

TEST_F(CarbonWindows, RefusesWhatIsNotSupported)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const WindowDefSpec def {kWindowDefProcPtr, &define};
    const Rect bounds;
    EXPECT_DEATH(CreateCustomWindow(&def, 99, 0, &bounds, &window), "failed assertion");
    EXPECT_DEATH(CreateCustomWindow(&def, kDocumentWindowClass, 1, &bounds, &window), "failed assertion");
}

} // namespace
