// The values that XML property lists write as text.
#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/CFDate.h"
#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/CoreFoundation/CFPropertyListReading.h"

#include <charconv>
#include <chrono>
#include <limits>
#include <string>
#include <vector>

namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";

/// `text` without white space around it; empty when it holds anything outside ASCII.
std::string trimmedAscii(std::u16string_view text)
{
    std::string ascii;
    ascii.reserve(text.size());
    for (const UniChar unit : text) {
        if (unit >= 0x80)
            return {};
        ascii += static_cast<char>(unit);
    }
    const std::size_t first = ascii.find_first_not_of(kWhiteSpace);
    if (first == std::string::npos)
        return {};
    return ascii.substr(first, ascii.find_last_not_of(kWhiteSpace) - first + 1);
}

/// Takes a sign off the front; true for a minus.
bool takeSign(std::string_view& text)
{
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    return negative;
}

/// False unless the whole of `text` is a number in `base`: std::from_chars alone stops at the first other
/// character.
bool parseUnsigned(std::string_view text, UInt64& value, int base = 10)
{
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    return error == std::errc() && stop == end;
}

/// The digits of a date's field, of which none may be a sign or a blank.
bool parseField(std::string_view text, unsigned& value)
{
    UInt64 number = 0;
    if (text.find_first_not_of("0123456789") != std::string_view::npos || !parseUnsigned(text, number))
        return false;
    value = static_cast<unsigned>(number);
    return true;
}

/// The value of a base64 digit, or -1.
int base64Digit(UniChar unit)
{
    if (unit >= u'A' && unit <= u'Z')
        return unit - u'A';
    if (unit >= u'a' && unit <= u'z')
        return unit - u'a' + 26;
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0' + 52;
    if (unit == u'+')
        return 62;
    return unit == u'/' ? 63 : -1;
}

} // namespace

CFRef<CFTypeRef> propertyListInteger(bool negative, UInt64 magnitude)
{
    constexpr UInt64 kLargest = static_cast<UInt64>(std::numeric_limits<SInt64>::max());
    if (!negative && magnitude > kLargest) {
        const double value = static_cast<double>(magnitude);
        return adoptCF<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value));
    }
    if (magnitude > kLargest + 1)
        return nullptr;
    const SInt64 value = static_cast<SInt64>(negative ? 0 - magnitude : magnitude);
    return adoptCF<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value));
}

CFRef<CFTypeRef> integerFromText(std::u16string_view text)
{
    const std::string ascii = trimmedAscii(text);
    std::string_view digits = ascii;
    const bool negative = takeSign(digits);
    const bool hexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
    if (hexadecimal)
        digits.remove_prefix(2);
    UInt64 magnitude = 0;
    if (!parseUnsigned(digits, magnitude, hexadecimal ? 16 : 10))
        return nullptr;
    return propertyListInteger(negative, magnitude);
}

CFRef<CFTypeRef> realFromText(std::u16string_view text)
{
    const std::string ascii = trimmedAscii(text);
    std::string_view digits = ascii;
    const bool negative = takeSign(digits);
    if (digits.starts_with('-')) // a second sign, which the conversion would take
        return nullptr;
    double value = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    if (error != std::errc() || stop != end)
        return nullptr;
    if (negative)
        value = -value;
    return adoptCF<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value));
}

CFRef<CFTypeRef> dateFromText(std::u16string_view text)
{
    constexpr std::string_view kShape = "0000-00-00T00:00:00Z"; // every "0" is a digit
    const std::string ascii = trimmedAscii(text);
    if (ascii.size() != kShape.size())
        return nullptr;
    for (std::size_t i = 0; i < kShape.size(); ++i) {
        if (kShape[i] != '0' && ascii[i] != kShape[i])
            return nullptr;
    }
    const std::string_view digits = ascii;
    unsigned year, month, day, hour, minute, second;
    if (!parseField(digits.substr(0, 4), year) || !parseField(digits.substr(5, 2), month)
        || !parseField(digits.substr(8, 2), day) || !parseField(digits.substr(11, 2), hour)
        || !parseField(digits.substr(14, 2), minute) || !parseField(digits.substr(17, 2), second))
        return nullptr;
    using namespace std::chrono;
    const year_month_day date {
        std::chrono::year(static_cast<int>(year)), std::chrono::month(month), std::chrono::day(day)};
    if (!date.ok() || hour > 23 || minute > 59 || second > 59)
        return nullptr;
    const auto daysSince = sys_days(date) - sys_days(2001y / January / 1);
    const auto since = daysSince + hours(hour) + minutes(minute) + seconds(second);
    return adoptCF<CFTypeRef>(CFDateCreate(kCFAllocatorDefault, static_cast<CFAbsoluteTime>(since.count())));
}

CFRef<CFTypeRef> dataFromText(std::u16string_view text)
{
    std::vector<UInt8> bytes;
    UInt32 gathered = 0;
    std::size_t digitCount = 0;
    std::size_t paddingCount = 0;
    for (const UniChar unit : text) {
        if (unit < 0x80 && kWhiteSpace.find(static_cast<char>(unit)) != std::string_view::npos)
            continue;
        const int digit = unit == u'=' ? 0 : base64Digit(unit);
        if (digit < 0 || (unit != u'=' && paddingCount > 0))
            return nullptr;
        paddingCount += unit == u'=' ? 1 : 0;
        gathered = gathered << 6 | static_cast<UInt32>(digit);
        if (++digitCount % 4 != 0)
            continue;
        for (int shift = 16; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<UInt8>(gathered >> shift));
    }
    if (digitCount % 4 != 0 || paddingCount > 2)
        return nullptr;
    bytes.resize(bytes.size() - paddingCount);
    return adoptCF<CFTypeRef>(
        CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
}
