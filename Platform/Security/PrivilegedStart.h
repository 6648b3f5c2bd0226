// The ways to start a tool with administrator rights, one of which AuthorizationExecuteWithPrivileges takes.
// Private to this folder and its tests.
#pragma once

#include "Platform/Support/Types.h"

#include <sys/types.h>

class OutputStream;

/// What the installed suite's starter ends with when it did not start the tool; its own folder has the same
/// number.
inline constexpr int kStarterRefusedStatus = 112;

enum class PrivilegedRoute {
    Direct,  ///< the tool is started as it is: the rights are there already, or none are wanted
    Starter, ///< the user is asked for them, and the installed starter checks the tool
    Pkexec,  ///< the user is asked for them
};

/// `authorizeVariable` is the value of $VELMORA_AUTHORIZE, or null; `starter` is where the starter is
/// installed, if it is. The starter is for the repair of the helper tool, "--self-repair" alone, as that tool
/// lies in a folder of the user's.
PrivilegedRoute privilegedRoute(
    uid_t effectiveUser, const char* authorizeVariable, const char* starter, char* const* arguments);

/// A start: the tool's absolute path, its arguments (null-terminated, or null for none) and who takes what it
/// prints (null: this process's standard output).
struct PrivilegedRequest {
    const char* tool = nullptr;
    char* const* arguments = nullptr;
    OutputStream* output = nullptr;
};

/// Starts the tool with this process's rights and waits, with events, until it has ended. noErr once it ran,
/// whatever its status; errAuthorizationToolExecuteFailure when it could not be executed.
OSStatus startDirectly(const PrivilegedRequest& request);

/// Starts the tool through the program at `pkexec` (absolute; in the product always /usr/bin/pkexec, in tests
/// a stand-in) and waits, with events, until it has ended. noErr once the tool ran, errAuthorizationCanceled
/// when the user dismissed the question, errAuthorizationDenied when the rights were refused or the question
/// itself failed, errAuthorizationToolExecuteFailure when the tool or `pkexec` cannot be executed; a tool
/// that cannot is not asked for. As `pkexec` hands on the tool's own status, a tool must not end with 126 or
/// 127.
OSStatus startThroughPkexec(const char* pkexec, const PrivilegedRequest& request);

/// The same through the starter at `starter`, which pkexec starts. It follows no link, so links in the tool's
/// folder are resolved here. A tool that it refuses gives errAuthorizationToolExecuteFailure.
OSStatus startThroughStarter(const char* pkexec, const char* starter, const PrivilegedRequest& request);

/// Ends each pkexec that is waited for and still asks, and with it its question; a tool that runs already is
/// root's and runs on. The start then gives errAuthorizationDenied.
void endOpenQuestions();

/// Whether polkit lets this process's user start programs as root, at once or after a question: noErr, or
/// errAuthorizationDenied also when polkit cannot be asked. Nothing is asked of the user. `pkcheck` is
/// absolute, as above.
OSStatus checkMayAsk(const char* pkcheck);
