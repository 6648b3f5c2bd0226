#include "Cocoa2CarbonLib/Cocoa2Carbon.h"

#include "Cocoa2CarbonLib/ToolRequests.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"

namespace {

// What a shell reports as well for a program that it could not start.
constexpr int kNotStartedStatus = 127;

int runTool(const ChildRequest& request)
{
    ChildProcess child;
    return child.start(request) == 0 ? child.waitUntilEnded() : kNotStartedStatus;
}

} // namespace

int C2C_UnzipFile(const char* zipPath, const char* destinationFolder)
{
    if (!zipPath || !destinationFolder)
        return 0;
    return runTool(unzipRequest(zipPath, destinationFolder)) == 0 ? 1 : 0;
}

int C2C_InstallerFile(const char* packagePath, const char* target)
{
    if (!packagePath || !target)
        return paramErr;
    return runTool(installerRequest(packagePath, target));
}

int C2C_wcslen(const UniChar* s)
{
    VELMORA_ASSERT(s);
    int length = 0;
    while (s[length] != 0)
        ++length;
    return length;
}
