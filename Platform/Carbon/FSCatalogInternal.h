// What the catalog and the walk share: an object named from its open folder.
#pragma once

#include "Platform/Support/Types.h"

struct statx;

/// The status of the object `name` of an open folder, a symbolic link itself.
OSStatus catalogStatus(int folder, const char* name, struct statx& status);
/// kFSNode... masks of a status.
UInt16 catalogNodeFlags(const struct statx& status);
/// Tells whether the status is that of something mounted: a file system, or a folder of this one that is
/// shown there as well. The device number does not tell: it is the same for the latter, and one of its own
/// for a subvolume, which is a folder like any other.
bool catalogIsMountPoint(const struct statx& status);
/// FSUnlockObject for the object `name` of an open folder.
OSStatus unlockAt(int folder, const char* name);
/// FSOpenToOwner for the object `name` of an open folder.
OSStatus openToOwnerAt(int folder, const char* name);
