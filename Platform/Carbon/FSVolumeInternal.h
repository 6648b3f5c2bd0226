// Which kinds of volumes are local. Private to this folder and its tests.
#pragma once

#include "Platform/Support/Types.h"

/// True unless `type`, as statfs(2) gives it, is one of the network file systems. One served by a program of
/// the user (FUSE) counts as local: nothing tells where its files are.
bool isLocalVolumeType(UInt32 type);
