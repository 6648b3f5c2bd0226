// The placing of the bundle's helper tool in the user's caches folder.
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Update/helper/AssistantTool.h"
#include "tests/support/FakeHome.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

// The plug-in's bundle as the host registers it; with the tool unless the test removes it.
struct PlugInBundle {
    FakeHome home;
    fs::path tool = home.folder().write("Update.bundle/Contents/Linux/WatchSelfUpdate", "the tool");
    CFRef<CFBundleRef> bundle = registered(u"com.Velmora.Update");

    CFRef<CFBundleRef> registered(std::u16string_view identifier)
    {
        fs::permissions(tool, fs::perms(0755));
        std::string plist = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                            "<key>CFBundleIdentifier</key><string>";
        plist.append(identifier.begin(), identifier.end()).append("</string></dict></plist>\n");
        (void)home.folder().write("Update.bundle/Contents/Info.plist", plist);
        const std::string path = home.folder().at("Update.bundle").string();
        const CFRef url = adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
            reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), true));
        return adoptCF(CFBundleCreate(kCFAllocatorDefault, url));
    }

    fs::path installed() const { return home.cache() / "VelmoraWatchSelfUpdate/WatchSelfUpdate"; }
};

} // namespace

TEST(CopyAssistantTool2Folder, CopiesTheToolAndGivesItsPath)
{
    const PlugInBundle plugIn;
    ASSERT_NE(plugIn.bundle.get(), nullptr);
    unsigned char path[1024] = {};
    ASSERT_TRUE(CopyAssistantTool2Folder(path));
    EXPECT_EQ(reinterpret_cast<const char*>(path), plugIn.installed().string());
    EXPECT_EQ(readWholeFile(plugIn.installed()), "the tool");
    struct stat info { };
    ASSERT_EQ(stat(plugIn.installed().parent_path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode, mode_t(S_IFDIR | 0700));
}

TEST(CopyAssistantTool2Folder, ReplacesABrokenTool)
{
    const PlugInBundle plugIn;
    (void)plugIn.home.folder().write("cache/VelmoraWatchSelfUpdate/WatchSelfUpdate", "broken");
    unsigned char path[1024] = {};
    ASSERT_TRUE(CopyAssistantTool2Folder(path));
    EXPECT_EQ(readWholeFile(plugIn.installed()), "the tool");
}

TEST(CopyAssistantTool2Folder, FailsWithoutTheBundle)
{
    PlugInBundle plugIn;
    plugIn.bundle = nullptr;
    unsigned char path[1024] = {};
    EXPECT_FALSE(CopyAssistantTool2Folder(path));
    EXPECT_FALSE(fs::exists(plugIn.installed().parent_path()));
}

TEST(CopyAssistantTool2Folder, FailsWithoutTheToolInTheBundle)
{
    const PlugInBundle plugIn;
    fs::remove(plugIn.tool);
    unsigned char path[1024] = {};
    EXPECT_FALSE(CopyAssistantTool2Folder(path));
    EXPECT_FALSE(fs::exists(plugIn.installed().parent_path()));
}

TEST(CopyAssistantTool2Folder, FailsWhereItsFolderCannotBeUsed)
{
    const PlugInBundle plugIn;
    (void)plugIn.home.folder().write("cache/VelmoraWatchSelfUpdate", "a file in the way");
    unsigned char path[1024] = {};
    EXPECT_FALSE(CopyAssistantTool2Folder(path));
}

TEST(CopyAssistantTool2Folder, FailsWhenTheRepairFails)
{
    const PlugInBundle plugIn;
    (void)plugIn.home.folder().write("cache/VelmoraWatchSelfUpdate/WatchSelfUpdate/inside", "x");
    unsigned char path[1024] = {};
    EXPECT_FALSE(CopyAssistantTool2Folder(path));
}

TEST(CopyAssistantTool2Folder, FailsForAPathThatDoesNotFit)
{
    const PlugInBundle plugIn;
    const std::string tool = "/VelmoraWatchSelfUpdate/WatchSelfUpdate";
    const auto copyBelow = [&](std::size_t bytes) {
        std::string folder = plugIn.home.path().string();
        while (bytes - folder.size() > 200)
            folder += '/' + std::string(100, 'd');
        folder += '/' + std::string(bytes - folder.size() - 1, 'e');
        const ScopedEnvironment cache("XDG_CACHE_HOME", folder);
        unsigned char path[1024] = {};
        const bool copied = CopyAssistantTool2Folder(path);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(path)), copied ? folder + tool : "");
        return copied;
    };
    EXPECT_TRUE(copyBelow(1023 - tool.size()));
    EXPECT_FALSE(copyBelow(1024 - tool.size()));
}
