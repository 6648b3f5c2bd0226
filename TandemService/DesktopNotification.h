// A notification on the desktop (freedesktop.org Desktop Notifications 1.2), where there is no tray.
#pragma once

#include <functional>
#include <memory>
#include <string>

/// Shows one notification at a time. Without a session bus or a notification service it does nothing.
class DesktopNotification {
public:
    /// `onOpen` is called from the event loop when the user clicked the notification.
    explicit DesktopNotification(std::function<void()> onOpen);
    ~DesktopNotification();
    DesktopNotification(const DesktopNotification&) = delete;
    DesktopNotification& operator=(const DesktopNotification&) = delete;

    /// True when a session bus is there.
    bool available() const;
    /// Shows `text`, in place of an earlier one.
    void show(const std::string& title, const std::string& text);
    void withdraw();

private:
    struct Bus;
    std::shared_ptr<Bus> m_bus;
};
