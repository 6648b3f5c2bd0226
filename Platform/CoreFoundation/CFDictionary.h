// Immutable maps from text to objects.
#pragma once

#include "Platform/CoreFoundation/CFString.h"

#include <utility>
#include <vector>

using CFDictionaryRef = const struct __CFDictionary*;

CFTypeID CFDictionaryGetTypeID();
/// A dictionary that retains every key and value; of two equal keys the later value stays.
CFDictionaryRef CFDictionaryCreateWithPairs(const std::vector<std::pair<CFStringRef, CFTypeRef>>& pairs);
/// The value for `key`, compared case-sensitively, or null. The dictionary keeps the object.
CFTypeRef CFDictionaryGetValue(CFDictionaryRef dictionary, std::u16string_view key);
