// The search for an application by its bundle identifier, among the desktop entries.
#include "Platform/Carbon/LaunchServices.h"

#include "Platform/Carbon/BundlePath.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include <gio/gdesktopappinfo.h>

namespace {

struct GLibFree {
    void operator()(char* text) const { g_free(text); }
    void operator()(char** texts) const { g_strfreev(texts); }
    void operator()(GDesktopAppInfo* entry) const { g_object_unref(entry); }
};
template <typename T> using GLibOwned = std::unique_ptr<T, GLibFree>;

/// The name of a desktop entry is a file name.
constexpr std::size_t kMaxEntryNameBytes = 255;
constexpr off_t kMaxEntryBytes = 1 << 20;

/// The name of the identifier's desktop entry; empty when it could be none.
std::string entryName(CFStringRef identifier)
{
    constexpr std::string_view kSuffix = ".desktop";
    std::string name;
    if (!pathFromWide(CFStringGetView(identifier), name, kMaxEntryNameBytes - kSuffix.size())
        || name.find('/') != std::string::npos)
        return "";
    return name.append(kSuffix);
}

/// The folders that hold "applications", the most important first (freedesktop.org, base directories 0.8).
std::vector<std::string> dataFolders()
{
    // GLib keeps what it found at its first look; the variables may have been set since.
    const auto valueOr = [](const char* name, const std::string& fallback) {
        const char* const value = std::getenv(name);
        return value && *value ? std::string(value) : fallback;
    };
    std::string list = valueOr("XDG_DATA_HOME", std::string(g_get_home_dir()) + "/.local/share");
    list += ':' + valueOr("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    std::vector<std::string> folders;
    for (std::size_t at = 0; at < list.size();) {
        const std::size_t end = std::min(list.find(':', at), list.size());
        if (list[at] == '/')
            folders.push_back(list.substr(at, end - at));
        at = end + 1;
    }
    return folders;
}

/// The desktop entry of that name; null when there is none, or the most important one of the name is damaged,
/// hidden or names no program.
GLibOwned<GDesktopAppInfo> findEntry(const std::string& name)
{
    for (const std::string& folder : dataFolders()) {
        const std::string path = folder + "/applications/" + name;
        struct stat status;
        if (::stat(path.c_str(), &status) != 0)
            continue;
        if (!S_ISREG(status.st_mode) || status.st_size > kMaxEntryBytes)
            return nullptr;
        GLibOwned<GDesktopAppInfo> entry(g_desktop_app_info_new_from_filename(path.c_str()));
        return entry && !g_desktop_app_info_get_is_hidden(entry.get()) ? std::move(entry) : nullptr;
    }
    return nullptr;
}

bool isAnyOf(std::string_view word, std::initializer_list<std::string_view> words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// The word of a command line that names its program: "env", its options and its assignments may stand
/// before it (env(1)). Null when there is none.
const char* programWord(const char* const* words)
{
    if (!words[0] || !isAnyOf(words[0], {"env", "/usr/bin/env", "/bin/env"}))
        return words[0];
    while (*++words) {
        const std::string_view word = *words;
        const bool isFollowedByAValue = isAnyOf(word, {"-u", "--unset", "-C", "--chdir"});
        if (isFollowedByAValue && !*++words)
            return nullptr;
        if (!word.starts_with('-') && word.find('=') == std::string_view::npos)
            break;
    }
    return *words;
}

/// The absolute path of the program that a command line starts; empty when there is none.
std::string programOf(const char* commandLine)
{
    char** split = nullptr;
    if (!commandLine || !g_shell_parse_argv(commandLine, nullptr, &split, nullptr))
        return "";
    const GLibOwned<char*[]> words(split);
    const char* const word = programWord(split);
    // A relative path would count from wherever this process happens to be.
    if (!word || (word[0] != '/' && std::strchr(word, '/')))
        return "";
    const GLibOwned<char> program(g_find_program_in_path(word));
    return program && program.get()[0] == '/' ? program.get() : "";
}

/// The bundle of a program, which may be a link to where it lies; empty when it lies in none.
std::string bundleOf(const std::string& program)
{
    std::string folder = bundleFolderOfProgram(program);
    if (!folder.empty())
        return folder;
    const std::unique_ptr<char, decltype(&std::free)> target(
        ::realpath(program.c_str(), nullptr), &std::free);
    return target ? bundleFolderOfProgram(target.get()) : "";
}

} // namespace

OSStatus LSFindApplicationForInfo(
    OSType creator, CFStringRef identifier, CFStringRef name, FSRef* application, CFURLRef* applicationURL)
{
    VELMORA_ASSERT(creator == kLSUnknownCreator && !name && !application);
    if (!identifier || !applicationURL)
        return paramErr;
    *applicationURL = nullptr;
    const std::string file = entryName(identifier);
    if (file.empty())
        return kLSApplicationNotFoundErr;
    const GLibOwned<GDesktopAppInfo> entry = findEntry(file);
    if (!entry)
        return kLSApplicationNotFoundErr;
    const std::string folder = bundleOf(programOf(g_app_info_get_commandline(G_APP_INFO(entry.get()))));
    if (folder.empty())
        return kLSApplicationNotFoundErr;
    *applicationURL = CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(folder.data()), static_cast<CFIndex>(folder.size()), true);
    return *applicationURL ? noErr : kLSApplicationNotFoundErr;
}
