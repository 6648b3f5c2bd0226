// Notes what the plug-in object asks of the platform: its timers, its requests to the host's port and the
// start of the helper tool. Every call goes on to the platform's own function unless a test says otherwise.
#pragma once

#include "Platform/Support/Types.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

struct PlatformCalls {
    /// A request to the host's port.
    struct Request {
        SInt32 id = 0;
        double sendTimeoutSeconds = -1;
        double replyTimeoutSeconds = -1;
    };

    int timerProcedures = 0;             ///< how many were made
    std::vector<double> timersInstalled; ///< delays in seconds
    std::vector<double> timersSet;       ///< delays in seconds
    std::vector<Request> requests;
    std::string rightName;  ///< of the only item of the authorisation's environment
    std::string rightValue; ///< its bytes
    std::string toolStarted;
    std::vector<std::string> toolArguments;
    /// Names of noted steps, as they came: "tool", "front", "flush", "quit", "request".
    std::vector<std::string> order;

    /// Called once while the helper tool's start is waited for, as events would be.
    std::function<void()> whileToolStarts;
    /// What starting the helper tool gives instead of starting it.
    std::optional<OSStatus> toolResult;
    /// The delay of the timer that cannot be installed, in seconds.
    std::optional<double> failingTimer;
    bool authorizationFails = false;
};

/// What was noted since the last forgetPlatformCalls().
PlatformCalls& platformCalls();
void forgetPlatformCalls();
