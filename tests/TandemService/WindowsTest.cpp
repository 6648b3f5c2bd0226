// Telling windows apart, pictures of them, and the answers where there is no user.
#include "TandemService/UnattendedUser.h"

#include "tests/support/TempDir.h"

#include <QCoreApplication>
#include <QImage>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

struct Selection : QWidget {
    explicit Selection(bool offersSomething = true)
    {
        confirm->setObjectName(QStringLiteral("butn_OK"));
        later->setObjectName(QStringLiteral("butn_Later"));
        confirm->setEnabled(offersSomething);
        auto* const layout = new QVBoxLayout(this);
        layout->addWidget(confirm);
        layout->addWidget(later);
        connect(confirm, &QPushButton::clicked, this, [this] { pressed += "ok "; });
        connect(later, &QPushButton::clicked, this, [this] { pressed += "later "; });
    }
    QPushButton* confirm = new QPushButton(QStringLiteral("OK"));
    QPushButton* later = new QPushButton(QStringLiteral("Later"));
    std::string pressed;
};

struct Progress : QWidget {
    Progress() { (new QVBoxLayout(this))->addWidget(bar); }
    QProgressBar* bar = new QProgressBar;
};

} // namespace

TEST(WindowKinds, AreKnownByTheirControls)
{
    EXPECT_EQ(kindOfWindow(Selection()), WindowKind::selection);
    EXPECT_EQ(kindOfWindow(Progress()), WindowKind::progress);
    EXPECT_EQ(kindOfWindow(QMessageBox()), WindowKind::alert);
    EXPECT_EQ(kindOfWindow(QWidget()), WindowKind::other);
}

TEST(UnattendedUsers, TakeTheOfferAsItStandsChecked)
{
    Selection window;
    EXPECT_EQ(answerWindow(window, WindowKind::selection), UnattendedAnswer::confirmed);
    EXPECT_EQ(window.pressed, "ok ");
}

TEST(UnattendedUsers, DeclineWhereNothingIsChecked)
{
    Selection window(false);
    EXPECT_EQ(answerWindow(window, WindowKind::selection), UnattendedAnswer::declined);
    EXPECT_EQ(window.pressed, "later ");
}

TEST(UnattendedUsers, LeaveProgressAloneAndSeeAnEmptyWindow)
{
    Progress progress;
    QWidget empty;
    EXPECT_EQ(answerWindow(progress, WindowKind::progress), UnattendedAnswer::none);
    EXPECT_EQ(answerWindow(empty, WindowKind::other), UnattendedAnswer::stuck);
}

TEST(WindowWatchers, SeeEachWindowOnce)
{
    std::vector<WindowKind> seen;
    const WindowWatcher watcher("", [&](QWidget&, WindowKind kind) { seen.push_back(kind); });
    Selection selection;
    selection.show();
    EXPECT_TRUE(seen.empty()) << "whoever shows the window is still at it";
    QCoreApplication::processEvents();
    Progress progress;
    progress.show();
    Selection gone;
    gone.show();
    gone.hide();
    QCoreApplication::processEvents();
    EXPECT_EQ(seen, (std::vector<WindowKind> {WindowKind::selection, WindowKind::progress}));
}

TEST(WindowWatchers, SavePicturesOfTheWindowsInOrder)
{
    const ScopedTempDir scratch;
    const fs::path folder = scratch.at("new/folder");
    const WindowWatcher watcher(folder.string(), [](QWidget&, WindowKind) {});
    Selection selection;
    selection.resize(300, 200);
    selection.show();
    QCoreApplication::processEvents();
    Progress progress;
    progress.show();
    QCoreApplication::processEvents();
    const QImage picture(QString::fromStdString((folder / "1-selection.png").string()));
    EXPECT_EQ(picture.size(), QSize(300, 200));
    EXPECT_TRUE(fs::exists(folder / "2-progress.png"));
}

TEST(WindowWatchers, TakeAProgressPictureAgainWhileTheRunIsUnderWay)
{
    const ScopedTempDir scratch;
    const fs::path file = scratch.at("1-progress.png");
    const WindowWatcher watcher(scratch.path().string(), [](QWidget&, WindowKind) {});
    Progress progress;
    progress.resize(300, 80);
    progress.show();
    QCoreApplication::processEvents();
    const std::string atStart = readWholeFile(file);
    progress.bar->setValue(50);
    const std::string halfway = readWholeFile(file);
    progress.bar->setValue(90);
    EXPECT_NE(halfway, atStart);
    EXPECT_EQ(readWholeFile(file), halfway);
}
