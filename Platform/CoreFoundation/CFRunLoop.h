// The run loop of the main thread: the application's event loop behind the names that streams and ports are
// given.
#pragma once

#include "Platform/CoreFoundation/CFString.h"

using CFRunLoopRef = struct __CFRunLoop*;

/// A run-loop mode. All modes are one here: the application's event loop.
enum class CFRunLoopMode { defaultMode, commonModes };
inline constexpr CFRunLoopMode kCFRunLoopDefaultMode = CFRunLoopMode::defaultMode;
inline constexpr CFRunLoopMode kCFRunLoopCommonModes = CFRunLoopMode::commonModes;

/// The run loop of the calling thread, which must be the main thread. Kept by the layer.
CFRunLoopRef CFRunLoopGetCurrent();
/// Processes events until `seconds` have passed or, with `returnAfterOne`, one event source was handled.
/// Works while the application is quitting and nested in a handler. Returns true when anything was processed.
/// 0 seconds: what is ready now.
bool CFRunLoopRunInMode(CFRunLoopMode mode, double seconds, bool returnAfterOne);
