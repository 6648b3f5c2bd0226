#include "tests/TandemService/FakeDesktop.h"

#include <chrono>

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

} // namespace

bool processUntil(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition() && std::chrono::steady_clock::now() < end)
        g_main_context_iteration(nullptr, FALSE);
    return condition();
}

FakeDesktop::FakeDesktop()
    : m_bus(g_test_dbus_new(G_TEST_DBUS_NONE))
{
    g_test_dbus_up(m_bus);
    m_connection = g_dbus_connection_new_for_address_sync(g_test_dbus_get_bus_address(m_bus),
        static_cast<GDBusConnectionFlags>(
            G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    m_node = g_dbus_node_info_new_for_xml(kInterface, nullptr);
    const GDBusInterfaceVTable table = {&FakeDesktop::serve, nullptr, nullptr, {}};
    g_dbus_connection_register_object(
        m_connection, kPath, m_node->interfaces[0], &table, this, nullptr, nullptr);
    g_bus_own_name_on_connection(
        m_connection, kName, G_BUS_NAME_OWNER_FLAGS_NONE, &FakeDesktop::nameTaken, nullptr, this, nullptr);
    EXPECT_TRUE(processUntil([this] { return m_ready; }));
}

FakeDesktop::~FakeDesktop()
{
    g_dbus_connection_close_sync(m_connection, nullptr, nullptr);
    g_object_unref(m_connection);
    g_dbus_node_info_unref(m_node);
    g_test_dbus_stop(m_bus);
    g_object_unref(m_bus);
}

void FakeDesktop::click(guint32 id)
{
    g_dbus_connection_emit_signal(
        m_connection, nullptr, kPath, kName, "ActionInvoked", g_variant_new("(us)", id, "default"), nullptr);
}

void FakeDesktop::nameTaken(GDBusConnection*, const char*, void* data)
{
    static_cast<FakeDesktop*>(data)->m_ready = true;
}

void FakeDesktop::serve(GDBusConnection*, const char*, const char*, const char*, const char* method,
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
