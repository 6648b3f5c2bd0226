// File URLs for the paths of tests.
#pragma once

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFURL.h"

#include <filesystem>
#include <string>

/// The URL of a folder, which need not exist. The test that calls it links the platform.
inline CFRef<CFURLRef> folderURL(const std::filesystem::path& folder)
{
    const std::string path = folder.string();
    return adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), true));
}
