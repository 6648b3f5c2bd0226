// A session bus of a test's own, and on it a service that shows notifications.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gio/gio.h>

/// Processes the events of this process until the condition holds; false after 20 seconds.
bool processUntil(const std::function<bool()>& condition);

/// Gives its notifications the numbers 7, 8, ... As long as it lives, its bus is the session bus.
class FakeDesktop {
public:
    FakeDesktop();
    ~FakeDesktop();
    FakeDesktop(const FakeDesktop&) = delete;
    FakeDesktop& operator=(const FakeDesktop&) = delete;

    /// The user clicks a notification.
    void click(guint32 id);
    std::string address() const { return g_test_dbus_get_bus_address(m_bus); }

    /// "notify REPLACED TITLE: TEXT" and "close NUMBER", in order.
    std::vector<std::string> calls;

private:
    static void nameTaken(GDBusConnection* connection, const char* name, void* data);
    static void serve(GDBusConnection* connection, const char* sender, const char* path,
        const char* interfaceName, const char* method, GVariant* arguments, GDBusMethodInvocation* invocation,
        void* data);

    GTestDBus* m_bus;
    GDBusConnection* m_connection = nullptr;
    GDBusNodeInfo* m_node = nullptr;
    bool m_ready = false;
    guint32 m_nextId = 7;
};
