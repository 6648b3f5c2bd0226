// What a copy takes over from its source, and what it prints.
#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "tests/Cocoa2CarbonLib/CopyFixture.h"
#include "tests/support/FileTrees.h"

#include <gmock/gmock.h>

#include <cinttypes>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* kNothingAsked = "\t\t\t\tdupeAction: standard, wantSpec: no, wantName: no,\n"
                                      "\t\t\t\tfilterProcPtr: 0x00000000, yourDataPtr: 0x00000000,\n"
                                      "\t\t\t\tnewObjectRef: 0x00000000, newObjectSpec: 0x00000000,\n";

class FSCopyObjectTest : public CopyFixture { };

int copyEverything(UInt32, const FSCatalogInfo*, const FSSpec*, const HFSUniStr255*, void*)
{
    return kFSCopyThisItem;
}

} // namespace

TEST_F(FSCopyObjectTest, ReturnsParamErrForNullAndPrintsNothing)
{
    const FSRef ref = refTo(m_tree);
    testing::internal::CaptureStdout();
    const OSStatus noSource
        = FSCopyObject(nullptr, &ref, 0, 0, 0, nullptr, false, false, nullptr, nullptr, nullptr, nullptr);
    const OSStatus noDestination
        = FSCopyObject(&ref, nullptr, 0, 0, 0, nullptr, false, false, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(noSource, -50);
    EXPECT_EQ(noDestination, -50);
}

TEST_F(FSCopyObjectTest, PrintsItsParametersForAFile)
{
    std::string printed;
    EXPECT_EQ(copy(m_temp.write("file", "x"), &printed), 0);
    EXPECT_EQ(printed,
        std::string("FSCopyObject -- err: 0, maxLevels: 0, whichInfo: 00000000,\n") + kNothingAsked
            + "\t\t\t\tcopyBufferSize: 256kB, isDirectory: no, isLocal: yes,\n"
              "\t\t\t\tisDropBox: no, PBHCopyFileSync supported: yes\n\n");
}

TEST_F(FSCopyObjectTest, PrintsTheParametersThatItIsGiven)
{
    CopyCall call;
    FSRef newObject;
    FSSpec newSpec;
    int data = 0;
    call.source = m_tree;
    call.destDir = m_dest;
    call.maxLevels = 4000000000u;
    call.whichInfo = 0xabcdef;
    call.dupeAction = 1;
    call.wantFSSpec = true;
    call.filterProc = copyEverything;
    call.yourData = &data;
    call.newObjectRef = &newObject;
    call.newObjectSpec = &newSpec;
    char pointers[200];
    std::snprintf(pointers, sizeof pointers,
        "\t\t\t\tfilterProcPtr: 0x%08" PRIxPTR ", yourDataPtr: 0x%08" PRIxPTR ",\n"
        "\t\t\t\tnewObjectRef: 0x%08" PRIxPTR ", newObjectSpec: 0x%08" PRIxPTR ",\n",
        reinterpret_cast<std::uintptr_t>(&copyEverything), reinterpret_cast<std::uintptr_t>(&data),
        reinterpret_cast<std::uintptr_t>(&newObject), reinterpret_cast<std::uintptr_t>(&newSpec));
    std::string printed;
    EXPECT_EQ(call.run(&printed), 0);
    EXPECT_EQ(printed,
        "FSCopyObject -- err: 0, maxLevels: 4000000000, whichInfo: 00abcdef,\n"
        "\t\t\t\tdupeAction: replace, wantSpec: yes, wantName: no,\n"
            + std::string(pointers)
            + "\t\t\t\tcopyBufferSize: 256kB, isDirectory: yes, isLocal: yes,\n"
              "\t\t\t\tisDropBox: no, PBHCopyFileSync supported: yes\n\n");
}

TEST_F(FSCopyObjectTest, PrintsRenameForTheSecondActionAndStandardForAnyOther)
{
    for (const auto& [action, name] : {std::pair(2, "rename"), {3, "standard"}, {-1, "standard"}}) {
        const ScopedTempDir other;
        CopyCall call;
        call.source = m_tree;
        call.destDir = other.path();
        call.dupeAction = action;
        call.wantName = true;
        std::string printed;
        EXPECT_EQ(call.run(&printed), 0);
        EXPECT_THAT(printed,
            testing::HasSubstr(
                "\t\t\t\tdupeAction: " + std::string(name) + ", wantSpec: no, wantName: yes,\n"));
    }
}

TEST_F(FSCopyObjectTest, PrintsTheErrorOfAMissingSourceWithItsParameters)
{
    const FSRef source = refTo(m_temp.write("file", "x"));
    const FSRef dest = refTo(m_dest);
    fs::remove(m_temp.at("file"));
    testing::internal::CaptureStdout();
    const OSStatus error
        = FSCopyObject(&source, &dest, 0, 0, 0, nullptr, false, false, nullptr, nullptr, nullptr, nullptr);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(error, -43);
    EXPECT_THAT(printed,
        testing::StartsWith(
            std::string("FSCopyObject -- err: -43, maxLevels: 0, whichInfo: 00000000,\n") + kNothingAsked));
    EXPECT_THAT(withoutLineNumbers(printed),
        testing::EndsWith(
            "\n\nerr != noErr in File: FSCopyObject.cpp, Function: FSCopyObject, Line: N, Error: "
            "-43\n"));
}

TEST_F(FSCopyObjectTest, FlushesWhatItPrints)
{
    const FSRef source = refTo(m_tree);
    const FSRef dest = refTo(m_dest);
    const fs::path output = m_temp.at("output");
    // The child ends without flushing, and a file is no terminal: only what was flushed is there.
    const int status = child::run([&] {
        if (!std::freopen(output.c_str(), "w", stdout))
            return 1;
        return FSCopyObject(
            &source, &dest, 0, 0, 0, nullptr, false, false, nullptr, nullptr, nullptr, nullptr);
    });
    EXPECT_EQ(status, 0);
    EXPECT_THAT(readWholeFile(output), testing::EndsWith("PBHCopyFileSync supported: yes\n\n"));
}

TEST_F(FSCopyObjectTest, CopiesAFile)
{
    EXPECT_EQ(copy(m_temp.write("file", "content")), 0);
    EXPECT_EQ(readWholeFile(m_dest / "file"), "content");
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("file"));
}

TEST_F(FSCopyObjectTest, CopiesAnEmptyFolder)
{
    expectCopies();
}

TEST_F(FSCopyObjectTest, CopiesATreeWithEverythingInIt)
{
    m_temp.write("tree/one", "1");
    m_temp.write("tree/sub/two", "2");
    m_temp.write("tree/sub/deeper/three", "3");
    m_temp.write("tree/.hidden", "h");
    m_temp.makeFolder("tree/empty");
    expectCopies();
    EXPECT_EQ(describeTree(m_dest / "tree").size(), 8u);
}

TEST_F(FSCopyObjectTest, GivesTheNewObjectsReference)
{
    CopyCall call;
    FSRef ref;
    FSSpec spec;
    call.source = m_temp.write("tree/file", "x");
    call.destDir = m_dest;
    call.newObjectRef = &ref;
    call.newObjectSpec = &spec;
    ASSERT_EQ(call.run(), 0);
    EXPECT_EQ(ref.path, (m_dest / "file").string());
    EXPECT_EQ(ref.inode, statusOf(m_dest / "file").st_ino);
    EXPECT_EQ(ref.device, statusOf(m_dest / "file").st_dev);
    EXPECT_EQ(FSCompareFSRefs(&ref, &spec), 0);
    EXPECT_EQ(spec.path, ref.path);
}

TEST_F(FSCopyObjectTest, LeavesTheReferenceAloneWhenItFails)
{
    CopyCall call;
    FSRef ref {1, 2, "mark"};
    call.source = m_temp.write("tree/file", "x");
    call.destDir = m_tree;
    call.newObjectRef = &ref;
    EXPECT_EQ(call.run(), -48);
    EXPECT_EQ(ref.path, "mark");
}

TEST_F(FSCopyObjectTest, CopiesLinksAsLinks)
{
    m_temp.write("outside/file", "x");
    fs::create_directory_symlink(m_temp.at("outside"), m_tree / "to folder");
    fs::create_symlink(m_temp.at("outside/file"), m_tree / "to file");
    fs::create_symlink("no\xffwhere", m_tree / "dangling");
    fs::create_directory_symlink(".", m_tree / "to itself");
    fs::create_symlink(std::string(4000, 'x'), m_tree / "long");
    expectCopies();
}

TEST_F(FSCopyObjectTest, CopiesALinkAtTheTopAsALink)
{
    fs::create_symlink("tree", m_temp.at("link"));
    EXPECT_EQ(copy(m_temp.at("link")), 0);
    EXPECT_EQ(fs::read_symlink(m_dest / "link"), "tree");
}

TEST_F(FSCopyObjectTest, CopiesNamesOfAnyBytes)
{
    m_temp.write("tree/\xff\xfe not utf-8/\x80", "x");
    m_temp.write("tree/new\nline %s %n", "x");
    m_temp.write("tree/... ", "x");
    expectCopies();
    const ScopedTempDir other;
    CopyCall call;
    call.source = m_tree / "\xff\xfe not utf-8";
    call.destDir = other.path();
    EXPECT_EQ(call.run(), 0);
    EXPECT_THAT(trees::names(other.path()), testing::ElementsAre("\xff\xfe not utf-8"));
}

TEST_F(FSCopyObjectTest, MakesSeveralFilesOfSeveralNamesOfOne)
{
    const fs::path file = m_temp.write("tree/one", "x");
    fs::create_hard_link(file, m_tree / "two");
    expectCopies();
    EXPECT_EQ(statusOf(m_dest / "tree/one").st_nlink, 1u);
    EXPECT_EQ(statusOf(m_dest / "tree/two").st_nlink, 1u);
}

TEST_F(FSCopyObjectTest, TakesANewName)
{
    CopyCall call;
    const HFSUniStr255 name = unicodeName(u"\u00e9 \U0001F600.txt");
    call.source = m_temp.write("file", "x");
    call.destDir = m_dest;
    call.newName = &name;
    EXPECT_EQ(call.run(), 0);
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("\xc3\xa9 \xf0\x9f\x98\x80.txt"));
}

TEST_F(FSCopyObjectTest, RefusesNewNamesThatAreNone)
{
    const std::u16string loneSurrogate(1, u'\xd800');
    const std::u16string tooManyBytes(128, u'\u00e9');
    for (const auto& [text, error] : {std::pair<std::u16string, int>(u"", -37), {u".", -37}, {u"..", -37},
             {u"a/b", -37}, {std::u16string(1, u'\0'), -37}, {loneSurrogate, -37}, {tooManyBytes, -1410},
             {std::u16string(256, u'n'), -1410}}) {
        CopyCall call;
        const HFSUniStr255 name = unicodeName(text);
        call.source = m_tree;
        call.destDir = m_dest;
        call.newName = &name;
        EXPECT_EQ(call.run(), error);
        EXPECT_TRUE(fs::is_empty(m_dest));
    }
}

TEST_F(FSCopyObjectTest, CopiesIntoAWriteOnlyFolder)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "a folder that cannot be read needs an ordinary user";
    const fs::path file = m_temp.write("tree/sub/file", "content");
    (void)setAttribute(file, "user.origin", "somewhere"); // compared below, also where there are none
    ASSERT_EQ(::chmod(m_temp.path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod(m_dest.c_str(), 0733), 0);
    const int status = child::runAsNobody([&] {
        std::string printed;
        EXPECT_EQ(copy(m_tree, &printed), 0);
        EXPECT_THAT(
            printed, testing::HasSubstr("\t\t\t\tisDropBox: yes, PBHCopyFileSync supported: yes\n\n"));
        EXPECT_EQ(copy(m_tree), -48);
        return HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(readWholeFile(m_dest / "tree/sub/file"), "content");
    EXPECT_EQ(attribute(m_dest / "tree/sub/file", "user.origin"), attribute(file, "user.origin"));
    EXPECT_EQ(statusOf(m_dest / "tree/sub/file").st_uid, child::kNobody);
}

TEST_F(FSCopyObjectTest, ReplacesInAWriteOnlyFolderOnlyWhatTheUserMayMove)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "a folder that cannot be read needs an ordinary user";
    m_temp.write("tree/file", "new");
    m_temp.write("dest/tree/file", "old");
    ASSERT_EQ(::chmod(m_temp.path().c_str(), 0755), 0);
    const auto replaceAsNobody = [this](OSStatus expected) {
        return child::runAsNobody([&] { return replace(m_tree, m_dest) == expected ? 0 : 1; });
    };
    ASSERT_EQ(::chmod(m_dest.c_str(), 01733), 0); // sticky: others' objects stay where they are
    EXPECT_EQ(replaceAsNobody(-54), 0);
    EXPECT_EQ(readWholeFile(m_dest / "tree/file"), "old");
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("tree"));
    for (const char* const own : {"dest/tree", "dest/tree/file"})
        ASSERT_EQ(::chown(m_temp.at(own).c_str(), child::kNobody, child::kNobody), 0);
    EXPECT_EQ(replaceAsNobody(0), 0);
    EXPECT_EQ(readWholeFile(m_dest / "tree/file"), "new");
    EXPECT_THAT(trees::names(m_dest), testing::ElementsAre("tree"));
}

TEST_F(FSCopyObjectTest, TakesNoFolderThatItMayReadOrNotWriteForADropBox)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "a folder that cannot be read needs an ordinary user";
    ASSERT_EQ(::chmod(m_temp.path().c_str(), 0755), 0);
    for (const mode_t mode : {0711u, 0777u}) {
        ASSERT_EQ(::chmod(m_dest.c_str(), mode), 0);
        const int status = child::runAsNobody([&] {
            std::string printed;
            EXPECT_EQ(copy(m_tree, &printed), mode == 0777u ? 0 : -5000);
            EXPECT_THAT(printed, testing::HasSubstr("isDropBox: no,"));
            return HasFailure() ? 1 : 0;
        });
        EXPECT_EQ(status, 0);
    }
}

TEST_F(FSCopyObjectTest, RefusesADestinationInsideTheSource)
{
    const fs::path inside = m_temp.makeFolder("tree/sub/deeper");
    fs::create_directory_symlink(inside, m_temp.at("link"));
    for (const fs::path& destination : {m_tree, m_tree / "sub", inside, m_temp.at("link")}) {
        CopyCall call;
        call.source = m_tree;
        call.destDir = destination;
        std::string printed;
        EXPECT_EQ(call.run(&printed), -122) << destination;
        EXPECT_THAT(printed, testing::StartsWith("FSCopyObject -- err: 0,"));
        EXPECT_EQ(describeTree(m_tree).size(), 3u);
    }
}

TEST_F(FSCopyObjectTest, TakesAFolderWhoseNameBeginsLikeTheSources)
{
    CopyCall call;
    call.source = m_tree;
    call.destDir = m_temp.makeFolder("tree2");
    EXPECT_EQ(call.run(), 0);
    EXPECT_TRUE(trees::exists(m_temp.at("tree2/tree")));
}
