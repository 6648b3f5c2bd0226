#include "Update/ui/CheckIcons.h"

#include "Platform/Support/ErrorNumbers.h"
#include "Update/ui/PluginResources.h"

namespace {

constexpr OSType kIconCreator = 0x564C5455; // 'VLTU'
constexpr OSType kIconType = 0x63686B62;    // 'chkb'

} // namespace

IconRef st_CreateIconRef(CFURLRef resourcesFolder, CFStringRef name)
{
    if (!resourcesFolder || !name)
        return nullptr;
    const CFRef url
        = adoptCF(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, resourcesFolder, name, false));
    FSRef file;
    if (!url || !CFURLGetFSRef(url, &file))
        return nullptr;
    IconRef icon = nullptr;
    if (RegisterIconRefFromFSRef(kIconCreator, kIconType, &file, &icon) != noErr)
        return nullptr;
    return icon;
}

std::vector<IconRef> loadCheckIcons()
{
    const CFRef folder = pluginResourcesFolder();
    std::vector<IconRef> icons {nullptr};
    for (const std::u16string_view name : {u"Check.icns", u"UnCheck.icns", u"DisCheck.icns"}) {
        const CFRef fileName = adoptCF(CFStringCreateWithView(name));
        icons.push_back(st_CreateIconRef(folder, fileName));
    }
    return icons;
}

void releaseCheckIcons(std::vector<IconRef>& icons)
{
    for (const IconRef icon : icons)
        if (icon)
            (void)ReleaseIconRef(icon); // cannot fail for an icon that was registered
    icons.clear();
}
