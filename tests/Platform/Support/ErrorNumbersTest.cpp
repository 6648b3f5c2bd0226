// The table from errno values to the platform's error numbers.
#include "Platform/Support/ErrorNumbers.h"

#include <gtest/gtest.h>

#include <cerrno>

TEST(ErrorNumbers, GiveTheNumberOfEachErrno)
{
    struct {
        int posixError;
        OSStatus error;
    } constexpr kTable[] = {{0, 0}, {ENOENT, -43}, {ENOTDIR, -120}, {EEXIST, -48}, {ENOTEMPTY, -47},
        {EBUSY, -47}, {ETXTBSY, -47}, {ENOSPC, -34}, {EDQUOT, -34}, {EROFS, -44}, {EBADF, -61},
        {EACCES, -5000}, {EPERM, -54}, {EMFILE, -42}, {ENFILE, -42}, {ENOMEM, -108}, {EINVAL, -50},
        {EILSEQ, -37}, {ENAMETOOLONG, -1410}, {ENODEV, -35}, {ESRCH, -600}, {EIO, -36}};
    for (const auto& row : kTable)
        EXPECT_EQ(errorFromErrno(row.posixError), row.error) << row.posixError;
}

TEST(ErrorNumbers, GiveAnInputOutputErrorForEveryOtherErrno)
{
    for (const int posixError : {ELOOP, EINTR, EPIPE, -1, 9999})
        EXPECT_EQ(errorFromErrno(posixError), -36) << posixError;
}
