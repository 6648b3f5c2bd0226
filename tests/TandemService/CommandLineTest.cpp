#include "TandemService/CommandLine.h"

#include <gtest/gtest.h>

namespace {

using Words = std::vector<std::string>;

HostOptions parsed(const Words& words)
{
    std::string error;
    const auto options = parseCommandLine(words, error);
    EXPECT_TRUE(options.has_value()) << error;
    return options.value_or(HostOptions {});
}

} // namespace

TEST(CommandLine, NamesTheMode)
{
    EXPECT_EQ(parsed({}), (HostOptions {.mode = HostMode::resident}));
    EXPECT_EQ(parsed({"--check"}), (HostOptions {.mode = HostMode::check}));
    EXPECT_EQ(parsed({"--update"}), (HostOptions {.mode = HostMode::update}));
    EXPECT_EQ(parsed({"--help"}), (HostOptions {.mode = HostMode::help}));
}

TEST(CommandLine, TakesItsOptionsInAnyOrder)
{
    const HostOptions all
        = {.mode = HostMode::update, .unattended = true, .plugin = "/a b", .pictures = "--check"};
    EXPECT_EQ(parsed({"--update", "--unattended", "--plugin", "/a b", "--pictures", "--check"}), all);
    EXPECT_EQ(parsed({"--pictures", "--check", "--plugin", "/a b", "--unattended", "--update"}), all);
    EXPECT_EQ(parsed({"--plugin", "x"}), (HostOptions {.plugin = "x"}));
}

TEST(CommandLine, UsageNamesEveryOption)
{
    const std::string usage = kUsageText;
    for (const char* option : {"--check", "--update", "--help", "--unattended", "--plugin", "--pictures"})
        EXPECT_NE(usage.find(option), std::string::npos) << option;
}

TEST(CommandLine, RefusesWhatItDoesNotUnderstand)
{
    const Words refused[] = {{"check"}, {"--other"}, {""}, {"--check", "--update"}, {"--update", "--update"},
        {"--unattended"}, {"--unattended", "--check"}, {"--plugin"}, {"--plugin", ""}, {"--pictures"},
        {"--plugin", "a", "--plugin", "b"}, {"--update", "more"}};
    for (const Words& words : refused) {
        std::string error;
        EXPECT_FALSE(parseCommandLine(words, error).has_value()) << ::testing::PrintToString(words);
        EXPECT_FALSE(error.empty());
    }
}
