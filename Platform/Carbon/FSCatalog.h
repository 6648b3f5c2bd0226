// What the file system knows about an object, the walk over a folder's children, and the deletion of one object.
#pragma once

#include "Platform/Carbon/FSRef.h"

#include <memory>
#include <string>

enum : UInt16 {
    kFSNodeLockedMask = 0x0001, ///< the immutable flag is set (Linux: FS_IMMUTABLE_FL)
    kFSNodeIsDirectoryMask = 0x0010,
};

struct FSCatalogInfo {
    UInt16 nodeFlags = 0;
};

/// Reads an object's flags and its parent folder; any output may be null. A symbolic link is described itself, not its target.
OSStatus FSGetCatalogInfo(const FSRef* ref, FSCatalogInfo* info, FSRef* parent);
/// Sets or clears the immutable flag. permErr where the user may not, and noErr when it stands so already.
OSStatus FSSetLocked(const FSRef* ref, bool locked);

/// A walk over the direct children of a folder; made by FSOpenIterator, ended by FSCloseIterator.
struct FSIteratorRecord;
using FSIterator = FSIteratorRecord*;

/// Opens a walk over the children of `folder`; the folder itself is held open, so links swapped in for it are not followed.
OSStatus FSOpenIterator(const FSRef* folder, FSIterator* iterator);
/// Gives up to `maximum` children, in no particular order, with what is known of each; `actual` is how many. errFSNoMoreItems
/// together with the last ones (they count). Children that vanish meanwhile are left out. `infos` and `refs` may be null. A child that is a symbolic link is
/// itself the child.
OSStatus FSGetCatalogInfoBulk(
    FSIterator iterator, UInt32 maximum, UInt32* actual, FSCatalogInfo* infos, FSRef* refs);
OSStatus FSCloseIterator(FSIterator iterator);

/// Deletes a file, a link (not its target) or an empty folder.
OSStatus FSDeleteObject(const FSRef* ref);
