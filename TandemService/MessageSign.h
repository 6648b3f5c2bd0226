// How a resident host tells the user that there is a message: a notification on the desktop, and an icon
// where there is a tray.
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

    /// Shows that there is a message. Without a notification service the tray's own balloon tells it; where
    /// there is no tray either, its text is printed, with the way to open it.
    void show(const std::u16string& text, Manner manner);
    void hide();

private:
    void makeTray();
    void tellWithoutNotification();

    Actions m_actions;
    std::u16string m_text; ///< of the message that is shown
    DesktopNotification m_notification;
    QMenu m_menu;
    std::unique_ptr<QSystemTrayIcon> m_tray;
    QAction* m_openAction = nullptr;
};
