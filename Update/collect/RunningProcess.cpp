#include "Update/collect/RunningProcess.h"

#include "Platform/Support/ErrorNumbers.h"

int ProcessIsRunning(const FSRef* bundle)
{
    const ProcessSerialNumber found = FindRunningProcess(bundle);
    return found.highLongOfPSN != 0 || found.lowLongOfPSN != 0 ? 1 : 0;
}

ProcessSerialNumber FindRunningProcess(const FSRef* bundle)
{
    ProcessSerialNumber process;
    while (GetNextProcess(&process) == noErr) {
        FSRef location;
        if (GetProcessBundleLocation(&process, &location) == noErr
            && FSCompareFSRefs(&location, bundle) == noErr)
            return process;
    }
    return {};
}
