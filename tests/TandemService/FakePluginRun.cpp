#include "tests/TandemService/FakePluginRun.h"

#include "Platform/Carbon/Alerts.h"
#include "Platform/Carbon/EventLoop.h"
#include "Platform/CoreFoundation/CFMessagePort.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/ErrorNumbers.h"

#include <QApplication>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

namespace {

std::unique_ptr<QWidget> g_window;

/// A window as the platform makes them: the host goes on when its last one closes.
void makeWindow()
{
    g_window = std::make_unique<QWidget>();
    g_window->setAttribute(Qt::WA_QuitOnClose, false);
}

void alert(std::u16string_view text)
{
    const AlertStdCFStringAlertParamRec parameters {.version = kStdCFStringAlertVersionOne,
        .defaultText = kAlertDefaultOKText,
        .defaultButton = kAlertStdAlertOKButton};
    const CFRef message = adoptCF(CFStringCreateWithView(text));
    DialogRef dialog = nullptr;
    note("alert");
    if (CreateStandardAlert(kAlertStopAlert, message, nullptr, &parameters, &dialog) == noErr)
        (void)RunStandardAlert(dialog, nullptr); // it has one button
}

/// Sends a request of raw bytes and returns the reply's number; -99 without one.
SInt32 ask(SInt32 id, const std::string& payload, double waitSeconds)
{
    const CFRef name = adoptCF(CFStringCreateWithView(u"com.velmora.tandemservice.setup"));
    const CFRef port = adoptCF(CFMessagePortCreateRemote(kCFAllocatorDefault, name));
    const CFRef data = adoptCF(CFDataCreate(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(payload.data()), static_cast<CFIndex>(payload.size())));
    SInt32 value = -99;
    if (!port)
        return value;
    CFDataRef answer = nullptr;
    (void)CFMessagePortSendRequest(port, id, data, 3.0, waitSeconds, kCFRunLoopDefaultMode, &answer);
    const CFRef reply = adoptCF(answer);
    if (reply && CFDataGetLength(reply) == sizeof value)
        std::memcpy(&value, CFDataGetBytePtr(reply), sizeof value);
    return value;
}

void tellEnd()
{
    note("UEnd " + std::to_string(ask(0x55456E64, std::string("QUIT\0", 5), 2.0)));
}

void end(IMsgPluginContainer& container)
{
    g_window.reset();
    container.EndMsgProcess(u"Update.bundle", nullptr, 1, 0, 0);
}

void showProgress()
{
    makeWindow();
    auto* const layout = new QVBoxLayout(g_window.get());
    layout->addWidget(new QProgressBar);
    g_window->show();
}

/// The runs that show a progress window first, and what they do after it was there for a moment.
void finishRun(IMsgPluginContainer& container, const std::string& run)
{
    const std::string bundle = setting("FAKE_RELAUNCH");
    if (run == "package")
        note("UPKG "
            + std::to_string(ask(0x55504B47,
                setting("FAKE_PACKAGE") + std::string(1, '\0') + setting("FAKE_TARGET")
                    + std::string(1, '\0'),
                60.0)));
    if (run == "success" || run == "package" || run == "relaunch")
        alert(u"The update was installed. Your products are up to date.");
    if (run == "failure")
        alert(u"The update could not be completed.");
    if (run == "relaunch") {
        QuitApplicationEventLoop();
        (void)ask(0x5551524C, bundle + std::string(1, '\0'), 0);
    } else {
        tellEnd();
    }
    end(container);
}

void confirmed(IMsgPluginContainer& container)
{
    const std::string run = setting("FAKE_RUN");
    note("can generate while open " + std::to_string(container.CanGenerateMsg()));
    if (run == "unauthorised")
        return end(container);
    if (run == "firstfile") {
        tellEnd();
        end(container);
        return end(container);
    }
    showProgress();
    if (run == "stay")
        return;
    // Long enough for the host to have seen the window.
    QTimer::singleShot(200, g_window.get(), [&container, run] { finishRun(container, run); });
}

} // namespace

void note(const std::string& line)
{
    std::ofstream(setting("FAKE_LOG"), std::ios::app) << line << "\n";
}

std::string setting(const char* name)
{
    const char* const value = std::getenv(name);
    return value ? value : "";
}

void startRun(IMsgPluginContainer& container)
{
    makeWindow();
    if (setting("FAKE_RUN") == "blank") {
        g_window->show();
        return;
    }
    auto* const layout = new QVBoxLayout(g_window.get());
    auto* const confirm = new QPushButton(QStringLiteral("OK"));
    auto* const later = new QPushButton(QStringLiteral("Later"));
    confirm->setObjectName(QStringLiteral("butn_OK"));
    later->setObjectName(QStringLiteral("butn_Later"));
    confirm->setEnabled(setting("FAKE_RUN") != "unchecked");
    layout->addWidget(confirm);
    layout->addWidget(later);
    QObject::connect(confirm, &QPushButton::clicked, qApp, [&container] {
        note("ok");
        QTimer::singleShot(0, qApp, [&container] { confirmed(container); });
    });
    QObject::connect(later, &QPushButton::clicked, qApp, [&container] {
        note("later");
        QTimer::singleShot(0, qApp, [&container] { end(container); });
    });
    g_window->show();
    const std::string user = setting("FAKE_USER");
    if (user == "ok")
        QTimer::singleShot(100, confirm, &QPushButton::click);
    if (user == "later")
        QTimer::singleShot(100, later, &QPushButton::click);
}

void endRun()
{
    g_window.reset();
}
