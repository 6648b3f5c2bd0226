// The copying of one item's forks: a file's content, and the extended attributes of files and folders.
#pragma once

#include "Cocoa2CarbonLib/FSCopyBuffer.h"

// Both first open all forks of `source`, open for reading, and keep them in a list that closes them at the
// end. `destination` is open for writing (a folder: for reading) and has no forks yet. Holes stay holes. The
// file system's first error; what was written by then stays.

/// Copies fork by fork; a content by the volume's own call where `usesVolumeCopy` says so and the volume can
/// after all, everything else through the buffer.
OSStatus CopyForks(int source, int destination, bool usesVolumeCopy, const CopyBuffer& buffer);

/// Copies into a folder that may be written but not read: all forks of the destination are opened as well
/// before the first is written, and everything goes through them and the buffer, as nothing can be looked up
/// there again.
OSStatus CopyForksToDropBox(int source, int destination, const CopyBuffer& buffer);
