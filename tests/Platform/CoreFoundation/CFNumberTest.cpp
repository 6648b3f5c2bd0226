// Numbers and their conversions; the two booleans.
#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/CoreFoundation/CFRef.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

CFRef<CFNumberRef> number(SInt32 value)
{
    return adoptCF(CFNumberCreate(nullptr, kCFNumberSInt32Type, &value));
}
CFRef<CFNumberRef> number(SInt64 value)
{
    return adoptCF(CFNumberCreate(nullptr, kCFNumberSInt64Type, &value));
}
CFRef<CFNumberRef> number(double value)
{
    return adoptCF(CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
}

template <typename T> struct Got {
    bool exact;
    T value;
    bool operator==(const Got&) const = default;
};

Got<SInt32> as32(CFNumberRef from)
{
    SInt32 value = 0x5A5A5A5A;
    const bool exact = CFNumberGetValue(from, kCFNumberSInt32Type, &value);
    return {exact, value};
}
Got<SInt64> as64(CFNumberRef from)
{
    SInt64 value = 0x5A5A5A5A;
    const bool exact = CFNumberGetValue(from, kCFNumberSInt64Type, &value);
    return {exact, value};
}
Got<double> asDouble(CFNumberRef from)
{
    double value = -1234.5;
    const bool exact = CFNumberGetValue(from, kCFNumberDoubleType, &value);
    return {exact, value};
}

constexpr SInt32 kMax32 = std::numeric_limits<SInt32>::max();
constexpr SInt32 kMin32 = std::numeric_limits<SInt32>::min();
constexpr SInt64 kMax64 = std::numeric_limits<SInt64>::max();
constexpr SInt64 kMin64 = std::numeric_limits<SInt64>::min();

} // namespace

TEST(CFNumber, GivesBackWhatItHolds)
{
    EXPECT_EQ(as32(number(SInt32(-7))), (Got<SInt32> {true, -7}));
    EXPECT_EQ(as64(number(kMin64)), (Got<SInt64> {true, kMin64}));
    EXPECT_EQ(asDouble(number(0.1)), (Got<double> {true, 0.1}));
    EXPECT_EQ(as64(number(kMax32)), (Got<SInt64> {true, 2147483647}));
}

TEST(CFNumber, HoldsAnIntegerOutOfRangeAtTheNearest)
{
    EXPECT_EQ(as32(number(SInt64(2147483648))), (Got<SInt32> {false, kMax32}));
    EXPECT_EQ(as32(number(SInt64(-2147483649))), (Got<SInt32> {false, kMin32}));
    EXPECT_EQ(as32(number(SInt64(2147483647))), (Got<SInt32> {true, kMax32}));
    EXPECT_EQ(as32(number(kMin64)), (Got<SInt32> {false, kMin32}));
}

TEST(CFNumber, CutsAFractionOff)
{
    EXPECT_EQ(as32(number(2.9)), (Got<SInt32> {false, 2}));
    EXPECT_EQ(as32(number(-2.9)), (Got<SInt32> {false, -2}));
    EXPECT_EQ(as32(number(5000.0)), (Got<SInt32> {true, 5000}));
}

TEST(CFNumber, HoldsADoubleOutOfRangeAtTheNearest)
{
    EXPECT_EQ(as64(number(9223372036854775808.0)), (Got<SInt64> {false, kMax64}));
    EXPECT_EQ(as64(number(-9223372036854775808.0)), (Got<SInt64> {true, kMin64}));
    EXPECT_EQ(as64(number(-1e300)), (Got<SInt64> {false, kMin64}));
    EXPECT_EQ(as32(number(std::numeric_limits<double>::infinity())), (Got<SInt32> {false, kMax32}));
    EXPECT_EQ(as32(number(-std::numeric_limits<double>::infinity())), (Got<SInt32> {false, kMin32}));
    EXPECT_EQ(as32(number(std::nan(""))), (Got<SInt32> {false, 0}));
}

TEST(CFNumber, TellsWhenADoubleCannotHoldAnInteger)
{
    EXPECT_EQ(asDouble(number(SInt64(9007199254740992))), (Got<double> {true, 9007199254740992.0}));
    EXPECT_EQ(asDouble(number(SInt64(9007199254740993))), (Got<double> {false, 9007199254740992.0}));
    EXPECT_EQ(asDouble(number(kMax64)), (Got<double> {false, 9223372036854775808.0}));
}

TEST(CFNumber, EqualityIsOfValues)
{
    EXPECT_TRUE(CFEqual(number(SInt32(3)), number(SInt64(3))));
    EXPECT_TRUE(CFEqual(number(SInt32(3)), number(3.0)));
    EXPECT_FALSE(CFEqual(number(SInt32(3)), number(3.5)));
    EXPECT_FALSE(CFEqual(number(kMax64), number(9223372036854775808.0)));
    EXPECT_FALSE(CFEqual(number(SInt32(1)), adoptCF(CFBooleanCreate(true))));
}

TEST(CFNumberDeathTest, RefusesOtherTypes)
{
    const SInt32 value = 1;
    EXPECT_DEATH(CFNumberCreate(nullptr, static_cast<CFNumberType>(5), &value), "failed assertion");
}

TEST(CFBoolean, ThereAreTwoObjects)
{
    const auto yes = adoptCF(CFBooleanCreate(true));
    const auto no = adoptCF(CFBooleanCreate(false));
    EXPECT_TRUE(CFBooleanGetValue(yes));
    EXPECT_FALSE(CFBooleanGetValue(no));
    EXPECT_EQ(yes.get(), adoptCF(CFBooleanCreate(true)).get());
    EXPECT_FALSE(CFEqual(yes, no));
}

TEST(CFBoolean, OutlivesItsOwners)
{
    for (int i = 0; i < 3; ++i)
        CFRelease(CFBooleanCreate(true));
    EXPECT_TRUE(CFBooleanGetValue(adoptCF(CFBooleanCreate(true))));
}
