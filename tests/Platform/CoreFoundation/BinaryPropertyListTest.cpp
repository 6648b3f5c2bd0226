// Property lists in the binary form: each kind of object, and lists that were made to do harm.
#include "tests/Platform/CoreFoundation/PropertyListSupport.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace property_list;
using namespace std::string_literals;

namespace {

/// The list of one object.
std::string listOf(const std::string& object)
{
    return BinaryList().object(object).bytes();
}

/// A valid list that has every kind of object: {"k": [1, -1, 1.5, true, date 1, data "d", "\u20AC", UID 5]}.
std::string wholeList()
{
    return BinaryList()
        .object("\xD1\x01\x02"s)
        .object("\x51k"s)
        .object("\xA8\x03\x04\x05\x06\x07\x08\x09\x0A"s)
        .object("\x10\x01"s)
        .object("\x13"s + bigEndian(~UInt64(0), 8))
        .object("\x23"s + bigEndian(0x3FF8000000000000, 8))
        .object("\x09"s)
        .object("\x33"s + bigEndian(0x3FF0000000000000, 8))
        .object("\x41"
                "d"s)
        .object("\x61\x20\xAC"s)
        .object("\x80\x05"s)
        .bytes();
}

Value wholeValue()
{
    return dictionary({{u"k",
        array({integer(1), integer(-1), real(1.5), boolean(true), date(1), blob("d"), text(u"\u20AC"),
            dictionary({{u"CF$UID", integer(5)}})})}});
}

struct ObjectCase {
    const char* name;
    std::string object;
    Value expected; ///< null: the list is refused
};

class BinaryPropertyListObject : public testing::TestWithParam<ObjectCase> { };

class BinaryPropertyListRefuses : public testing::TestWithParam<std::pair<const char*, std::string>> { };

/// Arrays of `width` references each to the next one, `depth` of them: the last holds a string.
std::string doublingList(int depth, int width)
{
    BinaryList list;
    for (int i = 0; i < depth; ++i) {
        const char next = static_cast<char>(i + 1);
        list.object(std::string(1, static_cast<char>(0xA0 + width))
            + std::string(static_cast<std::size_t>(width), next));
    }
    return list.object("\x51x").bytes();
}

} // namespace

TEST(BinaryPropertyList, ReadsAWholeList)
{
    EXPECT_TRUE(reads(wholeList(), wholeValue()));
}

TEST_P(BinaryPropertyListObject, IsReadOrRefused)
{
    const Value value = read(listOf(GetParam().object));
    ASSERT_EQ(value != nullptr, GetParam().expected != nullptr);
    EXPECT_TRUE(!value || CFEqual(value, GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(Integers, BinaryPropertyListObject,
    testing::Values(ObjectCase {"OneByteHasNoSign", "\x10\xFF", integer(255)},
        ObjectCase {"TwoBytesHaveNoSign", "\x11\xFF\xFE", integer(65534)},
        ObjectCase {"FourBytesHaveNoSign", "\x12\xFF\xFF\xFF\xFF", integer(4294967295)},
        ObjectCase {"EightBytesHaveASign", "\x13"s + bigEndian(UInt64(-7), 8), integer(-7)},
        ObjectCase {"SixteenBytes", "\x14"s + bigEndian(0, 8) + bigEndian(7, 8), integer(7)},
        ObjectCase {"SixteenBytesAbove63Bits", "\x14"s + bigEndian(0, 8) + bigEndian(UInt64(1) << 63, 8),
            real(9223372036854775808.0)},
        ObjectCase {"SixteenBytesNegative", "\x14"s + bigEndian(~UInt64(0), 8) + bigEndian(UInt64(-7), 8),
            integer(-7)},
        ObjectCase {"SixteenBytesTooLarge", "\x14"s + bigEndian(1, 8) + bigEndian(0, 8), nullptr},
        ObjectCase {"SixteenBytesTooSmall", "\x14"s + bigEndian(~UInt64(0), 8) + bigEndian(0, 8), nullptr},
        ObjectCase {"ThirtyTwoBytes", "\x15"s + std::string(32, '\0'), nullptr},
        ObjectCase {"HugeSize", "\x1F"s + std::string(64, '\0'), nullptr},
        ObjectCase {"CutOff", "\x13\x01\x02", nullptr}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Scalars, BinaryPropertyListObject,
    testing::Values(ObjectCase {"False", "\x08", boolean(false)}, ObjectCase {"True", "\x09", boolean(true)},
        ObjectCase {"Null", "\0"s, nullptr}, ObjectCase {"Fill", "\x0F", nullptr},
        ObjectCase {"Float", "\x22"s + bigEndian(0xBF000000, 4), real(-0.5)},
        ObjectCase {"Double", "\x23"s + bigEndian(0x4000000000000000, 8), real(2)},
        ObjectCase {"RealOfTwoBytes", "\x21\x01\x02", nullptr},
        ObjectCase {"RealOfSixteenBytes", "\x24"s + std::string(16, '\0'), nullptr},
        ObjectCase {"Date", "\x33"s + bigEndian(0xBFF0000000000000, 8), date(-1)},
        ObjectCase {"DateOfFourBytes", "\x32"s + bigEndian(0, 4), nullptr},
        ObjectCase {"DateThatIsNoNumber", "\x33"s + bigEndian(0x7FF8000000000000, 8), nullptr},
        ObjectCase {"Uid", "\x81\x01\x02", dictionary({{u"CF$UID", integer(258)}})},
        ObjectCase {"UidOfNineBytes", "\x88"s + std::string(9, '\1'), nullptr},
        ObjectCase {"UidCutOff", "\x83\x01", nullptr}, ObjectCase {"Url", "\x0C\x51x", nullptr},
        ObjectCase {"Set", "\xC0", nullptr}, ObjectCase {"UnknownKind", "\x71x", nullptr}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Texts, BinaryPropertyListObject,
    testing::Values(ObjectCase {"EmptyString", "\x50", text(u"")},
        ObjectCase {"Ascii",
            "\x53"
            "abc",
            text(u"abc")},
        ObjectCase {"AsciiWithHighByte", "\x51\xE9", nullptr},
        ObjectCase {"Utf16", "\x62\xD8\x3D\xDE\x00"s, text(u"\U0001F600")},
        ObjectCase {"Utf16WithLoneSurrogate", "\x61\xD8\x3D"s, text(std::u16string(1, char16_t(0xD83D)))},
        ObjectCase {"Utf16CutOff", "\x62\x00x"s, nullptr},
        ObjectCase {"AsciiCutOff",
            "\x55"
            "abc",
            nullptr},
        ObjectCase {"Data", "\x43\0\x01\xFF"s, blob("\0\x01\xFF"s)},
        ObjectCase {"CountInOneByte",
            "\x5F\x10\x10"
            "0123456789abcdef",
            text(u"0123456789abcdef")},
        ObjectCase {"CountInEightBytes", "\x5F\x13"s + bigEndian(2, 8) + "ab", text(u"ab")},
        ObjectCase {"CountInSixteenBytes", "\x5F\x14"s + bigEndian(0, 8) + bigEndian(2, 8) + "ab", nullptr},
        ObjectCase {"CountThatIsNoInteger",
            "\x5F\x51"
            "2ab",
            nullptr},
        ObjectCase {"CountCutOff", "\x5F\x13\x01", nullptr}, ObjectCase {"CountMissing", "\x5F", nullptr},
        ObjectCase {"HugeCount", "\x5F\x13"s + bigEndian(0x7FFFFFFFFFFFFFFF, 8) + "ab", nullptr},
        ObjectCase {"HugeUtf16Count", "\x6F\x13"s + bigEndian(0x8000000000000001, 8) + "ab", nullptr},
        ObjectCase {"HugeDataCount", "\x4F\x12\xFF\xFF\xFF\xFF", nullptr},
        ObjectCase {"HugeArrayCount", "\xAF\x13"s + bigEndian(~UInt64(0), 8), nullptr},
        ObjectCase {"HugeDictionaryCount", "\xDF\x13"s + bigEndian(0x8000000000000000, 8), nullptr}),
    [](const auto& test) { return test.param.name; });

TEST(BinaryPropertyList, ReadsOffsetsAndReferencesOfEverySize)
{
    for (unsigned size = 1; size <= 8; ++size) {
        BinaryList list;
        list.m_offsetSize = size;
        list.m_referenceSize = size;
        list.object("\xA2" + bigEndian(1, size) + bigEndian(1, size)).object("\x51x");
        EXPECT_TRUE(reads(list.bytes(), array({text(u"x"), text(u"x")}))) << size;
    }
}

TEST(BinaryPropertyList, RootMayBeAnyObject)
{
    EXPECT_TRUE(reads(BinaryList().object("\x51x").object("\x51y").bytes(1), text(u"y")));
}

TEST(BinaryPropertyList, LaterOfTwoEqualKeysStays)
{
    const std::string list = BinaryList()
                                 .object("\xD2\x01\x02\x03\x04")
                                 .object("\x51k")
                                 .object("\x51k")
                                 .object("\x08")
                                 .object("\x09")
                                 .bytes();
    EXPECT_TRUE(reads(list, dictionary({{u"k", boolean(true)}})));
}

TEST_P(BinaryPropertyListRefuses, List)
{
    EXPECT_FALSE(read(GetParam().second));
}

namespace {

/// A valid list of one string with the trailer's byte `at` (from its start) set to `value`.
std::string withTrailerByte(std::size_t at, unsigned value)
{
    std::string list = BinaryList().object("\x51x").bytes();
    list[list.size() - 32 + at] = static_cast<char>(value);
    return list;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Trailer, BinaryPropertyListRefuses,
    testing::Values(std::pair {"MagicAlone", "bplist00"s},
        std::pair {"NoObjects", "bplist00"s + std::string(32, '\0')},
        std::pair {"CutTrailer", BinaryList().object("\x51x").bytes().substr(0, 40)},
        std::pair {"OffsetSizeZero", withTrailerByte(6, 0)},
        std::pair {"OffsetSizeNine", withTrailerByte(6, 9)},
        std::pair {"ReferenceSizeZero", withTrailerByte(7, 0)},
        std::pair {"ReferenceSizeNine", withTrailerByte(7, 9)},
        std::pair {"CountZero", withTrailerByte(15, 0)}, std::pair {"CountTooLarge", withTrailerByte(15, 2)},
        std::pair {"CountHuge", withTrailerByte(8, 0xFF)}, std::pair {"RootTooLarge", withTrailerByte(23, 1)},
        std::pair {"RootHuge", withTrailerByte(16, 0xFF)},
        std::pair {"TableInTheMagic", withTrailerByte(31, 7)},
        std::pair {"TableBeyondTheList", withTrailerByte(31, 200)},
        std::pair {"TableHuge", withTrailerByte(24, 0xFF)}),
    [](const auto& test) { return test.param.first; });

INSTANTIATE_TEST_SUITE_P(Objects, BinaryPropertyListRefuses,
    testing::Values(std::pair {"ArrayThatHoldsItself", BinaryList().object("\xA1\0"s).bytes()},
        std::pair {"ArraysThatHoldOneAnother", BinaryList().object("\xA1\x01").object("\xA1\0"s).bytes()},
        std::pair {"DictionaryThatHoldsItself", BinaryList().object("\xD1\x01\0"s).object("\x51k").bytes()},
        std::pair {"DictionaryAsItsOwnKey", BinaryList().object("\xD1\0\x01"s).object("\x51k").bytes()},
        std::pair {"ReferenceTooLarge", BinaryList().object("\xA1\x01").bytes()},
        std::pair {"KeyThatIsNoText", BinaryList().object("\xD1\x01\x01").object("\x10\x01").bytes()},
        std::pair {"ReferencesCutOff", BinaryList().object("\xA3\x01").bytes()},
        std::pair {"ValuesOfADictionaryCutOff", BinaryList().object("\xD1\x01").bytes()},
        std::pair {"BadElement", BinaryList().object("\xA2\x01\x02").object("\x51x").object("\0"s).bytes()}),
    [](const auto& test) { return test.param.first; });

TEST(BinaryPropertyList, RefusesOffsetsOutsideTheObjects)
{
    const std::string good = BinaryList().object("\x51x").bytes();
    const std::size_t offsetAt = good.size() - 32 - 1; // the lower byte of the only offset
    for (const unsigned offset : {0U, 7U, 10U, 11U, 200U}) {
        std::string list = good;
        list[offsetAt] = static_cast<char>(offset);
        EXPECT_FALSE(read(list)) << offset;
    }
}

TEST(BinaryPropertyList, SharedValuesAreReadWhereverTheyStand)
{
    const Value inner = array({text(u"x"), text(u"x")});
    EXPECT_TRUE(reads(doublingList(2, 2), array({inner, inner})));
}

TEST(BinaryPropertyList, RefusesSharingThatGrowsBeyondBoundAtOnce)
{
    // 2^19 strings in 2^19-1 arrays are 1,048,575 values; one level less is half of it.
    EXPECT_TRUE(read(doublingList(18, 2)));
    EXPECT_FALSE(read(doublingList(19, 2)));
    // 10^100 values in 1,500 bytes.
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(read(doublingList(100, 10)));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(BinaryPropertyList, ReadsUpTo512Levels)
{
    const auto nested = [](unsigned levels) {
        BinaryList list;
        list.m_referenceSize = 2;
        for (unsigned i = 1; i < levels; ++i)
            list.object("\xA1" + bigEndian(i, 2));
        return list.object("\xA0").bytes();
    };
    EXPECT_TRUE(read(nested(512)));
    EXPECT_FALSE(read(nested(513)));
    EXPECT_FALSE(read(nested(20'000)));
}

TEST(BinaryPropertyList, CountsLevelsOfSharedValuesWhereverTheyStand)
{
    // [chain of 300, [... 300 levels ... [chain of 300]]]: the chain is read at level 2 and stands again
    // below level 300.
    BinaryList list;
    list.m_referenceSize = 2;
    list.object("\xA2" + bigEndian(301, 2) + bigEndian(1, 2));
    for (unsigned i = 1; i <= 600; ++i)
        list.object(i == 600 ? "\xA0"s : "\xA1" + bigEndian(i + 1, 2));
    EXPECT_FALSE(read(list.bytes()));
}

TEST(BinaryPropertyList, RefusesObjectsThatLieOverOneAnother)
{
    // 2,000 data objects at one offset, of 60,000 bytes each, would be 120 MB out of 70,000 bytes.
    std::string list = "bplist00\xAF\x11"s + bigEndian(2000, 2);
    for (unsigned i = 1; i <= 2000; ++i)
        list += bigEndian(i, 2);
    const std::size_t dataAt = list.size();
    list += "\x4F\x11"s + bigEndian(60'000, 2) + std::string(60'000, 'x');
    const std::size_t tableAt = list.size();
    list += bigEndian(8, 2);
    for (unsigned i = 1; i <= 2000; ++i)
        list += bigEndian(dataAt, 2);
    list += std::string(6, '\0') + "\x02\x02"s + bigEndian(2001, 8) + bigEndian(0, 8) + bigEndian(tableAt, 8);
    EXPECT_FALSE(read(list));
}

TEST(BinaryPropertyList, RefusesMoreThanAMillionObjects)
{
    const auto manyObjects = [](unsigned count) {
        BinaryList list;
        list.m_offsetSize = 4;
        for (unsigned i = 0; i < count; ++i)
            list.object("\x09");
        return list.bytes();
    };
    EXPECT_TRUE(read(manyObjects(1'000'000)));
    EXPECT_FALSE(read(manyObjects(1'000'001)));
}

TEST(BinaryPropertyList, RefusesEveryTruncation)
{
    const std::string list = wholeList();
    for (std::size_t size = 0; size < list.size(); ++size)
        EXPECT_FALSE(read(list.substr(0, size))) << size;
}

TEST(BinaryPropertyList, EveryDamagedByteGivesNullOrAValue)
{
    const std::string good = wholeList();
    int readCount = 0;
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (unsigned value = 0; value < 256; ++value) {
            std::string list = good;
            list[at] = static_cast<char>(value);
            const Value damaged = read(list);
            if (!damaged)
                continue;
            ++readCount;
            const CFTypeID type = CFGetTypeID(damaged);
            EXPECT_TRUE(type == CFStringGetTypeID() || type == CFNumberGetTypeID()
                || type == CFBooleanGetTypeID() || type == CFDateGetTypeID() || type == CFDataGetTypeID()
                || type == CFArrayGetTypeID() || type == CFDictionaryGetTypeID())
                << at;
        }
    }
    // At least the undamaged list, once for each of its bytes.
    EXPECT_GE(readCount, static_cast<int>(good.size()));
}
