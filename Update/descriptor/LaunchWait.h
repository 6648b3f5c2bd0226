// The waits for what an action has launched, which keep the windows alive.
#pragma once

#include "Platform/Carbon/FSRef.h"

/// How long one launch is waited for before the next one is made: about two thirds of a second.
inline constexpr UInt32 kLaunchWaitTicks = 40;

/// True while a process that this program launched from `application` runs. An application that the desktop
/// started in another way is known by its file only: then any process of that file counts.
bool isLaunchedRunning(const FSRef& application);

/// Processes events, at least once, until what was launched has ended or kLaunchWaitTicks have passed.
void waitForLaunchTicks(const FSRef& application);
