// What is found out before anything is copied: the source, the destination, and what a clash of names leads
// to.
#pragma once

#include "Platform/Carbon/FSItem.h"
#include "Platform/Support/Descriptor.h"

#include <string>

/// What happens when an object of the new name exists; with any other value a clash is an error.
enum : int {
    kDupeActionReplace = 1,
    kDupeActionRename = 2,
};

/// What one copy is about. Its folders are held open for look-ups: names swapped in above them lead nowhere
/// else.
struct FSCopyPlan {
    ItemPlace sourcePlace;
    ItemInfo source;
    Descriptor destFolder;
    std::string destPath;
    ItemInfo dest;         ///< that folder
    std::string newName;   ///< the copy's
    bool replaces = false; ///< an object of that name exists, `existing`, and gives way to the copy
    ItemInfo existing;
    std::string asideName; ///< what the existing object is called meanwhile
    bool isDirectory = false;
    bool isLocal = false;
    bool isDropBox = false;
    bool hasVolumeCopy = false; ///< as far as can be told, both ends are on one volume, whose own call may
                                ///< copy contents
    UInt32 copyBufferBytes = 0;
};

/// Fills the plan as far as it gets. `newName` may be null: the source's name. dupFNErr for a clash that the
/// action does not resolve, notAFileErr for a device, pipe or socket, errFSBadFSRef where something else than
/// a link has taken the place of source or destination, fBsyErr when the object to be replaced is the source
/// or holds it.
OSStatus preflight(
    const FSRef& source, const FSRef& destDir, int dupeAction, const HFSUniStr255* newName, FSCopyPlan& plan);

/// badMovErr when the destination is the source folder or lies anywhere inside it.
OSStatus CheckForDestInsideSrc(const FSCopyPlan& plan);
