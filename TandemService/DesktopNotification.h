// A notification on the desktop (freedesktop.org Desktop Notifications 1.2).
#pragma once

#include <functional>
#include <memory>
#include <string>

/// Shows one notification at a time. Without a session bus it does nothing.
class DesktopNotification {
public:
    /// Both are called from the event loop: `onOpen` when the user clicked the notification, `onFailure` when
    /// it could not be shown (a bus without a notification service).
    DesktopNotification(std::function<void()> onOpen, std::function<void()> onFailure);
    ~DesktopNotification();
    DesktopNotification(const DesktopNotification&) = delete;
    DesktopNotification& operator=(const DesktopNotification&) = delete;

    /// True when a session bus is there.
    bool available() const;
    /// Shows `text`, as it is, in place of an earlier one.
    void show(const std::string& title, const std::string& text);
    void withdraw();

private:
    struct Bus;
    std::shared_ptr<Bus> m_bus;
};
