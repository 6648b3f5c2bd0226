// References to file-system objects, and the look-ups that make them.
#pragma once

#include "Platform/Support/Types.h"

#include <cstddef>
#include <string>
#include <string_view>

/// An existing object: a small value, made by FSPathMakeRef and its like. Two references are equal by device
/// and inode.
struct FSRef {
    UInt64 device = 0;
    UInt64 inode = 0;
    std::string path; ///< absolute, in the file system's bytes, as it was when the reference was made
};

/// The reference to an object as older interfaces take it: here the same value.
using FSSpec = FSRef;

/// Makes a reference to the object at a UTF-8 path. A symbolic link is followed to learn which object that
/// is, but the reference's path stays the one given, made absolute and without repeated or trailing "/" and
/// "." components: what deletes through a reference therefore meets the link and not its target. fnfErr when
/// nothing is there, dirNFErr when a component is no folder, paramErr for a null or empty path; `isDirectory`
/// may be null.
OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory);
/// The same for a wide path: false when it is empty, does not convert to at most 1023 bytes, or names
/// nothing.
bool makeRefFromWidePath(std::u16string_view path, FSRef& ref);
/// Writes the object's path, zero-terminated, to `path` of `maxBytes` bytes; errFSNameTooLong when it does
/// not fit.
OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 maxBytes);
/// noErr when both are the same object, otherwise paramErr.
OSStatus FSCompareFSRefs(const FSRef* a, const FSRef* b);
