// The toolkit's files: references made from wide paths, and open files by 16-bit number. For the main thread.
#pragma once

#include "Platform/Support/Types.h"

#include <memory>

/// A path that a file may be created or opened at; nothing need exist there.
struct OpacLumFSRef;

/// A reference to the place at a wide path; null when the path is null, empty or does not convert to 1 to
/// 1023 bytes of UTF-8. The caller releases it with Lum0FSRRelease.
OpacLumFSRef* Lum0FSRCreateWithPath(const UniChar* path);
/// Null is allowed.
void Lum0FSRRelease(OpacLumFSRef* ref);

struct LumFSRefReleaser {
    void operator()(OpacLumFSRef* ref) const { Lum0FSRRelease(ref); }
};
/// Owns a reference.
using LumFSRefOwner = std::unique_ptr<OpacLumFSRef, LumFSRefReleaser>;

/// Opens for reading.
inline constexpr SInt32 kLumFileOpenRead = 1;
/// Creates the file (mode 0600), or empties an existing one, for writing.
inline constexpr SInt32 kLumFileCreateWrite = 8;
/// How many files may be open at once.
inline constexpr SInt16 kLumMaxOpenFiles = 256;

/// Creates or empties a regular file; `mode` must be kLumFileCreateWrite. Returns its number, 1 to
/// kLumMaxOpenFiles: the lowest one free. -1 on any failure: a null reference, no number free, or something
/// other than a regular file at the place, a symbolic link included.
SInt16 LumFileCreateExt(OpacLumFSRef* ref, SInt32 mode);
/// Opens a regular file, through a symbolic link as well; `mode` must be kLumFileOpenRead. Returns as
/// LumFileCreateExt.
SInt16 LumFileOpenExt(OpacLumFSRef* ref, SInt32 mode);
/// In bytes; -1 on failure. Here and below, a number that is not open is a failure.
SInt64 LumFileGetFileSizeExt(SInt16 file);
/// Reads up to `length` bytes at the current position, resuming after interruptions; fewer only at the end of
/// the file. Returns how many were read, -1 on an error.
SInt64 LumFileReadExt(SInt16 file, void* bytes, SInt64 length);
/// Writes all of `length` bytes at the current position, resuming after interruptions. Returns how many were
/// written: fewer than asked when the disk is full or failing, -1 when nothing could be tried. `flags` must
/// be 0.
SInt64 LumFileWriteExt(SInt16 file, const void* bytes, SInt64 length, SInt32 flags);
/// Closes the file and gives its number free. 0, or -1 when the system reports that data could not be stored.
SInt32 LumFileCloseExt(SInt16 file);
/// Deletes the file at the reference, of a symbolic link the link. 0, or -1 when that failed.
SInt32 LumFileDeleteExt(OpacLumFSRef* ref);
