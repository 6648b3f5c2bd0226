#include "Update/descriptor/LaunchWait.h"

#include "Platform/Carbon/EventLoop.h"
#include "Platform/Carbon/LaunchServices.h"
#include "Update/collect/RunningProcess.h"

bool isLaunchedRunning(const FSRef& application)
{
    // Its process decides: another user's process of the same program must not be waited for, and one that
    // ended at once must not be missed.
    const LaunchState state = LaunchStateOf(&application);
    return state == kNothingLaunched ? ProcessIsRunning(&application) != 0 : state == kLaunchedRunning;
}

void waitForLaunchTicks(const FSRef& application)
{
    const UInt32 start = TickCount();
    do
        (void)ReceiveNextEvent(0); // whether one came makes no difference
    while (isLaunchedRunning(application) && TickCount() - start < kLaunchWaitTicks);
}
