// Data, dates, arrays and dictionaries.
#include "Platform/CoreFoundation/CFArray.h"
#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/CFDate.h"
#include "Platform/CoreFoundation/CFDictionary.h"
#include "tests/Platform/CoreFoundation/CFText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

CFRef<CFDataRef> data(std::string bytes)
{
    return adoptCF(CFDataCreate(
        nullptr, reinterpret_cast<const UInt8*>(bytes.data()), static_cast<CFIndex>(bytes.size())));
}

} // namespace

TEST(CFData, CopiesItsBytes)
{
    UInt8 bytes[] = {0, 255, 7};
    const auto made = adoptCF(CFDataCreate(nullptr, bytes, 3));
    bytes[1] = 1;
    ASSERT_EQ(CFDataGetLength(made), 3);
    EXPECT_EQ(CFDataGetBytePtr(made)[0], 0);
    EXPECT_EQ(CFDataGetBytePtr(made)[1], 255);
    EXPECT_EQ(CFDataGetBytePtr(made)[2], 7);
}

TEST(CFData, MayBeEmpty)
{
    EXPECT_EQ(CFDataGetLength(adoptCF(CFDataCreate(nullptr, nullptr, 0))), 0);
    EXPECT_TRUE(CFEqual(data(""), data("")));
}

TEST(CFData, RefusesANegativeLengthAndNull)
{
    const UInt8 byte = 1;
    EXPECT_EQ(CFDataCreate(nullptr, &byte, -1), nullptr);
    EXPECT_EQ(CFDataCreate(nullptr, nullptr, 1), nullptr);
}

TEST(CFData, EqualityIsOfBytes)
{
    EXPECT_TRUE(CFEqual(data("abc"), data("abc")));
    EXPECT_FALSE(CFEqual(data("abc"), data("abd")));
    EXPECT_FALSE(CFEqual(data("abc"), data("ab")));
}

TEST(CFDate, EqualityIsOfTimes)
{
    const auto date = adoptCF(CFDateCreate(nullptr, -1.25));
    EXPECT_TRUE(CFEqual(date, adoptCF(CFDateCreate(nullptr, -1.25))));
    EXPECT_FALSE(CFEqual(date, adoptCF(CFDateCreate(nullptr, 1.25))));
}

TEST(CFArray, KeepsItsObjectsInOrder)
{
    CFRef<CFArrayRef> array;
    {
        const auto a = cf(u"a");
        const auto b = cf(u"b");
        array = adoptCF(CFArrayCreateWithObjects({a.get(), b.get(), a.get()}));
    }
    ASSERT_EQ(CFArrayGetCount(array), 3);
    EXPECT_EQ(textOf(static_cast<CFStringRef>(CFArrayGetValueAtIndex(array, 0))), u"a");
    EXPECT_EQ(textOf(static_cast<CFStringRef>(CFArrayGetValueAtIndex(array, 1))), u"b");
    EXPECT_EQ(textOf(static_cast<CFStringRef>(CFArrayGetValueAtIndex(array, 2))), u"a");
}

TEST(CFArray, EqualityIsOfContents)
{
    const auto a = cf(u"a");
    const auto b = cf(u"b");
    const auto array = adoptCF(CFArrayCreateWithObjects({a.get(), b.get()}));
    EXPECT_TRUE(CFEqual(array, adoptCF(CFArrayCreateWithObjects({cf(u"a").get(), b.get()}))));
    EXPECT_FALSE(CFEqual(array, adoptCF(CFArrayCreateWithObjects({b.get(), a.get()}))));
    EXPECT_FALSE(CFEqual(array, adoptCF(CFArrayCreateWithObjects({a.get()}))));
}

TEST(CFArrayDeathTest, IndexMustLieWithin)
{
    const auto array = adoptCF(CFArrayCreateWithObjects({}));
    EXPECT_DEATH(CFArrayGetValueAtIndex(array, 0), "failed assertion");
    EXPECT_DEATH(CFArrayGetValueAtIndex(array, -1), "failed assertion");
    EXPECT_DEATH(CFArrayCreateWithObjects({nullptr}), "failed assertion");
}

TEST(CFDictionary, FindsValuesByKey)
{
    CFRef<CFDictionaryRef> dictionary;
    {
        const auto key = cf(u"site");
        const auto value = cf(u"localhost");
        dictionary = adoptCF(CFDictionaryCreateWithPairs({{key, value.get()}}));
    }
    EXPECT_EQ(textOf(static_cast<CFStringRef>(CFDictionaryGetValue(dictionary, u"site"))), u"localhost");
    EXPECT_EQ(CFDictionaryGetValue(dictionary, u"Site"), nullptr) << "keys are case-sensitive";
    EXPECT_EQ(CFDictionaryGetValue(dictionary, u"sit"), nullptr);
}

TEST(CFDictionary, OfEqualKeysTheLaterValueStays)
{
    CFRef<CFDictionaryRef> dictionary;
    {
        const auto first = cf(u"k");
        const auto second = cf(u"k");
        dictionary = adoptCF(CFDictionaryCreateWithPairs(
            {{first, cf(u"1").get()}, {cf(u"other"), cf(u"x").get()}, {second, cf(u"2").get()}}));
    }
    EXPECT_EQ(textOf(static_cast<CFStringRef>(CFDictionaryGetValue(dictionary, u"k"))), u"2");
    EXPECT_TRUE(CFEqual(dictionary,
        adoptCF(CFDictionaryCreateWithPairs({{cf(u"k"), cf(u"2").get()}, {cf(u"other"), cf(u"x").get()}}))));
}

TEST(CFDictionary, EqualityIsOfContentsInAnyOrder)
{
    const auto one = cf(u"1");
    const auto two = cf(u"2");
    const auto ab = adoptCF(CFDictionaryCreateWithPairs({{cf(u"a"), one.get()}, {cf(u"b"), two.get()}}));
    const auto ba = adoptCF(CFDictionaryCreateWithPairs({{cf(u"b"), cf(u"2").get()}, {cf(u"a"), one.get()}}));
    EXPECT_TRUE(CFEqual(ab, ba));
    EXPECT_FALSE(
        CFEqual(ab, adoptCF(CFDictionaryCreateWithPairs({{cf(u"a"), one.get()}, {cf(u"b"), one.get()}}))));
    EXPECT_FALSE(CFEqual(ab, adoptCF(CFDictionaryCreateWithPairs({{cf(u"a"), one.get()}}))));
}
