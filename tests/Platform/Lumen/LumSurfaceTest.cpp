#include "tests/Platform/Lumen/FormFixture.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>

namespace {

using LumSurfaceTest = FormFixture;

const std::string kTitle = "<property name=\"windowTitle\"><string>Größe</string></property>";
const std::string kCloses = "<property name=\"closeButton\" stdset=\"0\"><string>stop</string></property>";

TEST_F(LumSurfaceTest, FillsTheWindowFromTheForm)
{
    ASSERT_TRUE(show(kTitle + widget("QPushButton", "stop")));
    EXPECT_EQ(window->windowTitle().toStdString(), "Größe");
    const auto* content = window->findChild<QFrame*>("Form");
    ASSERT_TRUE(content);
    EXPECT_EQ(content->geometry(), window->rect());
    EXPECT_TRUE(window->findChild<QPushButton*>("stop")->isVisible());
}

TEST_F(LumSurfaceTest, PanelHasTheFormsOwnSize)
{
    PubLumen::LumPanel* panel = show({});
    EXPECT_EQ(panel->GetSize().width, 400);
    EXPECT_EQ(panel->GetSize().height, 300);
}

TEST_F(LumSurfaceTest, PanelGrowsToWhatItsContentNeeds)
{
    const std::string wide
        = "<layout class=\"QVBoxLayout\" name=\"l\"><item><widget class=\"QLabel\" name=\"w\">"
          "<property name=\"minimumSize\"><size><width>500</width><height>10</height></size>"
          "</property></widget></item></layout>";
    EXPECT_GE(show(wide)->GetSize().width, 500);
}

TEST_F(LumSurfaceTest, PanelIsAtMostAsLargeAsTheScreen)
{
    const std::string huge
        = "<property name=\"minimumSize\"><size><width>9000</width><height>9000</height></size></property>";
    const PubLumen::LumSize size = show(huge)->GetSize();
    EXPECT_EQ(QSize(size.width, size.height), QGuiApplication::primaryScreen()->availableSize());
}

TEST_F(LumSurfaceTest, IsNullForALayoutThatCannotBeLoaded)
{
    folder.write("Broken.aui", "<ui version=\"4.0\"><widget class=\"QFrame\"");
    folder.write("Empty.aui", "");
    folder.write("Other.aui", "<html/>");
    folder.write("Large.aui", form({}) + std::string(1024 * 1024, '\n'));
    folder.makeFolder("Folder.aui");
    for (const auto* name :
        {u"Missing.aui", u"Broken.aui", u"Empty.aui", u"Other.aui", u"Large.aui", u"Folder.aui", u""})
        EXPECT_EQ(createSurface(name), nullptr);
    EXPECT_EQ(Lum0SMCreateSurfaceW(Lum0SMGetSurfaceManage(), window, u"Empty.aui", nullptr), nullptr);
    EXPECT_TRUE(window->children().isEmpty());
}

TEST_F(LumSurfaceTest, ReleaseOfNothingIsHarmless)
{
    Lum0Release(nullptr);
    Lum0SMDetachSurface(Lum0SMGetSurfaceManage(), window);
}

TEST_F(LumSurfaceTest, OutlivesItsWindowWhileItIsReferenced)
{
    folder.write("Form.aui", form({}));
    LumSurface* surface = createSurface(u"Form.aui");
    close();
    windows::settle();
    Lum0Release(surface);
}

TEST_F(LumSurfaceTest, WindowMayEndWithoutHavingBeenDetached)
{
    show(widget("QPushButton", "stop") + widget("QTreeWidget", "tree"));
    DisposeWindow(std::exchange(window, nullptr));
    windows::settle();
    EXPECT_TRUE(windows::shown().empty());
}

TEST_F(LumSurfaceTest, WindowManagersClosePressesTheNamedButton)
{
    PubLumen::LumPanel* panel = show(kCloses + widget("QPushButton", "stop"));
    panel->FindButton(u"stop")->SetProc(&ControlLog::proc, &log);
    window->close();
    ASSERT_EQ(log.calls.size(), 1U);
    EXPECT_EQ(log.calls[0].message, 1000);
    EXPECT_TRUE(window->isVisible());
}

TEST_F(LumSurfaceTest, DetachedContentCallsNoProcedure)
{
    PubLumen::LumPanel* panel = show(kCloses + widget("QPushButton", "stop"));
    panel->FindButton(u"stop")->SetProc(&ControlLog::proc, &log);
    Lum0SMDetachSurface(Lum0SMGetSurfaceManage(), window);
    QTest::mouseClick(window->findChild<QPushButton*>("stop"), Qt::LeftButton);
    window->close();
    EXPECT_TRUE(log.calls.empty());
}

TEST_F(LumSurfaceTest, ProcedureMayCloseItsOwnWindow)
{
    PubLumen::LumPanel* panel = show(kCloses + widget("QPushButton", "stop"));
    panel->FindButton(u"stop")->SetProc(&ControlLog::proc, &log);
    log.then = [this] { close(); };
    QTest::mouseClick(window->findChild<QPushButton*>("stop"), Qt::LeftButton);
    EXPECT_TRUE(windows::shown().empty());
    windows::settle();
    EXPECT_EQ(log.calls.size(), 1U);
}

TEST_F(LumSurfaceTest, ScalesALabelsTextByItsPercentage)
{
    const std::string scaled = "<property name=\"fontPercent\" stdset=\"0\"><number>150</number></property>";
    show(widget("QLabel", "plain") + widget("QLabel", "large", scaled));
    const double plain = window->findChild<QLabel*>("plain")->font().pointSizeF();
    EXPECT_NEAR(window->findChild<QLabel*>("large")->font().pointSizeF(), plain * 1.5, 0.01);
}

TEST_F(LumSurfaceTest, EdgeCanBeSeenOnLightAndDark)
{
    show({});
    auto* content = window->findChild<QFrame*>("Form");
    for (const QPalette& palette :
        {QPalette(Qt::white, Qt::white), QPalette(QColor(40, 40, 40), QColor(30, 30, 30))}) {
        content->setPalette(palette);
        const QImage picture = content->grab().toImage();
        const int edge = picture.pixelColor(0, picture.height() / 2).lightness();
        const int inside = picture.pixelColor(5, picture.height() / 2).lightness();
        EXPECT_GE(std::abs(edge - inside), 40);
    }
}

} // namespace
