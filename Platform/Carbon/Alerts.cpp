#include "Platform/Carbon/Alerts.h"

#include "Platform/Carbon/EventLoop.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

const CFStringRef kAlertDefaultOKText = CFStringCreateWithView(u"OK");

struct OpaqueDialogPtr {
    CFRef<CFStringRef> message;
    CFRef<CFStringRef> title;
};

namespace {

bool g_isUnattended = false;

// Never destroyed: an alert may be shown while static objects of a program go.
AlertListener& listener()
{
    static auto* const kListener = new AlertListener;
    return *kListener;
}

QString textOf(CFStringRef string)
{
    if (!string)
        return {};
    const std::u16string_view text = CFStringGetView(string);
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

// A message label breaks lines at blanks only, and cuts a longer word off: very long words get invisible
// places to break.
QString breakable(const QString& text)
{
    constexpr int kLongestWordUnits = 40;
    const QChar kZeroWidthSpace(0x200B);
    QString result;
    int wordUnits = 0;
    for (const QChar unit : text) {
        wordUnits = unit.isSpace() ? 0 : wordUnits + 1;
        if (wordUnits > kLongestWordUnits && !unit.isLowSurrogate() && !unit.isMark()) {
            result += kZeroWidthSpace;
            wordUnits = 1;
        }
        result += unit;
    }
    return result;
}

void print(const OpaqueDialogPtr& alert)
{
    std::u16string line;
    if (alert.title)
        line.append(CFStringGetView(alert.title)).append(u": ");
    line.append(CFStringGetView(alert.message));
    std::replace_if(
        line.begin(), line.end(), [](UniChar unit) { return unit == u'\n' || unit == u'\r'; }, u' ');
    std::printf("%s\n", utf8FromWide(line).c_str());
    (void)std::fflush(stdout); // where standard output is closed there is nobody to tell
}

void centre(QWidget& window)
{
    window.ensurePolished();
    window.adjustSize();
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    QRect frame(QPoint(), window.size().boundedTo(screen.size()));
    frame.moveCenter(screen.center());
    window.move(frame.topLeft());
}

void showAndWait(const OpaqueDialogPtr& alert)
{
    // Only a bound on one look at the window: the wait ends with the user's answer.
    constexpr EventTimerInterval kLookSeconds = 0.5;
    QMessageBox box;
    box.setObjectName(QStringLiteral("StandardAlert"));
    box.setIcon(QMessageBox::Critical);
    box.setTextFormat(Qt::PlainText);
    box.setText(breakable(textOf(alert.message)));
    box.setWindowTitle(textOf(alert.title));
    QPushButton* const button = box.addButton(textOf(kAlertDefaultOKText), QMessageBox::AcceptRole);
    box.setDefaultButton(button);
    box.setEscapeButton(button);
    box.setWindowModality(Qt::ApplicationModal);
    box.setAttribute(Qt::WA_QuitOnClose, false);
    box.show();
    centre(box);
    box.raise();
    box.activateWindow();
    // No event loop of its own: that would return at once in a program that was asked to end.
    while (box.isVisible())
        (void)ReceiveNextEvent(kLookSeconds); // the window itself says when it is over
}

} // namespace

OSStatus CreateStandardAlert(AlertType type, CFStringRef message, CFStringRef explanation,
    const AlertStdCFStringAlertParamRec* parameters, DialogRef* alert)
{
    VELMORA_ASSERT(type == kAlertStopAlert);
    VELMORA_ASSERT(message && !explanation && parameters && alert);
    VELMORA_ASSERT(parameters->version == kStdCFStringAlertVersionOne);
    VELMORA_ASSERT(!parameters->movable && !parameters->helpButton);
    VELMORA_ASSERT(parameters->defaultText == kAlertDefaultOKText);
    VELMORA_ASSERT(!parameters->cancelText && !parameters->otherText);
    VELMORA_ASSERT(parameters->defaultButton == kAlertStdAlertOKButton && parameters->cancelButton == 0);
    VELMORA_ASSERT(parameters->position == kWindowDefaultPosition && parameters->flags == 0);
    *alert = new OpaqueDialogPtr {retainCF(message), nullptr};
    return noErr;
}

OSStatus SetAlertTitle(DialogRef alert, CFStringRef title)
{
    VELMORA_ASSERT(alert && title);
    alert->title = retainCF(title);
    return noErr;
}

OSStatus RunStandardAlert(DialogRef alert, SInt16* itemHit)
{
    VELMORA_ASSERT(alert);
    const std::unique_ptr<OpaqueDialogPtr> owner(alert);
    if (listener())
        listener()(CFStringGetView(alert->message));
    if (g_isUnattended)
        print(*alert);
    else
        showAndWait(*alert);
    if (itemHit)
        *itemHit = kAlertStdAlertOKButton;
    return noErr;
}

void SetAlertsUnattended(bool unattended)
{
    g_isUnattended = unattended;
}

void SetAlertListener(AlertListener newListener)
{
    listener() = std::move(newListener);
}
