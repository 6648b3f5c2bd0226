#include "Platform/Security/PrivilegedStart.h"

#include "Platform/Carbon/EventLoop.h"
#include "Platform/Support/ChildProcess.h"
#include "Platform/Support/ErrorNumbers.h"

#include <string_view>
#include <sys/stat.h>

namespace {

// What pkexec itself ends with (pkexec(1), RETURN VALUE).
constexpr int kPkexecDismissedStatus = 126;
constexpr int kPkexecRefusedStatus = 127;

// Neither route looks a tool up in $PATH or takes a folder; that it has an executable bit is all that can be
// said for another user.
bool isExecutableFile(const char* tool)
{
    constexpr mode_t kAnyExecutableBit = 0111;
    struct stat info { };
    return tool[0] == '/' && stat(tool, &info) == 0 && S_ISREG(info.st_mode)
        && (info.st_mode & kAnyExecutableBit) != 0;
}

void addAll(std::vector<std::string>& list, char* const* arguments)
{
    for (; arguments && *arguments; ++arguments)
        list.emplace_back(*arguments);
}

// False when the child could not be started.
bool runWithEvents(const ChildRequest& request, ChildProcess& child)
{
    // How long an ended child may wait to be seen while no event comes.
    constexpr EventTimerInterval kLookSeconds = 0.02;
    if (child.start(request) != 0)
        return false;
    while (!child.hasEnded())
        (void)ReceiveNextEvent(kLookSeconds); // only the child matters here
    return true;
}

} // namespace

PrivilegedRoute privilegedRoute(uid_t effectiveUser, const char* authorizeVariable)
{
    const bool wantsNone = authorizeVariable && std::string_view(authorizeVariable) == "user";
    return effectiveUser == 0 || wantsNone ? PrivilegedRoute::Direct : PrivilegedRoute::Pkexec;
}

OSStatus startDirectly(const char* tool, char* const* arguments)
{
    if (!isExecutableFile(tool))
        return errAuthorizationToolExecuteFailure;
    ChildRequest request;
    request.program = tool;
    addAll(request.arguments, arguments);
    ChildProcess child;
    return runWithEvents(request, child) ? noErr : errAuthorizationToolExecuteFailure;
}

OSStatus startThroughPkexec(const char* pkexec, const char* tool, char* const* arguments)
{
    if (!isExecutableFile(tool))
        return errAuthorizationToolExecuteFailure;
    ChildRequest request;
    request.program = pkexec;
    // Its own agent would wait for a password on the terminal.
    request.arguments = {"--disable-internal-agent", tool};
    addAll(request.arguments, arguments);
    ChildProcess child;
    if (!runWithEvents(request, child))
        return errAuthorizationToolExecuteFailure;
    if (child.status() == kPkexecDismissedStatus)
        return errAuthorizationCanceled;
    // A signal or a lost status says nothing of the tool: nobody was seen to allow it.
    const bool isKnownEnd = child.status() != ChildProcess::kStatusUnknown && !child.endedBySignal();
    return isKnownEnd && child.status() != kPkexecRefusedStatus ? noErr : errAuthorizationDenied;
}
