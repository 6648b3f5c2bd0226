// The icons of the check tree, from the plug-in's own bundle.
#pragma once

#include "Platform/Carbon/Icons.h"
#include "Platform/CoreFoundation/CFURL.h"

#include <vector>

/// Registers an icon from the file `name` in a resources folder, under codes of the program's own; null on
/// any failure. The caller releases it.
IconRef st_CreateIconRef(CFURLRef resourcesFolder, CFStringRef name);

/// The tree's icons by the highest digit of the check state: none, checked, unchecked, checked and fixed.
/// What cannot be loaded is null. The caller gives them to releaseCheckIcons.
std::vector<IconRef> loadCheckIcons();
void releaseCheckIcons(std::vector<IconRef>& icons);
