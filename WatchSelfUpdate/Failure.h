// The line that tells of a system call that failed.
#pragma once

#include "WatchSelfUpdate/ExitStatus.h"

/// Prints the call and what errno says on standard error. Gives ExitStatus::SystemError.
ExitStatus failed(const char* call);
