// The repair of the tool's own file: root-owned and set-user-id again after it was copied.
#pragma once

#include "WatchSelfUpdate/ExitStatus.h"

/// Makes the file that this process runs owned by root and its mode 04555; its modification time stays. Works
/// on the running file itself and never on a path, so nothing can be put in its place meanwhile; and nobody
/// can write to a file that runs. Refuses what is not a regular file with exactly one link. Says what went
/// wrong in one line on standard error.
ExitStatus repairSelf();
