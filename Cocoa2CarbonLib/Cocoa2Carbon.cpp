#include "Cocoa2CarbonLib/Cocoa2Carbon.h"

#include "Platform/Support/Assertion.h"
#include "Platform/Support/ChildProcess.h"
#include "Platform/Support/ErrorNumbers.h"

#include <string>

namespace {

constexpr char kUnzipTool[] = "/usr/bin/unzip";
constexpr char kInstallerTool[] = "/usr/sbin/installer";
// What a shell reports as well for a program that it could not start.
constexpr int kNotStartedStatus = 127;

// The path as a tool takes it: one that begins with "-" would be read as an option.
std::string pathArgument(const char* path)
{
    return *path == '-' ? std::string("./") + path : std::string(path);
}

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
    ChildRequest request;
    request.program = kUnzipTool;
    request.arguments = {"-o", pathArgument(zipPath), "-d", pathArgument(destinationFolder)};
    // Its options from the environment could switch off its protection against members that lead out of the
    // folder.
    request.droppedVariables = {"UNZIP", "UNZIPOPT", "ZIPINFO"};
    // On a terminal it would ask for the password of an encrypted archive.
    request.withoutTerminal = true;
    return runTool(request) == 0 ? 1 : 0;
}

int C2C_InstallerFile(const char* packagePath, const char* target)
{
    if (!packagePath || !target)
        return paramErr;
    ChildRequest request;
    request.program = kInstallerTool;
    request.arguments = {"-pkg", pathArgument(packagePath), "-target", pathArgument(target)};
    return runTool(request);
}

int C2C_wcslen(const UniChar* s)
{
    VELMORA_ASSERT(s);
    int length = 0;
    while (s[length] != 0)
        ++length;
    return length;
}
