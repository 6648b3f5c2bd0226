// The copying of files and whole folder trees.
#pragma once

#include "Cocoa2CarbonLib/FSCopyPreflight.h"
#include "Platform/Carbon/FSCatalog.h"
#include "Platform/Carbon/FSItem.h"
#include "Platform/Carbon/FSRef.h"

/// Which catalog information a filter procedure wants: anything but 0 gives it all that FSCatalogInfo holds.
using FSCatalogInfoBitmap = UInt32;

/// What a filter procedure answers; any other value stops the copy like kFSStopCopying.
enum : int {
    kFSCopyThisItem = 0,
    kFSSkipItem = 1,    ///< the item, and what a folder holds, is left out
    kFSStopCopying = 2, ///< the copy ends with userCanceledErr, and nothing of it is left
};

/// Called for each item before it is copied, the source itself first, on level 0 (skipping that stops the
/// copy); its children are on level 1 and so on. `info`, `spec` and `name` are null unless they were asked
/// for, and good until the procedure returns. In `name`, bytes that are no UTF-8 are U+FFFD.
using CopyObjectFilterProcPtr = int (*)(
    UInt32 level, const FSCatalogInfo* info, const FSSpec* spec, const HFSUniStr255* name, void* yourData);

/// Copies a file, a symbolic link (as a link, never what it leads to) or a folder with everything in it into
/// the folder `destDir`, with modes, times and the forks of this platform: extended attributes and access
/// control lists.
/// - The copy belongs to the calling user; set-user and set-group bits are kept only where owner and group
///   are the same. The locked flags and the creation time are not copied, and several names of one file
///   become several files.
/// - A link swapped in meanwhile is not followed. What is mounted inside the source is refused (fBsyErr), as
///   are devices, pipes and sockets (notAFileErr). What vanishes from the source folder meanwhile is left
///   out; a destination that is moved meanwhile gets the copy where it is then.
/// - A file whose copying is not finished can be read by no ordinary user: its mode is kBusyFileMode, as a
///   creation time that marks it cannot be set here.
/// - A copy that fails leaves nothing of itself.
///
/// \param maxLevels how many levels of children are copied: with 1 the source's own ones, of which folders
///     stay empty; 0: all.
/// \param whichInfo, wantFSSpec, wantName what `filterProc` is given.
/// \param dupeAction kDupeActionReplace: an existing object is called NAME.DeleteMe meanwhile, and deleted in
///     the end or, when the copy fails, called as before. What holds the source, or is it, is not replaced
///     (fBsyErr), and nothing is when something is called NAME.DeleteMe already (dupFNErr): a copy at work
///     may have put it there, or one that was killed, and then it may be all that is left of the object.
///     kDupeActionRename: the copy is called as GetUniqueName says. Anything else: dupFNErr.
/// \param newName the copy's name; null: the source's.
/// \param filterProc may be null; `yourData` is handed to it.
/// \param newObjectRef, newObjectSpec may be null; written when the copy stands.
/// \return noErr; paramErr for a null source or destination (then nothing is printed); badMovErr when the
///     destination lies, or is moved, into the source; wrgVolTypErr when the destination cannot hold its
///     attributes; otherwise the file system's first error. When only the replaced object could not be
///     deleted whole, the copy stands, and the rest of that object beside it.
///
/// Prints its parameters and each failure to standard output and flushes it.
OSStatus FSCopyObject(const FSRef* source, const FSRef* destDir, UInt32 maxLevels,
    FSCatalogInfoBitmap whichInfo, int dupeAction, const HFSUniStr255* newName, bool wantFSSpec,
    bool wantName, CopyObjectFilterProcPtr filterProc, void* yourData, FSRef* newObjectRef,
    FSSpec* newObjectSpec);
