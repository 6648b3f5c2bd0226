// Immutable text of UTF-16 code units.
#include "Platform/CoreFoundation/CFString.h"

#include "Platform/CoreFoundation/CFRuntime.h"
#include "Platform/CoreFoundation/CFStringEncodings.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/Unicode.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <utility>

struct __CFString final : CFObject {
    explicit __CFString(std::u16string text)
        : CFObject(kCFRuntimeString)
        , m_text(std::move(text))
    {
    }
    bool isEqual(const CFObject& other) const override
    {
        return m_text == static_cast<const __CFString&>(other).m_text;
    }

    const std::u16string m_text;
};

namespace {

CFStringRef makeString(std::u16string text)
{
    VELMORA_ASSERT(text.size() <= static_cast<std::size_t>(std::numeric_limits<CFIndex>::max()));
    return new __CFString(std::move(text));
}

std::optional<std::u16string> decode(std::string_view bytes, CFStringEncoding encoding)
{
    switch (encoding) {
    case kCFStringEncodingUTF8:
        return isValidUtf8(bytes) ? std::optional(wideFromUtf8(bytes)) : std::nullopt;
    case kCFStringEncodingMacRoman:
        return wideFromMacRoman(bytes);
    case kCFStringEncodingWindowsLatin1:
        return wideFromWindowsLatin1(bytes);
    default:
        failAssertion(__FILE__, __LINE__, "a supported encoding");
    }
}

} // namespace

CFTypeID CFStringGetTypeID()
{
    return kCFRuntimeString;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding)
{
    if (!text)
        return nullptr;
    std::optional<std::u16string> wide = decode(text, encoding);
    return wide ? makeString(std::move(*wide)) : nullptr;
}

CFStringRef CFStringCreateWithView(std::u16string_view text)
{
    return makeString(std::u16string(text));
}

CFIndex CFStringGetLength(CFStringRef string)
{
    return static_cast<CFIndex>(string->m_text.size());
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer)
{
    const CFIndex length = CFStringGetLength(string);
    VELMORA_ASSERT(range.location >= 0 && range.length >= 0 && range.location <= length
        && range.length <= length - range.location);
    std::copy_n(string->m_text.data() + range.location, range.length, buffer);
}

std::u16string_view CFStringGetView(CFStringRef string)
{
    return string->m_text;
}

CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b, CFStringCompareFlags flags)
{
    VELMORA_ASSERT((flags & ~static_cast<CFStringCompareFlags>(kCFCompareCaseInsensitive)) == 0);
    const bool ignoreCase = (flags & kCFCompareCaseInsensitive) != 0;
    const int order = ignoreCase ? compareIgnoringCase(a->m_text, b->m_text) : a->m_text.compare(b->m_text);
    if (order == 0)
        return kCFCompareEqualTo;
    return order < 0 ? kCFCompareLessThan : kCFCompareGreaterThan;
}

SInt32 CFStringGetIntValue(CFStringRef string)
{
    return leadingInteger(string->m_text);
}
