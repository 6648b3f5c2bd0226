// What makes, names and finishes items in an open folder.
#pragma once

#include "Platform/Carbon/FSItem.h"

/// A file under copy can be written by its owner and read by no ordinary user: whoever meets it sees that it
/// is not whole.
inline constexpr UInt32 kBusyFileMode = 0200;

// Each of these gives dupFNErr when the name is taken, also by a link, and then changes nothing. What is made
// takes no access rights over from its folder's default ones.

/// Makes an empty file of mode kBusyFileMode, open for writing.
OSStatus createFileItem(int folder, const std::string& name, Descriptor& file);
/// Makes an empty folder of mode 0700, open for reading.
OSStatus createFolderItem(int folder, const std::string& name, Descriptor& created);
/// Makes a link with this target and, where the file system can, the times of `info`.
OSStatus createLinkItem(int folder, const std::string& name, const std::string& target, const ItemInfo& info);
OSStatus renameItem(int folder, const std::string& oldName, const std::string& newName);

/// Gives an open item the mode and the times of `info`, to the nanosecond where the file system can. The
/// set-user and set-group bits are left out where owner or group are not those of `info`: they would lend the
/// rights of somebody else.
OSStatus finishItem(int item, const ItemInfo& info);
/// Waits until the storage has an open item's content. noErr where there is nothing to wait for.
OSStatus flushItem(int item);
/// Closes a written file and tells what only its closing tells.
OSStatus closeItem(Descriptor& item);
