// The search for an application by its bundle identifier, among the desktop entries.
#include "Platform/Carbon/LaunchServices.h"

#include "Platform/Carbon/BundlePath.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"

#include <climits>
#include <cstdlib>
#include <memory>
#include <string>

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

/// The word of a command line that names its program: "env", its options and its assignments may stand
/// before it. Null when there is none.
const char* programWord(const char* const* words)
{
    if (!words[0] || std::string_view(words[0]) != "env")
        return words[0];
    while (*++words)
        if (**words != '-' && std::string_view(*words).find('=') == std::string_view::npos)
            break;
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
    const GLibOwned<char> program(word ? g_find_program_in_path(word) : nullptr);
    return program ? program.get() : "";
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
    const GLibOwned<GDesktopAppInfo> entry(g_desktop_app_info_new(file.c_str()));
    if (!entry)
        return kLSApplicationNotFoundErr;
    const std::string folder = bundleOf(programOf(g_app_info_get_commandline(G_APP_INFO(entry.get()))));
    if (folder.empty())
        return kLSApplicationNotFoundErr;
    *applicationURL = CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(folder.data()), static_cast<CFIndex>(folder.size()), true);
    return *applicationURL ? noErr : kLSApplicationNotFoundErr;
}
