#include "Platform/Carbon/LaunchedProcesses.h"

#include "Platform/Carbon/LaunchServices.h"
#include "Platform/Support/Descriptor.h"
#include "Platform/Support/ErrorNumbers.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <algorithm>
#include <memory>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace {

struct LaunchedProcess {
    FSRef application;
    ChildProcess child;
    Descriptor end; ///< readable once the process has ended
    std::unique_ptr<QSocketNotifier> notifier;
};

using LaunchedList = std::vector<std::unique_ptr<LaunchedProcess>>;

LaunchedList& launchedProcesses()
{
    // Never destroyed: a child's record waits for its child, and what was launched goes on when this program
    // ends.
    static LaunchedList* const list = new LaunchedList;
    return *list;
}

/// By the path as well: the file of an ended process may be gone, and its inode another file's.
bool isOf(const LaunchedProcess& launched, const FSRef& application)
{
    return FSCompareFSRefs(&launched.application, &application) == noErr
        && launched.application.path == application.path;
}

/// Has the process reaped, and a wait for events wake up, as soon as it ends. Where that cannot be had it is
/// reaped by the next look at the list.
void watchForEnd(LaunchedProcess& launched)
{
    if (!QCoreApplication::instance())
        return;
    launched.end.reset(static_cast<int>(::syscall(SYS_pidfd_open, launched.child.processId(), 0)));
    if (!launched.end)
        return;
    launched.notifier = std::make_unique<QSocketNotifier>(launched.end.get(), QSocketNotifier::Read);
    QObject::connect(
        launched.notifier.get(), &QSocketNotifier::activated, launched.notifier.get(), [&launched] {
            if (launched.child.hasEnded())
                launched.notifier->setEnabled(false); // deleted later, not within its own signal
        });
}

/// Of what has ended one record for each application is enough, and the new one takes the old one's place.
void append(std::unique_ptr<LaunchedProcess> launched)
{
    LaunchedList& list = launchedProcesses();
    const auto isOutdated = [&launched](const auto& other) {
        return isOf(*other, launched->application) && other->child.hasEnded();
    };
    list.erase(std::remove_if(list.begin(), list.end(), isOutdated), list.end());
    watchForEnd(*launched);
    list.push_back(std::move(launched));
}

} // namespace

OSStatus launchProcess(const FSRef& application, ChildRequest request, ProcessSerialNumber* process)
{
    request.withoutTerminal = true;
    auto launched = std::make_unique<LaunchedProcess>();
    launched->application = application;
    const int error = launched->child.start(request);
    if (error != 0)
        return errorFromErrno(error);
    if (process)
        *process = {0, static_cast<UInt32>(launched->child.processId())};
    append(std::move(launched));
    return noErr;
}

void listLaunchedProcess(const FSRef& application, int processId)
{
    auto launched = std::make_unique<LaunchedProcess>();
    launched->application = application;
    launched->child.adopt(processId);
    append(std::move(launched));
}

LaunchState LaunchStateOf(const FSRef* application)
{
    LaunchState state = kNothingLaunched;
    for (const auto& launched : launchedProcesses()) {
        if (!isOf(*launched, *application))
            continue;
        if (!launched->child.hasEnded())
            return kLaunchedRunning;
        state = kLaunchedEnded;
    }
    return state;
}
