// Paths between the program and Core Foundation.
#pragma once

#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"

#include <string>

/// The URL of a folder or file; null for an empty path.
CFRef<CFURLRef> urlFromPath(const std::string& path, bool isFolder);
/// The path of a file URL; empty when it is none or the path has more than 1023 bytes.
std::string pathFromURL(CFURLRef url);
/// The folder of the main bundle; empty when the program lies in none.
std::string mainBundleFolder();
