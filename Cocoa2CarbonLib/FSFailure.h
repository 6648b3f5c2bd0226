// The line that the file-object layer prints for each failed call.
#pragma once

#include "Platform/Support/Types.h"

struct FSCallSite {
    const char* call; ///< the call's text
    const char* file; ///< its source file's base name
    const char* function;
    int line;
};

/// Prints a failed call to standard output and flushes it; nothing for noErr. Returns `error`.
OSStatus printFailure(OSStatus error, const FSCallSite& site);
