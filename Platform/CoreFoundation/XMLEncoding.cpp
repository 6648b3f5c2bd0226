// windows-1252, and the entities of a raw start tag.
#include "Platform/CoreFoundation/XMLEncoding.h"

#include "Platform/Support/Unicode.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace {

constexpr int kFirstDifferentByte = 0x80;
/// What windows-1252 has where ISO-8859-1 has control characters, from 0x80 on; -1 for the five bytes that
/// stand for nothing.
constexpr std::array<int, 32> kWindows1252 = {
    0x20AC, -1, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, // 0x80
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, -1, 0x017D, -1,     // 0x88
    -1, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, // 0x90
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, -1, 0x017E, 0x0178, // 0x98
};

/// The characters of `markup` below U+0080, each other one as a "?".
std::string asciiOf(std::span<const UInt8> markup, std::span<const UInt8> document)
{
    const bool wide = document.size() >= 2
        && ((document[0] == 0xFE && document[1] == 0xFF) || (document[0] == 0xFF && document[1] == 0xFE)
            || document[0] == 0 || document[1] == 0);
    const bool bigEndian = wide && (document[0] == 0xFE || document[0] == 0);
    const std::size_t step = wide ? 2 : 1;
    const std::size_t low = bigEndian ? 1 : 0;
    std::string text;
    text.reserve(markup.size() / step);
    for (std::size_t at = 0; at + step <= markup.size(); at += step) {
        const bool ascii = markup[at + low] < 0x80 && (!wide || markup[at + 1 - low] == 0);
        text += ascii ? static_cast<char>(markup[at + low]) : '?';
    }
    return text;
}

bool isKnownEntity(std::string_view name)
{
    return name.starts_with('#') || name == "lt" || name == "gt" || name == "amp" || name == "quot"
        || name == "apos";
}

} // namespace

int fillEncoding(void*, const XML_Char* name, XML_Encoding* info)
{
    if (!equalIgnoringCase(wideFromUtf8(name), u"windows-1252"))
        return XML_STATUS_ERROR;
    for (int byte = 0; byte < 256; ++byte)
        info->map[byte] = byte;
    for (std::size_t i = 0; i < kWindows1252.size(); ++i)
        info->map[kFirstDifferentByte + static_cast<int>(i)] = kWindows1252[i];
    info->data = nullptr;
    info->convert = nullptr;
    info->release = nullptr;
    return XML_STATUS_OK;
}

bool refersToUnknownEntity(std::span<const UInt8> markup, std::span<const UInt8> document)
{
    const std::string text = asciiOf(markup, document);
    for (std::size_t at = text.find('&'); at != std::string::npos; at = text.find('&', at + 1)) {
        const std::size_t end = text.find(';', at);
        if (end == std::string::npos || !isKnownEntity(std::string_view(text).substr(at + 1, end - at - 1)))
            return true;
    }
    return false;
}
