// Which files are marked as shared: those of sections that a "common" descriptor brings in.
#include "tests/Update/descriptor/Suite.h"

#include <gtest/gtest.h>

namespace {

using Names = std::vector<std::string>;

/// The mark of the one file that `descriptor` takes over.
SInt32 markBelow(const Suite& suite, const DescriptorBuilder& descriptor)
{
    const auto interpreter = suite.parsed(descriptor);
    EXPECT_EQ(interpreter->filesToUpdate().size(), 1U);
    return interpreter->filesToUpdate().empty() ? -1 : interpreter->filesToUpdate()[0]->mark();
}

} // namespace

TEST(Marking, MarksASectionsFilesBelowACommonDescriptor)
{
    const Suite suite;
    const auto section = suite.offer("Section", DescriptorBuilder().type("section"));
    EXPECT_EQ(markBelow(suite, DescriptorBuilder().type("common").section(section)), 1);
}

TEST(Marking, MarksASectionsFilesTwoLevelsBelowACommonDescriptor)
{
    const Suite suite;
    const auto section = suite.offer("Section", DescriptorBuilder().type("section"));
    const auto app = suite.offer("App", DescriptorBuilder().type("app").section(section));
    const auto interpreter = suite.parsed(DescriptorBuilder().type("common").section(app));
    ASSERT_EQ(namesOf(*interpreter), (Names {"App", "Section"}));
    EXPECT_EQ(interpreter->filesToUpdate()[0]->mark(), 0);
    EXPECT_EQ(interpreter->filesToUpdate()[1]->mark(), 1);
}

TEST(Marking, MarksWhatACommonDescriptorInTheMiddleTookOver)
{
    const Suite suite;
    const auto section = suite.offer("Section", DescriptorBuilder().type("section"));
    const auto common = suite.offer("Common", DescriptorBuilder().type("common").section(section));
    const auto interpreter = suite.parsed(DescriptorBuilder().type("app").section(common));
    ASSERT_EQ(namesOf(*interpreter), (Names {"Common", "Section"}));
    EXPECT_EQ(interpreter->filesToUpdate()[0]->mark(), 0);
    EXPECT_EQ(interpreter->filesToUpdate()[1]->mark(), 1);
}

TEST(Marking, LeavesFilesBelowOtherDescriptorsUnmarked)
{
    const Suite suite;
    const auto section = suite.offer("Section", DescriptorBuilder().type("section"));
    EXPECT_EQ(markBelow(suite, DescriptorBuilder().type("section").section(section)), 0);
    EXPECT_EQ(markBelow(suite, DescriptorBuilder().type("app").section(section)), 0);
    EXPECT_EQ(markBelow(suite, DescriptorBuilder().type("updater").section(section)), 0);
}

TEST(Marking, LeavesFilesOfOtherDescriptorsUnmarked)
{
    const Suite suite;
    for (const char* type : {"app", "common", "updater", "none"})
        EXPECT_EQ(markBelow(suite,
                      DescriptorBuilder().type("common").section(
                          suite.offer(type, DescriptorBuilder().type(type)))),
            0)
            << type;
}

TEST(Marking, LeavesADescriptorsOwnFilesUnmarked)
{
    const Suite suite;
    const auto interpreter = suite.parsed(DescriptorBuilder().type("section").file(fileNamed("Top")));
    EXPECT_EQ(interpreter->filesToUpdate()[0]->mark(), 0);
}
