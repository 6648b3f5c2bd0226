#include "Update/helper/AssistantTool.h"

#include "Platform/Carbon/Folders.h"
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Update/helper/MoreSecurity.h"

namespace {

constexpr CFIndex kPathBytes = 1024;

// The tool's file inside the plug-in's bundle, or null.
CFRef<CFURLRef> copyTemplateTool()
{
    const CFRef identifier = adoptCF(CFStringCreateWithView(kUpdateBundleIdentifier));
    const CFBundleRef bundle = CFBundleGetBundleWithIdentifier(identifier);
    if (!bundle)
        return nullptr;
    const CFRef toolName = adoptCF(CFStringCreateWithView(kHelperToolName));
    return adoptCF(CFBundleCopyAuxiliaryExecutableURL(bundle, toolName));
}

} // namespace

Boolean CopyAssistantTool2Folder(unsigned char* path)
{
    const CFRef templateTool = copyTemplateTool();
    if (!templateTool)
        return false;
    const CFRef folderName = adoptCF(CFStringCreateWithView(kHelperToolFolderName));
    const CFRef toolName = adoptCF(CFStringCreateWithView(kHelperToolName));
    CFURLRef found = nullptr;
    int err = MoreSecCopyHelperToolURL(
        kUserDomain, kCachedDataFolderType, folderName, toolName, kCreateFolder, &found);
    const CFRef installedTool = adoptCF(found);
    if (err == 0)
        err = MoreSecCheckAndFixHelperTool(templateTool, installedTool);
    if (err != 0)
        return false;
    return CFURLGetFileSystemRepresentation(installedTool, true, path, kPathBytes);
}
