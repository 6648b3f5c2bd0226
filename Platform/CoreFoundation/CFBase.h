// What every Core Foundation type shares: references and their counting, ranges, comparison results.
#pragma once

#include "Platform/Support/Types.h"

/// A reference to any object of this layer. Objects are made by Create and Copy functions, which hand their
/// caller one reference, and end with the last CFRelease. Counting is atomic; everything else is for one
/// thread at a time.
using CFTypeRef = const void*;
using CFIndex = SInt32;

/// Only the default allocator exists.
using CFAllocatorRef = const struct __CFAllocator*;
inline constexpr CFAllocatorRef kCFAllocatorDefault = nullptr;

struct CFRange {
    CFIndex location;
    CFIndex length;
};
constexpr CFRange CFRangeMake(CFIndex location, CFIndex length)
{
    return {location, length};
}

enum CFComparisonResult : SInt32 {
    kCFCompareLessThan = -1,
    kCFCompareEqualTo = 0,
    kCFCompareGreaterThan = 1
};

/// Which class an object is of; compare with the type's own CF...GetTypeID().
using CFTypeID = UInt32;

/// Takes one more reference and returns `object`, which must not be null.
CFTypeRef CFRetain(CFTypeRef object);
/// Gives one reference back; the last one destroys the object. `object` must not be null.
void CFRelease(CFTypeRef object);
/// `object` must not be null.
CFTypeID CFGetTypeID(CFTypeRef object);
/// True when both are of one type and hold equal values; types without values are equal only to themselves.
bool CFEqual(CFTypeRef a, CFTypeRef b);
