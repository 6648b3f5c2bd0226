// The line that tells why the tool was not started.
#pragma once

/// Prints the reason on standard error; always false, so that a check can end with it.
bool notStarted(const char* reason);
