// An authentication agent whose user dismisses every question. It serves one process and tells what it was
// asked.
#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include <unistd.h>

namespace {

constexpr char kPath[] = "/agent";
constexpr char kAuthority[] = "org.freedesktop.PolicyKit1";
constexpr char kInterface[] = R"xml(<node><interface name="org.freedesktop.PolicyKit1.AuthenticationAgent">
  <method name="BeginAuthentication">
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/>
    <arg type="a{ss}" direction="in"/><arg type="s" direction="in"/><arg type="a(sa{sv})" direction="in"/>
  </method>
  <method name="CancelAuthentication"><arg type="s" direction="in"/></method>
</interface></node>)xml";

void answer(GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant* arguments,
    GDBusMethodInvocation* invocation, void*)
{
    if (std::string(method) != "BeginAuthentication") {
        g_dbus_method_invocation_return_value(invocation, nullptr);
        return;
    }
    const char* action = nullptr;
    const char* message = nullptr;
    g_variant_get_child(arguments, 0, "&s", &action);
    g_variant_get_child(arguments, 1, "&s", &message);
    std::printf("%s\n%s\n", action, message);
    (void)std::fflush(stdout); // its reader is gone otherwise
    g_dbus_method_invocation_return_dbus_error(
        invocation, "org.freedesktop.PolicyKit1.Error.Cancelled", "dismissed");
}

constexpr GDBusInterfaceVTable kMethods = {answer, nullptr, nullptr, {}};

// proc(5): the 22nd word of the process's line; the second is in parentheses and may hold blanks.
guint64 startTimeOf(const std::string& process)
{
    std::ifstream file("/proc/" + process + "/stat");
    std::string line;
    std::getline(file, line);
    std::istringstream rest(line.substr(line.rfind(')') + 1));
    std::string word;
    for (int i = 3; i <= 22; ++i)
        rest >> word;
    return std::strtoull(word.c_str(), nullptr, 10);
}

bool registerFor(GDBusConnection* bus, const std::string& process)
{
    GVariantBuilder details;
    g_variant_builder_init(&details, G_VARIANT_TYPE("a{sv}"));
    const guint32 number = static_cast<guint32>(std::strtoul(process.c_str(), nullptr, 10));
    g_variant_builder_add(&details, "{sv}", "pid", g_variant_new_uint32(number));
    g_variant_builder_add(&details, "{sv}", "start-time", g_variant_new_uint64(startTimeOf(process)));
    g_autoptr(GError) error = nullptr;
    g_autoptr(GVariant) result = g_dbus_connection_call_sync(bus, kAuthority,
        "/org/freedesktop/PolicyKit1/Authority", "org.freedesktop.PolicyKit1.Authority",
        "RegisterAuthenticationAgent", g_variant_new("((sa{sv})ss)", "unix-process", &details, "C", kPath),
        nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    if (!result)
        std::fprintf(stderr, "dismissing_agent: %s\n", error->message);
    return result != nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    constexpr unsigned kLifetimeSeconds = 60;
    (void)alarm(kLifetimeSeconds); // whoever started it may be gone
    if (argc != 2)
        return 64;
    g_autoptr(GDBusConnection) bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
    g_autoptr(GDBusNodeInfo) node = g_dbus_node_info_new_for_xml(kInterface, nullptr);
    if (!bus || !node)
        return 1;
    const guint registration = g_dbus_connection_register_object(
        bus, kPath, node->interfaces[0], &kMethods, nullptr, nullptr, nullptr);
    if (registration == 0 || !registerFor(bus, argv[1]))
        return 1;
    std::puts("registered");
    (void)std::fflush(stdout); // its reader is gone otherwise
    g_autoptr(GMainLoop) loop = g_main_loop_new(nullptr, FALSE);
    g_main_loop_run(loop);
    return 0;
}
