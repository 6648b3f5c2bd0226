// The tool's command line: one argument, one job.
#pragma once

#include "WatchSelfUpdate/HandOver.h"

/// Secures the process and does what the command line asks for: the hand-over when it is empty, with the
/// calling user's rights alone, or the repair of the tool's own file. Gives the exit status.
int runTool(int argc, char** argv, const HandOverLimits& limits);
