// Brings a product's update descriptor to the local descriptor folder, once for each URL.
#pragma once

#include "Platform/Lumen/LumFile.h"
#include "Platform/Lumen/LumString.h"

#include <vector>

/// The largest descriptor that is fetched and read.
inline constexpr SInt64 kMaxDescriptorBytes = SInt64 {64} << 20;

/// The URLs whose descriptors were fetched since the plug-in was loaded; never emptied. Defined by the owner
/// of the plug-in object.
std::vector<CLumStringW>& fetchedDescriptorURLs();

/// The place of a descriptor in the descriptor folder. The caller releases it with Lum0FSRRelease. Null when
/// `fileName` is null or holds a "/" (a product's name is data), when the folder cannot be made, and when the
/// path is too long.
OpacLumFSRef* CreateXMLFileRef(const UniChar* fileName);

/// Fetches `baseUrl` immediately followed by `fileName` to that place; a URL that was fetched before is not
/// fetched again, even when the local file is gone. Blocks; `timeoutMs` limits each wait for data. 0 when the
/// descriptor was fetched now or before; paramErr when a text is null; fnfErr when a web server answered with
/// another status than 200; dirNFErr for every other failure, a body of more than `maxBytes` bytes included.
/// A failed fetch leaves no local file.
SInt32 DownloadXMLFile2Loacl(
    const UniChar* baseUrl, const UniChar* fileName, SInt32 timeoutMs, SInt64 maxBytes = kMaxDescriptorBytes);
