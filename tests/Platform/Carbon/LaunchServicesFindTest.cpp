// Finding an application by its bundle identifier, through desktop entries.
#include "Platform/Carbon/LaunchServices.h"

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/ErrorNumbers.h"
#include "tests/support/BundleBuilder.h"
#include "tests/support/DesktopEntries.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/WorkingDirectory.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

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
    for (const char* const before : {"env ", "/usr/bin/env A=b ", "/bin/env -i A=b C=d ", "env -u X A=b ",
             "env --unset=X -C / ", "env --unset X --chdir / ", "env - A=b "}) {
        m_entries.add("foo", before + quoted(m_bundle) + " %F");
        EXPECT_EQ(find(u"foo"), m_bundle.string()) << before;
    }
    for (const char* const alone :
        {"env A=b", "env -i", "env -u", "env -u X", "/usr/bin/env", "/tmp/env A=b"}) {
        m_entries.add("foo", alone);
        EXPECT_EQ(find(u"foo"), kNotFound) << alone;
    }
}

TEST_F(LSFindApplicationForInfoTest, ProgramMayBeNamedLikeEnv)
{
    fs::rename(m_bundle / "Contents/Linux/Foo", m_bundle / "Contents/Linux/env");
    m_entries.add("foo", '"' + m_bundle.string() + "/Contents/Linux/env\" /usr/bin/cat");
    EXPECT_EQ(find(u"foo"), m_bundle.string());
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
    const ScopedWorkingDirectory inside(m_folder.path());
    for (const std::string& line :
        {std::string(), std::string("\"" + m_bundle.string() + "/Contents/Linux/Foo"), std::string("''"),
            std::string("%U"), std::string("# " + quoted(m_bundle)),
            std::string("\"My Foo.app/Contents/Linux/Foo\""), std::string("$(touch hit)"),
            m_bundle.string() + "/Contents/Linux/", m_bundle.string() + "/Contents/Linux/../Foo",
            std::string(100'000, 'x')}) {
        m_entries.add("foo", line);
        EXPECT_EQ(find(u"foo"), kNotFound) << line;
    }
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

TEST_F(LSFindApplicationForInfoTest, FindsNothingThroughLinksThatLeadInCircles)
{
    fs::create_directories(m_entries.folder());
    fs::create_symlink("loop.desktop", m_entries.folder() / "loop.desktop");
    EXPECT_EQ(find(u"loop"), kNotFound);
    m_entries.addForSystem("loop", quoted(m_bundle));
    EXPECT_EQ(find(u"loop"), m_bundle.string()) << "no entry lies there, so the system's counts";
    fs::create_symlink("there", m_folder.at("here"));
    fs::create_symlink("here", m_folder.at("there"));
    m_entries.add("foo", m_folder.at("here").string() + "/Foo.app/Contents/Linux/Foo");
    EXPECT_EQ(find(u"foo"), kNotFound);
}

TEST_F(LSFindApplicationForInfoTest, FindsNothingInAnEntryThatMayNotBeRead)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "root alone can become a user who may not read it";
    m_entries.add("foo", quoted(m_bundle));
    m_entries.addForSystem("foo", quoted(m_bundle));
    for (const fs::path& open : {m_folder.path(), m_entries.folder().parent_path().parent_path()})
        fs::permissions(open, fs::perms(0755));
    const auto findAsNobody = [](fs::perms permissions, const fs::path& entry) {
        constexpr uid_t kNobody = 65534;
        fs::permissions(entry, permissions);
        // In this very process: the desktop's library does not survive a fork.
        EXPECT_EQ(::seteuid(kNobody), 0);
        const std::string found = find(u"foo");
        EXPECT_EQ(::seteuid(0), 0);
        return found;
    };
    const fs::path entry = m_entries.folder() / "foo.desktop";
    EXPECT_EQ(findAsNobody(fs::perms(0644), entry), m_bundle.string());
    EXPECT_EQ(findAsNobody(fs::perms(0600), entry), kNotFound) << "the system's entry does not count";
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
