// A child process started without a shell, and the wait for its end.
#pragma once

#include "Platform/Support/Types.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// What is started, and how.
struct ChildRequest {
    std::string program;                ///< absolute path; also the first word of the argument vector
    std::vector<std::string> arguments; ///< those after the program, handed on unchanged
    std::vector<std::string_view> droppedVariables; ///< names left out of the inherited environment
    bool withoutEnvironment = false;                ///< its environment is empty
    bool withoutOutput = false;   ///< its standard output is /dev/null; its standard error stays ours
    bool withoutTerminal = false; ///< in a session of its own, so that no controlling terminal can be asked
    int outputFd = -1;            ///< a descriptor that its standard output is to be; below 0: none
};

/// One child. It has, where its request does not say otherwise, this process's working directory,
/// environment, standard output and error; /dev/null as its standard input, no other descriptor, and default
/// signal handling. Whatever happens, it is reaped: going away, the object waits for a child that still runs.
class ChildProcess {
public:
    static constexpr int kStatusUnknown = -1;
    /// Added to a signal's number where a signal ended the child.
    static constexpr int kSignalStatusBase = 128;

    ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    /// Starts the child; allowed once. 0 when it runs the program, otherwise the errno value of what failed;
    /// then there is no child.
    int start(const ChildRequest& request);
    /// Takes over a child of this process that somebody else started, in place of start().
    void adopt(int processId);
    /// The child's process id; 0 when there is none, or it was reaped.
    int processId() const { return m_pid; }
    /// Asks the child to end (SIGTERM). Nothing happens where there is none, and to one that runs with rights
    /// that this process does not have.
    void askToEnd();
    /// Looks, without waiting, whether the child has ended.
    bool hasEnded();
    /// Blocks until the child has ended; there is no time limit. Its status: see status().
    int waitUntilEnded();
    /// The exit status (0 to 255), 128 plus the signal that ended the child, or kStatusUnknown while it runs
    /// and when somebody else in this process reaped it.
    int status() const { return m_status; }
    /// Whether a signal ended the child.
    bool endedBySignal() const { return m_endedBySignal; }

private:
    class KeptStatus;

    bool reap(int flags);

    int m_pid = 0; ///< 0: none, or reaped already
    int m_status = kStatusUnknown;
    bool m_endedBySignal = false;
    std::unique_ptr<KeptStatus> m_keptStatus;
};
