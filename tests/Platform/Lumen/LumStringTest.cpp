// The growable wide string and the wide-string functions.
#include "Platform/Lumen/LumString.h"

#include <gtest/gtest.h>

TEST(CLumStringW, IsEmptyFromNothingAndFromNull)
{
    EXPECT_TRUE(CLumStringW().empty());
    EXPECT_TRUE(CLumStringW(static_cast<const UniChar*>(nullptr)).empty());
    EXPECT_EQ(CLumStringW(static_cast<const UniChar*>(nullptr)).size(), 0u);
}

TEST(CLumStringW, GrowsWithoutABound)
{
    CLumStringW text(u"start");
    for (int i = 0; i < 1000; ++i)
        text += u"0123456789";
    EXPECT_EQ(text.size(), 10005u);
    EXPECT_EQ(text.view().substr(0, 7), u"start01");
    text.clear();
    EXPECT_TRUE(text.empty());
}

TEST(CLumStringW, IsACopyOfItsOwnThatEndsWithZero)
{
    std::u16string source = u"text";
    const CLumStringW text(source.c_str());
    source = u"gone";
    EXPECT_EQ(text.view(), u"text");
    EXPECT_EQ(text.c_str()[4], u'\0');
    EXPECT_FALSE(text == CLumStringW(u"Text"));
}

TEST(LumWcscmpi, OrdersWithoutRegardToCase)
{
    EXPECT_EQ(lum_wcscmpi(u"Reader", u"rEADER"), 0);
    EXPECT_EQ(lum_wcscmpi(u"ÄRGER", u"ärger"), 0);
    EXPECT_EQ(lum_wcscmpi(u"a", u"B"), -1);
    EXPECT_EQ(lum_wcscmpi(u"b", u"A"), 1);
    EXPECT_EQ(lum_wcscmpi(u"read", u"reader"), -1);
}

TEST(LumWcscmpi, TakesNullForTheEmptyText)
{
    EXPECT_EQ(lum_wcscmpi(nullptr, nullptr), 0);
    EXPECT_EQ(lum_wcscmpi(nullptr, u""), 0);
    EXPECT_EQ(lum_wcscmpi(nullptr, u"a"), -1);
    EXPECT_EQ(lum_wcscmpi(u"a", nullptr), 1);
}
