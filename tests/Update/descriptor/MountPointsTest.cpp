// Which folders hold mount points, by the lines of a mount table.
#include "Update/descriptor/MountPoints.h"

#include <gtest/gtest.h>

namespace {

// Two lines as the system writes them; the second mount point is "/mnt/with blank\x".
constexpr char kTable[] = "36 35 98:0 /mnt1 /mnt/data rw,noatime master:1 - ext3 /dev/root rw\n"
                          "37 35 98:0 /sub /mnt/with\\040blank\\134x rw - ext3 /dev/root rw\n";

} // namespace

TEST(HoldsMountPoint, FindsTheFolderItselfAndThoseBelowIt)
{
    struct Case {
        const char* folder;
        bool holds;
    };
    for (const Case& c : {Case {"/mnt/data", true}, Case {"/mnt", true}, Case {"/mnt/dat", false},
             Case {"/mnt/data/inner", false}, Case {"/mnt1", false}, Case {"/mn", false},
             Case {"/mnt/with blank\\x", true}, Case {"/mnt/with", false},
             Case {"/mnt/with\\040blank", false}, Case {"/dev/root", false}})
        EXPECT_EQ(holdsMountPoint(kTable, c.folder), c.holds) << c.folder;
}

TEST(HoldsMountPoint, PassesOverLinesThatAreCutShort)
{
    EXPECT_FALSE(holdsMountPoint("36 35 98:0 /mnt", "/mnt"));
    EXPECT_FALSE(holdsMountPoint("\n\n", "/mnt"));
    EXPECT_FALSE(holdsMountPoint("1 2 3 4 /a\\04", "/a"));
    EXPECT_TRUE(holdsMountPoint("1 2 3 4 /a/\\04", "/a"));
}

TEST(HoldsMountPoint, ReadsTheSystemsTable)
{
    EXPECT_TRUE(holdsMountPoint("/proc"));
    EXPECT_FALSE(holdsMountPoint("/no-such-folder-anywhere"));
}
