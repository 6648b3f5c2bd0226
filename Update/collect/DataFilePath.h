// Where the suite keeps data files that its programs share.
#pragma once

#include "Platform/Support/Types.h"

/// Room for a path, its terminating zero included.
inline constexpr UInt32 kDataFilePathBytes = 1024;

/// Builds the path of the data file `name` (UTF-8): in the folder "Velmora/Tandem Service" of the domain's
/// application-support folder, which is made when it is missing. `domain` is an FSDomain. Writes the path to
/// `path`, which holds kDataFilePathBytes, and returns 1; or 0 when the folder cannot be found or made, the
/// path does not fit, or an argument is null.
int GetDataFilePathAtAppSupportFloder(SInt16 domain, UInt8* path, const UInt8* name);
