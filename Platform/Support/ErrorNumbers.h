// The platform's error numbers, and the one table that maps errno values to them.
#pragma once

#include "Platform/Support/Types.h"

enum : OSStatus {
    noErr = 0,
    unimpErr = -4,   ///< there is no such call here
    dskFulErr = -34, ///< the volume is full
    nsvErr = -35,    ///< no such volume
    ioErr = -36,
    bdNamErr = -37, ///< a name that the file system does not take
    eofErr = -39,   ///< the file ended sooner than it should
    tmfoErr = -42,  ///< too many files open
    fnfErr = -43,   ///< file not found
    wPrErr = -44,   ///< the volume is read-only
    fBsyErr = -47,  ///< the object is in use, or a folder is not empty
    dupFNErr = -48, ///< an object of that name exists
    paramErr = -50,
    permErr = -54,   ///< an operation that this user may not do
    wrPermErr = -61, ///< the file is not open for writing
    memFullErr = -108,
    dirNFErr = -120,     ///< folder not found
    badMovErr = -122,    ///< a folder cannot come to lie inside itself
    wrgVolTypErr = -123, ///< the volume's kind does not know this
    userCanceledErr = -128,
    procNotFound = -600,
    notAFileErr = -1302, ///< neither a file nor a folder nor a link
    errFSNameTooLong = -1410,
    errFSNoMoreItems = -1417,
    errFSBadFSRef = -1401,
    noSuchIconErr = -2580,
    coreFoundationUnknownErr = -4960,
    afpAccessDenied = -5000,
    eventLoopTimedOutErr = -9875,
    eventNotHandledErr = -9874,
    kLSApplicationNotFoundErr = -10814,
    errAuthorizationDenied = -60005,
    errAuthorizationCanceled = -60006,
    errAuthorizationToolExecuteFailure = -60031,
};

/// The error number of the file-object layer for the errno value `posixError`; 0 gives noErr, a value that
/// the table does not hold gives ioErr.
OSStatus errorFromErrno(int posixError);
