// Icons: pictures of several sizes, read from ".icns" files.
#pragma once

#include "Platform/Carbon/FSRef.h"

using IconRef = struct OpaqueIconRef*;

/// Reads the icon file and registers its pictures under the two codes. fnfErr when the file cannot be read or
/// has more than 4 MiB, noSuchIconErr when it holds no picture; `icon` is null then. Codes that are
/// registered already get a second, independent icon. The caller releases the icon with ReleaseIconRef.
OSStatus RegisterIconRefFromFSRef(OSType creator, OSType iconType, const FSRef* iconFile, IconRef* icon);
/// Gives up the icon; who drew it before keeps his picture. `icon` must not be null.
OSStatus ReleaseIconRef(IconRef icon);
