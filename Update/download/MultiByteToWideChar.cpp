// Narrow text to wide text, by code page.
#include "Update/download/MultiByteToWideChar.h"

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFString.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr UInt32 kAnsiCodePage = 0;
constexpr UInt32 kUtf8CodePage = 65001;

CFStringEncoding encodingOf(UInt32 codePage)
{
    if (codePage == kAnsiCodePage)
        return kCFStringEncodingWindowsLatin1;
    return codePage == kUtf8CodePage ? kCFStringEncodingUTF8 : kCFStringEncodingMacRoman;
}

} // namespace

int MultiByteToWideChar(
    UInt32 codePage, UInt32, const char* source, int sourceLength, UniChar* target, int targetLength)
{
    if (targetLength == 0)
        return (sourceLength == -1 ? static_cast<int>(std::strlen(source)) : sourceLength) + 1;
    if (targetLength < 0)
        return 0;
    const CFRef text = adoptCF(CFStringCreateWithCString(kCFAllocatorDefault, source, encodingOf(codePage)));
    if (!text) {
        target[0] = u'\0';
        return 0;
    }
    const CFIndex length = CFStringGetLength(text);
    const int count = targetLength - 1 <= length ? targetLength : length + 1;
    std::fill_n(target, count, u'\0');
    CFStringGetCharacters(text, CFRangeMake(0, count - 1), target);
    return count;
}
