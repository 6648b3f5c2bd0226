// Which application a document is opened with, and with what words.
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/ErrorNumbers.h"
#include "tests/Platform/Carbon/LaunchedApplication.h"
#include "tests/support/BundleBuilder.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FakeHome.h"
#include "tests/support/ZipFile.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

/// A script that writes its arguments, one a line, to the file "words" beside itself.
constexpr char kTellWords[] = "for word in \"$@\"; do echo \"$word\"; done > \"${0%/*}/words\"";

/// The desktop of this program: one application, "reader", for plain text. It is laid out before main(),
/// since the desktop's library reads its places once.
class Desktop {
public:
    Desktop()
        : m_data("XDG_DATA_HOME", m_folder.at("data"))
        , m_config("XDG_CONFIG_HOME", m_folder.at("config"))
        , m_bus("DBUS_SESSION_BUS_ADDRESS", "disabled:")
    {
        const fs::path reader = writeScript(m_folder, "reader", kTellWords);
        (void)m_folder.write("data/applications/velmora-reader.desktop",
            "[Desktop Entry]\nType=Application\nName=Reader\nExec=" + reader.string()
                + " --read %f\nMimeType=text/plain;\n");
        (void)m_folder.write(
            "config/mimeapps.list", "[Default Applications]\ntext/plain=velmora-reader.desktop\n");
    }
    fs::path reader() const { return m_folder.at("reader"); }
    std::string words() const { return readWholeFile(m_folder.at("words")); }

private:
    ScopedTempDir m_folder;
    ScopedEnvironment m_data;
    ScopedEnvironment m_config;
    ScopedEnvironment m_bus;
};

const Desktop g_desktop;

/// A host bundle that carries an installer which tells its words.
class ScopedHost {
public:
    explicit ScopedHost(const ScopedTempDir& folder)
        : m_bundle(BundleBuilder()
                       .file("Contents/Linux/installer", std::string("#!/bin/sh\n") + kTellWords + "\n")
                       .build(folder, "Host.app"))
    {
        fs::permissions(installer(), fs::perms::owner_all);
        const std::string path = m_bundle.string();
        const CFRef url = adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
            reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), true));
        CFBundleSetMainBundle(url);
    }
    ScopedHost(const ScopedHost&) = delete;
    ScopedHost& operator=(const ScopedHost&) = delete;
    ~ScopedHost() { CFBundleSetMainBundle(nullptr); }

    fs::path installer() const { return m_bundle / "Contents/Linux/installer"; }
    std::string words() const { return readWholeFile(m_bundle / "Contents/Linux/words"); }

private:
    fs::path m_bundle;
};

} // namespace

TEST(LSOpenFromRefSpec, UnpacksAnArchiveIntoItsOwnFolder)
{
    const ScopedTempDir folder;
    const FSRef archive = refTo(folder.write("a b.ZIP", zipOf("inside.txt", "bytes")));
    FSRef application;
    ASSERT_EQ(openDocument(archive, &application), noErr);
    EXPECT_EQ(application.path, "/usr/bin/unzip");
    EXPECT_EQ(waitForEnd(application), kLaunchedEnded);
    EXPECT_EQ(readWholeFile(folder.at("inside.txt")), "bytes");
}

TEST(LSOpenFromRefSpec, KnowsAnArchiveByItsContents)
{
    const ScopedTempDir folder;
    const FSRef archive = refTo(folder.write("payload", zipOf("inside.txt", "bytes")));
    FSRef application;
    ASSERT_EQ(openDocument(archive, &application), noErr);
    EXPECT_EQ(waitForEnd(application), kLaunchedEnded);
    EXPECT_EQ(readWholeFile(folder.at("inside.txt")), "bytes");
}

TEST(LSOpenFromRefSpec, UnpacksWithoutTheOptionsOfTheEnvironment)
{
    const ScopedTempDir folder;
    const ScopedEnvironment unzip("UNZIP", "-n");
    const ScopedEnvironment unzipOpt("UNZIPOPT", "-n"); // would keep what is there
    (void)folder.write("inside.txt", "old");
    const FSRef archive = refTo(folder.write("a.zip", zipOf("inside.txt", "new")));
    FSRef application;
    ASSERT_EQ(openDocument(archive, &application), noErr);
    (void)waitForEnd(application);
    EXPECT_EQ(readWholeFile(folder.at("inside.txt")), "new");
}

TEST(LSOpenFromRefSpec, OpensADocumentWithTheDesktopsApplication)
{
    const ScopedTempDir folder;
    const FSRef document = refTo(folder.write("a b.txt", "plain text"));
    FSRef application;
    ASSERT_EQ(openDocument(document, &application), noErr);
    EXPECT_EQ(application.path, g_desktop.reader().string());
    EXPECT_EQ(waitForEnd(application), kLaunchedEnded);
    EXPECT_EQ(g_desktop.words(), "--read\n" + document.path + "\n");
}

TEST(LSOpenFromRefSpec, UnpacksNoOtherArchiveForADamagedOne)
{
    const ScopedTempDir folder;
    (void)folder.write("a.zip.zip", zipOf("other.txt", "not asked for"));
    FSRef application;
    const FSRef damaged = refTo(folder.write("a.zip", "no archive"));
    EXPECT_EQ(openDocument(damaged, &application), kLSApplicationNotFoundErr);
    const FSRef archive = refTo(folder.write("a.zip", zipOf("inside.txt", "bytes")));
    ASSERT_EQ(openDocument(archive, &application), noErr);
    EXPECT_EQ(waitForEnd(application), kLaunchedEnded);
    EXPECT_TRUE(fs::exists(folder.at("inside.txt")));
    EXPECT_FALSE(fs::exists(folder.at("other.txt")));
}

TEST(LSOpenFromRefSpec, TakesAPipeForNoDocumentWhateverItsName)
{
    for (const char* name : {"a.zip", "a.txt", "a.pkg"}) {
        const ScopedTempDir folder;
        ASSERT_EQ(mkfifo(folder.at(name).c_str(), 0600), 0);
        FSRef application;
        EXPECT_EQ(openDocument(refTo(folder.at(name)), &application), kLSApplicationNotFoundErr) << name;
        EXPECT_EQ(application.path, "") << name;
    }
}

TEST(LSOpenFromRefSpec, TellsThatThereIsNoApplication)
{
    const ScopedTempDir folder;
    FSRef application {1, 2, "untouched"};
    EXPECT_EQ(openDocument(refTo(folder.write("x.bin", std::string(64, '\0'))), &application),
        kLSApplicationNotFoundErr);
    EXPECT_EQ(application.path, "untouched");
}

TEST(LSOpenFromRefSpec, InstallsAPackageWithTheCarriedInstaller)
{
    const ScopedTempDir folder;
    const ScopedHost host(folder);
    const FSRef package = refTo(folder.write("An Update.pkg", "xar!"));
    const FSRef target = refTo(folder.makeFolder("the target"));
    FSRef application;
    ASSERT_EQ(openDocument(package, &application, &target), noErr);
    EXPECT_EQ(application.path, host.installer().string());
    EXPECT_EQ(waitForEnd(application), kLaunchedEnded);
    EXPECT_EQ(host.words(), "-pkg\n" + package.path + "\n-target\n" + target.path + "\n");
}

TEST(LSOpenFromRefSpec, InstallsAPackageThatIsAFolder)
{
    const ScopedTempDir folder;
    const ScopedHost host(folder);
    const FSRef package = refTo(folder.makeFolder("Bundle.Pkg"));
    const FSRef target = refTo(folder.path());
    FSRef application;
    ASSERT_EQ(openDocument(package, &application, &target), noErr);
    (void)waitForEnd(application);
    EXPECT_EQ(host.words(), "-pkg\n" + package.path + "\n-target\n" + target.path + "\n");
}

TEST(LSOpenFromRefSpec, AsksAnAdministratorForAFolderThatTheUserMayNotChange)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "only root can become another user";
    const ScopedTempDir folder;
    const ScopedHost host(folder);
    const FSRef package = refTo(folder.write("a.pkg", "xar!"));
    const FSRef target = refTo(folder.makeFolder("target"));
    fs::permissions(folder.path(), fs::perms::others_read | fs::perms::others_exec, fs::perm_options::add);
    EXPECT_EQ(child::runAsNobody([&] {
        FSRef application;
        const OSStatus error = openDocument(package, &application, &target);
        return error == noErr && application.path == "/usr/bin/pkexec" ? 0 : 1;
    }),
        0);
    fs::permissions(target.path, fs::perms::all);
    fs::permissions(host.installer(), fs::perms::all);
    EXPECT_EQ(child::runAsNobody([&] {
        FSRef application;
        const OSStatus error = openDocument(package, &application, &target);
        return error == noErr && application.path == host.installer() ? 0 : 1;
    }),
        0);
}

TEST(LSOpenFromRefSpec, NeedsAFolderToInstallAPackageInto)
{
    const ScopedTempDir folder;
    const ScopedHost host(folder);
    EXPECT_EQ(openDocument(refTo(folder.write("a.pkg", "xar!")), nullptr), paramErr);
}

TEST(LSOpenFromRefSpec, RefusesADocumentThatTookThePlaceOfTheOneMeant)
{
    const ScopedTempDir folder;
    const FSRef document = refTo(folder.write("a.txt", "text"));
    (void)folder.write("other", "text");
    fs::rename(folder.at("other"), folder.at("a.txt"));
    EXPECT_EQ(openDocument(document, nullptr), errFSBadFSRef);
    fs::remove(folder.at("a.txt"));
    EXPECT_EQ(openDocument(document, nullptr), fnfErr);
}

TEST(LSOpenFromRefSpec, TellsOfAFailureOnlyWhenItIsAskedTo)
{
    const ScopedTempDir folder;
    const FSRef document = refTo(folder.write("x.pkg", "xar!"));
    LSLaunchFSRefSpec spec;
    spec.numDocs = 1;
    spec.itemRefs = &document;
    spec.launchFlags = 0x80900;
    testing::internal::CaptureStderr();
    EXPECT_EQ(LSOpenFromRefSpec(&spec, nullptr), paramErr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    spec.launchFlags = 0x40;
    testing::internal::CaptureStderr();
    EXPECT_EQ(LSOpenFromRefSpec(&spec, nullptr), paramErr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), document.path + " cannot be opened (-50)\n");
}

TEST(LSOpenFromRefSpecDeathTest, RefusesWhatItDoesNotSupport)
{
    const ScopedTempDir folder;
    const FSRef document = refTo(folder.write("a.txt", "text"));
    LSLaunchFSRefSpec good;
    good.numDocs = 1;
    good.itemRefs = &document;
    const auto changed = [&good](auto change) {
        LSLaunchFSRefSpec spec = good;
        change(spec);
        return spec;
    };
    int context = 0;
    for (const LSLaunchFSRefSpec& bad : {
             changed([&](auto& spec) { spec.appRef = &document; }),
             changed([](auto& spec) { spec.numDocs = 2; }),
             changed([](auto& spec) { spec.itemRefs = nullptr; }),
             changed([](auto& spec) { spec.launchFlags = 0x1; }),
             changed([&](auto& spec) {
                 spec.launchFlags = 0x800;
                 spec.passThruParams = &document;
             }),
             changed([&](auto& spec) { spec.asyncRefCon = &context; }),
         })
        EXPECT_DEATH((void)LSOpenFromRefSpec(&bad, nullptr), "failed assertion");
}
