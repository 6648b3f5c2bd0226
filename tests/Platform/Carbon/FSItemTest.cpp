// Items reached by name from their open folder: what is told of them, and what makes and finishes them.
#include "Platform/Carbon/FSItemChanges.h"

#include "Platform/Carbon/FSCatalog.h"
#include "tests/support/FileTrees.h"
#include "tests/support/TempDir.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

Descriptor openFolder(const fs::path& path)
{
    return Descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

struct stat statusOf(const fs::path& path)
{
    struct stat status { };
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

FSRef refTo(const fs::path& path)
{
    FSRef ref;
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr), 0) << path;
    return ref;
}

class FSItemTest : public testing::Test {
protected:
    ScopedTempDir m_temp;
    const fs::path m_path = m_temp.makeFolder("folder");
    const Descriptor m_folder = openFolder(m_path);
};

} // namespace

TEST_F(FSItemTest, TellsKindsAndNeverFollowsLinks)
{
    m_temp.write("folder/file", "x");
    m_temp.makeFolder("folder/sub");
    fs::create_symlink("sub", m_path / "link");
    ASSERT_EQ(::mkfifo((m_path / "pipe").c_str(), 0600), 0);
    for (const auto& [name, kind] : {std::pair("file", ItemKind::kFile), {"sub", ItemKind::kFolder},
             {"link", ItemKind::kLink}, {"pipe", ItemKind::kOther}}) {
        ItemInfo info;
        EXPECT_EQ(itemInfo(m_folder.get(), name, info), 0) << name;
        EXPECT_EQ(info.kind, kind) << name;
        EXPECT_EQ(info.inode, statusOf(m_path / name).st_ino) << name;
        EXPECT_EQ(info.device, statusOf(m_path / name).st_dev) << name;
    }
    ItemInfo none;
    EXPECT_EQ(itemInfo(m_folder.get(), "missing", none), -43);
}

TEST_F(FSItemTest, OpensFilesAndFoldersOnly)
{
    m_temp.write("folder/file", "x");
    fs::create_symlink("file", m_path / "link");
    ASSERT_EQ(::mkfifo((m_path / "pipe").c_str(), 0600), 0);
    Descriptor item;
    ItemInfo info;
    EXPECT_EQ(openItem(m_folder.get(), "file", item, info), 0);
    EXPECT_TRUE(item);
    EXPECT_EQ(openItem(m_folder.get(), "link", item, info), -1302);
    EXPECT_EQ(openItem(m_folder.get(), "pipe", item, info), -1302);
    EXPECT_EQ(openItem(m_folder.get(), "missing", item, info), -43);
}

TEST_F(FSItemTest, DoesNotWaitForALeaseToBeGivenUp)
{
    const Descriptor holder(::open(m_temp.write("folder/file", "x").c_str(), O_RDWR | O_CLOEXEC));
    const auto former = std::signal(SIGIO, SIG_IGN); // tells the holder that somebody waits
    if (::fcntl(holder.get(), F_SETLEASE, F_WRLCK) != 0)
        GTEST_SKIP() << "the file system has no leases";
    Descriptor item;
    ItemInfo info;
    EXPECT_EQ(openItem(m_folder.get(), "file", item, info), -47);
    EXPECT_EQ(::fcntl(holder.get(), F_SETLEASE, F_UNLCK), 0);
    EXPECT_EQ(openItem(m_folder.get(), "file", item, info), 0);
    (void)std::signal(SIGIO, former); // it was valid before
}

TEST_F(FSItemTest, ReadsTheTargetsOfLinksOnly)
{
    m_temp.write("folder/file", "x");
    const std::string longest(4095, 't');
    fs::create_symlink(longest, m_path / "link");
    std::string target;
    EXPECT_EQ(linkTarget(m_folder.get(), "link", target), 0);
    EXPECT_EQ(target, longest);
    EXPECT_EQ(linkTarget(m_folder.get(), "file", target), -1401);
    EXPECT_EQ(linkTarget(m_folder.get(), "missing", target), -43);
}

TEST_F(FSItemTest, TellsWhereAnOpenFolderIsNow)
{
    fs::create_directory_symlink(m_path, m_temp.at("link"));
    EXPECT_EQ(currentPath(m_folder.get(), m_path.string()), m_path.string());
    EXPECT_EQ(currentPath(m_folder.get(), m_temp.at("link").string()), m_temp.at("link").string());
    fs::rename(m_path, m_temp.at("moved"));
    m_temp.makeFolder("folder");
    EXPECT_EQ(currentPath(m_folder.get(), m_path.string()), m_temp.at("moved").string());
}

TEST_F(FSItemTest, FindsAReferencesFolderAndName)
{
    ItemPlace place;
    EXPECT_EQ(openPlaceOfRef(refTo(m_temp.write("folder/file", "x")), place), 0);
    EXPECT_EQ(place.name, "file");
    EXPECT_EQ(place.folderPath, m_path.string());
    ItemInfo info;
    EXPECT_EQ(openItemInfo(place.folder.get(), info), 0);
    EXPECT_EQ(info.inode, statusOf(m_path).st_ino);
    EXPECT_EQ(openPlaceOfRef(refTo("/usr"), place), 0);
    EXPECT_EQ(place.folderPath, "/");
    EXPECT_EQ(openPlaceOfRef(refTo("/"), place), -50);
    EXPECT_EQ(openPlaceOfRef(refTo(m_path / ".."), place), -50);
}

TEST_F(FSItemTest, OpensTheFolderAboveOnlyWhenItIsTheExpectedOne)
{
    const Descriptor sub = openFolder(m_temp.makeFolder("folder/sub"));
    ItemInfo expected;
    ASSERT_EQ(openItemInfo(m_folder.get(), expected), 0);
    Descriptor above;
    EXPECT_EQ(openFolderAbove(sub.get(), expected, above), 0);
    fs::rename(m_path / "sub", m_temp.at("moved"));
    EXPECT_EQ(openFolderAbove(sub.get(), expected, above), -1401);
}

TEST_F(FSItemTest, TellsWhatLiesInside)
{
    const Descriptor deeper = openFolder(m_temp.makeFolder("folder/sub/deeper"));
    const Descriptor beside = openFolder(m_temp.makeFolder("folder2"));
    ItemInfo container;
    ASSERT_EQ(openItemInfo(m_folder.get(), container), 0);
    for (const auto& [folder, expected] : {std::pair(&m_folder, true), {&deeper, true}, {&beside, false}}) {
        bool inside = !expected;
        EXPECT_EQ(folderLiesInside(folder->get(), container, inside), 0);
        EXPECT_EQ(inside, expected);
    }
}

TEST_F(FSItemTest, ListsChildrenEachTimeAnew)
{
    std::vector<std::string> names {"old"};
    EXPECT_EQ(childNames(m_folder.get(), names), 0);
    EXPECT_TRUE(names.empty());
    m_temp.write("folder/.hidden", "");
    m_temp.write("folder/a\xff", "");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(childNames(m_folder.get(), names), 0);
        EXPECT_THAT(names, testing::UnorderedElementsAre(".hidden", "a\xff"));
    }
}

TEST_F(FSItemTest, MakesFilesThatNobodyReadsWhileTheyAreMade)
{
    Descriptor file;
    EXPECT_EQ(createFileItem(m_folder.get(), "file", file), 0);
    EXPECT_EQ(statusOf(m_path / "file").st_mode, S_IFREG | 0200u);
    EXPECT_EQ(createFileItem(m_folder.get(), "file", file), -48);
}

TEST_F(FSItemTest, GivesWhatItMakesItsModeUnderAnyCreationMask)
{
    Descriptor file;
    Descriptor folder;
    const mode_t before = ::umask(0777);
    const OSStatus fileError = createFileItem(m_folder.get(), "file", file);
    const OSStatus folderError = createFolderItem(m_folder.get(), "sub", folder);
    ::umask(before);
    EXPECT_EQ(fileError, 0);
    EXPECT_EQ(folderError, 0);
    EXPECT_EQ(statusOf(m_path / "file").st_mode & 07777, 0200u);
    EXPECT_EQ(statusOf(m_path / "sub").st_mode & 07777, 0700u);
}

TEST_F(FSItemTest, MakesNothingThroughALink)
{
    fs::create_symlink(m_temp.at("elsewhere"), m_path / "link");
    Descriptor made;
    EXPECT_EQ(createFileItem(m_folder.get(), "link", made), -48);
    EXPECT_EQ(createFolderItem(m_folder.get(), "link", made), -48);
    EXPECT_FALSE(trees::exists(m_temp.at("elsewhere")));
}

TEST_F(FSItemTest, RenamesOverNothing)
{
    m_temp.write("folder/one", "1");
    m_temp.write("folder/two", "2");
    EXPECT_EQ(renameItem(m_folder.get(), "one", "two"), -48);
    EXPECT_EQ(renameItem(m_folder.get(), "one", "three"), 0);
    EXPECT_EQ(renameItem(m_folder.get(), "one", "four"), -43);
    EXPECT_THAT(trees::names(m_path), testing::ElementsAre("three", "two"));
    EXPECT_EQ(readWholeFile(m_path / "two"), "2");
}

TEST_F(FSItemTest, FinishesWithModeAndTimes)
{
    Descriptor folder;
    ASSERT_EQ(createFolderItem(m_folder.get(), "sub", folder), 0);
    ItemInfo info;
    ASSERT_EQ(openItemInfo(folder.get(), info), 0);
    info.mode = 0511;
    info.accessed = {1000000001, 5};
    info.modified = {-7, 999999999};
    EXPECT_EQ(finishItem(folder.get(), info), 0);
    EXPECT_EQ(flushItem(folder.get()), 0);
    const struct stat status = statusOf(m_path / "sub");
    EXPECT_EQ(status.st_mode & 07777, 0511u);
    EXPECT_EQ(status.st_atim.tv_sec, 1000000001);
    EXPECT_EQ(status.st_atim.tv_nsec, 5);
    EXPECT_EQ(status.st_mtim.tv_sec, -7);
    EXPECT_EQ(status.st_mtim.tv_nsec, 999999999);
}

TEST_F(FSItemTest, LeavesSetUserAndSetGroupBitsOutWhereTheOwnerDiffers)
{
    Descriptor file;
    ASSERT_EQ(createFileItem(m_folder.get(), "file", file), 0);
    ItemInfo own;
    ASSERT_EQ(openItemInfo(file.get(), own), 0);
    own.mode = 06755;
    ItemInfo otherOwner = own;
    ++otherOwner.owner;
    ItemInfo otherGroup = own;
    ++otherGroup.group;
    for (const auto& [info, mode] : {std::pair(&own, 06755u), {&otherOwner, 02755u}, {&otherGroup, 04755u}}) {
        EXPECT_EQ(finishItem(file.get(), *info), 0);
        EXPECT_EQ(statusOf(m_path / "file").st_mode & 07777, mode);
    }
    EXPECT_EQ(closeItem(file), 0);
    EXPECT_FALSE(file);
}

TEST_F(FSItemTest, OpensAnObjectToItsOwnerAndNoLinksTarget)
{
    const fs::path sub = m_temp.makeFolder("folder/sub");
    fs::create_directory_symlink(sub, m_path / "link");
    ASSERT_EQ(::chmod(sub.c_str(), 0055), 0);
    const FSRef link = refTo(m_path / "link");
    EXPECT_EQ(FSOpenToOwner(&link), -54);
    EXPECT_EQ(statusOf(sub).st_mode & 07777, 0055u);
    const FSRef ref = refTo(sub);
    EXPECT_EQ(FSOpenToOwner(&ref), 0);
    EXPECT_EQ(statusOf(sub).st_mode & 07777, 0700u);
}

TEST_F(FSItemTest, ConvertsNamesBothWays)
{
    HFSUniStr255 unicode = unicodeFromItemName("\xc3\xa9\xf0\x9f\x98\x80\xff");
    EXPECT_EQ(std::u16string(unicode.unicode, unicode.length), u"\u00e9\U0001F600\ufffd");
    std::string name;
    unicode.length = 3;
    EXPECT_EQ(itemNameFromUnicode(unicode, name), 0);
    EXPECT_EQ(name, "\xc3\xa9\xf0\x9f\x98\x80");
    EXPECT_EQ(unicodeFromItemName(std::string(255, 'n')).length, 255);
    unicode.length = 256;
    EXPECT_EQ(itemNameFromUnicode(unicode, name), -1410);
}
