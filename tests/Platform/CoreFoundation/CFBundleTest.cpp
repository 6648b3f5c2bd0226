// Bundles: which one is where, what its property list says, what lies in it, and its code.
#include "Platform/CoreFoundation/CFArray.h"
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFNumber.h"
#include "tests/Platform/CoreFoundation/CFText.h"
#include "tests/support/FileURL.h"
#include "tests/support/FakeHome.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string plist(const std::string& entries)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries
        + "</dict></plist>\n";
}

std::string entry(const std::string& key, const std::string& value)
{
    return "<key>" + key + "</key><string>" + value + "</string>";
}

CFRef<CFBundleRef> open(const fs::path& folder)
{
    return adoptCF(CFBundleCreate(nullptr, folderURL(folder)));
}

std::string pathOf(CFURLRef url)
{
    if (!url)
        return "(null)";
    char buffer[1024];
    const bool fits
        = CFURLGetFileSystemRepresentation(url, 1, reinterpret_cast<UInt8*>(buffer), sizeof buffer);
    return fits ? buffer : "(too long)";
}

} // namespace

class CFBundle : public testing::Test {
protected:
    ~CFBundle() override { CFBundleSetMainBundle(nullptr); }

    /// A bundle folder whose Info.plist holds `entries`.
    fs::path makeBundle(const std::string& name, const std::string& entries)
    {
        m_folder.write(name + "/Contents/Info.plist", plist(entries));
        return m_folder.at(name);
    }

    ScopedTempDir m_folder;
};

TEST_F(CFBundle, ReadsItsPropertyList)
{
    const auto bundle = open(makeBundle("A.app",
        entry("CFBundleIdentifier", "com.velmora.a") + entry("CFBundleVersion", "1.2")
            + "<key>servertimeout</key><integer>7</integer>"));
    ASSERT_TRUE(bundle);
    EXPECT_EQ(textOf(CFBundleGetIdentifier(bundle)), u"com.velmora.a");
    EXPECT_EQ(
        textOf(static_cast<CFStringRef>(CFBundleGetValueForInfoDictionaryKey(bundle, kCFBundleVersionKey))),
        u"1.2");
    const CFTypeRef number = CFBundleGetValueForInfoDictionaryKey(bundle, u"servertimeout");
    ASSERT_TRUE(number);
    EXPECT_EQ(CFGetTypeID(number), CFNumberGetTypeID());
    EXPECT_EQ(CFBundleGetValueForInfoDictionaryKey(bundle, u"absent"), nullptr);
    EXPECT_EQ(pathOf(adoptCF(CFBundleCopyBundleURL(bundle))), m_folder.at("A.app").string());
}

TEST_F(CFBundle, KeysHaveTheirNames)
{
    EXPECT_EQ(kCFBundleIdentifierKey, u"CFBundleIdentifier");
    EXPECT_EQ(kCFBundleExecutableKey, u"CFBundleExecutable");
    EXPECT_EQ(kCFBundleNameKey, u"CFBundleName");
    EXPECT_EQ(kCFBundleVersionKey, u"CFBundleVersion");
}

TEST_F(CFBundle, WithoutAReadablePropertyListThereIsNoBundle)
{
    m_folder.makeFolder("Empty.app/Contents");
    EXPECT_FALSE(open(m_folder.at("Empty.app")));
    EXPECT_FALSE(open(m_folder.at("Missing.app")));
    m_folder.write("Bad.app/Contents/Info.plist", "no property list");
    EXPECT_FALSE(open(m_folder.at("Bad.app")));
    m_folder.write("List.app/Contents/Info.plist", "<plist version=\"1.0\"><array/></plist>");
    EXPECT_FALSE(open(m_folder.at("List.app")));
    EXPECT_EQ(CFBundleCopyInfoDictionaryInDirectory(folderURL(m_folder.at("List.app"))), nullptr);
    m_folder.makeFolder("Folder.app/Contents/Info.plist");
    EXPECT_FALSE(open(m_folder.at("Folder.app")));
    m_folder.write("file", "x");
    EXPECT_FALSE(open(m_folder.at("file")));
    const auto web = adoptCF(CFURLCreateWithString(nullptr, cf(u"http://localhost/A.app"), nullptr));
    EXPECT_EQ(CFBundleCreate(nullptr, web), nullptr);
    EXPECT_EQ(CFBundleCopyInfoDictionaryInDirectory(web), nullptr);
}

TEST_F(CFBundle, InfoDictionaryIsReadWithoutABundle)
{
    const auto info = adoptCF(
        CFBundleCopyInfoDictionaryInDirectory(folderURL(makeBundle("A.bundle", entry("site", "localhost")))));
    ASSERT_TRUE(info);
    EXPECT_EQ(textOf(static_cast<CFStringRef>(CFDictionaryGetValue(info, u"site"))), u"localhost");
}

TEST_F(CFBundle, OneFolderIsOneObject)
{
    const fs::path folder = makeBundle("A.app", entry("CFBundleIdentifier", "com.velmora.a"));
    fs::create_directory_symlink(folder, m_folder.at("Alias.app"));
    const auto first = open(folder);
    EXPECT_EQ(open(folder).get(), first.get());
    EXPECT_EQ(open(m_folder.at("Alias.app")).get(), first.get());
}

TEST_F(CFBundle, ReplacedFolderIsAnotherBundle)
{
    const fs::path folder = makeBundle("A.app", entry("CFBundleVersion", "1"));
    const auto before = open(folder);
    fs::rename(folder, m_folder.at("Old.app"));
    makeBundle("A.app", entry("CFBundleVersion", "2"));
    const auto after = open(folder);
    EXPECT_EQ(
        textOf(static_cast<CFStringRef>(CFBundleGetValueForInfoDictionaryKey(after, kCFBundleVersionKey))),
        u"2");
    EXPECT_EQ(
        textOf(static_cast<CFStringRef>(CFBundleGetValueForInfoDictionaryKey(before, kCFBundleVersionKey))),
        u"1");
}

TEST_F(CFBundle, IsFoundByIdentifierWhileItHasAnOwner)
{
    const fs::path folder = makeBundle("A.app", entry("CFBundleIdentifier", "com.velmora.a"));
    const auto identifier = cf(u"com.velmora.a");
    EXPECT_EQ(CFBundleGetBundleWithIdentifier(identifier), nullptr);
    auto bundle = open(folder);
    EXPECT_EQ(CFBundleGetBundleWithIdentifier(identifier), bundle.get());
    EXPECT_EQ(CFBundleGetBundleWithIdentifier(cf(u"com.Velmora.a")), nullptr);
    bundle = nullptr;
    EXPECT_EQ(CFBundleGetBundleWithIdentifier(identifier), nullptr);
}

TEST_F(CFBundle, ValuesOfAnyTypeDoNoHarm)
{
    for (const char* value :
        {"<integer>5</integer>", "<array/>", "<dict/>", "<true/>", "<data>AAAA</data>"}) {
        const auto key = [&](const char* name) { return std::string("<key>") + name + "</key>" + value; };
        const auto bundle = open(makeBundle(std::string("Odd") + value[1] + ".app",
            key("CFBundleIdentifier") + key("CFBundleExecutable") + key("CFBundleVersion")));
        ASSERT_TRUE(bundle) << value;
        EXPECT_EQ(CFBundleGetIdentifier(bundle), nullptr);
        EXPECT_NE(CFBundleGetValueForInfoDictionaryKey(bundle, kCFBundleVersionKey), nullptr);
        EXPECT_FALSE(CFBundleLoadExecutable(bundle));
        EXPECT_EQ(CFBundleGetBundleWithIdentifier(cf(u"com.velmora.none")), nullptr);
    }
}

TEST_F(CFBundle, FindsItsResources)
{
    const fs::path folder = makeBundle("A.bundle", "");
    const auto bundle = open(folder);
    EXPECT_EQ(CFBundleCopyResourcesDirectoryURL(bundle), nullptr);
    m_folder.write("A.bundle/Contents/Resources/VelTanRes.UI", "x");
    m_folder.write("A.bundle/Contents/Resources/plain", "x");
    EXPECT_EQ(
        pathOf(adoptCF(CFBundleCopyResourcesDirectoryURL(bundle))), (folder / "Contents/Resources").string());
    const auto find = [&](std::u16string_view name, CFStringRef type) {
        return pathOf(adoptCF(CFBundleCopyResourceURL(bundle, cf(name), type, nullptr)));
    };
    EXPECT_EQ(find(u"VelTanRes", cf(u"UI")), (folder / "Contents/Resources/VelTanRes.UI").string());
    EXPECT_EQ(find(u"plain", nullptr), (folder / "Contents/Resources/plain").string());
    EXPECT_EQ(find(u"absent", cf(u"UI")), "(null)");
    EXPECT_EQ(find(u"../Info", cf(u"plist")), "(null)") << "a name never leads out of its folder";
    EXPECT_EQ(find(u"..", nullptr), "(null)");
    EXPECT_EQ(find(u"", nullptr), "(null)");
}

TEST_F(CFBundle, FindsResourcesBelowAFolderWithoutReadingItsPropertyList)
{
    const fs::path file = m_folder.write("A.bundle/Contents/Resources/sections.xml", "x");
    const auto find = [&](const fs::path& folder, std::u16string_view name) {
        const auto url = folderURL(folder);
        return pathOf(adoptCF(CFBundleCopyResourceURLInDirectory(url, cf(name), cf(u"xml"), nullptr)));
    };
    EXPECT_EQ(find(m_folder.at("A.bundle"), u"sections"), file.string());
    EXPECT_EQ(find(m_folder.at("A.bundle"), u"absent"), "(null)");
    EXPECT_EQ(find(m_folder.at("B.bundle"), u"sections"), "(null)");
    EXPECT_EQ(find(m_folder.at("A.bundle"), u"../Resources/sections"), "(null)");
    const auto web = adoptCF(CFURLCreateWithString(nullptr, cf(u"http://127.0.0.1/A.bundle/"), nullptr));
    EXPECT_EQ(CFBundleCopyResourceURLInDirectory(web, cf(u"sections"), cf(u"xml"), nullptr), nullptr);
}

TEST_F(CFBundle, FindsItsPrograms)
{
    const fs::path folder = makeBundle("A.bundle", "");
    m_folder.write("A.bundle/Contents/Linux/WatchSelfUpdate", "x");
    const auto bundle = open(folder);
    const auto find = [&](std::u16string_view name) {
        return pathOf(adoptCF(CFBundleCopyAuxiliaryExecutableURL(bundle, cf(name))));
    };
    EXPECT_EQ(find(u"WatchSelfUpdate"), (folder / "Contents/Linux/WatchSelfUpdate").string());
    EXPECT_EQ(find(u"absent"), "(null)");
    EXPECT_EQ(find(u"../Info.plist"), "(null)");
}

TEST_F(CFBundle, LoadsAndUnloadsItsCode)
{
    const ScopedEnvironment report("TEST_BUNDLE_MODULE", "nothing");
    const auto bundle = open(makeBundle("A.bundle", entry("CFBundleExecutable", "A")));
    m_folder.makeFolder("A.bundle/Contents/Linux");
    fs::copy_file(BUNDLE_MODULE, m_folder.at("A.bundle/Contents/Linux/A"));

    EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, "answerOfTheModule"), nullptr) << "not loaded yet";
    ASSERT_TRUE(CFBundleLoadExecutable(bundle));
    ASSERT_TRUE(CFBundleLoadExecutable(bundle));
    EXPECT_STREQ(::getenv("TEST_BUNDLE_MODULE"), "loaded");
    const auto answer
        = reinterpret_cast<int (*)()>(CFBundleGetFunctionPointerForName(bundle, "answerOfTheModule"));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, "noSuchFunction"), nullptr);

    CFBundleUnloadExecutable(bundle);
    EXPECT_STREQ(::getenv("TEST_BUNDLE_MODULE"), "unloaded") << "its static objects are destroyed";
    EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, "answerOfTheModule"), nullptr);
    CFBundleUnloadExecutable(bundle);
}

TEST_F(CFBundle, TellsWhyItsCodeCannotBeLoaded)
{
    const auto reasonFor = [&](const char* name, const std::string& entries) {
        const auto bundle = open(makeBundle(name, entries));
        testing::internal::CaptureStderr();
        EXPECT_FALSE(CFBundleLoadExecutable(bundle));
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_NE(reasonFor("None.bundle", "").find("names no executable"), std::string::npos);
    EXPECT_NE(
        reasonFor("Gone.bundle", entry("CFBundleExecutable", "A")).find("is not there"), std::string::npos);
    EXPECT_NE(reasonFor("Out.bundle", entry("CFBundleExecutable", "../Info.plist")).find("is not there"),
        std::string::npos);
    m_folder.write("Text.bundle/Contents/Linux/A", "no module");
    EXPECT_NE(reasonFor("Text.bundle", entry("CFBundleExecutable", "A")).find("Contents/Linux/A"),
        std::string::npos);
}

TEST_F(CFBundle, ProgramOutsideAnApplicationHasNoMainBundle)
{
    EXPECT_EQ(CFBundleGetMainBundle(), nullptr);
}

TEST_F(CFBundle, MainBundleMayBeNamed)
{
    CFBundleSetMainBundle(
        folderURL(makeBundle("Host.app", entry("CFBundleIdentifier", "com.velmora.Daemon"))));
    const CFBundleRef bundle = CFBundleGetMainBundle();
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(CFBundleGetBundleWithIdentifier(cf(u"com.velmora.Daemon")), bundle);
    CFBundleSetMainBundle(nullptr);
    EXPECT_EQ(CFBundleGetMainBundle(), nullptr);
    EXPECT_EQ(CFBundleGetBundleWithIdentifier(cf(u"com.velmora.Daemon")), nullptr);
}

class CFBundleOfProgram : public CFBundle {
protected:
    /// Copies the reporting program to `place`, runs it, and gives what it prints.
    std::string run(const std::string& place)
    {
        const fs::path program = m_folder.at(place);
        fs::create_directories(program.parent_path());
        fs::copy_file(MAIN_BUNDLE_PROGRAM, program);
        const std::string command = '\'' + program.string() + '\'';
        std::string output;
        std::array<char, 1024> line {};
        if (FILE* pipe = ::popen(command.c_str(), "r")) {
            while (std::fgets(line.data(), line.size(), pipe))
                output += line.data();
            EXPECT_EQ(::pclose(pipe), 0);
        }
        return output;
    }
};

TEST_F(CFBundleOfProgram, IsTheNearestApplicationFolder)
{
    makeBundle("Outer.app", entry("CFBundleIdentifier", "outer"));
    makeBundle("Outer.app/Contents/Inner.app", entry("CFBundleIdentifier", "inner"));
    EXPECT_EQ(run("Outer.app/Contents/Inner.app/Contents/Linux/Program"), "inner\n");
    EXPECT_EQ(run("Outer.app/Contents/Linux/Program"), "outer\n");
}

TEST_F(CFBundleOfProgram, SkipsFoldersThatAreNoBundles)
{
    makeBundle("Outer.app", entry("CFBundleIdentifier", "outer"));
    makeBundle("Outer.app/Contents/Plug.bundle", entry("CFBundleIdentifier", "plug"));
    EXPECT_EQ(run("Outer.app/Contents/Empty.app/Program"), "outer\n") << "no Info.plist";
    EXPECT_EQ(run("Outer.app/Contents/Plug.bundle/Contents/Linux/Program"), "outer\n") << "no application";
    EXPECT_EQ(run("Plain/Program"), "(none)\n");
}

TEST_F(CFBundleOfProgram, IsFoundThroughALink)
{
    makeBundle("Host.app", entry("CFBundleIdentifier", "host"));
    m_folder.makeFolder("bin");
    fs::create_symlink(m_folder.at("Host.app/Contents/Linux/Program"), m_folder.at("bin/link"));
    EXPECT_EQ(run("Host.app/Contents/Linux/Program"), "host\n");
    const std::string command = m_folder.at("bin/link").string() + " >" + m_folder.at("out").string();
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(readWholeFile(m_folder.at("out")), "host\n");
}
