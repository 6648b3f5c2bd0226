// The two fixed folders in the user's caches folder that updates work in.
#pragma once

#include "Platform/Lumen/LumString.h"

/// "VelmoraTandemUpdater": downloaded files and what is unpacked from them.
inline constexpr SInt32 kWorkFolder = 0;
/// "com.Velmora.Tandem.XMLFile"; every other selector names it too.
inline constexpr SInt32 kDescriptorFolder = 1;

/// The path, without a trailing "/", of the fixed folder that `selector` names or of its child `subFolder`
/// (null or empty: the folder itself). What is missing is made with mode 0700; a symbolic link in the place
/// of either is refused. Empty on any failure, a path of more than 1023 units or bytes included.
CLumStringW createFixedFolder(const UniChar* subFolder, SInt32 selector);
