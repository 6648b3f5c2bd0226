// Locations: file URLs and web URLs (RFC 3986).
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Platform/CoreFoundation/CFString.h"

using CFURLRef = const struct __CFURL*;

enum CFURLPathStyle : SInt32 { kCFURLPOSIXPathStyle = 0 };

CFTypeID CFURLGetTypeID();

/// `text` as a URL; it must be percent-escaped already. Null when it holds a blank, a control character, a character outside
/// ASCII, or a percent sign that no two hexadecimal digits follow. `base` must be null.
CFURLRef CFURLCreateWithString(CFAllocatorRef allocator, CFStringRef text, CFURLRef base);
/// The file URL of a POSIX path. A relative path is taken from the working directory. Null for an empty path.
CFURLRef CFURLCreateWithFileSystemPath(
    CFAllocatorRef allocator, CFStringRef path, CFURLPathStyle style, Boolean isDirectory);
/// The same for `length` bytes of UTF-8.
CFURLRef CFURLCreateFromFileSystemRepresentation(
    CFAllocatorRef allocator, const UInt8* bytes, CFIndex length, Boolean isDirectory);
/// The file URL of an existing object.
CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* ref);
/// Makes a reference to the object that a file URL names. False when it is no file URL or nothing is there.
bool CFURLGetFSRef(CFURLRef url, FSRef* ref);

/// The URL's own text, percent-escaped; valid as long as the URL.
CFStringRef CFURLGetString(CFURLRef url);
/// The POSIX path of a file URL without a trailing "/", with its escapes resolved; null when it is no file URL.
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);
/// Writes the POSIX path (UTF-8, zero-terminated) to `buffer` of `size` bytes. False when it is no file URL or the path does
/// not fit. Paths are absolute here, so `resolveAgainstBase` changes nothing.
bool CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer, CFIndex size);
/// The URL without its last path component ("/a/b" gives "/a/").
CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef allocator, CFURLRef url);
/// The URL with one more path component; an empty component gives the folder itself.
CFURLRef CFURLCreateCopyAppendingPathComponent(
    CFAllocatorRef allocator, CFURLRef url, CFStringRef component, Boolean isDirectory);

/// `text` with its percent escapes resolved as UTF-8. Only an empty `leaveEscaped` is supported: every escape is resolved. Null
/// when an escape is malformed or the bytes are not valid UTF-8.
CFStringRef CFURLCreateStringByReplacingPercentEscapes(
    CFAllocatorRef allocator, CFStringRef text, CFStringRef leaveEscaped);
/// `text` with every character escaped that may not stand in a URL (RFC 2396: "%", blanks, controls, <>"{}|\^` and []# left as
/// the original service does, and everything outside ASCII, as UTF-8). `leaveUnescaped` and `escapeToo` must be null.
CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef allocator, CFStringRef text,
    CFStringRef leaveUnescaped, CFStringRef escapeToo, CFStringEncoding encoding);
