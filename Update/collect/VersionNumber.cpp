// Parsing, comparing and printing version numbers.
#include "Update/collect/VersionNumber.h"

#include "Platform/Support/Unicode.h"

#include <algorithm>
#include <string>

namespace {

constexpr std::size_t kPartCount = 4;

/// The separator that ends the first part of `text`: a comma counts only where no point is left. Null when
/// there is none.
UniChar* findSeparator(UniChar* text)
{
    const std::u16string_view rest = text;
    std::size_t at = rest.find(u'.');
    if (at == std::u16string_view::npos)
        at = rest.find(u',');
    return at == std::u16string_view::npos ? nullptr : text + at;
}

} // namespace

int CheckVersionSupport(SInt32* version, UniChar* text)
{
    std::fill_n(version, kPartCount, 0);
    for (std::size_t part = 0; part < kPartCount; ++part) {
        UniChar* separator = part < kPartCount - 1 ? findSeparator(text) : nullptr;
        if (separator)
            *separator = u'\0';
        version[part] = leadingInteger(text);
        if (!separator)
            break;
        text = separator + 1;
    }
    return 1;
}

int CompareVerion(const SInt32* a, const SInt32* b)
{
    for (std::size_t part = 0; part < kPartCount; ++part) {
        if (a[part] != b[part])
            return a[part] > b[part] ? 1 : -1;
    }
    return 0;
}

VersionText versionText(const SInt32* version)
{
    std::string text;
    for (std::size_t part = 0; part < kPartCount; ++part)
        text += (part == 0 ? "" : ".") + std::to_string(version[part]);
    return VersionText(wideFromUtf8(text));
}
