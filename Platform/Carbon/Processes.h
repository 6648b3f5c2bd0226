// Running programs.
#pragma once

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
