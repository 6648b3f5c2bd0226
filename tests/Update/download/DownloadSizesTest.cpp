// The arithmetic of received bytes at its borders.
#include "Update/download/DownloadSizes.h"

#include <gtest/gtest.h>

TEST(DownloadSizes, BufferGrowsToWhatIsNeededAnd16384More)
{
    EXPECT_EQ(grownCapacity(0, 1), 16385);
    EXPECT_EQ(grownCapacity(0, 16384), 32768);
    EXPECT_EQ(grownCapacity(32768, 16384), 65536);
}

TEST(DownloadSizes, CapacityIsHeldAt2To31Minus1)
{
    EXPECT_EQ(grownCapacity(2147483647 - 16385, 1), 2147483647);
    EXPECT_EQ(grownCapacity(2147483647 - 16386, 1), 2147483646);
    EXPECT_EQ(grownCapacity(2147483646, 1), 2147483647);
}

TEST(DownloadSizes, BodyThatWouldPass2To31Minus1BytesDoesNotGrow)
{
    EXPECT_EQ(grownCapacity(2147483647, 1), 0);
    EXPECT_EQ(grownCapacity(2147483647 - 16383, 16384), 0);
}

TEST(DownloadSizes, BytesFitUpToTheCapacity)
{
    EXPECT_TRUE(fitsInBuffer(0, 5, 5));
    EXPECT_FALSE(fitsInBuffer(1, 5, 5));
    EXPECT_FALSE(fitsInBuffer(0, 1, 0));
    EXPECT_FALSE(fitsInBuffer(2147483647, 16384, 2147483647));
}

TEST(DownloadSizes, CountIsHeldAt2To31Minus1)
{
    EXPECT_EQ(addReceivedBytes(5, 7), 12);
    EXPECT_EQ(addReceivedBytes(2147483640, 7), 2147483647);
    EXPECT_EQ(addReceivedBytes(2147483640, 8), 2147483647);
    EXPECT_EQ(addReceivedBytes(2147483647, 16384), 2147483647);
}
