// The hand-over: when the host has quit for an update of itself, the tool waits for the update and starts it
// again.
#pragma once

#include "WatchSelfUpdate/ExitStatus.h"
#include "WatchSelfUpdate/Session.h"

#include <chrono>

/// How often the tool looks, and how long it waits at most.
struct HandOverLimits {
    std::chrono::milliseconds look = std::chrono::milliseconds(250); ///< between two looks at the processes
    /// For the update's program to be seen at all: it may have ended before the tool looks for the first
    /// time.
    std::chrono::milliseconds appear = std::chrono::seconds(2);
    std::chrono::milliseconds update = std::chrono::hours(1); ///< for the update's program to end
    std::chrono::milliseconds host = std::chrono::minutes(1); ///< for the old host to end
};

/// Takes the marker, waits for the file that it names to be no longer run and for the old host's end, and
/// starts the host of the bundle that it names. A wait that reaches its limit ends there, and the host is
/// started all the same: without it nobody would ever be offered an update again. Says in one line on
/// standard error what went wrong.
ExitStatus handOver(const Session& session, const HandOverLimits& limits);
