#include "Platform/Carbon/Processes.h"

#include "Platform/Support/ErrorNumbers.h"

#include <QApplication>
#include <QWidget>

#include <unistd.h>

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
