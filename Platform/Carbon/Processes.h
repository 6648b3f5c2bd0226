// Running programs.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Platform/Support/Types.h"

/// A process: its id on this system in the low part; {0, 0} is none.
struct ProcessSerialNumber {
    UInt32 highLongOfPSN = 0;
    UInt32 lowLongOfPSN = 0;
};

/// The calling process. paramErr for a null pointer.
OSStatus GetCurrentProcess(ProcessSerialNumber* process);
/// Brings the process's windows to the front. Only the calling process is supported: procNotFound for another
/// one, paramErr for a null pointer. Where the desktop decides itself which window is in front, this asks for
/// attention.
OSStatus SetFrontProcess(const ProcessSerialNumber* process);
/// Replaces `process` by the next one of a walk over all processes; {0, 0} gives the first. After the last
/// one procNotFound, and {0, 0}; paramErr for a null pointer. A walk shows the processes that ran when it
/// began, with any that ended meanwhile and those that wait to be collected by their parent; all walks share
/// what the newest of them saw. For the main thread.
OSStatus GetNextProcess(ProcessSerialNumber* process);
/// Finds what a process was started from. Its program is the script that its interpreter runs, otherwise its
/// executable; when that lies in a bundle's Contents/Linux, the location is the bundle's folder, otherwise
/// the program's file. The calling process's location is its main bundle, when it has one. fnfErr when the
/// program's file is gone or out of sight and no bundle stands at its place, procNotFound for a process that
/// has ended, collected or not, and for one without an executable, afpAccessDenied for another user's;
/// paramErr for a null pointer.
OSStatus GetProcessBundleLocation(const ProcessSerialNumber* process, FSRef* location);
