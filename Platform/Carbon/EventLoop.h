// The application's event loop: one-shot timers, ticks, waiting with events, and its end.
#pragma once

#include "Platform/Support/Types.h"

using EventLoopRef = struct OpaqueEventLoopRef*;
using EventLoopTimerRef = struct OpaqueEventLoopTimerRef*;
/// Called on the main thread when a timer fires.
using EventLoopTimerProcPtr = void (*)(EventLoopTimerRef timer, void* userData);
using EventLoopTimerUPP = struct OpaqueEventLoopTimerUPP*;
/// In seconds; every negative value means for ever.
using EventTimerInterval = double;
inline constexpr EventTimerInterval kEventDurationForever = -1.0;

/// The main event loop. Kept by the layer.
EventLoopRef GetCurrentEventLoop();

/// `proc` must not be null. The caller disposes the result; timers that were installed with it stay valid.
EventLoopTimerUPP NewEventLoopTimerUPP(EventLoopTimerProcPtr proc);
/// A null `upp` is left alone.
void DisposeEventLoopTimerUPP(EventLoopTimerUPP upp);

/// Installs a timer that fires once, `fireDelay` seconds from now (kEventDurationForever: not before it is
/// set to), and stays installed until it is removed. `interval` must be 0. paramErr for a delay that is no
/// number.
OSStatus InstallEventLoopTimer(EventLoopRef loop, EventTimerInterval fireDelay, EventTimerInterval interval,
    EventLoopTimerUPP upp, void* userData, EventLoopTimerRef* timer);
/// Makes the timer fire once, `delay` seconds from now, instead of when it was set to before; allowed in its
/// own procedure. paramErr for a timer that is not installed or a delay that is no number.
OSStatus SetEventLoopTimerNextFireTime(EventLoopTimerRef timer, EventTimerInterval delay);
/// Ends a timer: its procedure is not called again. Allowed in its own procedure. paramErr when it is not
/// installed.
OSStatus RemoveEventLoopTimer(EventLoopTimerRef timer);

/// Processes what is ready and waits up to `seconds` for more; returns after the first event that came, also
/// after the application was asked to end. eventLoopTimedOutErr when none came. What the caller knew before
/// may have changed when it returns.
OSStatus ReceiveNextEvent(EventTimerInterval seconds);
/// Asks the application's event loop to end; it does so when control is back in it. Without a running loop
/// nothing happens.
void QuitApplicationEventLoop();
/// Ticks of 1/60 s of a monotonic clock; wraps around.
UInt32 TickCount();
