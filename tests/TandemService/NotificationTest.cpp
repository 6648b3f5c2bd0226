// Notifications, against a service of the test's own on a session bus of the test's own.
#include "TandemService/DesktopNotification.h"

#include "tests/support/FakeHome.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <gio/gio.h>
#include <gtest/gtest.h>

namespace {

constexpr const char* kInterface
    = "<node><interface name='org.freedesktop.Notifications'>"
      "<method name='Notify'><arg type='s' direction='in'/><arg type='u' direction='in'/><arg type='s' "
      "direction='in'/>"
      "<arg type='s' direction='in'/><arg type='s' direction='in'/><arg type='as' direction='in'/>"
      "<arg type='a{sv}' direction='in'/><arg type='i' direction='in'/><arg type='u' "
      "direction='out'/></method>"
      "<method name='CloseNotification'><arg type='u' direction='in'/></method>"
      "<signal name='ActionInvoked'><arg type='u'/><arg type='s'/></signal></interface></node>";
constexpr const char* kPath = "/org/freedesktop/Notifications";
constexpr const char* kName = "org.freedesktop.Notifications";

bool processUntil(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition() && std::chrono::steady_clock::now() < end)
        g_main_context_iteration(nullptr, FALSE);
    return condition();
}

/// A bus, and on it a service that gives its notifications the numbers 7, 8, ...
class FakeDesktop {
public:
    FakeDesktop()
        : m_bus(g_test_dbus_new(G_TEST_DBUS_NONE))
    {
        g_test_dbus_up(m_bus);
        m_connection = g_dbus_connection_new_for_address_sync(g_test_dbus_get_bus_address(m_bus),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT
                | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        m_node = g_dbus_node_info_new_for_xml(kInterface, nullptr);
        const GDBusInterfaceVTable table = {&FakeDesktop::serve, nullptr, nullptr, {}};
        g_dbus_connection_register_object(
            m_connection, kPath, m_node->interfaces[0], &table, this, nullptr, nullptr);
        g_bus_own_name_on_connection(m_connection, kName, G_BUS_NAME_OWNER_FLAGS_NONE,
            &FakeDesktop::nameTaken, nullptr, this, nullptr);
        EXPECT_TRUE(processUntil([this] { return m_ready; }));
    }
    ~FakeDesktop()
    {
        g_dbus_connection_close_sync(m_connection, nullptr, nullptr);
        g_object_unref(m_connection);
        g_dbus_node_info_unref(m_node);
        g_test_dbus_stop(m_bus);
        g_object_unref(m_bus);
    }
    FakeDesktop(const FakeDesktop&) = delete;
    FakeDesktop& operator=(const FakeDesktop&) = delete;

    void click(guint32 id)
    {
        g_dbus_connection_emit_signal(m_connection, nullptr, kPath, kName, "ActionInvoked",
            g_variant_new("(us)", id, "default"), nullptr);
    }

    std::vector<std::string> calls;

private:
    static void nameTaken(GDBusConnection*, const char*, void* data)
    {
        static_cast<FakeDesktop*>(data)->m_ready = true;
    }
    static void serve(GDBusConnection*, const char*, const char*, const char*, const char* method,
        GVariant* arguments, GDBusMethodInvocation* invocation, void* data)
    {
        auto* const desktop = static_cast<FakeDesktop*>(data);
        if (std::string(method) == "CloseNotification") {
            guint32 id = 0;
            g_variant_get(arguments, "(u)", &id);
            desktop->calls.push_back("close " + std::to_string(id));
            g_dbus_method_invocation_return_value(invocation, nullptr);
            return;
        }
        guint32 replaces = 0;
        const char* title = nullptr;
        const char* text = nullptr;
        g_variant_get(arguments, "(&su&s&s&s@as@a{sv}i)", nullptr, &replaces, nullptr, &title, &text, nullptr,
            nullptr, nullptr);
        desktop->calls.push_back("notify " + std::to_string(replaces) + " " + title + ": " + text);
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(u)", desktop->m_nextId++));
    }

    GTestDBus* m_bus;
    GDBusConnection* m_connection = nullptr;
    GDBusNodeInfo* m_node = nullptr;
    bool m_ready = false;
    guint32 m_nextId = 7;
};

} // namespace

TEST(DesktopNotifications, DegradeQuietlyWithoutABus)
{
    const FakeHome home;
    const ScopedEnvironment none("DBUS_SESSION_BUS_ADDRESS");
    DesktopNotification notification([] {}, [] {});
    EXPECT_FALSE(notification.available());
    notification.show("title", "text");
    notification.withdraw();
}

TEST(DesktopNotifications, ShowReplaceAndOpen)
{
    FakeDesktop desktop;
    int opened = 0;
    DesktopNotification notification([&] { ++opened; }, [] {});
    ASSERT_TRUE(notification.available());
    notification.show("Velmora Tandem", "one");
    ASSERT_TRUE(processUntil([&] { return desktop.calls.size() == 1; }));
    // The click is answered only once the number of the notification is known; so is the second text's place.
    ASSERT_TRUE(processUntil([&] {
        desktop.click(7);
        desktop.click(99);
        return opened > 0;
    }));
    notification.show("Velmora Tandem", "two");
    ASSERT_TRUE(processUntil([&] { return desktop.calls.size() == 2; }));
    EXPECT_EQ(desktop.calls,
        (std::vector<std::string> {"notify 0 Velmora Tandem: one", "notify 7 Velmora Tandem: two"}));
}

TEST(DesktopNotifications, WithdrawWhatIsShown)
{
    FakeDesktop desktop;
    bool opened = false;
    DesktopNotification notification([&] { opened = true; }, [] {});
    notification.show("title", "text");
    ASSERT_TRUE(processUntil([&] {
        desktop.click(7);
        return opened;
    }));
    notification.withdraw();
    EXPECT_TRUE(processUntil([&] { return desktop.calls.back() == "close 7"; }));
}

TEST(DesktopNotifications, WithdrawWhatWasHardlyAskedFor)
{
    FakeDesktop desktop;
    DesktopNotification notification([] {}, [] {});
    notification.show("title", "text");
    notification.withdraw();
    EXPECT_TRUE(processUntil([&] { return desktop.calls.size() == 2; }));
    EXPECT_EQ(desktop.calls.back(), "close 7");
}

TEST(DesktopNotifications, ShowNamesThatLookLikeMarkupAsTheyAre)
{
    FakeDesktop desktop;
    DesktopNotification notification([] {}, [] {});
    notification.show("A & B", "Tom & Jerry <b>2</b>");
    ASSERT_TRUE(processUntil([&] { return desktop.calls.size() == 1; }));
    EXPECT_EQ(desktop.calls[0], "notify 0 A & B: Tom &amp; Jerry &lt;b&gt;2&lt;/b&gt;");
}

TEST(DesktopNotifications, TellWhenNoServiceShowsThem)
{
    GTestDBus* const bus = g_test_dbus_new(G_TEST_DBUS_NONE);
    g_test_dbus_up(bus);
    {
        int failures = 0;
        DesktopNotification notification([] {}, [&] { ++failures; });
        ASSERT_TRUE(notification.available());
        notification.show("title", "text");
        EXPECT_TRUE(processUntil([&] { return failures == 1; }));
    }
    g_test_dbus_down(bus);
    g_object_unref(bus);
}
