// Starting a tool with administrator rights.
#pragma once

#include "Platform/Support/Types.h"

#include <cstdio>

using AuthorizationRef = struct AuthorizationOpaqueRef*;
using AuthorizationFlags = UInt32;
enum : AuthorizationFlags {
    kAuthorizationFlagDefaults = 0,
    kAuthorizationFlagInteractionAllowed = 1,
    kAuthorizationFlagExtendRights = 2,
    kAuthorizationFlagPreAuthorize = 16,
};
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
/// Says whether the right kAuthorizationRightExecute, the only one of `rights`, is to be had: noErr when it
/// is there already or when polkit gives it after a question, otherwise errAuthorizationDenied. The question
/// itself is asked when a tool is started, as polkit's answer holds for one start. `environment` and
/// `authorizedRights` must be null, `flags` interaction allowed, extend rights and preauthorize, together.
OSStatus AuthorizationCopyRights(AuthorizationRef authorization, const AuthorizationItemSet* rights,
    const AuthorizationItemSet* environment, AuthorizationFlags flags,
    AuthorizationItemSet** authorizedRights);
/// Starts a tool with administrator rights and waits, with events, until it has ended: directly when the
/// effective user is root or $VELMORA_AUTHORIZE is "user" (then without any privilege), otherwise through
/// pkexec; where the suite is installed, "--self-repair" alone goes through its root-owned starter, which
/// runs nothing but the installed tool. `pathToTool` is absolute, `options` must be 0, `arguments` is a
/// null-terminated array without the tool itself (null: none). With a `pipe`, and noErr, the first MiB of
/// what the tool printed is there to be read until the end of the file; the caller closes it with fclose.
/// noErr once the tool ran, whatever its status; errAuthorizationCanceled when the user dismissed the
/// question, errAuthorizationDenied when refused, errAuthorizationToolExecuteFailure when the tool cannot be
/// executed or differs from the installed one.
OSStatus AuthorizationExecuteWithPrivileges(AuthorizationRef authorization, const char* pathToTool,
    AuthorizationFlags options, char* const* arguments, std::FILE** pipe);
/// Withdraws the question that a start waits for, if there is one: for a program that was told to end. The
/// start gives errAuthorizationDenied; a tool that runs already is waited for all the same.
void EndAuthorizationQuestions();
/// `flags` must be 0.
OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags);
