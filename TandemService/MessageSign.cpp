#include "TandemService/MessageSign.h"

#include "TandemService/HostTexts.h"
#include "Platform/Support/Unicode.h"

#include <QApplication>
#include <QStyle>

#include <cstdio>

namespace {

constexpr const char* kTitle = "Velmora Tandem";

} // namespace

MessageSign::MessageSign(Actions actions)
    : m_actions(std::move(actions))
    , m_notification([this] { m_actions.open(); }, [this] { tellWithoutNotification(); })
{
    if (QSystemTrayIcon::isSystemTrayAvailable())
        makeTray();
}

void MessageSign::makeTray()
{
    const QIcon fallback = QApplication::style()->standardIcon(QStyle::SP_BrowserReload);
    m_tray = std::make_unique<QSystemTrayIcon>(
        QIcon::fromTheme(QStringLiteral("system-software-update"), fallback));
    m_openAction = m_menu.addAction(QStringLiteral("Show Updates…"), [this] { m_actions.open(); });
    m_openAction->setEnabled(false);
    m_menu.addAction(QStringLiteral("Check Now"), [this] { m_actions.check(); });
    m_menu.addSeparator();
    m_menu.addAction(QStringLiteral("Quit"), [this] { m_actions.quit(); });
    m_tray->setContextMenu(&m_menu);
    m_tray->setToolTip(QLatin1String(kTitle));
    QObject::connect(m_tray.get(), &QSystemTrayIcon::activated, m_tray.get(),
        [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
                m_actions.open();
        });
    QObject::connect(
        m_tray.get(), &QSystemTrayIcon::messageClicked, m_tray.get(), [this] { m_actions.open(); });
    m_tray->show();
}

void MessageSign::show(const std::u16string& text, Manner manner)
{
    m_text = text;
    if (m_tray) {
        m_openAction->setEnabled(true);
        m_tray->setToolTip(QString::fromStdU16String(text));
    }
    if (manner == Manner::quiet)
        return;
    if (m_notification.available())
        m_notification.show(kTitle, utf8FromWide(text));
    else
        tellWithoutNotification();
}

void MessageSign::tellWithoutNotification()
{
    if (m_tray) {
        m_tray->showMessage(
            QLatin1String(kTitle), QString::fromStdU16String(m_text), QSystemTrayIcon::Information);
        return;
    }
    std::printf("%s\nTo open it, end this program and start TandemService --update.\n",
        printableLine(m_text).c_str());
    (void)std::fflush(stdout); // where standard output is closed there is nobody to tell
}

void MessageSign::hide()
{
    if (m_tray) {
        m_openAction->setEnabled(false);
        m_tray->setToolTip(QLatin1String(kTitle));
    }
    m_notification.withdraw();
}
