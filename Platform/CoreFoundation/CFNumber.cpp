// Numbers, held as a 64-bit integer or a double, and the two booleans.
#include "Platform/CoreFoundation/CFNumber.h"

#include "Platform/CoreFoundation/CFRuntime.h"
#include "Platform/Support/Assertion.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <variant>

using NumberValue = std::variant<SInt64, double>;

namespace {

/// 2 to the 63rd: the first double above every SInt64.
constexpr double kSInt64End = 9223372036854775808.0;

template <typename T> T readAs(const void* value)
{
    T typed;
    std::memcpy(&typed, value, sizeof typed);
    return typed;
}

template <typename T> void writeAs(void* target, T typed)
{
    std::memcpy(target, &typed, sizeof typed);
}

struct WholeNumber {
    SInt64 value;
    bool exact;
};

WholeNumber wholeFromDouble(double number)
{
    if (std::isnan(number))
        return {0, false};
    if (number >= kSInt64End)
        return {std::numeric_limits<SInt64>::max(), false};
    if (number < -kSInt64End)
        return {std::numeric_limits<SInt64>::min(), false};
    return {static_cast<SInt64>(number), std::trunc(number) == number};
}

WholeNumber wholeNumber(const NumberValue& number)
{
    if (const SInt64* integer = std::get_if<SInt64>(&number))
        return {*integer, true};
    return wholeFromDouble(std::get<double>(number));
}

bool sameNumber(const NumberValue& a, const NumberValue& b)
{
    if (a.index() == b.index())
        return a == b;
    const WholeNumber left = wholeNumber(a);
    const WholeNumber right = wholeNumber(b);
    return left.exact && right.exact && left.value == right.value;
}

bool writeSInt32(WholeNumber number, void* target)
{
    constexpr SInt64 kLeast = std::numeric_limits<SInt32>::min();
    constexpr SInt64 kMost = std::numeric_limits<SInt32>::max();
    const SInt64 held = number.value < kLeast ? kLeast : number.value > kMost ? kMost : number.value;
    writeAs(target, static_cast<SInt32>(held));
    return number.exact && held == number.value;
}

bool writeDouble(const NumberValue& number, void* target)
{
    if (const double* real = std::get_if<double>(&number)) {
        writeAs(target, *real);
        return true;
    }
    const SInt64 integer = std::get<SInt64>(number);
    const double nearest = static_cast<double>(integer);
    writeAs(target, nearest);
    const WholeNumber back = wholeFromDouble(nearest);
    return back.exact && back.value == integer;
}

} // namespace

struct __CFNumber final : CFObject {
    explicit __CFNumber(NumberValue value)
        : CFObject(kCFRuntimeNumber)
        , m_value(value)
    {
    }
    bool isEqual(const CFObject& other) const override
    {
        return sameNumber(m_value, static_cast<const __CFNumber&>(other).m_value);
    }

    const NumberValue m_value;
};

struct __CFBoolean final : CFObject {
    explicit __CFBoolean(bool value)
        : CFObject(kCFRuntimeBoolean)
        , m_value(value)
    {
    }

    const bool m_value;
};

CFTypeID CFNumberGetTypeID()
{
    return kCFRuntimeNumber;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value)
{
    VELMORA_ASSERT(value != nullptr);
    switch (type) {
    case kCFNumberSInt32Type:
        return new __CFNumber(static_cast<SInt64>(readAs<SInt32>(value)));
    case kCFNumberSInt64Type:
        return new __CFNumber(readAs<SInt64>(value));
    case kCFNumberDoubleType:
        return new __CFNumber(readAs<double>(value));
    }
    failAssertion(__FILE__, __LINE__, "a supported number type");
}

bool CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value)
{
    VELMORA_ASSERT(value != nullptr);
    switch (type) {
    case kCFNumberSInt32Type:
        return writeSInt32(wholeNumber(number->m_value), value);
    case kCFNumberSInt64Type: {
        const WholeNumber whole = wholeNumber(number->m_value);
        writeAs(value, whole.value);
        return whole.exact;
    }
    case kCFNumberDoubleType:
        return writeDouble(number->m_value, value);
    }
    failAssertion(__FILE__, __LINE__, "a supported number type");
}

CFTypeID CFBooleanGetTypeID()
{
    return kCFRuntimeBoolean;
}

CFBooleanRef CFBooleanCreate(bool value)
{
    // Both live as long as the process: each keeps the reference it was made with.
    static const CFBooleanRef kTrue = new __CFBoolean(true);
    static const CFBooleanRef kFalse = new __CFBoolean(false);
    const CFBooleanRef boolean = value ? kTrue : kFalse;
    boolean->retain();
    return boolean;
}

bool CFBooleanGetValue(CFBooleanRef boolean)
{
    return boolean->m_value;
}
