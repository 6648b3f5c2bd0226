#include "WatchSelfUpdate/MarkerText.h"

namespace {

unsigned char byteAt(std::string_view text, std::size_t index)
{
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
}

// The length of the well-formed UTF-8 sequence (RFC 3629) that the text begins with, or 0.
std::size_t sequenceLength(std::string_view text)
{
    const unsigned char first = byteAt(text, 0);
    if (first < 0x80)
        return 1;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    // Overlong forms, surrogates and what lies above U+10FFFF are seen by the second byte.
    const unsigned char lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned char highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (byteAt(text, 1) < lowest || byteAt(text, 1) > highest)
        return 0;
    for (std::size_t i = 2; i < length; ++i)
        if ((byteAt(text, i) & 0xC0) != 0x80)
            return 0;
    return length;
}

bool isUTF8(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

// Takes the next path and its zero byte off the text; an empty one when there is none that may be taken.
std::string_view takePath(std::string_view& text)
{
    const std::size_t length = text.find('\0');
    if (length == std::string_view::npos || length > kMaxMarkerPathBytes)
        return {};
    const std::string_view path = text.substr(0, length);
    text.remove_prefix(length + 1);
    return !path.empty() && path.front() == '/' && isUTF8(path) ? path : std::string_view();
}

} // namespace

bool parseMarker(std::string_view bytes, Marker& marker)
{
    const std::string_view runFile = takePath(bytes);
    const std::string_view hostBundle = takePath(bytes);
    if (runFile.empty() || hostBundle.empty() || !bytes.empty())
        return false;
    marker = {std::string(runFile), std::string(hostBundle)};
    return true;
}
