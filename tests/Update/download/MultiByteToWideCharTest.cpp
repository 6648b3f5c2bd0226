// Narrow text to wide text, by code page.
#include "Update/download/MultiByteToWideChar.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr UniChar kUntouched = 0xAAAA;

struct Target {
    Target() { units.fill(kUntouched); }

    std::array<UniChar, 32> units;
    std::u16string_view text() const { return units.data(); }
};

} // namespace

TEST(MultiByteToWideChar, SizeQueryGivesTheLengthAndOneMore)
{
    EXPECT_EQ(MultiByteToWideChar(0, 0, "hello", -1, nullptr, 0), 6);
    EXPECT_EQ(MultiByteToWideChar(0, 0, "hello", 3, nullptr, 0), 4);
    EXPECT_EQ(MultiByteToWideChar(65001, 0, "", -1, nullptr, 0), 1);
}

TEST(MultiByteToWideChar, CodePage0IsWindowsLatin1)
{
    Target target;
    EXPECT_EQ(MultiByteToWideChar(0, 0, "\x80\xE4", -1, target.units.data(), 32), 3);
    EXPECT_EQ(target.text(), u"\u20AC\u00E4");
}

TEST(MultiByteToWideChar, CodePage65001IsUtf8)
{
    Target target;
    EXPECT_EQ(MultiByteToWideChar(65001, 0, "\xC3\xA4\xF0\x9F\x98\x80", -1, target.units.data(), 32), 4);
    EXPECT_EQ(target.text(), u"\u00E4\U0001F600");
}

TEST(MultiByteToWideChar, EveryOtherCodePageIsMacRoman)
{
    for (const UInt32 codePage : {1u, 2u, 1252u, 0xFFFFFFFFu}) {
        Target target;
        EXPECT_EQ(MultiByteToWideChar(codePage, 0, "\x8A", -1, target.units.data(), 32), 2) << codePage;
        EXPECT_EQ(target.text(), u"\u00E4") << codePage;
    }
}

TEST(MultiByteToWideChar, FlagsAreIgnored)
{
    Target target;
    EXPECT_EQ(MultiByteToWideChar(0, 0xFFFFFFFF, "a", -1, target.units.data(), 32), 2);
    EXPECT_EQ(target.text(), u"a");
}

TEST(MultiByteToWideChar, ConvertsTheWholeSourceWhateverItsGivenLength)
{
    Target target;
    EXPECT_EQ(MultiByteToWideChar(0, 0, "hello", 2, target.units.data(), 32), 6);
    EXPECT_EQ(target.text(), u"hello");
}

TEST(MultiByteToWideChar, CutsAtTheTargetAndAlwaysTerminates)
{
    struct {
        int room;
        int count;
        std::u16string_view text;
    } const cases[] = {{1, 1, u""}, {3, 3, u"he"}, {5, 5, u"hell"}, {6, 6, u"hello"}, {7, 6, u"hello"}};
    for (const auto& [room, count, text] : cases) {
        Target target;
        EXPECT_EQ(MultiByteToWideChar(0, 0, "hello", -1, target.units.data(), room), count) << room;
        EXPECT_EQ(target.text(), text) << room;
        EXPECT_EQ(target.units[static_cast<std::size_t>(count)], kUntouched) << room;
    }
}

TEST(MultiByteToWideChar, InvalidSourceGivesAnEmptyText)
{
    Target target;
    EXPECT_EQ(MultiByteToWideChar(65001, 0, "\xC3", -1, target.units.data(), 32), 0);
    EXPECT_EQ(target.text(), u"");
}

TEST(MultiByteToWideChar, NegativeRoomWritesNothing)
{
    Target target;
    EXPECT_EQ(MultiByteToWideChar(0, 0, "a", -1, target.units.data(), -1), 0);
    EXPECT_EQ(target.units[0], kUntouched);
}
