// How the kernel's states, flags and priorities stand for the documented ones. Private to this folder and its
// tests.
#pragma once

#include "Cocoa2CarbonLib/KernelProcess.h"

/// The documented state of a process: 1 to 5, or 0 for a state that is not known.
UInt8 documentedState(const KernelProcess& process);
/// The documented flags that hold for a process.
UInt32 documentedFlags(const KernelProcess& process);
/// The documented scheduling priority: 0 to 255, a lower one runs first.
UInt8 documentedPriority(const KernelProcess& process);
