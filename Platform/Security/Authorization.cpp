#include "Platform/Security/Authorization.h"

#include "Platform/Security/PrivilegedStart.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"

#include <cstdlib>
#include <unistd.h>

struct AuthorizationOpaqueRef { };

namespace {

// Absolute: nothing in the environment can put another program in its place.
constexpr char kPkexecTool[] = "/usr/bin/pkexec";

} // namespace

OSStatus AuthorizationCreate(const AuthorizationItemSet* rights, const AuthorizationItemSet*,
    AuthorizationFlags flags, AuthorizationRef* authorization)
{
    VELMORA_ASSERT(!rights && flags == kAuthorizationFlagDefaults && authorization);
    *authorization = new AuthorizationOpaqueRef;
    return noErr;
}

OSStatus AuthorizationExecuteWithPrivileges(AuthorizationRef authorization, const char* pathToTool,
    AuthorizationFlags options, char* const* arguments, void* pipe)
{
    VELMORA_ASSERT(authorization && pathToTool);
    VELMORA_ASSERT(options == kAuthorizationFlagDefaults && !pipe);
    const PrivilegedRoute route = privilegedRoute(geteuid(), std::getenv("VELMORA_AUTHORIZE"));
    return route == PrivilegedRoute::Direct ? startDirectly(pathToTool, arguments)
                                            : startThroughPkexec(kPkexecTool, pathToTool, arguments);
}

OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags)
{
    VELMORA_ASSERT(authorization && flags == kAuthorizationFlagDefaults);
    delete authorization;
    return noErr;
}
