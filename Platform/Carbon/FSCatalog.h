// What the file system knows about an object, and the unlocking and deletion of one object.
#pragma once

#include "Platform/Carbon/FSRef.h"

enum : UInt16 {
    kFSNodeLockedMask = 0x0001, ///< the immutable or the append-only flag is set
    kFSNodeIsDirectoryMask = 0x0010,
};

struct FSCatalogInfo {
    UInt16 nodeFlags = 0;
};

// Each of these reaches the object through its folder and its name, and describes, unlocks or deletes a
// symbolic link itself, never its target. paramErr for a null reference, the root folder, and a path that
// ends in "..". errFSBadFSRef when something else than a link has taken the object's place since the
// reference was made.

/// Reads an object's flags and its parent folder; any output may be null.
OSStatus FSGetCatalogInfo(const FSRef* ref, FSCatalogInfo* info, FSRef* parent);
/// Clears the immutable and the append-only flag of a file or folder. permErr where the user may not
/// (CAP_LINUX_IMMUTABLE is needed), or for any other kind of object; noErr when none is set or the file
/// system knows no such flags.
OSStatus FSUnlockObject(const FSRef* ref);
/// Gives the owner of a file or folder every right to it, and takes those of all others. permErr for a link,
/// and where the object is somebody else's.
OSStatus FSOpenToOwner(const FSRef* ref);
/// Deletes a file, a link or an empty folder.
OSStatus FSDeleteObject(const FSRef* ref);
