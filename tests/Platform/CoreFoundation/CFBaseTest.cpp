// Counting references, types and equality, and the owner of a reference.
#include "Platform/CoreFoundation/CFArray.h"
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/CFDate.h"
#include "Platform/CoreFoundation/CFDictionary.h"
#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/CoreFoundation/CFRuntime.h"
#include "Platform/CoreFoundation/CFURL.h"
#include "tests/Platform/CoreFoundation/CFText.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

namespace {

/// Tells when it goes.
struct Witness final : CFObject {
    explicit Witness(int& destroyed)
        : CFObject(1000)
        , m_destroyed(destroyed)
    {
    }
    ~Witness() override { ++m_destroyed; }
    int& m_destroyed;
};

} // namespace

TEST(CFBase, LastReleaseDestroys)
{
    int destroyed = 0;
    const CFTypeRef object = new Witness(destroyed);
    EXPECT_EQ(CFRetain(object), object);
    CFRelease(object);
    EXPECT_EQ(destroyed, 0);
    CFRelease(object);
    EXPECT_EQ(destroyed, 1);
}

TEST(CFBase, CountingIsAtomic)
{
    int destroyed = 0;
    const CFTypeRef object = new Witness(destroyed);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([object] {
            for (int turn = 0; turn < 20000; ++turn) {
                CFRetain(object);
                CFRelease(object);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(destroyed, 0);
    CFRelease(object);
    EXPECT_EQ(destroyed, 1);
}

TEST(CFBase, EveryTypeHasAnIdOfItsOwn)
{
    const std::set<CFTypeID> ids {CFStringGetTypeID(), CFNumberGetTypeID(), CFBooleanGetTypeID(),
        CFDataGetTypeID(), CFDateGetTypeID(), CFArrayGetTypeID(), CFDictionaryGetTypeID()};
    EXPECT_EQ(ids.size(), 7u);
    EXPECT_EQ(CFGetTypeID(cf(u"x")), CFStringGetTypeID());
    EXPECT_EQ(CFGetTypeID(adoptCF(CFBooleanCreate(true))), CFBooleanGetTypeID());
}

TEST(CFBase, EqualityComparesTypeAndValue)
{
    const auto text = cf(u"1");
    const SInt32 one = 1;
    const auto number = adoptCF(CFNumberCreate(nullptr, kCFNumberSInt32Type, &one));
    EXPECT_TRUE(CFEqual(text, cf(u"1")));
    EXPECT_FALSE(CFEqual(text, cf(u"2")));
    EXPECT_FALSE(CFEqual(text, number));
    int destroyed = 0;
    const auto a = adoptCF(static_cast<CFTypeRef>(new Witness(destroyed)));
    const auto b = adoptCF(static_cast<CFTypeRef>(new Witness(destroyed)));
    EXPECT_TRUE(CFEqual(a, a));
    EXPECT_FALSE(CFEqual(a, b)) << "a type without values is equal only to itself";
}

TEST(CFBaseDeathTest, NullIsAProgrammingError)
{
    EXPECT_DEATH(CFRetain(nullptr), "failed assertion");
    EXPECT_DEATH(CFRelease(nullptr), "failed assertion");
    EXPECT_DEATH(CFGetTypeID(nullptr), "failed assertion");
    EXPECT_DEATH(CFEqual(nullptr, nullptr), "failed assertion");
}

TEST(CFRef, AdoptTakesTheReferenceOver)
{
    int destroyed = 0;
    {
        const auto owner = adoptCF(static_cast<CFTypeRef>(new Witness(destroyed)));
        EXPECT_TRUE(owner);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(CFRef, RetainAddsAReferenceOfItsOwn)
{
    int destroyed = 0;
    const CFTypeRef object = new Witness(destroyed);
    {
        const auto owner = retainCF(object);
    }
    EXPECT_EQ(destroyed, 0);
    CFRelease(object);
    EXPECT_EQ(destroyed, 1);
}

TEST(CFRef, CopiesAndMovesKeepTheCount)
{
    int destroyed = 0;
    auto first = adoptCF(static_cast<CFTypeRef>(new Witness(destroyed)));
    auto second = first;
    auto third = std::move(first);
    EXPECT_EQ(first.get(), nullptr);
    first = third;
    auto& same = first;
    first = same;
    second = nullptr;
    third = nullptr;
    EXPECT_EQ(destroyed, 0);
    first = adoptCF(static_cast<CFTypeRef>(new Witness(destroyed)));
    EXPECT_EQ(destroyed, 1);
}

TEST(CFRef, HoldsNothingForNull)
{
    EXPECT_FALSE(adoptCF<CFStringRef>(nullptr));
    EXPECT_FALSE(retainCF<CFStringRef>(nullptr));
    EXPECT_FALSE(CFRef<CFStringRef>());
}
