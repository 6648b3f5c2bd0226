// Stop alerts: as the user sees and answers them, and in unattended mode.
#include "Platform/Carbon/Alerts.h"
#include "Platform/Carbon/EventLoop.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/ErrorNumbers.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <functional>

#include <gtest/gtest.h>

namespace {

AlertStdCFStringAlertParamRec stopAlertParameters()
{
    AlertStdCFStringAlertParamRec parameters;
    parameters.version = kStdCFStringAlertVersionOne;
    parameters.defaultText = kAlertDefaultOKText;
    parameters.defaultButton = kAlertStdAlertOKButton;
    return parameters;
}

DialogRef makeAlert(std::u16string_view text, std::u16string_view title)
{
    const AlertStdCFStringAlertParamRec parameters = stopAlertParameters();
    const CFRef message = adoptCF(CFStringCreateWithView(text));
    DialogRef alert = nullptr;
    EXPECT_EQ(CreateStandardAlert(kAlertStopAlert, message, nullptr, &parameters, &alert), noErr);
    const CFRef name = adoptCF(CFStringCreateWithView(title));
    EXPECT_EQ(SetAlertTitle(alert, name), noErr);
    return alert;
}

QMessageBox* shownAlert()
{
    for (QWidget* const window : QApplication::topLevelWidgets())
        if (auto* const box = qobject_cast<QMessageBox*>(window); box && box->isVisible())
            return box;
    return nullptr;
}

// Runs an alert and lets `user` act as soon as it is seen; closes it afterwards when the user's action did
// not, and then returns false.
bool answeredBy(std::u16string_view text, const std::function<void(QMessageBox&)>& user)
{
    bool wasClosedByUser = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look, [&] {
        QMessageBox* const box = shownAlert();
        if (!box || !box->windowHandle() || !box->windowHandle()->isExposed())
            return;
        look.stop();
        user(*box);
        wasClosedByUser = !box->isVisible();
        box->close();
    });
    look.start(5);
    SInt16 itemHit = 0;
    EXPECT_EQ(RunStandardAlert(makeAlert(text, u"Velmora Tandem"), &itemHit), noErr);
    EXPECT_EQ(itemHit, 1);
    return wasClosedByUser;
}

std::string unattendedOutput(std::u16string_view text, std::u16string_view title)
{
    SetAlertsUnattended(true);
    ::testing::internal::CaptureStdout();
    SInt16 itemHit = 0;
    EXPECT_EQ(RunStandardAlert(makeAlert(text, title), &itemHit), noErr);
    EXPECT_EQ(itemHit, 1);
    SetAlertsUnattended(false);
    return ::testing::internal::GetCapturedStdout();
}

} // namespace

TEST(StandardAlert, ShowsTitleTextErrorIconAndOneButton)
{
    (void)answeredBy(u"The update failed.", [](QMessageBox& box) {
        EXPECT_EQ(box.windowTitle(), QStringLiteral("Velmora Tandem"));
        EXPECT_EQ(box.text(), QStringLiteral("The update failed."));
        EXPECT_TRUE(box.informativeText().isEmpty());
        EXPECT_EQ(box.icon(), QMessageBox::Critical);
        ASSERT_EQ(box.buttons().size(), 1);
        EXPECT_EQ(box.buttons().first()->text(), QStringLiteral("OK"));
        EXPECT_EQ(box.defaultButton(), box.buttons().first());
    });
}

TEST(StandardAlert, ClosesWithItsButton)
{
    EXPECT_TRUE(answeredBy(
        u"Text", [](QMessageBox& box) { QTest::mouseClick(box.buttons().first(), Qt::LeftButton); }));
}

TEST(StandardAlert, ClosesWithReturn)
{
    EXPECT_TRUE(answeredBy(u"Text", [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Return); }));
}

TEST(StandardAlert, ClosesWithEscape)
{
    EXPECT_TRUE(answeredBy(u"Text", [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); }));
}

TEST(StandardAlert, ClosesWithItsWindow)
{
    EXPECT_TRUE(answeredBy(u"Text", [](QMessageBox& box) { box.close(); }));
}

TEST(StandardAlert, IsModalForTheApplication)
{
    (void)answeredBy(
        u"Text", [](QMessageBox& box) { EXPECT_EQ(box.windowModality(), Qt::ApplicationModal); });
}

TEST(StandardAlert, StandsInTheMiddleOfTheScreen)
{
    (void)answeredBy(u"Text", [](QMessageBox& box) {
        const QPoint middle = QGuiApplication::primaryScreen()->availableGeometry().center();
        EXPECT_NEAR(box.geometry().center().x(), middle.x(), 10);
        EXPECT_NEAR(box.geometry().center().y(), middle.y(), 10);
    });
}

TEST(StandardAlert, WrapsLongTextsWithinTheScreen)
{
    std::u16string sentence;
    for (int i = 0; i < 60; ++i)
        sentence += u"many words ";
    const std::u16string word(900, u'x');
    for (const std::u16string& text : {sentence, word}) {
        (void)answeredBy(text, [](QMessageBox& box) {
            const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
            EXPECT_TRUE(screen.contains(box.geometry()));
            const QLabel* const label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
            ASSERT_NE(label, nullptr);
            EXPECT_TRUE(label->wordWrap());
            EXPECT_GT(label->height(), 2 * label->fontMetrics().height());
            // Everything is seen: the text needs no more room than its label has.
            const QRect needed = label->fontMetrics().boundingRect(
                QRect(0, 0, label->width(), 10000), Qt::TextWordWrap, label->text());
            EXPECT_LE(needed.width(), label->width());
            EXPECT_LE(needed.height(), label->height());
        });
    }
}

TEST(StandardAlert, ShowsMarkupAsText)
{
    (void)answeredBy(u"<b>bold</b>", [](QMessageBox& box) { EXPECT_EQ(box.textFormat(), Qt::PlainText); });
}

TEST(StandardAlert, StaysOpenAfterTheApplicationWasAskedToEnd)
{
    bool wasAnswered = false;
    QTimer start;
    start.setSingleShot(true);
    QObject::connect(&start, &QTimer::timeout, &start, [&wasAnswered] {
        QuitApplicationEventLoop();
        wasAnswered = answeredBy(u"Text", [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Return); });
    });
    start.start(0);
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_TRUE(wasAnswered);
}

TEST(StandardAlert, PrintsTitleAndTextInUnattendedMode)
{
    EXPECT_EQ(unattendedOutput(u"Update failed: \u00FC", u"Velmora Tandem"),
        "Velmora Tandem: Update failed: \xC3\xBC\n");
    EXPECT_EQ(shownAlert(), nullptr);
}

TEST(StandardAlert, PrintsOneLineInUnattendedMode)
{
    EXPECT_EQ(unattendedOutput(u"one\ntwo\r\nthree", u"T"), "T: one two  three\n");
}

TEST(StandardAlertDeathTest, RefusesWhatIsNotSupported)
{
    const CFRef text = adoptCF(CFStringCreateWithView(u"Text"));
    DialogRef alert = nullptr;
    AlertStdCFStringAlertParamRec parameters = stopAlertParameters();
    EXPECT_DEATH(
        (void)CreateStandardAlert(kAlertStopAlert, text, text, &parameters, &alert), "failed assertion");
    parameters.cancelText = text;
    EXPECT_DEATH(
        (void)CreateStandardAlert(kAlertStopAlert, text, nullptr, &parameters, &alert), "failed assertion");
    parameters = stopAlertParameters();
    parameters.defaultButton = 0;
    EXPECT_DEATH(
        (void)CreateStandardAlert(kAlertStopAlert, text, nullptr, &parameters, &alert), "failed assertion");
}
