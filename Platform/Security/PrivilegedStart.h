// The ways to start a tool with administrator rights, one of which AuthorizationExecuteWithPrivileges takes.
// Private to this folder and its tests.
#pragma once

#include "Platform/Support/Types.h"

#include <sys/types.h>

enum class PrivilegedRoute {
    Direct, ///< the tool is started as it is: the rights are there already, or none are wanted
    Pkexec, ///< the user is asked for them
};

/// `authorizeVariable` is the value of $VELMORA_AUTHORIZE, or null.
PrivilegedRoute privilegedRoute(uid_t effectiveUser, const char* authorizeVariable);

/// Starts the tool with this process's rights and waits, with events, until it has ended. noErr once it ran,
/// whatever its status; errAuthorizationToolExecuteFailure when it could not be executed.
OSStatus startDirectly(const char* tool, char* const* arguments);

/// Starts the tool through the program at `pkexec` (absolute; in the product always /usr/bin/pkexec, in tests
/// a stand-in) and waits, with events, until it has ended. noErr once the tool ran, errAuthorizationCanceled
/// when the user dismissed the question, errAuthorizationDenied when the rights were refused or the question
/// itself failed, errAuthorizationToolExecuteFailure when the tool or `pkexec` cannot be executed; a tool
/// that cannot is not asked for. As `pkexec` hands on the tool's own status, a tool must not end with 126 or
/// 127.
OSStatus startThroughPkexec(const char* pkexec, const char* tool, char* const* arguments);
