// How the text of a download's address becomes a URL.
#include "Update/download/UrlRules.h"

#include "Platform/CoreFoundation/CFString.h"
#include "Platform/Support/Unicode.h"

#include <string>

namespace {

constexpr std::u16string_view kFileScheme = u"file://";
constexpr std::u16string_view kWebScheme = u"http://";

bool startsWith(std::u16string_view text, std::u16string_view scheme)
{
    return equalIgnoringCase(text.substr(0, scheme.size()), scheme);
}

/// No other scheme is known: "https://host/x" is meant to become "http://https://host/x".
std::u16string withScheme(std::u16string_view text)
{
    std::u16string url;
    if (!startsWith(text, kFileScheme) && !startsWith(text, kWebScheme))
        url = kWebScheme;
    return url.append(text);
}

} // namespace

CFRef<CFURLRef> createDownloadURL(std::u16string_view text)
{
    const CFRef given = adoptCF(CFStringCreateWithView(withScheme(text)));
    const CFRef nothing = adoptCF(CFStringCreateWithView(u""));
    const CFRef plain
        = adoptCF(CFURLCreateStringByReplacingPercentEscapes(kCFAllocatorDefault, given, nothing));
    if (!plain)
        return nullptr;
    const CFRef escaped = adoptCF(CFURLCreateStringByAddingPercentEscapes(
        kCFAllocatorDefault, plain, nullptr, nullptr, kCFStringEncodingUTF8));
    if (!escaped)
        return nullptr;
    return adoptCF(CFURLCreateWithString(kCFAllocatorDefault, escaped, nullptr));
}
