// Read streams: the body of an HTTP answer or of a file, read piece by piece, polled or told of by the run
// loop.
#pragma once

#include "Platform/CFNetwork/CFHTTPMessage.h"
#include "Platform/CoreFoundation/CFRunLoop.h"

using CFReadStreamRef = struct __CFReadStream*;

enum CFStreamStatus : SInt32 {
    kCFStreamStatusNotOpen = 0,
    kCFStreamStatusOpen = 2,  ///< running, or ended with bytes that are not read yet
    kCFStreamStatusAtEnd = 5, ///< ended well, and every byte is read
    kCFStreamStatusClosed = 6,
    kCFStreamStatusError = 7, ///< failed, and every byte that came before is read
};

/// Events are single bits, so that they also form masks.
using CFStreamEventType = UInt32;
enum : CFStreamEventType {
    kCFStreamEventNone = 0,
    kCFStreamEventOpenCompleted = 1,
    kCFStreamEventHasBytesAvailable = 2,
    kCFStreamEventErrorOccurred = 8,
    kCFStreamEventEndEncountered = 16,
};

enum class CFStreamProperty {
    shouldAutoredirect, ///< a CFBoolean, false by default; to be set before opening
    responseHeader,     ///< a CFHTTPMessage, to be copied while the stream is open
};
inline constexpr CFStreamProperty kCFStreamPropertyHTTPShouldAutoredirect
    = CFStreamProperty::shouldAutoredirect;
inline constexpr CFStreamProperty kCFStreamPropertyHTTPResponseHeader = CFStreamProperty::responseHeader;

/// Told of one event on the main thread, out of the event loop. It may close and release the stream.
using CFReadStreamClientCallBack = void (*)(CFReadStreamRef stream, CFStreamEventType event, void* info);

/// `version` must be 0, and the three functions null: `info` is only handed back.
struct CFStreamClientContext {
    CFIndex version = 0;
    void* info = nullptr;
    void* (*retain)(void* info) = nullptr;
    void (*release)(void* info) = nullptr;
    CFStringRef (*copyDescription)(void* info) = nullptr;
};

/// A stream of the body that answers `request`; a file URL gives the bytes of that regular file. Releasing
/// the last reference closes it.
CFReadStreamRef CFReadStreamCreateForHTTPRequest(CFAllocatorRef allocator, CFHTTPMessageRef request);
/// Only kCFStreamPropertyHTTPShouldAutoredirect can be set, before opening: redirects are then followed to
/// http and https, at most 20 of them (one more, or another scheme, is an error of the stream). False when
/// the stream is open already.
bool CFReadStreamSetProperty(CFReadStreamRef stream, CFStreamProperty property, CFTypeRef value);
/// Only kCFStreamPropertyHTTPResponseHeader can be copied: the answer after all redirects. Null when no
/// answer came yet, for a file, and when the stream is not open.
CFTypeRef CFReadStreamCopyProperty(CFReadStreamRef stream, CFStreamProperty property);
/// Registers who is told of the events in `events`; a null callback ends that. The context is copied.
bool CFReadStreamSetClient(CFReadStreamRef stream, CFStreamEventType events,
    CFReadStreamClientCallBack callback, const CFStreamClientContext* context);
/// From now on events are delivered by the run loop: one at a time, never while the callback of the same
/// stream runs. Bytes are told of once, and again after a read that left some.
void CFReadStreamScheduleWithRunLoop(CFReadStreamRef stream, CFRunLoopRef runLoop, CFRunLoopMode mode);
void CFReadStreamUnscheduleFromRunLoop(CFReadStreamRef stream, CFRunLoopRef runLoop, CFRunLoopMode mode);

/// Starts the transfer. False when it cannot even start (no such file, not a regular file, a scheme other
/// than http, https and file, a stream that was opened before). A server that cannot be reached is told by an
/// error event or status.
bool CFReadStreamOpen(CFReadStreamRef stream);
/// Ends the transfer. May be called at any time and again.
void CFReadStreamClose(CFReadStreamRef stream);
CFStreamStatus CFReadStreamGetStatus(CFReadStreamRef stream);
/// Whether a read would give bytes. On a stream that is on no run loop, this drives the transfer, waiting up
/// to one millisecond for the network; no events of the application are processed.
bool CFReadStreamHasBytesAvailable(CFReadStreamRef stream);
/// Reads up to `length` bytes of what is available. Returns how many; 0 at the end; -1 after an error, and
/// when nothing is available yet: ask first, or wait for the event.
CFIndex CFReadStreamRead(CFReadStreamRef stream, UInt8* buffer, CFIndex length);
