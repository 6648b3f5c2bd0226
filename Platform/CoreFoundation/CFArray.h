// Immutable ordered lists of objects.
#pragma once

#include "Platform/CoreFoundation/CFBase.h"

#include <vector>

using CFArrayRef = const struct __CFArray*;

CFTypeID CFArrayGetTypeID();
/// An array that retains each of `values`; none may be null.
CFArrayRef CFArrayCreateWithObjects(const std::vector<CFTypeRef>& values);
CFIndex CFArrayGetCount(CFArrayRef array);
/// `index` must be from 0 to the count less 1. The array keeps the object.
CFTypeRef CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);
