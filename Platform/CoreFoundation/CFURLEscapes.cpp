// Percent escapes (RFC 3986, section 2): resolving every one, and adding those that a URL needs.
#include "Platform/CoreFoundation/CFURLEscapes.h"

#include "Platform/CoreFoundation/CFURL.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/Unicode.h"

#include <algorithm>

namespace {

int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

bool isUnreserved(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z')
        || (character >= '0' && character <= '9')
        || std::string_view("-._~").find(character) != std::string_view::npos;
}

bool isReserved(char character)
{
    return std::string_view(":/?#[]@!$&'()*+,;=").find(character) != std::string_view::npos;
}

/// What may stand in the path of a file URL as itself. "?" and "#" would end the path, ";" and brackets may
/// not be there.
bool standsInPath(char character)
{
    return isUnreserved(character)
        || std::string_view("/:@!$&'()*+,=").find(character) != std::string_view::npos;
}

bool standsInUrl(char character)
{
    return isUnreserved(character) || isReserved(character);
}

/// What an escaped URL leaves as itself behind its host. A fragment is never sent, so "#" can only be part of
/// a name; brackets may stand around a host's address alone.
bool standsBehindHost(char character)
{
    return standsInUrl(character) && std::string_view("#[]").find(character) == std::string_view::npos;
}

bool standsInHost(char character)
{
    return standsInUrl(character) && character != '#';
}

/// Where the host of a URL ends, its scheme, user and port included; 0 when there is none.
std::size_t hostEnd(std::string_view url)
{
    constexpr std::string_view kHostMark = "://";
    const std::size_t mark = std::min(url.find_first_of(":/?#[]@"), url.size());
    if (url.substr(mark, kHostMark.size()) != kHostMark)
        return 0;
    return std::min(url.find_first_of("/?#", mark + kHostMark.size()), url.size());
}

std::string escape(std::string_view bytes, bool (*stands)(char))
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string escaped;
    escaped.reserve(bytes.size());
    for (const char byte : bytes) {
        if (stands(byte)) {
            escaped += byte;
            continue;
        }
        const unsigned char code = static_cast<unsigned char>(byte);
        escaped += '%';
        escaped += kDigits[code >> 4];
        escaped += kDigits[code & 15];
    }
    return escaped;
}

/// UTF-8 for a text of any length, the empty one and zero units included. Nothing when a surrogate stands
/// alone.
std::optional<std::string> strictUtf8(std::u16string_view text)
{
    std::string utf8 = utf8FromWide(text);
    // The conversion is lossless for everything but lone surrogates.
    if (wideFromUtf8(utf8) != text)
        return std::nullopt;
    return utf8;
}

} // namespace

std::optional<std::string> resolvePercentEscapes(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            bytes += text[at];
            continue;
        }
        if (text.size() - at < 3)
            return std::nullopt;
        const int high = hexValue(text[at + 1]);
        const int low = hexValue(text[at + 2]);
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes += static_cast<char>(high * 16 + low);
        at += 2;
    }
    return bytes;
}

std::string escapePath(std::string_view path)
{
    return escape(path, standsInPath);
}

bool isUrlText(std::u16string_view text)
{
    for (std::size_t at = 0; at < text.size(); ++at) {
        const UniChar unit = text[at];
        if (unit >= 0x80 || (unit != u'%' && !standsInUrl(static_cast<char>(unit))))
            return false;
    }
    return resolvePercentEscapes(utf8FromWide(text)).has_value();
}

CFStringRef CFURLCreateStringByReplacingPercentEscapes(
    CFAllocatorRef, CFStringRef text, CFStringRef leaveEscaped)
{
    VELMORA_ASSERT(leaveEscaped != nullptr && CFStringGetLength(leaveEscaped) == 0);
    const std::optional<std::string> utf8 = strictUtf8(CFStringGetView(text));
    if (!utf8)
        return nullptr;
    const std::optional<std::string> bytes = resolvePercentEscapes(*utf8);
    if (!bytes || !isValidUtf8(*bytes))
        return nullptr;
    return CFStringCreateWithView(wideFromUtf8(*bytes));
}

CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef, CFStringRef text,
    CFStringRef leaveUnescaped, CFStringRef escapeToo, CFStringEncoding encoding)
{
    VELMORA_ASSERT(leaveUnescaped == nullptr && escapeToo == nullptr);
    VELMORA_ASSERT(encoding == kCFStringEncodingUTF8);
    const std::optional<std::string> utf8 = strictUtf8(CFStringGetView(text));
    if (!utf8)
        return nullptr;
    const std::string_view url = *utf8;
    const std::size_t end = hostEnd(url);
    return CFStringCreateWithView(
        wideFromUtf8(escape(url.substr(0, end), standsInHost) + escape(url.substr(end), standsBehindHost)));
}
