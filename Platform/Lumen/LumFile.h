// The toolkit's files: references made from wide paths, and open files by 16-bit number.
#pragma once

#include "Platform/Support/Types.h"

/// A path that a file may be created or opened at; nothing need exist there.
struct OpacLumFSRef;

/// A reference to the place at a wide path; null when the path is null, empty or does not convert to 1 to 1023 bytes of UTF-8. The caller
/// releases it with Lum0FSRRelease.
OpacLumFSRef* Lum0FSRCreateWithPath(const UniChar* path);
/// Null is allowed.
void Lum0FSRRelease(OpacLumFSRef* ref);

/// Opens for reading.
inline constexpr SInt32 kLumFileOpenRead = 1;
/// Creates the file, or empties an existing one, for writing (mode 0600; a symbolic link at the place itself is not followed).
inline constexpr SInt32 kLumFileCreateWrite = 8;

/// Creates the file for writing; `mode` must be kLumFileCreateWrite. -1 on any failure, a null reference included.
SInt16 LumFileCreateExt(OpacLumFSRef* ref, SInt32 mode);
/// Opens a regular file; `mode` must be kLumFileOpenRead. -1 on any failure.
SInt16 LumFileOpenExt(OpacLumFSRef* ref, SInt32 mode);
/// In bytes; -1 on failure.
SInt64 LumFileGetFileSizeExt(SInt16 file);
/// Reads up to `length` bytes at the current position, resuming after interruptions. Returns how many were read, -1 on an error.
SInt64 LumFileReadExt(SInt16 file, void* bytes, SInt64 length);
/// Writes all of `length` bytes at the current position. Returns how many were written: fewer than asked when the disk is full. `flags` must be 0.
SInt64 LumFileWriteExt(SInt16 file, const void* bytes, SInt64 length, SInt32 flags);
/// Closes the file and gives its number free. 0, or -1 when the system reports that data could not be stored.
SInt32 LumFileCloseExt(SInt16 file);
/// Deletes the file at the reference. 0, or -1 when that failed.
SInt32 LumFileDeleteExt(OpacLumFSRef* ref);
