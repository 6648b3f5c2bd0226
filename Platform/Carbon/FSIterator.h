// The walk over a folder's children, which also unlocks and deletes them and goes down into them.
#pragma once

#include "Platform/Carbon/FSCatalog.h"

/// A walk over the direct children of one folder. Children are reached by name from the open folder, so no
/// link swapped in anywhere above leads elsewhere; names are any bytes. A chain of walks may go down to any
/// depth: only its innermost levels hold a descriptor (at most kMaxOpenLevels), and one further up is opened
/// again, and seen to be the same folder, when the walk below it is closed.
struct FSIteratorRecord;
using FSIterator = FSIteratorRecord*;

inline constexpr int kMaxOpenLevels = 16;

/// Opens a walk over the children of `folder`; a symbolic link in its place is refused with dirNFErr.
OSStatus FSOpenIterator(const FSRef* folder, FSIterator* iterator);
/// Opens a walk over the children of the child that `parent` gave last. dirNFErr when it is no folder (any
/// more), fBsyErr when something is mounted on it, a folder of the same file system included: what lies there
/// does not belong to the folder. Until the new walk is closed `parent` must be neither used nor closed.
OSStatus FSOpenChildIterator(FSIterator parent, FSIterator* child);
/// Gives the next children, at most `maximum` (1 or more), in no particular order; `actual` is how many.
/// errFSNoMoreItems together with the last ones (they count); with another error the walk is at its end.
/// Children that vanish meanwhile are left out. `infos` may be null.
OSStatus FSGetCatalogInfoBulk(FSIterator iterator, UInt32 maximum, UInt32* actual, FSCatalogInfo* infos);
/// FSUnlockObject and FSDeleteObject for the child that the walk gave last; paramErr when there is none.
OSStatus FSUnlockChild(FSIterator iterator);
OSStatus FSDeleteChild(FSIterator iterator);
/// FSOpenToOwner for the child that the walk gave last; paramErr when there is none.
OSStatus FSOpenChildToOwner(FSIterator iterator);
/// Ends a walk. errFSBadFSRef when the walk above it has to be opened again and the folder no longer lies
/// where it lay; the walk above then gives errFSBadFSRef for everything but its own end.
OSStatus FSCloseIterator(FSIterator iterator);
