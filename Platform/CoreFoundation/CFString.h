// Immutable text of UTF-16 code units.
#pragma once

#include "Platform/CoreFoundation/CFBase.h"

#include <string_view>

using CFStringRef = const struct __CFString*;

using CFStringEncoding = UInt32;
enum : CFStringEncoding {
    kCFStringEncodingMacRoman = 0,
    kCFStringEncodingWindowsLatin1 = 0x0500,
    kCFStringEncodingUTF8 = 0x08000100,
};

using CFStringCompareFlags = UInt32;
enum : CFStringCompareFlags { kCFCompareCaseInsensitive = 1 };

CFTypeID CFStringGetTypeID();

/// The zero-terminated `text` in one of the three encodings. Null when the bytes are not valid in it, or
/// `text` is null.
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding);
/// The units of `text`, copied; never null.
CFStringRef CFStringCreateWithView(std::u16string_view text);

/// In UTF-16 units.
CFIndex CFStringGetLength(CFStringRef string);
/// Copies the units of `range`, which must lie within the string, to `buffer`, which must hold range.length
/// units. No zero is added.
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);
/// The whole text; valid as long as the string.
std::u16string_view CFStringGetView(CFStringRef string);
/// The order of the two texts by code unit, after lower-casing with kCFCompareCaseInsensitive.
CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b, CFStringCompareFlags flags);
/// The integer that the text begins with, 0 when there is none (see leadingInteger).
SInt32 CFStringGetIntValue(CFStringRef string);
