#include "tests/Platform/Carbon/LaunchedApplication.h"

#include "Platform/Carbon/EventLoop.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

FSRef refTo(const fs::path& path)
{
    FSRef ref;
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr), 0) << path;
    return ref;
}

fs::path writeScript(const ScopedTempDir& folder, std::string_view name, std::string_view commands)
{
    const fs::path path = folder.write(name, "#!/bin/sh\n" + std::string(commands) + "\n");
    fs::permissions(path, fs::perms::owner_all);
    return path;
}

OSStatus launch(const FSRef& application, LaunchParamBlockRec* block)
{
    LaunchParamBlockRec own;
    LaunchParamBlockRec& used = block ? *block : own;
    used.launchBlockID = 0x4C43;
    used.launchEPBLength = 32;
    used.launchControlFlags = 0x4800;
    used.launchAppSpec = &application;
    return LaunchApplication(&used);
}

OSStatus openDocument(const FSRef& document, FSRef* launched, const FSRef* target)
{
    LSLaunchFSRefSpec spec;
    spec.numDocs = 1;
    spec.itemRefs = &document;
    spec.passThruParams = target;
    return LSOpenFromRefSpec(&spec, launched);
}

LaunchState waitForEnd(const FSRef& application)
{
    constexpr UInt32 kLimitTicks = 30 * 60;
    const UInt32 start = TickCount();
    LaunchState state = LaunchStateOf(&application);
    while (state == kLaunchedRunning && TickCount() - start < kLimitTicks) {
        (void)ReceiveNextEvent(0.5); // the end of a process is an event as well
        state = LaunchStateOf(&application);
    }
    return state;
}
