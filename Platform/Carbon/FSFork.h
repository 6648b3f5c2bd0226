// The forks of files and folders: a file's content, and extended attributes.
#pragma once

#include "Platform/Support/Types.h"

#include <string>
#include <vector>

/// One open fork. The content is the fork without a name; each other fork is an extended attribute of that
/// name: those of users ("user.") and the access control lists, but not what the system keeps about a file
/// for itself (capabilities, security labels). A fork of content holds a descriptor of its own; the others
/// borrow their item's, which must stay open as long.
struct FSForkRecord;
using FSForkRef = FSForkRecord*;

/// The names of an open item's forks, the content of a file first.
OSStatus FSIterateForks(int item, std::vector<std::string>& names);
/// Opens a fork for reading; its size is fixed by that, and an attribute's value as well. fnfErr when the
/// item has no such fork.
OSStatus FSOpenForkForReading(int item, const std::string& name, FSForkRef* fork);
/// Opens an empty fork for writing. An attribute is stored, as a whole, when its size is set.
OSStatus FSOpenForkForWriting(int item, const std::string& name, FSForkRef* fork);
/// Null is allowed.
void FSCloseFork(FSForkRef fork);

const std::string& FSGetForkName(FSForkRef fork);
UInt64 FSGetForkSize(FSForkRef fork);
/// Cuts a fork, or lengthens it with zeros that take no space where the file system can. wrgVolTypErr when
/// the file system has no attributes.
OSStatus FSSetForkSize(FSForkRef fork, UInt64 size);
/// Finds the next piece at or behind `position` that holds anything but a hole: `start` up to `end`.
/// errFSNoMoreItems when there is none, eofErr when the fork has become shorter since it was opened.
OSStatus FSNextForkData(FSForkRef fork, UInt64 position, UInt64* start, UInt64* end);
/// Reads exactly `bytes` bytes. eofErr when the fork ends before.
OSStatus FSReadFork(FSForkRef fork, UInt64 position, UInt32 bytes, void* buffer);
/// Writes exactly `bytes` bytes.
OSStatus FSWriteFork(FSForkRef fork, UInt64 position, UInt32 bytes, const void* buffer);

/// Lets the file system copy a content into an empty one by itself: both share their blocks afterwards, or
/// the data never leaves the system; holes stay holes. unimpErr when it cannot, and then the destination has
/// to be written anew.
OSStatus PBHCopyFileSync(FSForkRef source, FSForkRef destination);
