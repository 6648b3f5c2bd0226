#include "Update/ui/PluginResources.h"

#include "Platform/CoreFoundation/CFBundle.h"

CFRef<CFURLRef> pluginResourcesFolder()
{
    const CFRef identifier = adoptCF(CFStringCreateWithView(u"com.Velmora.Update"));
    const CFBundleRef bundle = CFBundleGetBundleWithIdentifier(identifier);
    return bundle ? adoptCF(CFBundleCopyResourcesDirectoryURL(bundle)) : nullptr;
}
