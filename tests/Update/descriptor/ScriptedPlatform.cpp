#include "tests/Update/descriptor/ScriptedPlatform.h"

#include "Platform/Carbon/EventLoop.h"
#include "Platform/Carbon/Folders.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Update/collect/RunningProcess.h"
#include "Update/helper/AssistantTool.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <gtest/gtest.h>

namespace {

ScriptedPlatform* g_platform = nullptr;

std::string nameOf(const FSRef& ref)
{
    return std::filesystem::path(ref.path).filename().string();
}

std::string hexadecimal(UInt32 flags)
{
    char text[16];
    std::snprintf(text, sizeof text, "%X", flags);
    return text;
}

FSRef refFor(const std::string& path)
{
    FSRef ref;
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr), noErr) << path;
    return ref;
}

} // namespace

ScriptedPlatform::ScriptedPlatform()
{
    g_platform = this;
}

ScriptedPlatform::~ScriptedPlatform()
{
    g_platform = nullptr;
}

std::ptrdiff_t ScriptedPlatform::count(const std::string& text) const
{
    return std::count_if(calls.begin(), calls.end(),
        [&text](const std::string& call) { return call.compare(0, text.size(), text) == 0; });
}

std::vector<std::string> ScriptedPlatform::deeds() const
{
    std::vector<std::string> deeds;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(deeds),
        [](const std::string& call) { return !call.ends_with("running?"); });
    return deeds;
}

OSStatus LaunchApplication(LaunchParamBlockRec* block)
{
    EXPECT_EQ(block->launchBlockID, 0x4C43); // 'LC'
    EXPECT_EQ(block->launchEPBLength, 32u);
    EXPECT_EQ(block->launchFileFlags, 0);
    g_platform->calls.push_back(
        "launch " + nameOf(*block->launchAppSpec) + " " + hexadecimal(block->launchControlFlags));
    return g_platform->launch(*block->launchAppSpec);
}

OSStatus LSOpenFromRefSpec(const LSLaunchFSRefSpec* spec, FSRef* launched)
{
    EXPECT_EQ(spec->appRef, nullptr);
    EXPECT_EQ(spec->numDocs, 1u);
    EXPECT_EQ(spec->asyncRefCon, nullptr);
    g_platform->calls.push_back("open " + nameOf(*spec->itemRefs) + " " + hexadecimal(spec->launchFlags)
        + (spec->passThruParams ? " into " + nameOf(*spec->passThruParams) : ""));
    const OSStatus error = g_platform->open(*spec->itemRefs);
    if (error == noErr)
        *launched = g_platform->opener;
    return error;
}

LaunchState LaunchStateOf(const FSRef* application)
{
    g_platform->calls.emplace_back("running?");
    EXPECT_TRUE(application);
    if (g_platform->runningAnswers == 0)
        return g_platform->stateAfterwards;
    --g_platform->runningAnswers;
    return kLaunchedRunning;
}

int ProcessIsRunning(const FSRef*)
{
    g_platform->calls.emplace_back("file running?");
    if (g_platform->fileRunningAnswers == 0)
        return 0;
    --g_platform->fileRunningAnswers;
    return 1;
}

OSStatus ReceiveNextEvent(EventTimerInterval seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "event %g", seconds);
    g_platform->calls.emplace_back(text);
    return eventLoopTimedOutErr;
}

UInt32 TickCount()
{
    const UInt32 now = g_platform->tick;
    g_platform->tick += g_platform->ticksPerLook;
    return now;
}

OSStatus FlushVol(const void* volumeName, SInt16 volumeNumber)
{
    EXPECT_EQ(volumeName, nullptr);
    EXPECT_EQ(volumeNumber, 0);
    g_platform->calls.emplace_back("flush");
    return noErr;
}

void QuitApplicationEventLoop()
{
    g_platform->calls.emplace_back("quit");
}

OSStatus GetProcessBundleLocation(const ProcessSerialNumber* process, FSRef* location)
{
    ProcessSerialNumber own;
    EXPECT_EQ(GetCurrentProcess(&own), noErr);
    EXPECT_EQ(process->lowLongOfPSN, own.lowLongOfPSN);
    if (g_platform->onOwnBundle)
        g_platform->onOwnBundle();
    if (g_platform->ownBundle.empty())
        return procNotFound;
    *location = refFor(g_platform->ownBundle);
    return noErr;
}

Boolean CopyAssistantTool2Folder(unsigned char* path)
{
    g_platform->calls.emplace_back("tool");
    EXPECT_TRUE(std::all_of(path, path + 1024, [](unsigned char byte) { return byte == 0; }));
    if (g_platform->placedTool.empty())
        return false;
    std::memcpy(path, g_platform->placedTool.c_str(), g_platform->placedTool.size() + 1);
    return true;
}
