// Starting a tool with administrator rights.
#pragma once

#include "Platform/Support/Types.h"

using AuthorizationRef = struct AuthorizationOpaqueRef*;
using AuthorizationFlags = UInt32;
enum : AuthorizationFlags { kAuthorizationFlagDefaults = 0 };
inline constexpr char kAuthorizationRightExecute[] = "system.privilege.admin";

struct AuthorizationItem {
    const char* name;
    UInt32 valueLength; ///< in bytes
    const void* value;
    UInt32 flags;
};
struct AuthorizationItemSet {
    UInt32 count;
    const AuthorizationItem* items;
};

/// Makes an authorization, which the caller frees. `rights` must be null and `flags` 0; an environment is
/// taken and has no effect: rights are asked for when a tool is started.
OSStatus AuthorizationCreate(const AuthorizationItemSet* rights, const AuthorizationItemSet* environment,
    AuthorizationFlags flags, AuthorizationRef* authorization);
/// Starts a tool with administrator rights and waits, with events, until it has ended: directly when the
/// effective user is root or $VELMORA_AUTHORIZE is "user" (then without any privilege), otherwise through
/// pkexec. `pathToTool` is absolute, `options` must be 0, `arguments` is a null-terminated array without the
/// tool itself (null: none), `pipe` must be null. noErr once the tool ran, whatever its status;
/// errAuthorizationCanceled when the user dismissed the question, errAuthorizationDenied when refused,
/// errAuthorizationToolExecuteFailure when the tool cannot be executed.
OSStatus AuthorizationExecuteWithPrivileges(AuthorizationRef authorization, const char* pathToTool,
    AuthorizationFlags options, char* const* arguments, void* pipe);
/// `flags` must be 0.
OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags);
