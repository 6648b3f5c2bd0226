// The start of applications: bundles and executable files.
#include "Platform/Carbon/LaunchServices.h"

#include "Platform/Carbon/LaunchServicesInternal.h"
#include "Platform/Carbon/LaunchedProcesses.h"
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr UInt16 kNeededFlags = launchContinue | launchNoFileFlags;
constexpr UInt16 kKnownFlags = kNeededFlags | launchDontSwitch;

bool isExecutableFile(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

/// A bundle's program, or the empty text when the folder is none or names none.
std::string programOfBundle(const FSRef& folder)
{
    const CFRef url = adoptCF(CFURLCreateFromFSRef(kCFAllocatorDefault, &folder));
    const CFRef bundle = url ? adoptCF(CFBundleCreate(kCFAllocatorDefault, url)) : CFRef<CFBundleRef>();
    const CFTypeRef name
        = bundle ? CFBundleGetValueForInfoDictionaryKey(bundle, kCFBundleExecutableKey) : nullptr;
    if (!name || CFGetTypeID(name) != CFStringGetTypeID())
        return {};
    const CFRef program = adoptCF(CFBundleCopyAuxiliaryExecutableURL(bundle, static_cast<CFStringRef>(name)));
    FSRef file;
    return program && CFURLGetFSRef(program, &file) ? file.path : std::string();
}

} // namespace

OSStatus LaunchApplication(LaunchParamBlockRec* block)
{
    VELMORA_ASSERT(block && block->launchAppSpec);
    VELMORA_ASSERT(block->launchBlockID == extendedBlock && block->launchEPBLength == extendedBlockLen);
    VELMORA_ASSERT(block->launchFileFlags == 0);
    VELMORA_ASSERT((block->launchControlFlags & kNeededFlags) == kNeededFlags);
    VELMORA_ASSERT((block->launchControlFlags & ~kKnownFlags) == 0);

    const FSRef& application = *block->launchAppSpec;
    mode_t mode = 0;
    const OSStatus error = checkStillThere(application, mode);
    if (error != noErr)
        return error;
    if (isPackage(application))
        return kLSApplicationNotFoundErr;
    ChildRequest request;
    request.program = S_ISDIR(mode) ? programOfBundle(application) : application.path;
    if (request.program.empty() || !isExecutableFile(request.program))
        return kLSApplicationNotFoundErr;
    return launchProcess(application, std::move(request), &block->launchProcessSN);
}
