// A platform for the actions that does what a test says and notes what it was asked for. Linked into a test
// program, its functions stand before the platform's own.
#pragma once

#include "Platform/Carbon/LaunchServices.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// What the functions below give and note; one test at a time.
struct ScriptedPlatform {
    ScriptedPlatform();
    ScriptedPlatform(const ScriptedPlatform&) = delete;
    ScriptedPlatform& operator=(const ScriptedPlatform&) = delete;
    ~ScriptedPlatform();

    /// Every call, in order: "launch NAME FLAGS", "open NAME FLAGS [into NAME]", "event SECONDS", "running?",
    /// "file running?", "flush", "quit", "tool".
    std::vector<std::string> calls;
    /// How many calls begin with `text`.
    std::ptrdiff_t count(const std::string& text) const;
    /// The calls without the questions whether something runs.
    std::vector<std::string> deeds() const;

    std::function<OSStatus(const FSRef& application)> launch = [](const FSRef&) { return 0; };
    std::function<OSStatus(const FSRef& document)> open = [](const FSRef&) { return 0; };
    FSRef opener {1, 2, "/opener"}; ///< what documents are opened with
    /// Of how many of the next questions whether a launched process runs the answer is yes.
    int runningAnswers = 0;
    LaunchState stateAfterwards = kLaunchedEnded;
    int fileRunningAnswers = 0; ///< the same for ProcessIsRunning
    UInt32 tick = 0;
    UInt32 ticksPerLook = 1;
    std::string ownBundle;             ///< empty: it cannot be told
    std::string placedTool;            ///< empty: it cannot be placed
    std::function<void()> onOwnBundle; ///< called when the own bundle is asked for
};
