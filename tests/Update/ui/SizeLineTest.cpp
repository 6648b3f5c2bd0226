#include "Update/ui/SizeLine.h"

#include "Platform/Support/Unicode.h"

#include <gtest/gtest.h>

namespace {

struct Case {
    const char* name;
    UInt32 sizeBytes;
    const char16_t* line;
};

class SizeLine : public testing::TestWithParam<Case> { };

TEST_P(SizeLine, AddsFiveBlanksAndTheSizeToTheTemplate)
{
    EXPECT_EQ(utf8FromWide(sizeLine(u"Total size:", GetParam().sizeBytes)), utf8FromWide(GetParam().line));
}

INSTANTIATE_TEST_SUITE_P(Sizes, SizeLine,
    testing::Values(Case {"Nothing", 0, u"Total size:     0 Byte(s)"},
        Case {"One", 1, u"Total size:     1 Byte(s)"},
        Case {"LastOfBytes", 1024, u"Total size:     1024 Byte(s)"},
        Case {"FirstOfK", 1025, u"Total size:     1.00 K"},
        Case {"RoundedK", 1536 + 5, u"Total size:     1.50 K"},
        Case {"LastOfK", 1048576, u"Total size:     1024.00 K"},
        Case {"FirstOfM", 1048577, u"Total size:     1.00 M"},
        Case {"ThreeM", 3145728, u"Total size:     3.00 M"},
        Case {"BeyondSigned", 2147483648U, u"Total size:     2048.00 M"},
        Case {"Most", 4294967295U, u"Total size:     4096.00 M"}),
    [](const auto& one) { return one.param.name; });

TEST(SizeLineTemplate, ComesFirstEvenWhenItIsEmpty)
{
    EXPECT_EQ(utf8FromWide(sizeLine(u"", 3145728)), "     3.00 M");
}

TEST(SizeLineTemplate, MayHoldAPercentSign)
{
    EXPECT_EQ(utf8FromWide(sizeLine(u"At 100%% speed:", 5)), "At 100% speed:     5 Byte(s)");
}

TEST(SizeLineTemplate, CutsTheLineAtItsBound)
{
    EXPECT_EQ(sizeLine(std::u16string(2000, u'x'), 5).size(), 1023U);
}

} // namespace
