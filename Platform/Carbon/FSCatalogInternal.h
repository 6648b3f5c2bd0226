// What the catalog and the walk share: an object named from its open folder.
#pragma once

#include "Platform/Support/Types.h"

struct statx;

/// The status of the object `name` of an open folder, a symbolic link itself.
OSStatus catalogStatus(int folder, const char* name, struct statx& status);
/// kFSNode... masks of a status.
UInt16 catalogNodeFlags(const struct statx& status);
/// FSUnlockObject for the object `name` of an open folder.
OSStatus unlockAt(int folder, const char* name);
/// FSOpenToOwner for the object `name` of an open folder.
OSStatus openToOwnerAt(int folder, const char* name);
