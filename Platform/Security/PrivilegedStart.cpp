#include "Platform/Security/PrivilegedStart.h"

#include "Platform/Carbon/EventLoop.h"
#include "Platform/Security/OutputStream.h"
#include "Platform/Support/ChildProcess.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/ToolRequests.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// What pkexec itself ends with (pkexec(1), RETURN VALUE).
constexpr int kPkexecDismissedStatus = 126;
constexpr int kPkexecRefusedStatus = 127;

constexpr std::string_view kSelfRepair = "--self-repair";

// No route looks a tool up in $PATH or takes a folder; that it has an executable bit is all that can be
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
bool runWithEvents(ChildRequest& request, OutputStream* output, ChildProcess& child)
{
    // How long an ended child may wait to be seen while no event comes.
    constexpr EventTimerInterval kLookSeconds = 0.02;
    if (output)
        request.outputFd = output->childEnd();
    if (child.start(request) != 0)
        return false;
    if (output)
        output->closeChildEnd();
    while (!child.hasEnded()) {
        if (output)
            output->takeWhatCame();
        (void)ReceiveNextEvent(kLookSeconds); // only the child matters here
    }
    if (output)
        output->takeWhatCame();
    return true;
}

// The questions that are waited for; more than one only where an event of a wait starts another tool.
std::vector<ChildProcess*>& openQuestions()
{
    static std::vector<ChildProcess*> questions;
    return questions;
}

class OpenQuestion {
public:
    explicit OpenQuestion(ChildProcess& pkexec)
        : m_pkexec(pkexec)
    {
        openQuestions().push_back(&pkexec);
    }
    OpenQuestion(const OpenQuestion&) = delete;
    OpenQuestion& operator=(const OpenQuestion&) = delete;
    ~OpenQuestion()
    {
        std::vector<ChildProcess*>& questions = openQuestions();
        questions.erase(std::find(questions.begin(), questions.end(), &m_pkexec));
    }

private:
    ChildProcess& m_pkexec;
};

// Has pkexec run `program` on the words and then on the request's arguments. Gives what pkexec's status
// means; `status` is that status.
OSStatus askPkexec(const char* pkexec, const std::string& program, std::vector<std::string> words,
    const PrivilegedRequest& request, int& status)
{
    addAll(words, request.arguments);
    ChildRequest child = pkexecRequest(pkexec, program, words);
    ChildProcess process;
    const OpenQuestion question(process);
    if (!runWithEvents(child, request.output, process))
        return errAuthorizationToolExecuteFailure;
    status = process.status();
    if (status == kPkexecDismissedStatus)
        return errAuthorizationCanceled;
    // A signal or a lost status says nothing of the tool: nobody was seen to allow it.
    const bool isKnownEnd = status != ChildProcess::kStatusUnknown && !process.endedBySignal();
    return isKnownEnd && status != kPkexecRefusedStatus ? noErr : errAuthorizationDenied;
}

// The path without links in the folder; the path itself where that cannot be resolved. A last component that
// is a link stays one.
std::string withResolvedFolder(const std::string& path)
{
    const std::size_t nameStart = path.rfind('/') + 1;
    char* const folder = realpath(path.substr(0, nameStart).c_str(), nullptr);
    if (!folder)
        return path;
    std::string resolved = folder;
    std::free(folder);
    if (resolved.back() != '/')
        resolved += '/';
    return resolved + path.substr(nameStart);
}

bool isSelfRepair(char* const* arguments)
{
    return arguments && arguments[0] && arguments[0] == kSelfRepair && !arguments[1];
}

} // namespace

PrivilegedRoute privilegedRoute(
    uid_t effectiveUser, const char* authorizeVariable, const char* starter, char* const* arguments)
{
    const bool wantsNone = authorizeVariable && std::string_view(authorizeVariable) == "user";
    if (effectiveUser == 0 || wantsNone)
        return PrivilegedRoute::Direct;
    return isSelfRepair(arguments) && isExecutableFile(starter) ? PrivilegedRoute::Starter
                                                                : PrivilegedRoute::Pkexec;
}

OSStatus startDirectly(const PrivilegedRequest& request)
{
    if (!isExecutableFile(request.tool))
        return errAuthorizationToolExecuteFailure;
    ChildRequest child;
    child.program = request.tool;
    addAll(child.arguments, request.arguments);
    ChildProcess process;
    return runWithEvents(child, request.output, process) ? noErr : errAuthorizationToolExecuteFailure;
}

OSStatus startThroughPkexec(const char* pkexec, const PrivilegedRequest& request)
{
    if (!isExecutableFile(request.tool))
        return errAuthorizationToolExecuteFailure;
    int status = 0;
    return askPkexec(pkexec, request.tool, {}, request, status);
}

OSStatus startThroughStarter(const char* pkexec, const char* starter, const PrivilegedRequest& request)
{
    if (!isExecutableFile(request.tool))
        return errAuthorizationToolExecuteFailure;
    int status = 0;
    const OSStatus result = askPkexec(pkexec, starter, {withResolvedFolder(request.tool)}, request, status);
    return result == noErr && status == kStarterRefusedStatus ? OSStatus(errAuthorizationToolExecuteFailure)
                                                              : result;
}

void endOpenQuestions()
{
    for (ChildProcess* const pkexec : openQuestions())
        pkexec->askToEnd();
}

OSStatus checkMayAsk(const char* pkcheck)
{
    // pkcheck(1), RETURN VALUE: allowed at once, and after a question that it was not told to ask.
    constexpr int kAllowedStatus = 0;
    constexpr int kQuestionNeededStatus = 2;
    ChildRequest child;
    child.program = pkcheck;
    child.withoutOutput = true; // it tells polkit's details there
    child.arguments
        = {"--action-id", "org.freedesktop.policykit.exec", "--process", std::to_string(getpid())};
    ChildProcess process;
    if (!runWithEvents(child, nullptr, process))
        return errAuthorizationDenied;
    const bool mayAsk = process.status() == kAllowedStatus || process.status() == kQuestionNeededStatus;
    return mayAsk && !process.endedBySignal() ? noErr : errAuthorizationDenied;
}
