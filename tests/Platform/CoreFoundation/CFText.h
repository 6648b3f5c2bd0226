// Texts for the tests of this folder.
#pragma once

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFString.h"

#include <string>
#include <string_view>

inline CFRef<CFStringRef> cf(std::u16string_view text)
{
    return adoptCF(CFStringCreateWithView(text));
}

/// The text of a string, or "(null)".
inline std::u16string textOf(CFStringRef string)
{
    return string ? std::u16string(CFStringGetView(string)) : std::u16string(u"(null)");
}
