#include "WatchSelfUpdate/Session.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <sys/stat.h>

namespace {

constexpr mode_t kPrivateUmask = 077;
constexpr char kSearchPath[] = "PATH=/usr/local/bin:/usr/bin:/bin";

constexpr std::string_view kKeptNames[] = {"DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY",
    "DBUS_SESSION_BUS_ADDRESS", "HOME", "USER", "LOGNAME", "LANG", "LANGUAGE", "TZ", "QT_QPA_PLATFORM",
    "QT_QPA_PLATFORMTHEME", "QT_SCALE_FACTOR", "QT_STYLE_OVERRIDE", "http_proxy", "https_proxy",
    "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"};
constexpr std::string_view kKeptBeginnings[] = {"XDG_", "LC_"};
constexpr std::string_view kRelocatingNames[] = {"VELMORA_ROOT", "VELMORA_AUTHORIZE"};

template <typename Names> bool holds(const Names& names, std::string_view name)
{
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool isKept(std::string_view name, bool mayRelocate)
{
    if (holds(kKeptNames, name) || (mayRelocate && holds(kRelocatingNames, name)))
        return true;
    return std::any_of(std::begin(kKeptBeginnings), std::end(kKeptBeginnings),
        [name](std::string_view beginning) { return name.substr(0, beginning.size()) == beginning; });
}

} // namespace

Session noteSession(const char* const* environment, bool mayRelocate)
{
    Session session;
    session.umask = umask(kPrivateUmask);
    session.environment.emplace_back(kSearchPath);
    for (; environment && *environment; ++environment) {
        const std::string_view entry = *environment;
        const std::size_t nameLength = entry.find('=');
        if (nameLength != std::string_view::npos && isKept(entry.substr(0, nameLength), mayRelocate))
            session.environment.emplace_back(entry);
    }
    return session;
}
