// Is a program running that was started from a given bundle?
#pragma once

#include "Platform/Carbon/Processes.h"

/// 1 when a running process was started from `bundle`, a bundle's folder or the file of a program without
/// one, otherwise 0. A process whose location cannot be told, such as another user's, is passed over; one
/// that has ended and waits to be collected by its parent does not count as running.
int ProcessIsRunning(const FSRef* bundle);
/// The first such process, in the order of process ids, or {0, 0}.
ProcessSerialNumber FindRunningProcess(const FSRef* bundle);
