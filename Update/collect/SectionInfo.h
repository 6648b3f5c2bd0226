// The list of a bundle's sections: the resource "sections.xml".
#pragma once

#include "Platform/CoreFoundation/CFURL.h"
#include "Platform/Support/UniText.h"
#include "Update/collect/VersionNumber.h"

#include <vector>

struct SectInfo {
    SInt32 ID = 0;
    Version version {};
    WideText language;
};

/// The largest list that is read.
inline constexpr SInt64 kMaxSectionListBytes = SInt64 {1} << 20;

/// Appends the sections that the list of the bundle at a folder names: each "SECTION" below the first
/// "SECTIONS" that has the attributes "ID", "language" and "version". 1 when the list was read, otherwise 0.
int ReadBundleSectionInfo(CFURLRef bundle, std::vector<SectInfo>& sections);
