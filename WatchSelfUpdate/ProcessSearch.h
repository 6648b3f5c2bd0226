// Whether a program runs, from /proc.
#pragma once

#include <string>

enum class ProcessOwner {
    CallingUserOrRoot, ///< another user's processes do not count
    CallingUser,
};

/// Whether a process runs `path`, or was started on it: its program is that file or lies in that folder, or
/// so does one of its words (a script, or the package that an installer was given). Also finds a program
/// whose file was replaced or removed since. This process, ended ones and those that may not be looked at do
/// not count.
bool isProgramRunning(const std::string& path, ProcessOwner owner);
