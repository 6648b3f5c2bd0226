#include "Cocoa2CarbonLib/Cocoa2Carbon.h"

#include "Cocoa2CarbonLib/DSProcessesInfo.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/ToolRequests.h"
#include "Platform/Support/UnzipGuard.h"

#include <string_view>

namespace {

// What a shell reports as well for a program that it could not start.
constexpr int kNotStartedStatus = 127;

int runTool(const ChildRequest& request)
{
    ChildProcess child;
    return child.start(request) == 0 ? child.waitUntilEnded() : kNotStartedStatus;
}

/// The last component of a path, without its extension; a "." at its beginning begins none.
std::string_view nameWithoutExtension(std::string_view path)
{
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot);
}

} // namespace

int C2C_UnzipFile(const char* zipPath, const char* destinationFolder)
{
    if (!zipPath || !destinationFolder || !mayBeUnzipped(zipPath))
        return 0;
    return runTool(unzipRequest(zipPath, destinationFolder)) == 0 ? 1 : 0;
}

int C2C_InstallerFile(const char* packagePath, const char* target)
{
    if (!packagePath || !target)
        return paramErr;
    return runTool(installerRequest(packagePath, target));
}

Boolean C2C_IsRunning(const FSRef* file)
{
    UInt8 path[1024];
    if (FSRefMakePath(file, path, sizeof path) != noErr)
        return false;
    return isProcessRunningByName(nameWithoutExtension(reinterpret_cast<const char*>(path)));
}

int C2C_wcslen(const UniChar* s)
{
    VELMORA_ASSERT(s);
    int length = 0;
    while (s[length] != 0)
        ++length;
    return length;
}
