// What lies in a bundle: its resources and programs.
#include "Platform/CoreFoundation/CFBundleInternal.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/Unicode.h"

#include <sys/stat.h>

namespace {

CFURLRef urlOf(const std::optional<std::string>& path)
{
    if (!path)
        return nullptr;
    struct stat status;
    const bool isDirectory = ::stat(path->c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(path->data()), static_cast<CFIndex>(path->size()), isDirectory);
}

/// A name may come from a property list: one that leads out of its folder names nothing.
bool isOneComponent(std::u16string_view name)
{
    return name != u"." && name != u".." && name.find(u'/') == std::u16string_view::npos;
}

bool exists(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0;
}

std::optional<std::string> existingIn(
    const std::string& bundleFolder, std::string_view place, std::u16string_view name)
{
    std::string utf8;
    if (!isOneComponent(name) || !pathFromWide(name, utf8))
        return std::nullopt;
    std::string path = bundleFolder + "/Contents/" + std::string(place) + '/' + utf8;
    return exists(path) ? std::optional(std::move(path)) : std::nullopt;
}

CFURLRef copyResourceURL(const std::string& bundleFolder, CFStringRef name, CFStringRef type)
{
    std::u16string file(CFStringGetView(name));
    if (type) {
        file += u'.';
        file += CFStringGetView(type);
    }
    return urlOf(existingIn(bundleFolder, "Resources", file));
}

} // namespace

std::optional<std::string> __CFBundle::existing(std::string_view place, std::u16string_view name) const
{
    return existingIn(m_folder, place, name);
}

CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle)
{
    const std::string path = bundle->m_folder + "/Contents/Resources";
    return urlOf(exists(path) ? std::optional(path) : std::nullopt);
}

CFURLRef CFBundleCopyResourceURL(
    CFBundleRef bundle, CFStringRef name, CFStringRef type, CFStringRef subFolder)
{
    VELMORA_ASSERT(subFolder == nullptr);
    return copyResourceURL(bundle->m_folder, name, type);
}

CFURLRef CFBundleCopyResourceURLInDirectory(
    CFURLRef bundleFolder, CFStringRef name, CFStringRef type, CFStringRef subFolder)
{
    VELMORA_ASSERT(subFolder == nullptr);
    const std::optional<std::string> folder = bundleFolder ? filePathOf(bundleFolder) : std::nullopt;
    return folder ? copyResourceURL(*folder, name, type) : nullptr;
}

CFURLRef CFBundleCopyAuxiliaryExecutableURL(CFBundleRef bundle, CFStringRef name)
{
    return urlOf(bundle->existing("Linux", CFStringGetView(name)));
}
