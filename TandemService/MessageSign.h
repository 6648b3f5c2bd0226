// How a resident host tells the user that there is a message: an icon in the tray, or a notification on the
// desktop.
#pragma once

#include "TandemService/DesktopNotification.h"

#include <QMenu>
#include <QSystemTrayIcon>

#include <functional>
#include <memory>
#include <string>

class MessageSign {
public:
    struct Actions {
        std::function<void()> open;  ///< the user asks for the message
        std::function<void()> check; ///< the user asks for a check
        std::function<void()> quit;  ///< the user ends the host
    };

    /// Aloud tells the user; quiet only makes the message available where the sign stays, in the tray.
    enum class Manner { aloud, quiet };

    explicit MessageSign(Actions actions);

    /// Shows that there is a message. Where there is neither tray nor notifications, its text is printed,
    /// with the way to open it.
    void show(const std::u16string& text, Manner manner);
    void hide();

private:
    void makeTray();
    void print() const;

    Actions m_actions;
    std::u16string m_text; ///< of the notification
    DesktopNotification m_notification;
    QMenu m_menu;
    std::unique_ptr<QSystemTrayIcon> m_tray;
    QAction* m_openAction = nullptr;
};
