// Named ports for requests between processes of one user: a 32-bit id and some bytes, answered by some bytes.
#pragma once

#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/CFRunLoop.h"

using CFMessagePortRef = struct __CFMessagePort*;

enum CFMessagePortStatus : SInt32 {
    kCFMessagePortSuccess = 0,
    kCFMessagePortSendTimeout = -1,
    kCFMessagePortReceiveTimeout = -2,
    kCFMessagePortIsInvalid = -3,
    kCFMessagePortTransportError = -4,
};

/// The longest payload of a request or a reply, in bytes; a longer one is refused and its connection closed.
inline constexpr CFIndex kCFMessagePortMaxPayloadBytes = 65536;

/// Serves one request and returns the reply, which the port releases; null replies with no bytes. It may
/// process events while it works: further requests are then delivered, nested. It may invalidate or release
/// the port.
using CFMessagePortCallBack
    = CFDataRef (*)(CFMessagePortRef port, SInt32 messageId, CFDataRef data, void* info);

/// A port that listens under `name` (a socket of that name in $XDG_RUNTIME_DIR, which must be a folder that
/// only this user may enter, with a lock file NAME.lock beside it) and is served by the main run loop. Null
/// when the folder is missing or not private to this user, when somebody listens there already, when
/// something else has the name, or when listening fails. A socket left by a process that died is replaced.
/// Connections of other users are closed unread; one that does not bring its request, or take its reply,
/// within 5 seconds is closed; 32 are served at a time, the others wait.
CFMessagePortRef CFMessagePortCreateLocal(
    CFAllocatorRef allocator, CFStringRef name, CFMessagePortCallBack callback, void* info);
/// A port that sends to `name`. Null when nobody listens there now.
CFMessagePortRef CFMessagePortCreateRemote(CFAllocatorRef allocator, CFStringRef name);
/// Stops listening or sending; requests that are being served get no reply. Releasing the last reference does
/// the same.
void CFMessagePortInvalidate(CFMessagePortRef port);

/// Sends a request and waits for its reply, at most `sendTimeout` seconds for the sending and
/// `receiveTimeout` seconds for the reply, processing events meanwhile; with a receive time-out of 0 it
/// returns once the request is on its way: delivered even when this process ends at once. On success with a
/// reply that has bytes, *reply is a data object that the caller owns; otherwise it is null. `reply` may be
/// null. kCFMessagePortIsInvalid: nobody listens any more, or the port was invalidated meanwhile;
/// kCFMessagePortTransportError: the payload is too long, the other end is of another user, went away before
/// the whole reply was there, or replied with what is no reply.
CFMessagePortStatus CFMessagePortSendRequest(CFMessagePortRef port, SInt32 messageId, CFDataRef data,
    double sendTimeout, double receiveTimeout, CFRunLoopMode replyMode, CFDataRef* reply);
