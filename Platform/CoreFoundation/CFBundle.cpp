// Bundles: which ones this process has, and their property lists.
#include "Platform/CoreFoundation/CFBundle.h"

#include "Platform/CoreFoundation/CFBundleInternal.h"
#include "Platform/CoreFoundation/CFPropertyList.h"

#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

/// Every bundle of this process that has an owner.
std::vector<CFBundleRef>& livingBundles()
{
    // Never destroyed: a bundle may go while the process ends.
    static auto* const kBundles = new std::vector<CFBundleRef>;
    return *kBundles;
}

CFRef<CFBundleRef>& mainBundle()
{
    static auto* const kMain = new CFRef<CFBundleRef>;
    return *kMain;
}

std::optional<FolderIdentity> identityOf(const std::string& folder)
{
    struct stat status;
    if (::stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return std::nullopt;
    return FolderIdentity {status.st_dev, status.st_ino};
}

/// The living bundle at a folder, or null. A folder that was removed may have handed its inode on to another
/// one: a bundle counts only while its own path still leads to it.
CFBundleRef livingBundleAt(const FolderIdentity& identity)
{
    for (const CFBundleRef bundle : livingBundles()) {
        if (bundle->m_identity == identity && identityOf(bundle->m_folder) == identity)
            return bundle;
    }
    return nullptr;
}

/// The bundle that the program's own file lies in. What the kernel adds to the name of a removed program is
/// part of the last component, which does not matter here.
CFBundleRef createBundleOfProgram()
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    for (fs::path folder = program.parent_path(); folder.has_relative_path(); folder = folder.parent_path()) {
        if (folder.extension() != ".app" || !fs::is_regular_file(folder / "Contents/Info.plist", error))
            continue;
        const std::string path = folder.string();
        const auto url = adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
            reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), 1));
        return CFBundleCreate(kCFAllocatorDefault, url);
    }
    return nullptr;
}

} // namespace

std::optional<std::string> filePathOf(CFURLRef url)
{
    const CFIndex room = CFStringGetLength(CFURLGetString(url)) + 1; // an escape only gets shorter
    std::string path(static_cast<std::size_t>(room), '\0');
    if (!CFURLGetFileSystemRepresentation(url, 1, reinterpret_cast<UInt8*>(path.data()), room))
        return std::nullopt;
    path.resize(path.find('\0'));
    return path;
}

__CFBundle::__CFBundle(CFURLRef url, CFRef<CFDictionaryRef> info, std::string folder, FolderIdentity identity)
    : CFObject(kCFRuntimeBundle)
    , m_url(retainCF(url))
    , m_info(std::move(info))
    , m_folder(std::move(folder))
    , m_identity(identity)
{
    livingBundles().push_back(this);
}

__CFBundle::~__CFBundle()
{
    std::erase(livingBundles(), this);
}

CFStringRef __CFBundle::textFor(std::u16string_view key) const
{
    const CFTypeRef value = CFDictionaryGetValue(m_info, key);
    const bool isText = value && CFGetTypeID(value) == CFStringGetTypeID();
    return isText ? static_cast<CFStringRef>(value) : nullptr;
}

CFBundleRef CFBundleGetMainBundle()
{
    // Found once and kept: once an update has replaced the program's folder, its own file lies elsewhere.
    if (!mainBundle())
        mainBundle() = adoptCF(createBundleOfProgram());
    return mainBundle();
}

void CFBundleSetMainBundle(CFURLRef bundleFolder)
{
    mainBundle() = adoptCF(bundleFolder ? CFBundleCreate(kCFAllocatorDefault, bundleFolder) : nullptr);
}

CFBundleRef CFBundleGetBundleWithIdentifier(CFStringRef identifier)
{
    (void)CFBundleGetMainBundle(); // so that it is among the living ones
    for (const CFBundleRef bundle : livingBundles()) {
        const CFStringRef own = CFBundleGetIdentifier(bundle);
        if (own && CFEqual(own, identifier))
            return bundle;
    }
    return nullptr;
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef bundleFolder)
{
    std::optional<std::string> folder = filePathOf(bundleFolder);
    const std::optional<FolderIdentity> identity = folder ? identityOf(*folder) : std::nullopt;
    if (!identity)
        return nullptr;
    if (const CFBundleRef living = livingBundleAt(*identity)) {
        CFRetain(living);
        return living;
    }
    auto info = adoptCF(CFBundleCopyInfoDictionaryInDirectory(bundleFolder));
    return info ? new __CFBundle(bundleFolder, std::move(info), std::move(*folder), *identity) : nullptr;
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle)
{
    CFRetain(bundle->m_url.get());
    return bundle->m_url;
}

CFStringRef CFBundleGetIdentifier(CFBundleRef bundle)
{
    return bundle->textFor(kCFBundleIdentifierKey);
}

CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, std::u16string_view key)
{
    return CFDictionaryGetValue(bundle->m_info, key);
}

CFDictionaryRef CFBundleCopyInfoDictionaryInDirectory(CFURLRef bundleFolder)
{
    const auto name = adoptCF(CFStringCreateWithView(u"Contents/Info.plist"));
    const auto file
        = adoptCF(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, bundleFolder, name, 0));
    if (!file)
        return nullptr;
    const auto list = adoptCF(CFPropertyListCreateFromFile(file));
    if (!list || CFGetTypeID(list) != CFDictionaryGetTypeID())
        return nullptr;
    CFRetain(list);
    return static_cast<CFDictionaryRef>(list.get());
}
