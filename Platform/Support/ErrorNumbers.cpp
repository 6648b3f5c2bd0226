#include "Platform/Support/ErrorNumbers.h"

#include <cerrno>

namespace {

struct ErrorPair {
    int posixError;
    OSStatus error;
};

constexpr ErrorPair kErrors[] = {
    {0, noErr},
    {ENOENT, fnfErr},
    {ENOTDIR, dirNFErr},
    {EEXIST, dupFNErr},
    {ENOTEMPTY, fBsyErr},
    {EBUSY, fBsyErr},
    {ETXTBSY, fBsyErr},
    {ENOSPC, dskFulErr},
    {EDQUOT, dskFulErr},
    {EROFS, wPrErr},
    {EBADF, wrPermErr},
    {EACCES, afpAccessDenied},
    {EPERM, permErr},
    {EMFILE, tmfoErr},
    {ENFILE, tmfoErr},
    {ENOMEM, memFullErr},
    {EINVAL, paramErr},
    {EILSEQ, bdNamErr},
    {ENAMETOOLONG, errFSNameTooLong},
    {ENODEV, nsvErr},
    {ESRCH, procNotFound},
    {EIO, ioErr},
};

} // namespace

OSStatus errorFromErrno(int posixError)
{
    for (const ErrorPair& pair : kErrors) {
        if (pair.posixError == posixError)
            return pair.error;
    }
    return ioErr;
}
