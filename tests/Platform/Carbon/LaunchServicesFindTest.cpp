// Finding an application by its bundle identifier, through desktop entries.
#include "Platform/Carbon/LaunchServices.h"

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/ErrorNumbers.h"
#include "tests/support/BundleBuilder.h"
#include "tests/support/DesktopEntries.h"
#include "tests/support/RunningProgram.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

/// The path of what is found, or the error in words.
std::string find(std::u16string_view identifier)
{
    CFURLRef found = nullptr;
    const OSStatus error = LSFindApplicationForInfo(
        kLSUnknownCreator, adoptCF(CFStringCreateWithView(identifier)), nullptr, nullptr, &found);
    const CFRef url = adoptCF(found);
    if (error != noErr)
        return (url ? "URL and error " : "error ") + std::to_string(error);
    char path[1024];
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url, true, reinterpret_cast<UInt8*>(path), sizeof path));
    return path;
}

constexpr char kNotFound[] = "error -10814";

/// A bundle with a program in a folder with a blank in its name.
class LSFindApplicationForInfoTest : public testing::Test {
protected:
    LSFindApplicationForInfoTest()
        : m_bundle(makeBundle("My Foo.app"))
    {
    }

    fs::path makeBundle(const std::string& name) const
    {
        const fs::path bundle = BundleBuilder().build(m_folder, name);
        copyWaitingProgram(bundle / "Contents/Linux/Foo");
        return bundle;
    }
    /// A bundle's program as a command line writes it.
    static std::string quoted(const fs::path& bundle)
    {
        return '"' + bundle.string() + "/Contents/Linux/Foo\"";
    }

    const ScopedTempDir m_folder;
    const DesktopEntries m_entries;
    const fs::path m_bundle;
};

} // namespace

TEST_F(LSFindApplicationForInfoTest, FindsTheBundleOfTheEntrysProgram)
{
    m_entries.add("com.example.foo", quoted(m_bundle) + " --new-window %U");
    EXPECT_EQ(find(u"com.example.foo"), m_bundle.string());
    EXPECT_EQ(find(u"com.example.fo"), kNotFound);
}

TEST_F(LSFindApplicationForInfoTest, SeesEntriesThatComeAndGoAtOnce)
{
    EXPECT_EQ(find(u"foo"), kNotFound);
    m_entries.add("foo", quoted(m_bundle));
    EXPECT_EQ(find(u"foo"), m_bundle.string());
    fs::remove_all(m_entries.folder());
    EXPECT_EQ(find(u"foo"), kNotFound);
}

TEST_F(LSFindApplicationForInfoTest, PrefersTheUsersEntryToTheSystems)
{
    m_entries.addForSystem("foo", quoted(makeBundle("System.app")));
    EXPECT_EQ(find(u"foo"), m_folder.at("System.app").string());
    m_entries.add("foo", quoted(m_bundle));
    EXPECT_EQ(find(u"foo"), m_bundle.string());
}

TEST_F(LSFindApplicationForInfoTest, HiddenEntryHidesTheSystemsToo)
{
    m_entries.addForSystem("foo", quoted(m_bundle));
    m_entries.add("foo", quoted(m_bundle), "Hidden=true\n");
    EXPECT_EQ(find(u"foo"), kNotFound);
}

TEST_F(LSFindApplicationForInfoTest, EntryThatMenusDoNotShowCounts)
{
    m_entries.add("foo", quoted(m_bundle), "NoDisplay=true\n");
    EXPECT_EQ(find(u"foo"), m_bundle.string());
}

TEST_F(LSFindApplicationForInfoTest, LooksBehindEnv)
{
    m_entries.add("foo", "env -u X A=b " + quoted(m_bundle));
    EXPECT_EQ(find(u"foo"), kNotFound); // "X" stands where the program is expected
    m_entries.add("foo", "env -i A=b " + quoted(m_bundle));
    EXPECT_EQ(find(u"foo"), m_bundle.string());
    m_entries.add("foo", "env A=b");
    EXPECT_EQ(find(u"foo"), kNotFound);
}

TEST_F(LSFindApplicationForInfoTest, FollowsALinkToTheProgram)
{
    fs::create_symlink(m_bundle / "Contents/Linux/Foo", m_folder.at("foo"));
    m_entries.add("foo", m_folder.at("foo").string());
    EXPECT_EQ(find(u"foo"), m_bundle.string());
}

TEST_F(LSFindApplicationForInfoTest, LooksForAProgramWithoutAFolderInThePath)
{
    const ScopedEnvironment path("PATH", (m_bundle / "Contents/Linux").string());
    m_entries.add("foo", "Foo");
    EXPECT_EQ(find(u"foo"), m_bundle.string());
}

TEST_F(LSFindApplicationForInfoTest, FindsNothingForProgramsOutsideBundles)
{
    copyWaitingProgram(m_folder.at("Contents/Linux/Foo"));
    m_entries.add("outside", m_folder.at("Contents/Linux/Foo").string());
    EXPECT_EQ(find(u"outside"), kNotFound);
    m_entries.add("cat", "cat " + quoted(m_bundle));
    EXPECT_EQ(find(u"cat"), kNotFound);
    fs::remove(m_bundle / "Contents/Info.plist");
    m_entries.add("foo", quoted(m_bundle));
    EXPECT_EQ(find(u"foo"), kNotFound);
}

TEST_F(LSFindApplicationForInfoTest, FindsNothingWhenTheProgramIsGone)
{
    m_entries.add("foo", quoted(m_bundle));
    fs::remove(m_bundle / "Contents/Linux/Foo");
    EXPECT_EQ(find(u"foo"), kNotFound);
}

TEST_F(LSFindApplicationForInfoTest, FindsNothingByOddCommandLines)
{
    const fs::path former = fs::current_path();
    fs::current_path(m_folder.path());
    for (const std::string& line :
        {std::string(), std::string("\"" + m_bundle.string() + "/Contents/Linux/Foo"), std::string("''"),
            std::string("%U"), std::string("# " + quoted(m_bundle)),
            std::string("\"My Foo.app/Contents/Linux/Foo\""), std::string("$(touch hit)"),
            m_bundle.string() + "/Contents/Linux/", m_bundle.string() + "/Contents/Linux/../Foo",
            std::string(100'000, 'x')}) {
        m_entries.add("foo", line);
        EXPECT_EQ(find(u"foo"), kNotFound) << line;
    }
    fs::current_path(former);
    EXPECT_FALSE(fs::exists(m_folder.at("hit")));
}

TEST_F(LSFindApplicationForInfoTest, FindsNothingInDamagedEntries)
{
    m_entries.write("empty", "");
    m_entries.write("zeros", std::string(64, '\0'));
    m_entries.write("link", "[Desktop Entry]\nType=Link\nName=x\nURL=http://127.0.0.1/\n");
    m_entries.write("none", "[Desktop Entry]\nType=Application\nName=x\n");
    m_entries.add("large", quoted(m_bundle), std::string(1 << 20, '#'));
    for (const char16_t* name : {u"empty", u"zeros", u"link", u"none", u"large"})
        EXPECT_EQ(find(name), kNotFound);
}

TEST_F(LSFindApplicationForInfoTest, FindsNothingWhereNoFileIs)
{
    fs::create_directories(m_entries.folder() / "folder.desktop");
    ASSERT_EQ(::mkfifo((m_entries.folder() / "pipe.desktop").c_str(), 0600), 0);
    EXPECT_EQ(find(u"folder"), kNotFound);
    EXPECT_EQ(find(u"pipe"), kNotFound);
}

TEST_F(LSFindApplicationForInfoTest, IdentifierNamesAFileAndNoPath)
{
    m_entries.add("sub/foo", quoted(m_bundle));
    m_entries.add("../foo", quoted(m_bundle));
    EXPECT_EQ(find(u"sub/foo"), kNotFound);
    EXPECT_EQ(find(u"../foo"), kNotFound);
    EXPECT_EQ(find(u""), kNotFound);
    EXPECT_EQ(find(std::u16string(248, u'x')), kNotFound);
    EXPECT_EQ(find(u"lone\xD800"), kNotFound);
    m_entries.add(std::string(247, 'x'), quoted(m_bundle));
    EXPECT_EQ(find(std::u16string(247, u'x')), m_bundle.string());
}

TEST_F(LSFindApplicationForInfoTest, RefusesMissingArguments)
{
    CFURLRef found = nullptr;
    EXPECT_EQ(LSFindApplicationForInfo(kLSUnknownCreator, nullptr, nullptr, nullptr, &found), paramErr);
    const CFRef identifier = adoptCF(CFStringCreateWithView(u"foo"));
    EXPECT_EQ(LSFindApplicationForInfo(kLSUnknownCreator, identifier, nullptr, nullptr, nullptr), paramErr);
}
