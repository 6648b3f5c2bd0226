// The deletion of files and whole folder trees.
#pragma once

#include "Platform/Carbon/FSRef.h"

/// Deletes an object, a folder with everything in it, leaves first; locked objects are unlocked before. A
/// symbolic link is deleted itself and never followed, also when one is swapped in meanwhile; what is mounted
/// in the folder is left alone (fBsyErr). Depth and number of entries have no limit. Prints what it deletes,
/// and each failed call, to standard output and flushes it. noErr, paramErr for a null reference (then
/// nothing is printed), otherwise the file system's error: the deletion ends with the first one, and what was
/// deleted by then stays deleted.
OSStatus FSDeleteObjects(const FSRef* source);
/// The same, and prints the same, for a tree that the caller made or may take: folders that are closed to
/// their owner are opened to him before they are emptied.
OSStatus FSDeleteClosedObjects(const FSRef* source);
