#include "tests/Update/controller/PlatformCalls.h"

#include "Platform/Carbon/EventLoop.h"
#include "Platform/Carbon/Folders.h"
#include "Platform/Carbon/Processes.h"
#include "Platform/CoreFoundation/CFMessagePort.h"
#include "Platform/Security/Authorization.h"
#include "Platform/Support/ErrorNumbers.h"

#include <cstdlib>
#include <dlfcn.h>
#include <utility>

namespace {

/// The platform's own definition of a function that this program defines as well. `symbol` is its name as the
/// linker knows it.
template <typename Function> Function* platformsOwn(Function*, const char* symbol)
{
    void* const found = ::dlsym(RTLD_NEXT, symbol);
    if (!found)
        std::abort(); // the platform's declaration was changed: change the symbol with it
    return reinterpret_cast<Function*>(found);
}

} // namespace

PlatformCalls& platformCalls()
{
    // Never destroyed: the plug-in's static object may still call while the program ends.
    static auto* const calls = new PlatformCalls;
    return *calls;
}

void forgetPlatformCalls()
{
    platformCalls() = {};
}

// The program's own definitions stand before the platform library's.
EventLoopTimerUPP NewEventLoopTimerUPP(EventLoopTimerProcPtr proc)
{
    static auto* const own
        = platformsOwn(&NewEventLoopTimerUPP, "_Z20NewEventLoopTimerUPPPFvP23OpaqueEventLoopTimerRefPvE");
    ++platformCalls().timerProcedures;
    return own(proc);
}

OSStatus InstallEventLoopTimer(EventLoopRef loop, EventTimerInterval fireDelay, EventTimerInterval interval,
    EventLoopTimerUPP upp, void* userData, EventLoopTimerRef* timer)
{
    static auto* const own = platformsOwn(&InstallEventLoopTimer,
        "_Z21InstallEventLoopTimerP18OpaqueEventLoopRefddP23OpaqueEventLoopTimerUPPPvPP23OpaqueEventLoopTimer"
        "Ref");
    platformCalls().timersInstalled.push_back(fireDelay);
    if (platformCalls().failingTimer == fireDelay)
        return paramErr;
    return own(loop, fireDelay, interval, upp, userData, timer);
}

OSStatus SetEventLoopTimerNextFireTime(EventLoopTimerRef timer, EventTimerInterval delay)
{
    static auto* const own = platformsOwn(
        &SetEventLoopTimerNextFireTime, "_Z29SetEventLoopTimerNextFireTimeP23OpaqueEventLoopTimerRefd");
    platformCalls().timersSet.push_back(delay);
    return own(timer, delay);
}

void QuitApplicationEventLoop()
{
    // A test's own loop is not to end: that it was asked for is enough.
    platformCalls().order.emplace_back("quit");
}

CFMessagePortStatus CFMessagePortSendRequest(CFMessagePortRef port, SInt32 messageId, CFDataRef data,
    double sendTimeout, double receiveTimeout, CFRunLoopMode replyMode, CFDataRef* reply)
{
    static auto* const own = platformsOwn(&CFMessagePortSendRequest,
        "_Z24CFMessagePortSendRequestP15__CFMessagePortiPK8__CFDatadd13CFRunLoopModePS3_");
    platformCalls().requests.push_back({messageId, sendTimeout, receiveTimeout});
    platformCalls().order.emplace_back("request");
    return own(port, messageId, data, sendTimeout, receiveTimeout, replyMode, reply);
}

OSStatus AuthorizationCreate(const AuthorizationItemSet* rights, const AuthorizationItemSet* environment,
    AuthorizationFlags flags, AuthorizationRef* authorization)
{
    static auto* const own = platformsOwn(&AuthorizationCreate,
        "_Z19AuthorizationCreatePK20AuthorizationItemSetS1_jPP22AuthorizationOpaqueRef");
    if (platformCalls().authorizationFails)
        return errAuthorizationDenied;
    if (environment && environment->count == 1 && environment->items[0].flags == 0) {
        const AuthorizationItem& item = environment->items[0];
        platformCalls().rightName = item.name;
        platformCalls().rightValue.assign(static_cast<const char*>(item.value), item.valueLength);
    }
    return own(rights, environment, flags, authorization);
}

OSStatus AuthorizationExecuteWithPrivileges(AuthorizationRef authorization, const char* pathToTool,
    AuthorizationFlags options, char* const* arguments, std::FILE** pipe)
{
    static auto* const own = platformsOwn(&AuthorizationExecuteWithPrivileges,
        "_Z34AuthorizationExecuteWithPrivilegesP22AuthorizationOpaqueRefPKcjPKPcPP8_IO_FILE");
    PlatformCalls& calls = platformCalls();
    calls.order.emplace_back("tool");
    calls.toolStarted = pathToTool;
    calls.toolArguments.clear();
    for (char* const* argument = arguments; argument && *argument; ++argument)
        calls.toolArguments.emplace_back(*argument);
    if (const std::function<void()> meanwhile = std::exchange(calls.whileToolStarts, nullptr))
        meanwhile();
    if (calls.toolResult)
        return *calls.toolResult;
    return own(authorization, pathToTool, options, arguments, pipe);
}

OSStatus SetFrontProcess(const ProcessSerialNumber* process)
{
    static auto* const own = platformsOwn(&SetFrontProcess, "_Z15SetFrontProcessPK19ProcessSerialNumber");
    platformCalls().order.emplace_back("front");
    return own(process);
}

OSStatus FlushVol(const void* volumeName, SInt16 volumeNumber)
{
    static auto* const own = platformsOwn(&FlushVol, "_Z8FlushVolPKvs");
    if (!volumeName && volumeNumber == 0)
        platformCalls().order.emplace_back("flush");
    return own(volumeName, volumeNumber);
}
