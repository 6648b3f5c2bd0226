// The placing of the helper tool outside the bundle.
#pragma once

#include "Platform/Support/Types.h"

/// The plug-in's own bundle identifier.
inline constexpr char16_t kUpdateBundleIdentifier[] = u"com.Velmora.Update";
/// The helper tool's file name, in the bundle and in its cache folder.
inline constexpr char16_t kHelperToolName[] = u"WatchSelfUpdate";
/// The helper tool's folder in the user's caches folder.
inline constexpr char16_t kHelperToolFolderName[] = u"VelmoraWatchSelfUpdate";

/// Copies the helper tool of this plug-in's bundle to its place in the user's caches folder when it is
/// missing there or does not look OK, and writes that place's path to `path` (1024 bytes, UTF-8,
/// zero-terminated). False when any of it failed.
Boolean CopyAssistantTool2Folder(unsigned char* path);
