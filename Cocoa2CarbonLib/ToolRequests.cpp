#include "Cocoa2CarbonLib/ToolRequests.h"

#include <string>

namespace {

constexpr char kUnzipTool[] = "/usr/bin/unzip";
constexpr char kInstallerTool[] = "/usr/sbin/installer";

// The path as a tool takes it: one that begins with "-" would be read as an option.
std::string pathArgument(const char* path)
{
    return *path == '-' ? std::string("./") + path : std::string(path);
}

} // namespace

ChildRequest unzipRequest(const char* zipPath, const char* destinationFolder)
{
    ChildRequest request;
    request.program = kUnzipTool;
    request.arguments = {"-o", pathArgument(zipPath), "-d", pathArgument(destinationFolder)};
    // Options from the environment could switch off its protection against members that lead out of the
    // folder.
    request.droppedVariables = {"UNZIP", "UNZIPOPT", "ZIPINFO"};
    // On a terminal it would ask for the password of an encrypted archive.
    request.withoutTerminal = true;
    // Its listing of members would stand between what this program prints; what goes wrong is told on
    // standard error.
    request.withoutOutput = true;
    return request;
}

ChildRequest installerRequest(const char* packagePath, const char* target)
{
    ChildRequest request;
    request.program = kInstallerTool;
    request.arguments = {"-pkg", pathArgument(packagePath), "-target", pathArgument(target)};
    return request;
}
