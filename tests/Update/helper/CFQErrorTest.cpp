// Core Foundation results as error numbers.
#include "Platform/CoreFoundation/CFString.h"
#include "Update/helper/CFQError.h"

#include <gtest/gtest.h>

TEST(CFQErrorBoolean, IsZeroForTrueAndUnknownErrorForFalse)
{
    EXPECT_EQ(CFQErrorBoolean(1), 0);
    EXPECT_EQ(CFQErrorBoolean(255), 0);
    EXPECT_EQ(CFQErrorBoolean(0), -4960);
}

TEST(CFQError, IsZeroForAnObjectAndUnknownErrorForNull)
{
    EXPECT_EQ(CFQError("object"), 0);
    EXPECT_EQ(CFQError(nullptr), -4960);
}

TEST(CFQRelease, ReleasesOneReferenceAndLeavesNullAlone)
{
    CFQRelease(nullptr);
    // The leak checker and the address checker see it when none, or more than the one, is given back.
    const CFStringRef text = CFStringCreateWithView(u"text");
    (void)CFRetain(text);
    CFQRelease(text);
    EXPECT_EQ(CFStringGetLength(text), 4);
    CFQRelease(text);
}
