// The hand-over of an update of the updater itself to the helper tool, which outlives the host.
#pragma once

#include "Platform/Carbon/FSRef.h"

/// The file that tells the helper tool what was started and what is to be started again; it lies beside the
/// tool. The date is a part of the name.
inline constexpr char16_t kMarkerFileName[] = u"20071023TwoParams.txt";

/// Places the helper tool, writes the marker file (the path of `startedFile`, a zero byte, the path of this
/// process's bundle, a zero byte; replaced as a whole) and starts the tool. Whatever of that fails, silently,
/// the event loop is asked to end, so that the host can be replaced.
void handOverSelfUpdate(const FSRef& startedFile);
