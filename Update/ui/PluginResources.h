// The resources of the plug-in's own bundle: its layouts and icons.
#pragma once

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFURL.h"

/// The plug-in's resources folder, or null while the bundle "com.Velmora.Update" is not registered or has
/// none.
CFRef<CFURLRef> pluginResourcesFolder();
