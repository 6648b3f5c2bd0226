#include "Update/descriptor/SelfUpdateHandOver.h"

#include "Platform/Carbon/EventLoop.h"
#include "Platform/Carbon/FSCatalog.h"
#include "Platform/Carbon/LaunchServices.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFURL.h"
#include "Platform/Lumen/LumFile.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"
#include "Update/helper/AssistantTool.h"

#include <array>
#include <cstring>

namespace {

constexpr std::size_t kPathBufferBytes = kMaxPathBytes + 1;
using PathBuffer = std::array<UInt8, kPathBufferBytes>;

bool pathOf(const FSRef& ref, PathBuffer& path)
{
    return FSRefMakePath(&ref, path.data(), path.size()) == noErr;
}

bool findOwnBundle(PathBuffer& path)
{
    ProcessSerialNumber process;
    FSRef bundle;
    return GetCurrentProcess(&process) == noErr && GetProcessBundleLocation(&process, &bundle) == noErr
        && pathOf(bundle, path);
}

/// The place of the marker file, beside the tool.
bool findMarkerPlace(const FSRef& tool, std::u16string& place)
{
    const auto* const bytes = reinterpret_cast<const UInt8*>(tool.path.data());
    const CFRef toolURL = adoptCF(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, bytes, static_cast<CFIndex>(tool.path.size()), false));
    const CFRef folderURL = toolURL
        ? adoptCF(CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, toolURL))
        : CFRef<CFURLRef>();
    const CFRef name = adoptCF(CFStringCreateWithView(kMarkerFileName));
    const CFRef markerURL = folderURL
        ? adoptCF(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, folderURL, name, false))
        : CFRef<CFURLRef>();
    PathBuffer path {};
    return markerURL && CFURLGetFileSystemRepresentation(markerURL, true, path.data(), path.size())
        && wideFromPath(reinterpret_cast<const char*>(path.data()), place);
}

/// Writes a path with its zero byte.
bool writePath(SInt16 file, const PathBuffer& path)
{
    const auto length = static_cast<SInt64>(std::strlen(reinterpret_cast<const char*>(path.data())) + 1);
    return LumFileWriteExt(file, path.data(), length, 0) == length;
}

bool writeMarker(const std::u16string& place, const PathBuffer& startedFile, const PathBuffer& bundle)
{
    OpacLumFSRef* const ref = Lum0FSRCreateWithPath(place.c_str());
    const SInt16 file = LumFileCreateExt(ref, kLumFileCreateWrite);
    Lum0FSRRelease(ref);
    if (file == -1)
        return false;
    const bool written = writePath(file, startedFile) && writePath(file, bundle);
    return LumFileCloseExt(file) == 0 && written;
}

/// Everything but the end of the event loop; the first failure ends it.
void prepareAndStartTool(const FSRef& startedFile)
{
    PathBuffer startedPath {};
    PathBuffer bundlePath {};
    if (!pathOf(startedFile, startedPath) || !findOwnBundle(bundlePath))
        return;
    PathBuffer toolPath {};
    FSRef tool;
    std::u16string place;
    if (!CopyAssistantTool2Folder(toolPath.data()) || FSPathMakeRef(toolPath.data(), &tool, nullptr) != noErr
        || !findMarkerPlace(tool, place) || !writeMarker(place, startedPath, bundlePath)
        || FSGetCatalogInfo(&tool, nullptr, nullptr) != noErr)
        return;
    LaunchParamBlockRec block;
    block.launchBlockID = extendedBlock;
    block.launchEPBLength = extendedBlockLen;
    block.launchControlFlags = launchContinue | launchNoFileFlags | launchDontSwitch;
    block.launchAppSpec = &tool;
    (void)LaunchApplication(&block); // the host ends either way
}

} // namespace

void handOverSelfUpdate(const FSRef& startedFile)
{
    prepareAndStartTool(startedFile);
    QuitApplicationEventLoop();
}
