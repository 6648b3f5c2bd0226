// The application's event loop: one-shot timers, ticks, waiting with events, and its end.
#pragma once

#include "Platform/Support/Types.h"

using EventLoopRef = struct OpaqueEventLoopRef*;
using EventLoopTimerRef = struct OpaqueEventLoopTimerRef*;
/// Called on the main thread when a timer fires.
using EventLoopTimerProcPtr = void (*)(EventLoopTimerRef timer, void* userData);
using EventLoopTimerUPP = struct OpaqueEventLoopTimerUPP*;
/// In seconds.
using EventTimerInterval = double;
inline constexpr EventTimerInterval kEventDurationForever = -1.0;

/// The main event loop. Kept by the layer.
EventLoopRef GetCurrentEventLoop();

EventLoopTimerUPP NewEventLoopTimerUPP(EventLoopTimerProcPtr proc);
void DisposeEventLoopTimerUPP(EventLoopTimerUPP upp);

/// Installs a timer that fires once, `fireDelay` seconds from now (kEventDurationForever: not before it is set to), and stays installed
/// until it is removed. `interval` must be 0.
OSStatus InstallEventLoopTimer(EventLoopRef loop, EventTimerInterval fireDelay, EventTimerInterval interval,
    EventLoopTimerUPP upp, void* userData, EventLoopTimerRef* timer);
/// Makes the timer fire once, `delay` seconds from now; allowed in its own procedure.
OSStatus SetEventLoopTimerNextFireTime(EventLoopTimerRef timer, EventTimerInterval delay);
/// Ends a timer; allowed in its own procedure.
OSStatus RemoveEventLoopTimer(EventLoopTimerRef timer);

/// Processes what is ready and waits up to `seconds` for more; returns after the first event that came. eventLoopTimedOutErr when none came.
OSStatus ReceiveNextEvent(EventTimerInterval seconds);
/// Asks the application's event loop to end; it does so when control is back in it.
void QuitApplicationEventLoop();
/// Ticks of 1/60 s of a monotonic clock; wraps around.
UInt32 TickCount();
