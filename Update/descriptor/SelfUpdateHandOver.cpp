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
#include <cstdio>
#include <cstring>

namespace {

constexpr std::size_t kPathBufferBytes = kMaxPathBytes + 1;
using PathBuffer = std::array<UInt8, kPathBufferBytes>;

/// The marker until it is complete. No longer than its final name, so that its path fits wherever that does.
constexpr char16_t kNewMarkerFileName[] = u"20071023TwoParams.new";

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

/// The path of a file of that name in the tool's folder.
bool findPlaceBeside(const FSRef& tool, std::u16string_view fileName, std::u16string& place)
{
    const auto* const bytes = reinterpret_cast<const UInt8*>(tool.path.data());
    const CFRef toolURL = adoptCF(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, bytes, static_cast<CFIndex>(tool.path.size()), false));
    const CFRef folderURL = toolURL
        ? adoptCF(CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, toolURL))
        : CFRef<CFURLRef>();
    const CFRef name = adoptCF(CFStringCreateWithView(fileName));
    const CFRef url = folderURL
        ? adoptCF(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, folderURL, name, false))
        : CFRef<CFURLRef>();
    PathBuffer path {};
    return url && CFURLGetFileSystemRepresentation(url, true, path.data(), path.size())
        && wideFromPath(reinterpret_cast<const char*>(path.data()), place);
}

/// Writes a path with its zero byte.
bool writePath(SInt16 file, const PathBuffer& path)
{
    const auto length = static_cast<SInt64>(std::strlen(reinterpret_cast<const char*>(path.data())) + 1);
    return LumFileWriteExt(file, path.data(), length, 0) == length;
}

bool writePaths(OpacLumFSRef* ref, const PathBuffer& startedFile, const PathBuffer& bundle)
{
    const SInt16 file = LumFileCreateExt(ref, kLumFileCreateWrite);
    if (file == -1)
        return false;
    const bool written = writePath(file, startedFile) && writePath(file, bundle);
    return LumFileCloseExt(file) == 0 && written;
}

/// Puts the marker in its place as a whole: the tool of a hand-over just before may be reading the former
/// one.
bool writeMarker(const FSRef& tool, const PathBuffer& startedFile, const PathBuffer& bundle)
{
    std::u16string place;
    std::u16string newPlace;
    if (!findPlaceBeside(tool, kMarkerFileName, place)
        || !findPlaceBeside(tool, kNewMarkerFileName, newPlace))
        return false;
    const LumFSRefOwner newMarker(Lum0FSRCreateWithPath(newPlace.c_str()));
    if (writePaths(newMarker.get(), startedFile, bundle)
        && std::rename(utf8FromWide(newPlace).c_str(), utf8FromWide(place).c_str()) == 0)
        return true;
    (void)LumFileDeleteExt(newMarker.get()); // it may not even be there
    return false;
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
    if (!CopyAssistantTool2Folder(toolPath.data()) || FSPathMakeRef(toolPath.data(), &tool, nullptr) != noErr
        || !writeMarker(tool, startedPath, bundlePath) || FSGetCatalogInfo(&tool, nullptr, nullptr) != noErr)
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
