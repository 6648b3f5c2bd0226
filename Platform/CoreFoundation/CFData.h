// Immutable bytes.
#pragma once

#include "Platform/CoreFoundation/CFBase.h"

using CFDataRef = const struct __CFData*;

CFTypeID CFDataGetTypeID();
/// Copies `length` bytes. Null when `length` is negative, or `bytes` null while `length` is not 0, or memory
/// ran out.
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);
CFIndex CFDataGetLength(CFDataRef data);
/// Valid as long as the data.
const UInt8* CFDataGetBytePtr(CFDataRef data);
