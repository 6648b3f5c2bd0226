#include "Platform/Security/Authorization.h"

#include "Platform/Security/OutputStream.h"
#include "Platform/Security/PrivilegedStart.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/ToolRequests.h"

#include <cstdlib>
#include <string_view>
#include <unistd.h>

struct AuthorizationOpaqueRef { };

namespace {

// Absolute: nothing in the environment can put another program in its place.
constexpr char kPkcheckTool[] = "/usr/bin/pkcheck";
// Where the suite's installation places it; polkit's action names the same place.
constexpr char kStarterTool[] = "/usr/libexec/velmora-tandem/SelfRepairStarter";

PrivilegedRoute currentRoute(char* const* arguments)
{
    return privilegedRoute(geteuid(), std::getenv("VELMORA_AUTHORIZE"), kStarterTool, arguments);
}

OSStatus start(const PrivilegedRequest& request)
{
    switch (currentRoute(request.arguments)) {
    case PrivilegedRoute::Direct:
        return startDirectly(request);
    case PrivilegedRoute::Starter:
        return startThroughStarter(kPkexecTool, kStarterTool, request);
    case PrivilegedRoute::Pkexec:
        break;
    }
    return startThroughPkexec(kPkexecTool, request);
}

} // namespace

OSStatus AuthorizationCreate(const AuthorizationItemSet* rights, const AuthorizationItemSet*,
    AuthorizationFlags flags, AuthorizationRef* authorization)
{
    VELMORA_ASSERT(!rights && flags == kAuthorizationFlagDefaults && authorization);
    *authorization = new AuthorizationOpaqueRef;
    return noErr;
}

OSStatus AuthorizationCopyRights(AuthorizationRef authorization, const AuthorizationItemSet* rights,
    const AuthorizationItemSet* environment, AuthorizationFlags flags,
    AuthorizationItemSet** authorizedRights)
{
    constexpr AuthorizationFlags kSupported = kAuthorizationFlagInteractionAllowed
        | kAuthorizationFlagExtendRights | kAuthorizationFlagPreAuthorize;
    VELMORA_ASSERT(authorization && rights && rights->count == 1);
    VELMORA_ASSERT(std::string_view(rights->items[0].name) == kAuthorizationRightExecute);
    VELMORA_ASSERT(!environment && flags == kSupported && !authorizedRights);
    const PrivilegedRoute route = currentRoute(nullptr);
    return route == PrivilegedRoute::Direct ? OSStatus(noErr) : checkMayAsk(kPkcheckTool);
}

OSStatus AuthorizationExecuteWithPrivileges(AuthorizationRef authorization, const char* pathToTool,
    AuthorizationFlags options, char* const* arguments, std::FILE** pipe)
{
    VELMORA_ASSERT(authorization && pathToTool);
    VELMORA_ASSERT(options == kAuthorizationFlagDefaults);
    OutputStream output;
    if (pipe && !output.open())
        return errAuthorizationToolExecuteFailure;
    const OSStatus status = start({pathToTool, arguments, pipe ? &output : nullptr});
    if (pipe && status == noErr)
        *pipe = output.release();
    return status;
}

void EndAuthorizationQuestions()
{
    endOpenQuestions();
}

OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags)
{
    VELMORA_ASSERT(authorization && flags == kAuthorizationFlagDefaults);
    delete authorization;
    return noErr;
}
