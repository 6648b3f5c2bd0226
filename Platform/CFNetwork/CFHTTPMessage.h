// HTTP messages: the request that a read stream sends, and the answer's status.
#pragma once

#include "Platform/CoreFoundation/CFString.h"
#include "Platform/CoreFoundation/CFURL.h"

using CFHTTPMessageRef = const struct __CFHTTPMessage*;

/// The protocol version of a message (RFC 9112).
enum class CFHTTPVersion { http1_1 };
inline constexpr CFHTTPVersion kCFHTTPVersion1_1 = CFHTTPVersion::http1_1;

/// A request without header fields of its own; sending adds the client's minimum. `method` must be "GET".
/// Null when `url` is null.
CFHTTPMessageRef CFHTTPMessageCreateRequest(
    CFAllocatorRef allocator, CFStringRef method, CFURLRef url, CFHTTPVersion version);
/// The three-digit status of an answer, 0 for a request.
CFIndex CFHTTPMessageGetResponseStatusCode(CFHTTPMessageRef message);
