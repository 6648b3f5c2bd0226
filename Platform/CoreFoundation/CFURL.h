// Locations: file URLs and web URLs (RFC 3986).
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Platform/CoreFoundation/CFString.h"

using CFURLRef = const struct __CFURL*;

enum CFURLPathStyle : SInt32 { kCFURLPOSIXPathStyle = 0 };

/// `text` as a URL; it must be percent-escaped already. Null when it is empty or holds a character that may
/// not stand in a URL (a blank, a control character, one of <>"{}|\^`, one outside ASCII) or a percent sign
/// that no two hexadecimal digits follow. `base` must be null.
CFURLRef CFURLCreateWithString(CFAllocatorRef allocator, CFStringRef text, CFURLRef base);
/// The file URL of a POSIX path of `length` bytes, which need not be UTF-8; a folder's ends in "/". A
/// relative path is taken from the working directory. Null for a path that is empty or holds a zero byte.
CFURLRef CFURLCreateFromFileSystemRepresentation(
    CFAllocatorRef allocator, const UInt8* bytes, CFIndex length, Boolean isDirectory);
/// The file URL of an existing object.
CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* ref);
/// Makes a reference to the object that a file URL names. False when it is no file URL or nothing is there.
bool CFURLGetFSRef(CFURLRef url, FSRef* ref);

/// The URL's own text, percent-escaped; valid as long as the URL.
CFStringRef CFURLGetString(CFURLRef url);
/// The POSIX path of a file URL without a trailing "/", with its escapes resolved; null when it is no file
/// URL of this machine (no host, or "localhost"), holds a zero byte or is no UTF-8.
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);
/// Writes the POSIX path (UTF-8, zero-terminated) to `buffer` of `size` bytes. False when it is no file URL
/// or the path does not fit. Paths are absolute here, so `resolveAgainstBase` changes nothing.
bool CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer, CFIndex size);
/// The file URL without its last path component ("/a/b" gives "/a/", "/" stays). Null when it is no file URL.
CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef allocator, CFURLRef url);
/// The file URL with one more path component, or several with "/" between them; an empty component gives the
/// folder itself. Null when it is no file URL or the component does not convert to UTF-8.
CFURLRef CFURLCreateCopyAppendingPathComponent(
    CFAllocatorRef allocator, CFURLRef url, CFStringRef component, Boolean isDirectory);

/// `text` with its percent escapes resolved as UTF-8. `leaveEscaped` must be the empty string: every escape
/// is resolved, also that of a reserved character. Null when a percent sign is not followed by two
/// hexadecimal digits ("100%"), when the bytes are not valid UTF-8, or when a surrogate stands alone.
CFStringRef CFURLCreateStringByReplacingPercentEscapes(
    CFAllocatorRef allocator, CFStringRef text, CFStringRef leaveEscaped);
/// `text` with every character escaped, as UTF-8, that may not stand in a URL: all but the reserved
/// (:/?@!$&'()*+,;=, and brackets within the host of a URL) and the unreserved ones of RFC 3986. "%" is
/// always escaped, so that what the function above resolved comes back: "%2541" gives "%41" and "%2541"
/// again; so is "#", which is a part of a name here and never begins a fragment. Reserved characters stay as
/// they are, so an escape of one is lost on that way: "%3F" becomes "?", which begins a query. Null when a
/// surrogate stands alone. `leaveUnescaped` and `escapeToo` must be null, `encoding` UTF-8.
CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef allocator, CFStringRef text,
    CFStringRef leaveUnescaped, CFStringRef escapeToo, CFStringEncoding encoding);
