// Numbers and booleans of property lists.
#pragma once

#include "Platform/CoreFoundation/CFBase.h"

using CFNumberRef = const struct __CFNumber*;
using CFBooleanRef = const struct __CFBoolean*;

enum CFNumberType : SInt32 { kCFNumberSInt32Type = 3, kCFNumberSInt64Type = 4, kCFNumberDoubleType = 6 };

CFTypeID CFNumberGetTypeID();
/// Copies the number at `value`, of the C type that `type` names.
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void* value);
/// Writes the number to `value`, converted to the C type that `type` names. False when the conversion lost
/// something (an integer out of range is held at the nearest value, a fraction is cut off); the converted
/// value is written all the same.
bool CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);

CFTypeID CFBooleanGetTypeID();
/// One of the two boolean objects; the caller owns a reference as after any Create function.
CFBooleanRef CFBooleanCreate(bool value);
bool CFBooleanGetValue(CFBooleanRef boolean);
