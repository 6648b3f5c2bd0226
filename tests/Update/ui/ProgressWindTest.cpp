#include "Update/ui/ProgressWind.h"

#include "tests/Update/ui/ProductsScene.h"
#include "tests/support/Windows.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include <gtest/gtest.h>

namespace {

class PProgressWindTest : public testing::Test {
protected:
    static std::string line() { return windows::control<QLabel>("view11")->text().toStdString(); }
    static int barValue() { return windows::control<QProgressBar>("hscrl_process")->value(); }
    static void clickCancel()
    {
        QTest::mouseClick(windows::control<QPushButton>("butn_cancel"), Qt::LeftButton);
        windows::settle();
    }

    ProductsScene scene;
    PProgressWind wind;
};

TEST_F(PProgressWindTest, ShowsTheDownloadLayoutWhileDownloading)
{
    EXPECT_EQ(wind.ShowWnd(&scene.files, 1), 1);
    EXPECT_EQ(line(), "Downloading: 0% done");
}

TEST_F(PProgressWindTest, ShowsTheInstallLayoutOtherwise)
{
    EXPECT_EQ(wind.ShowWnd(&scene.files, 0), 1);
    EXPECT_EQ(line(), "Installing: 0% done");
}

TEST_F(PProgressWindTest, BarGoesFromNothingToAHundred)
{
    wind.ShowWnd(&scene.files, 1);
    const auto* bar = windows::control<QProgressBar>("hscrl_process");
    EXPECT_EQ(bar->minimum(), 0);
    EXPECT_EQ(bar->maximum(), 100);
    EXPECT_EQ(bar->value(), 0);
}

TEST_F(PProgressWindTest, ShowsThePercentageInLineAndBar)
{
    wind.ShowWnd(&scene.files, 1);
    wind.SetProgressPercent(37);
    EXPECT_EQ(line(), "Downloading: 37% done");
    EXPECT_EQ(barValue(), 37);
    wind.SetProgressPercent(100);
    EXPECT_EQ(line(), "Downloading: 100% done");
    EXPECT_EQ(barValue(), 100);
}

TEST_F(PProgressWindTest, HoldsThePercentageAtAHundred)
{
    wind.ShowWnd(&scene.files, 0);
    wind.SetProgressPercent(150);
    EXPECT_EQ(line(), "Installing: 100% done");
    EXPECT_EQ(barValue(), 100);
}

TEST_F(PProgressWindTest, DoesNotHoldThePercentageBelow)
{
    wind.ShowWnd(&scene.files, 0);
    wind.SetProgressPercent(-5);
    EXPECT_EQ(line(), "Installing: -5% done");
    EXPECT_EQ(barValue(), 0); // the bar's own end
}

TEST_F(PProgressWindTest, PercentageBeforeShowingChangesNothing)
{
    wind.SetProgressPercent(50);
    EXPECT_FALSE(wind.isShown());
    wind.ShowWnd(&scene.files, 1);
    EXPECT_EQ(line(), "Downloading: 0% done");
}

TEST_F(PProgressWindTest, PercentageAfterCancelChangesNothing)
{
    wind.ShowWnd(&scene.files, 1);
    const QPointer<QLabel> label = windows::control<QLabel>("view11");
    QTest::mouseClick(windows::control<QPushButton>("butn_cancel"), Qt::LeftButton);
    wind.SetProgressPercent(50);
    EXPECT_TRUE(!label || label->text() == "Downloading: 0% done");
    EXPECT_TRUE(windows::shown().empty());
}

TEST_F(PProgressWindTest, PercentageWithoutContentChangesNothing)
{
    const PubLumen::LumFileManager noFolder;
    wind.ShowWnd(&noFolder, 1);
    wind.SetProgressPercent(50);
    EXPECT_TRUE(wind.isShown());
}

TEST_F(PProgressWindTest, CancelClosesTheWindowAndIsRemembered)
{
    wind.ShowWnd(&scene.files, 1);
    EXPECT_FALSE(wind.isCancelled());
    clickCancel();
    EXPECT_TRUE(wind.isCancelled());
    EXPECT_FALSE(wind.isShown());
    EXPECT_TRUE(windows::shown().empty());
    wind.Dispose();
    EXPECT_TRUE(wind.isCancelled());
}

TEST_F(PProgressWindTest, CancelCanBePressedWithTheKeyboard)
{
    wind.ShowWnd(&scene.files, 1);
    auto* button = windows::control<QPushButton>("butn_cancel");
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Space);
    EXPECT_TRUE(wind.isCancelled());
}

TEST_F(PProgressWindTest, WindowManagersCloseIsCancel)
{
    wind.ShowWnd(&scene.files, 1);
    windows::only()->close();
    windows::settle();
    EXPECT_TRUE(wind.isCancelled());
    EXPECT_FALSE(wind.isShown());
}

TEST_F(PProgressWindTest, ShowingAgainForgetsTheCancel)
{
    wind.ShowWnd(&scene.files, 1);
    clickCancel();
    wind.ShowWnd(&scene.files, 0);
    EXPECT_FALSE(wind.isCancelled());
    EXPECT_EQ(line(), "Installing: 0% done");
}

TEST_F(PProgressWindTest, ShowingAgainSwitchesTheLayout)
{
    wind.ShowWnd(&scene.files, 1);
    wind.SetProgressPercent(80);
    const QPointer<QWidget> first = windows::only();
    wind.ShowWnd(&scene.files, 0);
    windows::settle();
    EXPECT_FALSE(first);
    EXPECT_EQ(line(), "Installing: 0% done");
    EXPECT_EQ(barValue(), 0);
}

TEST_F(PProgressWindTest, DisposeByTheControllerIsNoCancel)
{
    wind.ShowWnd(&scene.files, 1);
    wind.Dispose();
    EXPECT_FALSE(wind.isCancelled());
}

TEST_F(PProgressWindTest, CancelProcedureTakesOnlyThePress)
{
    wind.ShowWnd(&scene.files, 1);
    EXPECT_EQ(PProgressWind::DUButtonCancelProc(nullptr, 999, nullptr, &wind), 0);
    EXPECT_EQ(PProgressWind::DUButtonCancelProc(nullptr, 1001, nullptr, &wind), 0);
    EXPECT_EQ(PProgressWind::DUButtonCancelProc(nullptr, 1000, nullptr, nullptr), 0);
    EXPECT_TRUE(wind.isShown());
    EXPECT_FALSE(wind.isCancelled());
    EXPECT_EQ(PProgressWind::DUButtonCancelProc(nullptr, 1000, nullptr, &wind), 0);
    EXPECT_TRUE(wind.isCancelled());
}

} // namespace
