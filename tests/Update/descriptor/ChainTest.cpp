// Chains of bundles that point at each other: where they are cut, and what that costs.
#include "tests/Update/descriptor/Suite.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

constexpr rlim_t kSmallStackBytes = 1 << 20;

std::string levelName(int level)
{
    return level == 1 ? "Top" : "P" + std::to_string(level);
}

using AddLink = DescriptorBuilder& (DescriptorBuilder::*)(const fs::path&, std::string_view);

/// The product on top, level 1, points at level 2 and so on to the last level. Returns the top's descriptor.
DescriptorBuilder makeChain(const Suite& suite, int levels, AddLink addLink)
{
    fs::path below;
    for (int level = levels; level > 1; --level) {
        DescriptorBuilder descriptor;
        if (!below.empty())
            (descriptor.*addLink)(below, "1.0.0.0");
        below = suite.offer(levelName(level), descriptor);
    }
    DescriptorBuilder top;
    (top.*addLink)(below, "1.0.0.0");
    return top.file(fileNamed("Top"));
}

/// Sections for every bundle of a tangle, each of which points at all of them.
DescriptorBuilder sectionsFor(const std::vector<fs::path>& bundles)
{
    DescriptorBuilder descriptor;
    for (const fs::path& bundle : bundles)
        descriptor.section(bundle);
    return descriptor;
}

} // namespace

TEST(Chain, CutsASectionOfTheProductItself)
{
    const Suite suite;
    suite.publish("Top", DescriptorBuilder().file(fileNamed("Top")).file(fileNamed("again")));
    const auto interpreter
        = suite.parsed(DescriptorBuilder().file(fileNamed("Top")).section(suite.bundle("Top")));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
    EXPECT_EQ(suite.fetched(), 0U);
}

TEST(Chain, AcceptsADependencyOnTheProductItself)
{
    const Suite suite;
    const auto interpreter
        = suite.parsed(DescriptorBuilder().dependency(suite.bundle("Top")).file(fileNamed("Top")));
    EXPECT_EQ(interpreter->status(), 1);
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
}

TEST(Chain, CutsBeforeItReadsThePropertyListAgain)
{
    const Suite suite;
    fs::remove(suite.bundle("Top") / "Contents/Info.plist");
    const auto interpreter
        = suite.parsed(DescriptorBuilder().dependency(suite.bundle("Top")).file(fileNamed("Top")));
    EXPECT_EQ(interpreter->status(), 1);
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
}

TEST(Chain, CutsACycleOfTwoBundles)
{
    const Suite suite;
    const auto a
        = suite.offer("A", DescriptorBuilder().section(suite.bundle("Top")).dependency(suite.bundle("Top")));
    const auto interpreter = suite.parsed(DescriptorBuilder().file(fileNamed("Top")).section(a));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top", "A"}));
    EXPECT_EQ(suite.fetched(), 1U);
}

TEST(Chain, CutsACycleOfThreeBundles)
{
    const Suite suite;
    const auto b = suite.offer("B", DescriptorBuilder().dependency(suite.bundle("Top")));
    const auto a = suite.offer("A", DescriptorBuilder().dependency(b));
    const auto interpreter = suite.parsed(DescriptorBuilder().dependency(a).file(fileNamed("Top")));
    EXPECT_EQ(interpreter->status(), 1);
    EXPECT_EQ(namesOf(*interpreter), (Names {"B", "A", "Top"}));
}

TEST(Chain, CutsACycleBelowTheProduct)
{
    const Suite suite;
    const auto a = suite.offer("A", DescriptorBuilder().section(suite.bundle("B")));
    (void)suite.offer("B", DescriptorBuilder().section(suite.bundle("A")).section(suite.bundle("B")));
    const auto interpreter = suite.parsed(DescriptorBuilder().file(fileNamed("Top")).section(a));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top", "A", "B"}));
}

TEST(Chain, KnowsAFolderByAnotherPath)
{
    const Suite suite;
    fs::create_directory_symlink(suite.bundle("Top"), suite.bundle("Link"));
    suite.publish("Top", DescriptorBuilder().file(fileNamed("Top")));
    const auto interpreter = suite.parsed(DescriptorBuilder()
                                              .file(fileNamed("Top"))
                                              .section(suite.bundle("Link"))
                                              .section(suite.bundle("Link") / "."));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top"}));
    EXPECT_EQ(suite.fetched(), 0U);
}

TEST(Chain, EndsWithoutAFolderForTheProduct)
{
    const Suite suite;
    suite.publish("Top", DescriptorBuilder().file(fileNamed("Top")).section(suite.bundle("Top")));
    const auto interpreter
        = suite.load(DescriptorBuilder().file(fileNamed("Top")).section(suite.bundle("Top")).xml());
    EXPECT_TRUE(interpreter->ParseFile(u"Top", u"1.0.0.0", nullptr, u"S/"));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Top", "Top"}));
}

TEST(Chain, FollowsABundleAgainOnAnotherBranch)
{
    const Suite suite;
    const auto shared = suite.offer("Shared");
    const auto interpreter
        = suite.parsed(DescriptorBuilder().dependency(shared).file(fileNamed("Top")).section(shared));
    EXPECT_EQ(namesOf(*interpreter), (Names {"Shared", "Top", "Shared"}));
}

TEST(Chain, GathersFromAHundredLevelsAndNoMore)
{
    const Suite suite;
    const auto interpreter = suite.parsed(makeChain(suite, 101, &DescriptorBuilder::section));
    const Names names = namesOf(*interpreter);
    ASSERT_EQ(names.size(), 100U);
    EXPECT_EQ(suite.fetched(), 99U);
    EXPECT_EQ(names.front(), "Top");
    EXPECT_EQ(names.back(), "P100");
}

TEST(Chain, AcceptsADependencyThatIsCutAtAHundredLevels)
{
    const Suite suite;
    const auto interpreter = suite.parsed(makeChain(suite, 101, &DescriptorBuilder::dependency));
    EXPECT_EQ(interpreter->status(), 1);
    const Names names = namesOf(*interpreter);
    ASSERT_EQ(names.size(), 100U);
    EXPECT_EQ(names.front(), "P100");
    EXPECT_EQ(names.back(), "Top");
}

TEST(ChainDeathTest, FitsAStackOfOneMebibyte)
{
    const Suite suite;
    const std::string xml = makeChain(suite, 100, &DescriptorBuilder::section).xml();
    const auto runOnSmallStack = [&] {
        const rlimit small {kSmallStackBytes, kSmallStackBytes};
        if (::setrlimit(RLIMIT_STACK, &small) != 0)
            ::_exit(2);
        const auto interpreter = suite.load(xml);
        ::_exit(suite.parse(*interpreter) && interpreter->filesToUpdate().size() == 100 ? 0 : 1);
    };
    EXPECT_EXIT(runOnSmallStack(), testing::ExitedWithCode(0), "");
}

TEST(Chain, FollowsEveryWayThroughATangleWithoutGoingInCircles)
{
    const Suite suite;
    const std::vector<fs::path> bundles {suite.bundle("A"), suite.bundle("B"), suite.bundle("C")};
    for (const char* name : {"A", "B", "C"})
        (void)suite.offer(name, sectionsFor(bundles));
    const auto interpreter = suite.parsed(sectionsFor(bundles).file(fileNamed("Top")));
    // A alone, A before B and C, A before C and B, and so for the other two.
    EXPECT_EQ(namesOf(*interpreter),
        (Names {"Top", "A", "B", "C", "C", "B", "B", "A", "C", "C", "A", "C", "A", "B", "B", "A"}));
    EXPECT_EQ(suite.fetched(), 3U);
}

TEST(Chain, LimitsWhatIsInterpretedBelowOneProduct)
{
    const Suite suite;
    // Leaves room for one and a half bundles, whose own descriptors are small.
    suite.pretendFetched("Large", 67'108'864 - 32'768 - 49'152);
    DescriptorBuilder top;
    top.section(suite.install("Large"));
    for (const char* name : {"First", "Second", "Third"})
        top.section(suite.offer(name));
    EXPECT_EQ(namesOf(*suite.parsed(top)), (Names {"First", "Second"}));
    EXPECT_EQ(suite.fetched(), 3U);
}

TEST(Chain, CountsBundlesWhoseDescriptorCannotBeFetched)
{
    const Suite suite;
    // Leaves room for one and a half bundles.
    suite.pretendFetched("Large", 67'108'864 - 32'768 - 49'152);
    DescriptorBuilder top;
    top.section(suite.install("Large"));
    for (const char* name : {"Missing", "Lost"})
        top.section(suite.install(name));
    top.section(suite.offer("Late"));
    EXPECT_EQ(namesOf(*suite.parsed(top)), Names());
    EXPECT_EQ(suite.fetched(), 1U);
}

TEST(Chain, SharesWhatMayBeSpentOnConstants)
{
    const Suite suite;
    // For each of 100 files four fixed constants are looked for in more than 1,000 units, and one is put in.
    DescriptorFile file = fileNamed("many");
    file.unzip = "/" + std::string(1000, 'x');
    DescriptorBuilder texts;
    for (int i = 0; i < 100; ++i)
        texts.file(file);
    const auto first = suite.offer("First", texts);
    const auto second = suite.offer("Second", texts);
    const auto names = [&](UInt64 units) {
        const auto interpreter = suite.load(DescriptorBuilder().section(first).section(second).xml());
        InterpreterAccess::limitSearching(*interpreter, units);
        (void)suite.parse(*interpreter);
        return namesOf(*interpreter).size();
    };
    EXPECT_EQ(names(kMaxSearchedUnits), 202U);
    // Enough for one of the two, not for both: the second one's own file is its last.
    EXPECT_EQ(names(800'000), 101U);
}

TEST(Chain, TakesOverUntilAMillionFilesAreHeld)
{
    const Suite suite;
    const auto section = suite.offer("Section");
    for (const bool full : {false, true}) {
        const auto interpreter = suite.load(DescriptorBuilder().section(section).xml());
        InterpreterAccess::holdNullFiles(*interpreter, full ? 1'000'000 : 999'999);
        EXPECT_EQ(suite.parse(*interpreter), !full);
        EXPECT_EQ(namesOf(*interpreter), full ? Names() : Names {"Section"});
    }
}

TEST(Chain, ForgetsTheFolderOfTheProductBefore)
{
    const Suite suite;
    suite.publish("Top", DescriptorBuilder().file(fileNamed("Top")));
    const auto interpreter
        = suite.load(DescriptorBuilder().section(suite.bundle("Top")).file(fileNamed("Top")).xml());
    EXPECT_TRUE(suite.parse(*interpreter));
    EXPECT_EQ(suite.fetched(), 0U);
    EXPECT_TRUE(interpreter->ParseFile(u"Other", u"1.0.0.0", nullptr, u"S/"));
    EXPECT_EQ(suite.fetched(), 1U);
}
