// The suite's side of a privileged start, as a program that an ordinary user runs. It prints what it got.
#include "Platform/Carbon/EventLoop.h"
#include "Platform/Carbon/LaunchServices.h"
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Security/Authorization.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Update/descriptor/RunHelpTool.h"
#include "Update/helper/AssistantTool.h"

#include <cstdio>
#include <string_view>

#include <QCoreApplication>

namespace {

// As the host does before it loads the plug-in.
CFRef<CFBundleRef> registerBundle(std::string_view path)
{
    const CFRef url = adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), true));
    return adoptCF(CFBundleCreate(kCFAllocatorDefault, url));
}

// Prints the tool's output and then the status.
int execute(const char* tool, char* const* arguments)
{
    AuthorizationRef authorization = nullptr;
    OSStatus status = AuthorizationCreate(nullptr, nullptr, kAuthorizationFlagDefaults, &authorization);
    std::FILE* pipe = nullptr;
    if (status == noErr)
        status = AuthorizationExecuteWithPrivileges(
            authorization, tool, kAuthorizationFlagDefaults, arguments, &pipe);
    for (int byte = 0; pipe && (byte = std::fgetc(pipe)) != EOF;)
        std::putchar(byte);
    if (pipe)
        (void)std::fclose(pipe);                                        // it was only read
    (void)AuthorizationFree(authorization, kAuthorizationFlagDefaults); // always noErr
    std::printf("status %d\n", static_cast<int>(status));
    return 0;
}

// Places the tool as an install does, and has it repair itself.
int repair(const char* bundlePath)
{
    const CFRef bundle = registerBundle(bundlePath);
    unsigned char path[1024] = {};
    if (!CopyAssistantTool2Folder(path)) {
        std::puts("not placed");
        return 1;
    }
    char option[] = "--self-repair";
    char* const arguments[] = {option, nullptr};
    return execute(reinterpret_cast<const char*>(path), arguments);
}

// Has a package installed into a folder as an opened document, and waits for its installer.
int openPackage(const char* package, const char* folder)
{
    constexpr EventTimerInterval kLookSeconds = 0.02;
    FSRef document;
    FSRef target;
    if (FSPathMakeRef(reinterpret_cast<const UInt8*>(package), &document, nullptr) != noErr
        || FSPathMakeRef(reinterpret_cast<const UInt8*>(folder), &target, nullptr) != noErr)
        return 1;
    LSLaunchFSRefSpec spec;
    spec.numDocs = 1;
    spec.itemRefs = &document;
    spec.passThruParams = &target;
    FSRef application;
    const OSStatus status = LSOpenFromRefSpec(&spec, &application);
    while (status == noErr && LaunchStateOf(&application) == kLaunchedRunning)
        (void)ReceiveNextEvent(kLookSeconds); // its end is looked for either way
    std::printf("status %d\n", static_cast<int>(status));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv); // the waits process its events
    const std::string_view job = argc > 1 ? argv[1] : "";
    if (job == "help-tool" && argc == 2)
        return RunHelpTool() == noErr ? 0 : 1;
    if (job == "repair" && argc == 3)
        return repair(argv[2]);
    if (job == "execute" && argc > 2)
        return execute(argv[2], argv + 3);
    if (job == "open" && argc == 4)
        return openPackage(argv[2], argv[3]);
    std::fputs(
        "usage: privileged_probe help-tool | repair BUNDLE | execute TOOL [ARGUMENT...] | open PACKAGE "
        "FOLDER\n",
        stderr);
    return 64;
}
