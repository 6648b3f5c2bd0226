#include "TandemService/DesktopNotification.h"

#include <cstdlib>
#include <utility>

#include <gio/gio.h>
#include <unistd.h>

namespace {

constexpr const char* kName = "org.freedesktop.Notifications";
constexpr const char* kPath = "/org/freedesktop/Notifications";
constexpr int kCallTimeoutMs = 5000;
constexpr gint32 kNeverExpires = 0;

/// Only a bus that is there: asking for one without an address could start one.
bool hasSessionBus()
{
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address)
        return true;
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    return folder && access((std::string(folder) + "/bus").c_str(), R_OK | W_OK) == 0;
}

} // namespace

struct DesktopNotification::Bus {
    std::function<void()> onOpen;
    std::function<void()> onFailure;
    GDBusConnection* connection = nullptr;
    GCancellable* cancellable = g_cancellable_new();
    guint subscription = 0;
    guint32 id = 0;        ///< of the notification that is shown
    bool isWanted = false; ///< by withdrawing before the number is known, it is not

    /// Ends a call; `data` is an owner of the bus's data of its own.
    static void noteId(GObject* source, GAsyncResult* result, void* data)
    {
        const std::unique_ptr<std::shared_ptr<Bus>> bus(static_cast<std::shared_ptr<Bus>*>(data));
        GError* error = nullptr;
        GVariant* const reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
        if (!reply) {
            const bool isCancelled = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
            g_error_free(error);
            if (!isCancelled && (*bus)->isWanted)
                (*bus)->onFailure();
            return;
        }
        g_variant_get(reply, "(u)", &(*bus)->id);
        g_variant_unref(reply);
        if (!(*bus)->isWanted)
            (*bus)->close();
    }

    void close()
    {
        if (id != 0)
            g_dbus_connection_call(connection, kName, kPath, kName, "CloseNotification",
                g_variant_new("(u)", id), nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, kCallTimeoutMs, nullptr,
                nullptr, nullptr);
        id = 0;
    }

    static void noteAction(GDBusConnection*, const char*, const char*, const char*, const char*,
        GVariant* parameters, void* data)
    {
        auto* const bus = static_cast<Bus*>(data);
        guint32 which = 0;
        const char* action = nullptr;
        if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(us)")))
            return;
        g_variant_get(parameters, "(u&s)", &which, &action);
        if (which == bus->id && bus->id != 0)
            bus->onOpen();
    }
};

DesktopNotification::DesktopNotification(std::function<void()> onOpen, std::function<void()> onFailure)
    : m_bus(std::make_shared<Bus>())
{
    m_bus->onOpen = std::move(onOpen);
    m_bus->onFailure = std::move(onFailure);
    if (!hasSessionBus())
        return;
    m_bus->connection = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!m_bus->connection)
        return;
    g_dbus_connection_set_exit_on_close(m_bus->connection, FALSE);
    m_bus->subscription = g_dbus_connection_signal_subscribe(m_bus->connection, kName, kName, "ActionInvoked",
        kPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE, &Bus::noteAction, m_bus.get(), nullptr);
}

DesktopNotification::~DesktopNotification()
{
    withdraw();
    g_cancellable_cancel(m_bus->cancellable);
    if (m_bus->connection) {
        g_dbus_connection_signal_unsubscribe(m_bus->connection, m_bus->subscription);
        g_object_unref(m_bus->connection);
    }
    g_object_unref(m_bus->cancellable);
}

bool DesktopNotification::available() const
{
    return m_bus->connection != nullptr;
}

void DesktopNotification::show(const std::string& title, const std::string& text)
{
    if (!available())
        return;
    m_bus->isWanted = true;
    // A body is markup, and a product's name is data.
    const std::unique_ptr<char, void (*)(void*)> body(g_markup_escape_text(text.c_str(), -1), g_free);
    GVariantBuilder actions;
    g_variant_builder_init(&actions, G_VARIANT_TYPE("as"));
    g_variant_builder_add(&actions, "s", "default");
    g_variant_builder_add(&actions, "s", "Show");
    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE("a{sv}"));
    GVariant* const arguments = g_variant_new("(susssasa{sv}i)", title.c_str(), m_bus->id,
        "system-software-update", title.c_str(), body.get(), &actions, &hints, kNeverExpires);
    g_dbus_connection_call(m_bus->connection, kName, kPath, kName, "Notify", arguments, G_VARIANT_TYPE("(u)"),
        G_DBUS_CALL_FLAGS_NONE, kCallTimeoutMs, m_bus->cancellable, &Bus::noteId,
        new std::shared_ptr<Bus>(m_bus));
}

void DesktopNotification::withdraw()
{
    m_bus->isWanted = false;
    if (available())
        m_bus->close();
}
