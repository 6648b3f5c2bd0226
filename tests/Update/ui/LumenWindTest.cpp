#include "Update/ui/LumenWind.h"

#include "Platform/Carbon/WindowsInternal.h"
#include "tests/Update/ui/ProductsScene.h"
#include "tests/support/Windows.h"

#include <QScreen>

#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

/// What the last window was made with.
struct {
    WindowDefProcPtr proc = nullptr;
    WindowClass windowClass = 0;
    WindowAttributes attributes = 0;
    Rect bounds {};
} g_made;

} // namespace

// The program's own definition stands before the platform library's.
OSStatus CreateCustomWindow(const WindowDefSpec* def, WindowClass windowClass, WindowAttributes attributes,
    const Rect* bounds, WindowRef* window)
{
    static auto* const own = reinterpret_cast<decltype(&CreateCustomWindow)>(
        dlsym(RTLD_NEXT, "_Z18CreateCustomWindowPK13WindowDefSpecjjPK4RectPP15OpaqueWindowPtr"));
    if (!own)
        std::abort(); // the platform's declaration was changed: change the symbol with it
    g_made = {def->defProc, windowClass, attributes, *bounds};
    return own(def, windowClass, attributes, bounds, window);
}

namespace {

class CountingWind : public PLumenWind {
public:
    void InstallUserInfoUI(PubLumen::LumPanel* panel) override
    {
        ++installs;
        hadPanel = panel && panel == m_panel;
        wasHidden = windows::shown().empty();
    }
    const PubLumen::LumPanel* panel() const { return m_panel; }
    WindowRef window() const { return m_window; }

    int installs = 0;
    bool hadPanel = false;
    bool wasHidden = false;
};

/// Counts how often a window is put before the others.
class RaiseCounter : public QObject {
public:
    explicit RaiseCounter(QWidget& window)
        : QObject(&window)
    {
        window.installEventFilter(this);
    }
    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == QEvent::ZOrderChange ? 1 : 0;
        return false;
    }

    int count = 0;
};

TEST(PLumenWind, ShowsAFramelessWindowSizedToItsContentInTheMiddleOfTheScreen)
{
    const ProductsScene scene;
    CountingWind wind;
    EXPECT_TRUE(wind.Show(u"Au_products.aui", &scene.files, false));
    const QWidget* window = windows::only();
    ASSERT_TRUE(window);
    EXPECT_TRUE(window->windowFlags() & Qt::FramelessWindowHint);
    EXPECT_EQ(window->size(), QSize(500, 440)); // the layout's own size
    const QPoint offCentre = window->geometry().center() - window->screen()->availableGeometry().center();
    EXPECT_LE(offCentre.manhattanLength(), 2);
}

TEST(PLumenWind, InstallsTheControlsOnceWhileTheWindowIsHidden)
{
    const ProductsScene scene;
    CountingWind wind;
    wind.Show(u"Au_products.aui", &scene.files, false);
    EXPECT_EQ(wind.installs, 1);
    EXPECT_TRUE(wind.hadPanel);
    EXPECT_TRUE(wind.wasHidden);
}

TEST(PLumenWind, ShowOfAnExistingWindowOnlyBringsItToTheFront)
{
    const ProductsScene scene;
    CountingWind wind;
    wind.Show(u"Au_products.aui", &scene.files, false);
    const QWidget* first = windows::only();
    EXPECT_TRUE(wind.Show(u"Au_processing.aui", &scene.files, false));
    EXPECT_EQ(windows::only(), first);
    EXPECT_EQ(wind.installs, 1);
}

TEST(PLumenWind, ShowBringsTheWindowToTheFrontInAnyCase)
{
    const ProductsScene scene;
    CountingWind wind;
    wind.Show(u"Au_products.aui", &scene.files, false);
    const auto* raises = new RaiseCounter(*windows::only()); // the window owns it
    wind.Show(u"Au_products.aui", &scene.files, false);
    EXPECT_EQ(raises->count, 1);
}

TEST(PLumenWind, LayoutThatCannotBeLoadedLeavesAWindowWithoutContent)
{
    const ProductsScene scene;
    CountingWind wind;
    EXPECT_TRUE(wind.Show(u"Missing.aui", &scene.files, false));
    EXPECT_TRUE(wind.isShown());
    EXPECT_EQ(wind.panel(), nullptr);
    EXPECT_EQ(wind.installs, 0);
    ASSERT_TRUE(windows::only());
    EXPECT_EQ(windows::only()->size(), QSize(100, 100)); // the bounds it starts with
}

TEST(PLumenWind, ShowsWithoutAFileManager)
{
    CountingWind wind;
    EXPECT_TRUE(wind.Show(u"Au_products.aui", nullptr, false));
    EXPECT_EQ(wind.installs, 0);
}

TEST(PLumenWind, IsModalOnlyWhenAsked)
{
    const ProductsScene scene;
    CountingWind plain;
    plain.Show(u"Au_processing.aui", &scene.files, false);
    EXPECT_EQ(windows::only()->windowModality(), Qt::NonModal);
    plain.Dispose();
    CountingWind modal;
    modal.Show(u"Au_processing.aui", &scene.files, true);
    EXPECT_EQ(windows::only()->windowModality(), Qt::ApplicationModal);
}

TEST(PLumenWind, IsCompositedFromSystem103On)
{
    constexpr WindowAttributes kComposited = 1U << 19;
    constexpr WindowAttributes kStandardHandler = 1U << 25;
    for (const SInt32 version : {0x1029, 0x1030, 0x1040}) {
        CountingWind wind;
        PLumenWind::sysVer = version;
        wind.Show(u"", nullptr, false);
        EXPECT_EQ(g_made.attributes, kStandardHandler | (version >= 0x1030 ? kComposited : 0)) << version;
    }
    PLumenWind::sysVer = 0;
}

TEST(PLumenWind, IsMadeWithItsProcedureAndItsFirstBounds)
{
    CountingWind wind;
    wind.Show(u"", nullptr, false);
    EXPECT_EQ(g_made.proc, &MyWindowDef);
    const Rect expected {100, 100, 200, 200}; // top, left, bottom, right
    EXPECT_TRUE(g_made.bounds == expected);
}

TEST(PLumenWind, DisposeClosesAndMayBeRepeated)
{
    const ProductsScene scene;
    CountingWind wind;
    wind.Dispose();
    wind.Show(u"Au_products.aui", &scene.files, false);
    const QPointer<QWidget> window = windows::only();
    wind.Dispose();
    EXPECT_FALSE(wind.isShown());
    EXPECT_EQ(wind.panel(), nullptr);
    EXPECT_TRUE(windows::shown().empty());
    wind.Dispose();
    windows::settle();
    EXPECT_FALSE(window);
}

TEST(PLumenWind, DestructorClosesTheWindow)
{
    const ProductsScene scene;
    {
        CountingWind wind;
        wind.Show(u"Au_products.aui", &scene.files, false);
    }
    EXPECT_TRUE(windows::shown().empty());
}

TEST(PLumenWind, CanBeShownAgainAfterDispose)
{
    const ProductsScene scene;
    CountingWind wind;
    wind.Show(u"Au_products.aui", &scene.files, false);
    wind.Dispose();
    wind.Show(u"Au_processing.aui", &scene.files, false);
    EXPECT_EQ(wind.installs, 2);
    EXPECT_TRUE(windows::control<QWidget>("hscrl_process"));
}

TEST(PLumenWind, ReadsTheSystemVersionOnceAndKeepsIt)
{
    CountingWind wind;
    PLumenWind::sysVer = 0;
    wind.Show(u"", nullptr, false);
    EXPECT_GE(PLumenWind::sysVer, 0x1030);
    wind.Dispose();
    PLumenWind::sysVer = 0x1020;
    wind.Show(u"", nullptr, false);
    EXPECT_EQ(PLumenWind::sysVer, 0x1020);
    PLumenWind::sysVer = 0;
}

TEST(MyWindowDef, ReportsItsFeatures)
{
    UInt32 features = 0;
    EXPECT_EQ(MyWindowDef(0, nullptr, 7, reinterpret_cast<std::intptr_t>(&features)), 1);
    EXPECT_EQ(features, 0x40000016U);
}

TEST(MyWindowDef, CountsEveryPointAsContent)
{
    EXPECT_EQ(MyWindowDef(0, nullptr, 1, 0), 1);
}

class MyWindowDefRegion : public testing::TestWithParam<UInt16> { };

TEST_P(MyWindowDefRegion, IsTheWindowsBounds)
{
    CountingWind wind;
    wind.Show(u"", nullptr, false);
    OpaqueRgn region;
    GetWindowRegionRec record {&region, GetParam()};
    MyWindowDef(0, wind.window(), 8, reinterpret_cast<std::intptr_t>(&record));
    const QRect at = windows::only()->geometry();
    EXPECT_EQ(region.rect.top, at.top());
    EXPECT_EQ(region.rect.left, at.left());
    EXPECT_EQ(region.rect.bottom - region.rect.top, 100);
    EXPECT_EQ(region.rect.right - region.rect.left, 100);
}

INSTANTIATE_TEST_SUITE_P(StructureAndContent, MyWindowDefRegion, testing::Values(32, 33));

TEST(MyWindowDef, LeavesOtherRegionsAlone)
{
    CountingWind wind;
    wind.Show(u"", nullptr, false);
    OpaqueRgn region;
    GetWindowRegionRec record {&region, 34};
    MyWindowDef(0, wind.window(), 8, reinterpret_cast<std::intptr_t>(&record));
    EXPECT_EQ(region.rect, Rect());
}

class MyWindowDefOther : public testing::TestWithParam<SInt16> { };

TEST_P(MyWindowDefOther, AnswersZero)
{
    EXPECT_EQ(MyWindowDef(0, nullptr, GetParam(), 0), 0);
}

INSTANTIATE_TEST_SUITE_P(Messages, MyWindowDefOther, testing::Values(0, 2, 3, 4, 5, 6, 9, 10, 32, -1));

} // namespace
