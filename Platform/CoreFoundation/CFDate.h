// Points in time.
#pragma once

#include "Platform/CoreFoundation/CFBase.h"

using CFDateRef = const struct __CFDate*;
/// Seconds since 2001-01-01 00:00:00 UTC.
using CFAbsoluteTime = double;

CFTypeID CFDateGetTypeID();
CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime at);
