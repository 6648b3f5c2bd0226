// The desktop's default applications for documents (GIO, desktop entries).
#include "Platform/Carbon/LaunchServicesInternal.h"

#include "Platform/Carbon/BundlePath.h"
#include "Platform/Carbon/LaunchedProcesses.h"
#include "Platform/Support/Descriptor.h"
#include "Platform/Support/ErrorNumbers.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <array>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace {

/// What a guess of a document's kind looks at, in bytes.
constexpr std::size_t kSniffedBytes = 4096;
constexpr char kFolderType[] = "inode/directory";

struct ObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T> using ObjectPtr = std::unique_ptr<T, ObjectUnref>;

struct Free {
    void operator()(char* text) const { g_free(text); }
};
using TextPtr = std::unique_ptr<char, Free>;

/// The reference of the handler's bundle, or of its program when that lies in none; false when it is not
/// installed.
bool findApplication(GAppInfo* handler, FSRef& application)
{
    const char* const name = g_app_info_get_executable(handler);
    const TextPtr path(name ? g_find_program_in_path(name) : nullptr);
    if (!path)
        return false;
    const std::string bundle = bundleFolderOfProgram(path.get());
    const char* const place = bundle.empty() ? path.get() : bundle.c_str();
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(place), &application, nullptr) == noErr;
}

/// A handler goes on when this program, or the terminal that it was started on, ends.
void beginSession(gpointer)
{
    (void)::setsid(); // a new child leads no group: it cannot fail
}

void noteProcess(GDesktopAppInfo*, GPid process, gpointer application)
{
    listLaunchedProcess(*static_cast<const FSRef*>(application), process);
}

} // namespace

std::string contentTypeOf(const FSRef& document)
{
    const Descriptor file(::open(document.path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status;
    if (!file || ::fstat(file.get(), &status) != 0)
        return {};
    if (S_ISDIR(status.st_mode))
        return kFolderType;
    std::array<guchar, kSniffedBytes> bytes;
    const ssize_t count = S_ISREG(status.st_mode) ? ::read(file.get(), bytes.data(), bytes.size()) : 0;
    const TextPtr type(g_content_type_guess(
        document.path.c_str(), bytes.data(), count > 0 ? static_cast<gsize>(count) : 0, nullptr));
    return type.get();
}

bool isUnknownContentType(const std::string& type)
{
    return g_content_type_is_unknown(type.c_str());
}

OSStatus openWithDesktopHandler(const FSRef& document, const std::string& type, FSRef& application)
{
    const ObjectPtr<GAppInfo> handler(g_app_info_get_default_for_type(type.c_str(), FALSE));
    if (!handler || !G_IS_DESKTOP_APP_INFO(handler.get()) || !findApplication(handler.get(), application))
        return kLSApplicationNotFoundErr;
    const ObjectPtr<GFile> file(g_file_new_for_path(document.path.c_str()));
    const TextPtr uri(g_file_get_uri(file.get()));
    GList documents {uri.get(), nullptr, nullptr};
    // The child is not left to GLib: it is listed, and reaped, as every other launched process.
    constexpr auto kFlags = static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD);
    const gboolean launched = g_desktop_app_info_launch_uris_as_manager(G_DESKTOP_APP_INFO(handler.get()),
        &documents, nullptr, kFlags, beginSession, nullptr, noteProcess, &application, nullptr);
    return launched ? noErr : kLSApplicationNotFoundErr;
}
