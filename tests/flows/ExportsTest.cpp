// What the plug-in shows to the world, and what the host needs of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

const std::filesystem::path kApp = std::filesystem::path(SUITE_FOLDER) / "TandemService.app/Contents";

/// The output of a command.
std::string outputOf(const std::string& command)
{
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), &::pclose);
    std::string output;
    char buffer[4096];
    while (pipe && std::fgets(buffer, sizeof buffer, pipe.get()))
        output += buffer;
    return output;
}

/// The names of the functions and objects that a module exports, as the system's own tool lists them.
std::vector<std::string> exportsOf(const std::filesystem::path& module)
{
    std::istringstream lines(outputOf("nm -D --defined-only '" + module.string() + "'"));
    std::vector<std::string> names;
    std::string address;
    std::string kind;
    std::string name;
    while (lines >> address >> kind >> name)
        names.push_back(name);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

TEST(PluginModule, ExportsItsTwoFunctionsAndNothingElse)
{
    EXPECT_EQ(exportsOf(kApp / "PlugIns/Update.bundle/Contents/Linux/Update"),
        (std::vector<std::string> {"GetMsgProviderPlugin", "ReleaseMsgProviderPlugin"}));
}

TEST(HostProgram, NeedsThePlatformLibraryAndNotThePlugin)
{
    const std::string needed
        = outputOf("readelf -d '" + (kApp / "Linux/TandemService").string() + "' | grep NEEDED");
    EXPECT_NE(needed.find("libTandemPlatform.so"), std::string::npos) << needed;
    EXPECT_EQ(needed.find("Update"), std::string::npos) << needed;
}
