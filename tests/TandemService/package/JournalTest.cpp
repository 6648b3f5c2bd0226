// The journal's own form.
#include "TandemService/package/Journal.h"

#include "Platform/Support/Descriptor.h"
#include "tests/support/TempDir.h"

#include <fcntl.h>
#include <gtest/gtest.h>

namespace {

struct JournalFolder {
    JournalFolder()
        : folder(open(scratch.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
    }
    bool readsBack(std::string_view text)
    {
        (void)scratch.write("journal", text);
        return readJournal(folder.get(), entries);
    }

    ScopedTempDir scratch;
    Descriptor folder;
    SwapList entries;
};

} // namespace

TEST(Journal, KeepsNamesOfEverySort)
{
    JournalFolder journal;
    const SwapList entries = {{"Foo.app", true}, {"with blank", false}, {"new\nline\nend\n", true},
        {"\xFF\xFE not text", false}, {std::string(255, 'n'), true}};
    ASSERT_TRUE(writeJournal(journal.folder.get(), entries));
    ASSERT_TRUE(readJournal(journal.folder.get(), journal.entries));
    EXPECT_EQ(journal.entries, entries);
}

TEST(Journal, HasTheDocumentedForm)
{
    JournalFolder journal;
    ASSERT_TRUE(writeJournal(journal.folder.get(), {{"Foo.app", true}, {"B", false}}));
    EXPECT_EQ(readWholeFile(journal.scratch.at("journal")), "install journal 1\n=7 Foo.app\n+1 B\nend\n");
}

TEST(Journal, IsRefusedWhenDamaged)
{
    JournalFolder journal;
    EXPECT_TRUE(journal.readsBack("install journal 1\n=1 a\nend\n"));
    const char* const damaged[] = {"", "install journal 1\n", "install journal 2\n=1 a\nend\n",
        "install journal 1\n=1 a\n", "install journal 1\n=2 a\nend\n", "install journal 1\n=1 abc\nend\n",
        "install journal 1\n*1 a\nend\n", "install journal 1\n=0 \nend\n", "install journal 1\n=1 /\nend\n",
        "install journal 1\n=2 ..\nend\n", "install journal 1\n=1 .\nend\n",
        "install journal 1\n=3 a/b\nend\n", "install journal 1\n=99999999999999999999 a\nend\n",
        "install journal 1\n=-1 a\nend\n", "install journal 1\n=256 a\nend\n",
        "install journal 1\n= a\nend\n", "install journal 1\n=1a\nend\n"};
    for (const char* text : damaged)
        EXPECT_FALSE(journal.readsBack(text)) << text;
}

TEST(Journal, IsNotReadThroughALink)
{
    JournalFolder journal;
    (void)journal.scratch.write("elsewhere", "install journal 1\n=1 a\nend\n");
    std::filesystem::create_symlink("elsewhere", journal.scratch.at("journal"));
    EXPECT_FALSE(readJournal(journal.folder.get(), journal.entries));
}

TEST(Journal, ChangesItsNameWhenTheSwapIsComplete)
{
    JournalFolder journal;
    ASSERT_TRUE(writeJournal(journal.folder.get(), {{"a", true}}));
    ASSERT_TRUE(commitJournal(journal.folder.get()));
    EXPECT_FALSE(std::filesystem::exists(journal.scratch.at("journal")));
    EXPECT_TRUE(std::filesystem::exists(journal.scratch.at("committed")));
}
