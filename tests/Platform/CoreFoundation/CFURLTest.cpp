// Locations: file URLs, their paths, and URLs from text.
#include "Platform/CoreFoundation/CFURL.h"
#include "tests/Platform/CoreFoundation/CFText.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

CFRef<CFURLRef> urlOf(std::u16string_view text)
{
    return adoptCF(CFURLCreateWithString(kCFAllocatorDefault, cf(text), nullptr));
}

CFRef<CFURLRef> fileUrlOfBytes(const std::string& bytes, bool isDirectory = false)
{
    return adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(bytes.data()), static_cast<CFIndex>(bytes.size()), isDirectory));
}

CFRef<CFURLRef> fileUrl(std::u16string_view path, bool isDirectory = false)
{
    return fileUrlOfBytes(std::filesystem::path(path).string(), isDirectory);
}

std::u16string stringOf(CFURLRef url)
{
    return url ? textOf(CFURLGetString(url)) : u"(null)";
}

std::u16string pathOf(CFURLRef url)
{
    return textOf(adoptCF(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle)));
}

/// The path's bytes, or "(false)".
std::string bytesOf(CFURLRef url, CFIndex size = 1024)
{
    std::string buffer(2048, '#');
    if (!CFURLGetFileSystemRepresentation(url, 1, reinterpret_cast<UInt8*>(buffer.data()), size))
        return "(false)";
    return buffer.c_str();
}

std::u16string withoutLast(CFURLRef url)
{
    return stringOf(adoptCF(CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, url)));
}

std::u16string with(CFURLRef url, std::u16string_view component, bool isDirectory = false)
{
    return stringOf(
        adoptCF(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, url, cf(component), isDirectory)));
}

} // namespace

TEST(CFURL, TakesEscapedText)
{
    for (const auto text : {u"http://host/a%20b", u"http://[::1]:8080/x?a=1&b=2#f", u"file:///a", u"a/b"})
        EXPECT_EQ(stringOf(urlOf(text)), text);
}

TEST(CFURL, RefusesTextThatIsNotEscaped)
{
    for (const auto text : {u"", u"http://host/a b", u"http://h/\u00E9", u"http://h/\x01", u"http://h/%",
             u"http://h/%2", u"http://h/%2G", u"http://h/100%", u"http://h/a\"b", u"h<", u"h>", u"h{", u"h}",
             u"h|", u"h\\", u"h^", u"h`", u"h\n", u"h\x7F"})
        EXPECT_FALSE(urlOf(text)) << std::filesystem::path(text);
}

TEST(CFURLDeathTest, RefusesABase)
{
    const auto base = urlOf(u"http://host/");
    EXPECT_DEATH(CFURLCreateWithString(nullptr, cf(u"a"), base), "failed assertion");
}

TEST(CFURL, FileUrlEscapesItsPath)
{
    EXPECT_EQ(stringOf(fileUrl(u"/a b/\u00E9?#%;[]{}.x")), u"file:///a%20b/%C3%A9%3F%23%25%3B%5B%5D%7B%7D.x");
    EXPECT_EQ(stringOf(fileUrl(u"/a-b_c.d~e!f$g&h'i(j)k*l+m,n=o:p@q")),
        u"file:///a-b_c.d~e!f$g&h'i(j)k*l+m,n=o:p@q");
}

TEST(CFURL, FolderEndsInASlash)
{
    EXPECT_EQ(stringOf(fileUrl(u"/a/b", true)), u"file:///a/b/");
    EXPECT_EQ(stringOf(fileUrl(u"/a/b/", true)), u"file:///a/b/");
    EXPECT_EQ(stringOf(fileUrl(u"/a/b/", false)), u"file:///a/b");
    EXPECT_EQ(stringOf(fileUrl(u"/", true)), u"file:///");
}

TEST(CFURL, RelativePathIsTakenFromTheWorkingFolder)
{
    const std::u16string here = std::filesystem::current_path().u16string();
    EXPECT_EQ(pathOf(fileUrl(u"a/b")), here + u"/a/b");
    EXPECT_EQ(bytesOf(fileUrlOfBytes("a")), std::filesystem::current_path().string() + "/a");
}

TEST(CFURL, RefusesAPathThatNamesNothing)
{
    EXPECT_FALSE(fileUrl(u""));
    EXPECT_FALSE(fileUrl(std::u16string(u"/a\0b", 4)));
    EXPECT_FALSE(fileUrlOfBytes(""));
    EXPECT_FALSE(fileUrlOfBytes(std::string("/a\0b", 4)));
    EXPECT_EQ(CFURLCreateFromFileSystemRepresentation(nullptr, nullptr, 3, 0), nullptr);
    EXPECT_EQ(CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const UInt8*>("/a"), -1, 0),
        nullptr);
}

TEST(CFURL, GivesThePathBackUnescapedWithoutATrailingSlash)
{
    EXPECT_EQ(pathOf(fileUrl(u"/a b/\u00E9?#%41", true)), u"/a b/\u00E9?#%41");
    EXPECT_EQ(bytesOf(fileUrl(u"/a b/\u00E9?#%41", true)), "/a b/\xC3\xA9?#%41");
    EXPECT_EQ(pathOf(fileUrl(u"/", true)), u"/");
}

TEST(CFURL, KeepsBytesThatAreNoUtf8)
{
    const auto url = fileUrlOfBytes("/caf\xE9");
    EXPECT_EQ(stringOf(url), u"file:///caf%E9");
    EXPECT_EQ(bytesOf(url), "/caf\xE9");
    EXPECT_EQ(pathOf(url), u"(null)");
}

TEST(CFURL, ReadsFileUrlsOfThisMachine)
{
    EXPECT_EQ(pathOf(urlOf(u"file:///a%20b")), u"/a b");
    EXPECT_EQ(pathOf(urlOf(u"FILE://LOCALHOST/a")), u"/a");
    EXPECT_EQ(pathOf(urlOf(u"file:/a")), u"/a");
    EXPECT_EQ(pathOf(urlOf(u"file:///a?query#fragment")), u"/a");
}

TEST(CFURL, OtherUrlsHaveNoPath)
{
    for (const auto text :
        {u"http://host/a", u"file://elsewhere/a", u"file:", u"file://", u"file:a", u"/a", u"file:///%00"}) {
        EXPECT_EQ(pathOf(urlOf(text)), u"(null)") << std::filesystem::path(text);
        EXPECT_EQ(bytesOf(urlOf(text)), "(false)");
        EXPECT_EQ(withoutLast(urlOf(text)), u"(null)");
        EXPECT_EQ(with(urlOf(text), u"x"), u"(null)");
        FSRef ref;
        EXPECT_FALSE(CFURLGetFSRef(urlOf(text), &ref));
    }
}

TEST(CFURL, PathMustFitItsBuffer)
{
    const auto url = fileUrl(u"/abc");
    EXPECT_EQ(bytesOf(url, 5), "/abc");
    EXPECT_EQ(bytesOf(url, 4), "(false)");
    EXPECT_EQ(bytesOf(url, 0), "(false)");
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, 1, nullptr, 10));
}

TEST(CFURL, DeletesTheLastComponent)
{
    EXPECT_EQ(withoutLast(fileUrl(u"/a/b")), u"file:///a/");
    EXPECT_EQ(withoutLast(fileUrl(u"/a/b", true)), u"file:///a/");
    EXPECT_EQ(withoutLast(fileUrl(u"/a")), u"file:///");
    EXPECT_EQ(withoutLast(fileUrl(u"/", true)), u"file:///");
}

TEST(CFURL, AppendsAComponent)
{
    EXPECT_EQ(with(fileUrl(u"/a", true), u"20071023TwoParams.txt"), u"file:///a/20071023TwoParams.txt");
    EXPECT_EQ(with(fileUrl(u"/a"), u"b c"), u"file:///a/b%20c");
    EXPECT_EQ(with(fileUrl(u"/", true), u"b", true), u"file:///b/");
    EXPECT_EQ(with(fileUrl(u"/a"), u"b/c"), u"file:///a/b/c");
    EXPECT_EQ(with(fileUrl(u"/a"), u"b\xD800"), u"(null)");
}

TEST(CFURL, EmptyComponentGivesTheFolderItself)
{
    EXPECT_EQ(with(fileUrl(u"/a/b", true), u""), u"file:///a/b/");
    EXPECT_EQ(with(fileUrl(u"/a/b"), u""), u"file:///a/b/");
}

TEST(CFURL, EqualityIsOfText)
{
    EXPECT_TRUE(CFEqual(fileUrl(u"/a b"), urlOf(u"file:///a%20b")));
    EXPECT_FALSE(CFEqual(fileUrl(u"/a"), fileUrl(u"/a", true)));
}

TEST(CFURL, GoesToAReferenceAndBack)
{
    const ScopedTempDir folder;
    const std::string file = folder.write("a file", "x").string();
    FSRef ref;
    ASSERT_TRUE(CFURLGetFSRef(fileUrlOfBytes(file), &ref));
    EXPECT_EQ(ref.path, file);
    EXPECT_EQ(bytesOf(adoptCF(CFURLCreateFromFSRef(nullptr, &ref))), file);
    ASSERT_TRUE(CFURLGetFSRef(fileUrlOfBytes(folder.path().string()), &ref));
    EXPECT_TRUE(stringOf(adoptCF(CFURLCreateFromFSRef(nullptr, &ref))).ends_with(u"/"));
}

TEST(CFURL, MissingObjectHasNoReference)
{
    const ScopedTempDir folder;
    FSRef ref;
    EXPECT_FALSE(CFURLGetFSRef(fileUrlOfBytes(folder.at("gone").string()), &ref));
    ref.path = folder.at("gone").string();
    EXPECT_EQ(CFURLCreateFromFSRef(nullptr, &ref), nullptr);
}
