#include "Platform/Carbon/Processes.h"

#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/ProcessFiles.h"

#include <QApplication>
#include <QWidget>

#include <algorithm>
#include <unistd.h>
#include <vector>

namespace {

/// The processes of the newest walk, in ascending order: listing them all for each step would make the cost
/// of a walk grow with their square.
std::vector<int>& walkedProcesses()
{
    static std::vector<int> ids;
    return ids;
}

} // namespace

OSStatus GetCurrentProcess(ProcessSerialNumber* process)
{
    if (!process)
        return paramErr;
    *process = {0, static_cast<UInt32>(getpid())};
    return noErr;
}

OSStatus SetFrontProcess(const ProcessSerialNumber* process)
{
    if (!process)
        return paramErr;
    ProcessSerialNumber current;
    const OSStatus status = GetCurrentProcess(&current);
    if (status != noErr)
        return status;
    if (process->highLongOfPSN != current.highLongOfPSN || process->lowLongOfPSN != current.lowLongOfPSN)
        return procNotFound;
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return noErr; // a program without windows has nothing to bring forward
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        if (!window->isVisible() || !window->isWindow())
            continue;
        window->raise();
        window->activateWindow();
        QApplication::alert(window);
    }
    return noErr;
}

OSStatus GetNextProcess(ProcessSerialNumber* process)
{
    if (!process)
        return paramErr;
    std::vector<int>& ids = walkedProcesses();
    const bool begins = process->highLongOfPSN == 0 && process->lowLongOfPSN == 0;
    if (begins || ids.empty())
        ids = runningProcessIds();
    const auto next = std::upper_bound(ids.begin(), ids.end(), process->lowLongOfPSN,
        [](UInt32 former, int pid) { return former < static_cast<UInt32>(pid); });
    if (process->highLongOfPSN != 0 || next == ids.end()) {
        *process = {0, 0};
        return procNotFound;
    }
    *process = {0, static_cast<UInt32>(*next)};
    return noErr;
}
