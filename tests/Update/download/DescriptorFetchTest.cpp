// Bringing descriptors to the local folder.
#include "Platform/Support/Unicode.h"
#include "Update/download/DescriptorFetch.h"
#include "tests/support/FakeHome.h"
#include "tests/support/ScopedFileSizeLimit.h"
#include "tests/support/ScopedServer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

constexpr SInt32 kTimeoutMs = 5000;

class DescriptorFetch : public ::testing::Test {
protected:
    DescriptorFetch() { fetchedDescriptorURLs().clear(); }
    ~DescriptorFetch() override { fetchedDescriptorURLs().clear(); }

    fs::path folder() const { return m_home.cache() / "com.Velmora.Tandem.XMLFile"; }
    fs::path local(const std::string& name) const { return folder() / name; }
    SInt32 fetch(const std::u16string& base, const UniChar* name) const
    {
        return DownloadXMLFile2Loacl(base.c_str(), name, kTimeoutMs);
    }

    FakeHome m_home;
};

} // namespace

TEST_F(DescriptorFetch, FetchesBaseAndNameWithNothingBetween)
{
    ScopedServer server;
    server.on("/updates/x_Mac.xml", answer::ok("<UPDATEINFO/>"));
    server.expect("/updates/x_Mac.xml", 1);
    EXPECT_EQ(fetch(server.wideUrl("/updates/"), u"x_Mac.xml"), 0);
    EXPECT_EQ(readWholeFile(local("x_Mac.xml")), "<UPDATEINFO/>");
    ASSERT_EQ(fetchedDescriptorURLs().size(), 1u);
    EXPECT_EQ(fetchedDescriptorURLs()[0], server.wideUrl("/updates/x_Mac.xml"));
}

TEST_F(DescriptorFetch, MakesItsFolderForThisUserOnly)
{
    ScopedServer server;
    server.on("/a.xml", answer::ok("x"));
    ASSERT_EQ(fetch(server.wideUrl("/"), u"a.xml"), 0);
    struct stat info { };
    ASSERT_EQ(::stat(folder().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode, S_IFDIR | 0700u);
}

TEST_F(DescriptorFetch, MissingTextGivesMinus50)
{
    EXPECT_EQ(DownloadXMLFile2Loacl(nullptr, u"a.xml", kTimeoutMs), -50);
    EXPECT_EQ(DownloadXMLFile2Loacl(u"http://127.0.0.1/", nullptr, kTimeoutMs), -50);
    EXPECT_FALSE(fs::exists(folder()));
}

TEST_F(DescriptorFetch, SameURLIsNotFetchedAgainEvenWhenTheFileIsGone)
{
    ScopedServer server;
    server.on("/a.xml", answer::ok("x"));
    server.expect("/a.xml", 1);
    ASSERT_EQ(fetch(server.wideUrl("/"), u"a.xml"), 0);
    fs::remove(local("a.xml"));
    EXPECT_EQ(fetch(server.wideUrl("/"), u"a.xml"), 0);
    EXPECT_FALSE(fs::exists(local("a.xml")));
    EXPECT_EQ(fetchedDescriptorURLs().size(), 1u);
}

TEST_F(DescriptorFetch, CopyIsTheLastOneOfThatNameWhereverItCameFrom)
{
    ScopedServer server;
    server.on("/one/a.xml", answer::ok("first"));
    server.on("/two/a.xml", answer::ok("second"));
    server.expect("/one/a.xml", 1);
    ASSERT_EQ(fetch(server.wideUrl("/one/"), u"a.xml"), 0);
    ASSERT_EQ(fetch(server.wideUrl("/two/"), u"a.xml"), 0);
    EXPECT_EQ(fetch(server.wideUrl("/one/"), u"a.xml"), 0);
    EXPECT_EQ(readWholeFile(local("a.xml")), "second");
}

TEST_F(DescriptorFetch, AnswerBehindARedirectCounts)
{
    ScopedServer server;
    server.on("/a.xml", answer::redirect(302, "/b.xml"));
    server.on("/b.xml", answer::ok("moved"));
    server.on("/c.xml", answer::redirect(301, "/none.xml"));
    server.on("/none.xml", answer::status(404));
    EXPECT_EQ(fetch(server.wideUrl("/"), u"a.xml"), 0);
    EXPECT_EQ(readWholeFile(local("a.xml")), "moved");
    EXPECT_EQ(fetchedDescriptorURLs().back(), server.wideUrl("/a.xml"));
    EXPECT_EQ(fetch(server.wideUrl("/"), u"c.xml"), -43);
}

TEST_F(DescriptorFetch, URLsAreComparedByCase)
{
    ScopedServer server;
    server.on("/a.xml", answer::ok("small"));
    server.on("/A.xml", answer::ok("large"));
    EXPECT_EQ(fetch(server.wideUrl("/"), u"a.xml"), 0);
    EXPECT_EQ(fetch(server.wideUrl("/"), u"A.xml"), 0);
    EXPECT_EQ(readWholeFile(local("A.xml")), "large");
    EXPECT_EQ(fetchedDescriptorURLs().size(), 2u);
}

TEST_F(DescriptorFetch, AnswerOtherThan200GivesMinus43AndLeavesNoFile)
{
    for (const int status : {201, 203, 204, 206, 300, 400, 403, 404, 410, 500, 503}) {
        ScopedServer server;
        server.on("/a.xml",
            status == 204 ? ServerScript().send(answer::head(204, {})) : answer::status(status, "<html/>"));
        EXPECT_EQ(fetch(server.wideUrl("/"), u"a.xml"), -43) << status;
        EXPECT_FALSE(fs::exists(local("a.xml"))) << status;
        EXPECT_TRUE(fetchedDescriptorURLs().empty()) << status;
    }
}

TEST_F(DescriptorFetch, FailedFetchIsTriedAgain)
{
    ScopedServer server;
    server.onSequence("/a.xml", {answer::status(404), answer::ok("now")});
    EXPECT_EQ(fetch(server.wideUrl("/"), u"a.xml"), -43);
    EXPECT_EQ(fetch(server.wideUrl("/"), u"a.xml"), 0);
    EXPECT_EQ(readWholeFile(local("a.xml")), "now");
}

TEST_F(DescriptorFetch, BrokenTransferGivesMinus120AndLeavesNoFile)
{
    ScopedServer server;
    server.on("/short.xml", answer::announcing(100, "half"));
    server.on("/reset.xml", ServerScript().reset());
    for (const char16_t* name : {u"short.xml", u"reset.xml"}) {
        EXPECT_EQ(fetch(server.wideUrl("/"), name), -120);
        EXPECT_FALSE(fs::exists(local(utf8FromWide(name))));
    }
    EXPECT_TRUE(fetchedDescriptorURLs().empty());
}

TEST_F(DescriptorFetch, BodyThatFindsNoRoomGivesMinus120AndLeavesNoFile)
{
    ScopedServer server;
    server.on("/a.xml", answer::ok(std::string(5000, 'x')));
    {
        const ScopedFileSizeLimit fullDisk(1000);
        EXPECT_EQ(fetch(server.wideUrl("/"), u"a.xml"), -120);
    }
    EXPECT_FALSE(fs::exists(local("a.xml")));
    EXPECT_TRUE(fetchedDescriptorURLs().empty());
    EXPECT_EQ(fetch(server.wideUrl("/"), u"a.xml"), 0) << "tried again once there is room";
    EXPECT_EQ(fs::file_size(local("a.xml")), 5000u);
}

TEST_F(DescriptorFetch, EndlessBodyGivesMinus120AndIsNotFetchedToItsEnd)
{
    ScopedServer server;
    server.on("/a.xml",
        ServerScript().send(answer::head(200, {})).sendRepeatedly(std::string(1'000'000, 'x'), 2000));
    EXPECT_EQ(DownloadXMLFile2Loacl(server.wideUrl("/").c_str(), u"a.xml", kTimeoutMs, 100'000), -120);
    EXPECT_FALSE(fs::exists(local("a.xml")));
    EXPECT_LT(server.bytesSent(), 50'000'000u);
    EXPECT_TRUE(fetchedDescriptorURLs().empty());
}

TEST_F(DescriptorFetch, BodyOfExactlyTheLimitIsStored)
{
    EXPECT_EQ(kMaxDescriptorBytes, 67'108'864);
    ScopedServer server;
    server.on("/a.xml", answer::ok(std::string(40'000, 'x')));
    EXPECT_EQ(DownloadXMLFile2Loacl(server.wideUrl("/").c_str(), u"a.xml", kTimeoutMs, 39'999), -120);
    EXPECT_FALSE(fs::exists(local("a.xml")));
    EXPECT_EQ(DownloadXMLFile2Loacl(server.wideUrl("/").c_str(), u"a.xml", kTimeoutMs, 40'000), 0);
    EXPECT_EQ(fs::file_size(local("a.xml")), 40'000u);
}

TEST_F(DescriptorFetch, PathOfADescriptorHoldsAtMost1023Units)
{
    // The folder's path, "/" and the name: 1023 units fit the buffer, one more does not.
    const std::size_t rest = 1023 - wideFromUtf8(folder().string()).size() - 1;
    OpacLumFSRef* const longest = CreateXMLFileRef(std::u16string(rest, u'x').c_str());
    EXPECT_NE(longest, nullptr);
    Lum0FSRRelease(longest);
    EXPECT_EQ(CreateXMLFileRef(std::u16string(rest + 1, u'x').c_str()), nullptr);
}

TEST_F(DescriptorFetch, FailedFetchRemovesAnEarlierCopy)
{
    ScopedServer server;
    server.on("/a.xml", answer::status(404));
    fs::create_directories(folder());
    std::ofstream(local("a.xml")) << "earlier";
    EXPECT_EQ(fetch(server.wideUrl("/"), u"a.xml"), -43);
    EXPECT_FALSE(fs::exists(local("a.xml")));
}

TEST_F(DescriptorFetch, SilentServerGivesMinus120AfterTheProductsTimeout)
{
    ScopedServer server;
    server.on("/a.xml", ServerScript().stall());
    EXPECT_EQ(DownloadXMLFile2Loacl(server.wideUrl("/").c_str(), u"a.xml", 100), -120);
    EXPECT_FALSE(fs::exists(local("a.xml")));
}

TEST_F(DescriptorFetch, FileURLIsCopied)
{
    const fs::path source = m_home.folder().write("descriptors/a.xml", "local");
    const std::u16string base = wideFromUtf8("file://" + source.parent_path().string() + "/");
    EXPECT_EQ(fetch(base, u"a.xml"), 0);
    EXPECT_EQ(readWholeFile(local("a.xml")), "local");
}

TEST_F(DescriptorFetch, MissingFileURLGivesMinus120)
{
    const std::u16string base = wideFromUtf8("file://" + m_home.path().string() + "/none/");
    EXPECT_EQ(fetch(base, u"a.xml"), -120);
    EXPECT_FALSE(fs::exists(local("a.xml")));
}

TEST_F(DescriptorFetch, NameWithASlashGivesMinus120AndFetchesNothing)
{
    ScopedServer server;
    EXPECT_EQ(fetch(server.wideUrl("/"), u"sub/a.xml"), -120);
    EXPECT_EQ(fetch(server.wideUrl("/"), u"../a.xml"), -120);
    EXPECT_TRUE(server.requests().empty());
    EXPECT_FALSE(fs::exists(m_home.cache() / "a.xml"));
}

TEST_F(DescriptorFetch, PlaceThatIsNoFileGivesMinus120AndFetchesNothing)
{
    ScopedServer server;
    fs::create_directories(local("folder.xml"));
    const fs::path outside = m_home.folder().write("outside", "kept");
    fs::create_symlink(outside, local("link.xml"));
    for (const char16_t* name : {u"folder.xml", u"link.xml", u"", u".", u".."})
        EXPECT_EQ(fetch(server.wideUrl("/"), name), -120) << utf8FromWide(name);
    EXPECT_TRUE(server.requests().empty());
    EXPECT_EQ(readWholeFile(outside), "kept");
}

TEST_F(DescriptorFetch, TooLongANameGivesMinus120)
{
    ScopedServer server;
    EXPECT_EQ(fetch(server.wideUrl("/"), std::u16string(1100, u'x').c_str()), -120);
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(DescriptorFetch, FolderThatIsALinkGivesMinus120)
{
    ScopedServer server;
    fs::create_directories(m_home.cache());
    fs::create_symlink(m_home.folder().makeFolder("elsewhere"), folder());
    EXPECT_EQ(fetch(server.wideUrl("/"), u"a.xml"), -120);
    EXPECT_TRUE(server.requests().empty());
    EXPECT_EQ(CreateXMLFileRef(u"a.xml"), nullptr);
}

TEST_F(DescriptorFetch, EmptyBodyIsAnEmptyDescriptor)
{
    ScopedServer server;
    server.on("/a.xml", answer::ok(""));
    EXPECT_EQ(fetch(server.wideUrl("/"), u"a.xml"), 0);
    EXPECT_TRUE(fs::exists(local("a.xml")));
    EXPECT_EQ(fs::file_size(local("a.xml")), 0u);
}

TEST_F(DescriptorFetch, FileRefNamesThePlaceInTheDescriptorFolder)
{
    EXPECT_EQ(CreateXMLFileRef(nullptr), nullptr);
    OpacLumFSRef* const ref = CreateXMLFileRef(u"new.xml");
    ASSERT_NE(ref, nullptr);
    EXPECT_FALSE(fs::exists(local("new.xml"))) << "naming a place makes nothing there";
    const SInt16 file = LumFileCreateExt(ref, kLumFileCreateWrite);
    EXPECT_NE(file, -1);
    LumFileCloseExt(file);
    EXPECT_TRUE(fs::exists(local("new.xml")));
    Lum0FSRRelease(ref);
}
