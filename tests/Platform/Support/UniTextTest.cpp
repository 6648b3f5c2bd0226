// Bounded wide text: what fits, what is cut and where, and that the rest of the buffer is zero.
#include "Platform/Support/UniText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Text = UniText<5>;

/// All five units of the buffer.
std::u16string units(Text& text)
{
    return std::u16string(text.data(), Text::kCapacity);
}

} // namespace

TEST(UniText, IsZeroFilledFromTheStart)
{
    Text text;
    EXPECT_EQ(units(text), std::u16string(5, u'\0'));
    EXPECT_TRUE(text.empty());
    EXPECT_TRUE(Text(static_cast<const UniChar*>(nullptr)).empty());
}

TEST(UniText, TakesOneUnitLessThanItsCapacity)
{
    Text text;
    EXPECT_TRUE(text.assign(u"abcd"));
    EXPECT_EQ(text.view(), u"abcd");
    EXPECT_FALSE(text.assign(u"vwxyz"));
    EXPECT_EQ(text.view(), u"vwxy");
    EXPECT_EQ(text.size(), 4u);
}

TEST(UniText, ShorterTextLeavesNothingOfTheFormerOne)
{
    Text text(u"abcd");
    EXPECT_TRUE(text.assign(u"x"));
    EXPECT_EQ(units(text), std::u16string(u"x\0\0\0\0", 5));
    text.clear();
    EXPECT_EQ(units(text), std::u16string(5, u'\0'));
}

TEST(UniText, IsNeverCutInsideASurrogatePair)
{
    Text text;
    EXPECT_FALSE(text.assign(u"abc\U0001F600"));
    EXPECT_EQ(units(text), std::u16string(u"abc\0\0", 5));
    EXPECT_TRUE(text.assign(u"ab\U0001F600"));
    EXPECT_EQ(text.view(), u"ab\U0001F600");
    text.assign(u"abc");
    EXPECT_FALSE(text.append(u"\U0001F600"));
    EXPECT_EQ(text.view(), u"abc");
}

TEST(UniText, EndsAtTheFirstZeroUnit)
{
    Text text;
    EXPECT_TRUE(text.assign(std::u16string_view(u"a\0bcdef", 7)));
    EXPECT_EQ(units(text), std::u16string(u"a\0\0\0\0", 5));
    EXPECT_TRUE(text.append(std::u16string_view(u"b\0cdefg", 7)));
    EXPECT_EQ(text.view(), u"ab");
}

TEST(UniText, AppendsWhatFits)
{
    Text text(u"ab");
    EXPECT_TRUE(text.append(u"cd"));
    EXPECT_TRUE(text.append(u""));
    EXPECT_FALSE(text.append(u"e"));
    EXPECT_EQ(text.view(), u"abcd");
}

TEST(UniText, MayBeMadeOfAPartOfItself)
{
    Text text(u"abcd");
    EXPECT_TRUE(text.assign(text.view().substr(2)));
    EXPECT_EQ(units(text), std::u16string(u"cd\0\0\0", 5));
    EXPECT_TRUE(text.append(text.view()));
    EXPECT_EQ(text.view(), u"cdcd");
}

TEST(UniText, HasTheSizesOfTheSystemsBuffers)
{
    EXPECT_EQ(sizeof(WideText), 2048u);
    EXPECT_EQ(sizeof(VersionText), 128u);
    EXPECT_EQ(sizeof(LanguageText), 64u);
}
