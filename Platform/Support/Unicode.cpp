#include "Platform/Support/Unicode.h"

#include <limits>

namespace {

constexpr char32_t kReplacement = 0xFFFD;

/// Capital letters from `first` to `last`, every `step`th unit, and how far on their small letters are.
struct CapitalLetters {
    UniChar first;
    UniChar last;
    int step;
    int distance;
};

/// In ascending order, beside ASCII: the letters that have one small letter of one unit, in the scripts in
/// which a product's name is likely to change case.
constexpr CapitalLetters kCapitalLetters[] = {
    // Latin-1, then Latin Extended-A and -B
    {0xC0, 0xD6, 1, 32}, {0xD8, 0xDE, 1, 32}, {0x100, 0x12E, 2, 1}, {0x132, 0x136, 2, 1},
    {0x139, 0x147, 2, 1}, {0x14A, 0x176, 2, 1}, {0x178, 0x178, 1, -121}, {0x179, 0x17D, 2, 1},
    {0x1A0, 0x1A4, 2, 1}, {0x1AF, 0x1AF, 1, 1}, {0x1CD, 0x1DB, 2, 1}, {0x1DE, 0x1EE, 2, 1},
    {0x1F8, 0x21E, 2, 1}, {0x222, 0x232, 2, 1},
    // Greek
    {0x386, 0x386, 1, 38}, {0x388, 0x38A, 1, 37}, {0x38C, 0x38C, 1, 64}, {0x38E, 0x38F, 1, 63},
    {0x391, 0x3A1, 1, 32}, {0x3A3, 0x3AB, 1, 32},
    // Cyrillic
    {0x400, 0x40F, 1, 80}, {0x410, 0x42F, 1, 32}, {0x460, 0x480, 2, 1}, {0x48A, 0x4BE, 2, 1},
    {0x4C0, 0x4C0, 1, 15}, {0x4C1, 0x4CD, 2, 1}, {0x4D0, 0x52E, 2, 1},
    // Armenian, Latin Extended Additional, full-width Latin
    {0x531, 0x556, 1, 48}, {0x1E00, 0x1E94, 2, 1}, {0x1EA0, 0x1EFE, 2, 1}, {0xFF21, 0xFF3A, 1, 32}};

bool isHighSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendUtf8(std::string& out, char32_t point)
{
    if (point < 0x80) {
        out += static_cast<char>(point);
    } else if (point < 0x800) {
        out += static_cast<char>(0xC0 | (point >> 6));
        out += static_cast<char>(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        out += static_cast<char>(0xE0 | (point >> 12));
        out += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (point & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (point >> 18));
        out += static_cast<char>(0x80 | ((point >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (point & 0x3F));
    }
}

void appendUtf16(std::u16string& out, char32_t point)
{
    if (point < 0x10000) {
        out += static_cast<char16_t>(point);
        return;
    }
    out += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
    out += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
}

/// The code point that `text` holds at `at`, which is moved past it. A lone surrogate is given back as it is.
char32_t nextWide(std::u16string_view text, std::size_t& at)
{
    const char32_t first = text[at++];
    if (!isHighSurrogate(first) || at == text.size() || !isLowSurrogate(text[at]))
        return first;
    return 0x10000 + ((first - 0xD800) << 10) + (static_cast<char32_t>(text[at++]) - 0xDC00);
}

struct Utf8Lead {
    int continuationBytes; ///< -1 when the byte can start no sequence
    char32_t bits;
    char32_t smallest; ///< a smaller code point is an overlong form
};

Utf8Lead leadOf(unsigned char byte)
{
    if (byte < 0x80)
        return {0, byte, 0};
    if (byte >= 0xC2 && byte <= 0xDF)
        return {1, static_cast<char32_t>(byte & 0x1F), 0x80};
    if (byte >= 0xE0 && byte <= 0xEF)
        return {2, static_cast<char32_t>(byte & 0x0F), 0x800};
    if (byte >= 0xF0 && byte <= 0xF4)
        return {3, static_cast<char32_t>(byte & 0x07), 0x10000};
    return {-1, 0, 0};
}

/// Reads one code point at `at` and moves `at` past it; on an invalid sequence moves past one byte and
/// returns false.
bool nextUtf8(std::string_view text, std::size_t& at, char32_t& point)
{
    const Utf8Lead lead = leadOf(static_cast<unsigned char>(text[at]));
    point = lead.bits;
    const std::size_t start = at++;
    if (lead.continuationBytes < 0)
        return false;
    for (int i = 0; i < lead.continuationBytes; ++i) {
        if (at == text.size() || (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80) {
            at = start + 1;
            return false;
        }
        point = (point << 6) | (static_cast<unsigned char>(text[at++]) & 0x3F);
    }
    if (point < lead.smallest || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
        at = start + 1;
        return false;
    }
    return true;
}

} // namespace

std::string utf8FromWide(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const char32_t point = nextWide(text, at);
        appendUtf8(out, isHighSurrogate(point) || isLowSurrogate(point) ? kReplacement : point);
    }
    return out;
}

std::u16string wideFromUtf8(std::string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        char32_t point = 0;
        appendUtf16(out, nextUtf8(text, at, point) ? point : kReplacement);
    }
    return out;
}

bool isValidUtf8(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        char32_t point = 0;
        if (!nextUtf8(text, at, point))
            return false;
    }
    return true;
}

bool pathFromWide(std::u16string_view wide, std::string& path, std::size_t maxBytes)
{
    path.clear();
    for (std::size_t at = 0; at < wide.size();) {
        const char32_t point = nextWide(wide, at);
        if (point == 0 || isHighSurrogate(point) || isLowSurrogate(point)) {
            path.clear();
            return false;
        }
        appendUtf8(path, point);
        if (path.size() > maxBytes) {
            path.clear();
            return false;
        }
    }
    return !path.empty();
}

bool wideFromPath(std::string_view path, std::u16string& wide, std::size_t maxUnits)
{
    wide.clear();
    if (!isValidUtf8(path))
        return false;
    wide = wideFromUtf8(path);
    if (wide.size() <= maxUnits)
        return true;
    wide.clear();
    return false;
}

UniChar lowerCaseUnit(UniChar unit)
{
    if (unit < 0x80)
        return unit >= u'A' && unit <= u'Z' ? static_cast<UniChar>(unit + 0x20) : unit;
    for (const CapitalLetters& range : kCapitalLetters) {
        if (unit < range.first)
            break;
        if (unit <= range.last && (unit - range.first) % range.step == 0)
            return static_cast<UniChar>(unit + range.distance);
    }
    return unit;
}

int compareIgnoringCase(std::u16string_view a, std::u16string_view b)
{
    const std::size_t shared = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t i = 0; i < shared; ++i) {
        const UniChar left = lowerCaseUnit(a[i]);
        const UniChar right = lowerCaseUnit(b[i]);
        if (left != right)
            return left < right ? -1 : 1;
    }
    if (a.size() == b.size())
        return 0;
    return a.size() < b.size() ? -1 : 1;
}

bool equalIgnoringCase(std::u16string_view a, std::u16string_view b)
{
    return compareIgnoringCase(a, b) == 0;
}

SInt32 leadingInteger(std::u16string_view text)
{
    std::size_t at = 0;
    while (at < text.size() && (text[at] == u' ' || (text[at] >= u'\t' && text[at] <= u'\r')))
        ++at;
    const bool negative = at < text.size() && text[at] == u'-';
    if (at < text.size() && (text[at] == u'-' || text[at] == u'+'))
        ++at;
    const SInt64 limit = negative ? -static_cast<SInt64>(std::numeric_limits<SInt32>::min())
                                  : static_cast<SInt64>(std::numeric_limits<SInt32>::max());
    SInt64 value = 0;
    for (; at < text.size() && text[at] >= u'0' && text[at] <= u'9'; ++at) {
        value = value * 10 + (text[at] - u'0');
        if (value > limit)
            value = limit;
    }
    return static_cast<SInt32>(negative ? -value : value);
}
