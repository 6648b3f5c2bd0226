#include "Platform/Support/UniFormat.h"

#include <charconv>
#include <cmath>

namespace {

std::u16string widened(std::string_view ascii)
{
    return std::u16string(ascii.begin(), ascii.end());
}

std::u16string integerText(SInt64 value)
{
    char digits[24];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value);
    return widened(std::string_view(digits, end.ptr));
}

std::u16string decimalText(double value, int decimals)
{
    char digits[512]; // the longest double has 309 digits before its point
    const auto end
        = std::to_chars(std::begin(digits), std::end(digits), value, std::chars_format::fixed, decimals);
    return widened(std::string_view(digits, end.ptr));
}

/// The text for the conversion `letter`; false when the value is of another kind.
bool convert(char16_t letter, int decimals, const FormatValue& value, std::u16string& out)
{
    if (letter == u's' && std::holds_alternative<std::u16string_view>(value)) {
        out += std::get<std::u16string_view>(value);
        return true;
    }
    if (letter == u'd' && std::holds_alternative<SInt64>(value)) {
        out += integerText(std::get<SInt64>(value));
        return true;
    }
    const double* number = std::get_if<double>(&value);
    if (number && letter == u'd' && std::fabs(*number) < 9.0e18) {
        out += integerText(static_cast<SInt64>(*number));
        return true;
    }
    if (number && letter == u'f') {
        out += decimalText(*number, decimals);
        return true;
    }
    return false;
}

/// The length of the conversion that starts at the percent sign of `text`, 0 when it is none that is known.
std::size_t conversionLength(std::u16string_view text)
{
    if (text.size() >= 2 && (text[1] == u's' || text[1] == u'd' || text[1] == u'%'))
        return 2;
    const bool decimal
        = text.size() >= 4 && text[1] == u'.' && text[2] >= u'0' && text[2] <= u'9' && text[3] == u'f';
    return decimal ? 4 : 0;
}

} // namespace

std::u16string formatText(std::u16string_view format, std::initializer_list<FormatValue> values)
{
    std::u16string out;
    auto next = values.begin();
    for (std::size_t at = 0; at < format.size();) {
        const std::size_t length = format[at] == u'%' ? conversionLength(format.substr(at)) : 0;
        if (length == 0) {
            out += format[at++];
            continue;
        }
        const char16_t letter = format[at + length - 1];
        const int decimals = length == 4 ? format[at + 2] - u'0' : 0;
        if (letter == u'%')
            out += u'%';
        else if (next != values.end() && convert(letter, decimals, *next, out))
            ++next;
        else
            out += format.substr(at, length);
        at += length;
    }
    return out;
}
