// The marker file: where the plug-in leaves the hand-over that the tool is to do.
#pragma once

#include "WatchSelfUpdate/ExitStatus.h"
#include "WatchSelfUpdate/MarkerText.h"

inline constexpr char kMarkerFileName[] = "20071023TwoParams.txt";

/// Reads the marker in the folder that holds the running tool's file, and removes it: one marker, one
/// hand-over. The folder and the marker must belong to the calling user, the marker must be a regular file
/// with one link; a link at its place is not followed. What is refused for its kind or owner is left as it
/// is; what is refused for its contents is removed. Says in one line on standard error why nothing was taken.
ExitStatus takeMarker(Marker& marker);
