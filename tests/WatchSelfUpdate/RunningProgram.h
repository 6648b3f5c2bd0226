// A program that runs until a test ends it.
#pragma once

#include "tests/WatchSelfUpdate/ToolProcess.h"

#include <string>
#include <vector>

#include <sys/types.h>

/// Runs a program whose words are `words`, the first being its file, and which reads its standard input to
/// the end, as `cat` does: closing that input ends it. It runs as `user` or, where that is
/// ToolCopy::kCurrentUser, as this user.
class RunningProgram {
public:
    RunningProgram(const std::vector<std::string>& words, uid_t user);
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;
    ~RunningProgram() { end(); }

    /// Lets the program end, and waits for that.
    void end();
    /// Ends the program at once, whatever it does, and waits for that.
    void kill();

private:
    pid_t m_pid = -1;
    int m_input = -1;
};
