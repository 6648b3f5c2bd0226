// One check or one update from the command line.
#pragma once

#include "TandemService/AnswerOutput.h"
#include "TandemService/CommandLine.h"
#include "TandemService/HostServices.h"
#include "TandemService/MessageDesk.h"
#include "TandemService/RunOutcome.h"
#include "TandemService/SetupPort.h"

#include <memory>
#include <optional>

enum class WindowKind;
class QWidget;
class WindowWatcher;

class UpdateRun {
public:
    UpdateRun(const HostOptions& options, const std::string& pluginFolder);
    ~UpdateRun();

    /// Does what the options ask for, with an event loop of its own, and returns how it ended.
    ExitStatus run();
    /// Ends it as soon as possible.
    void stop();
    /// Once run() has returned: the program to start instead of this one, or empty.
    const std::string& programToStart() const { return m_services.programToStart(); }

private:
    bool start();
    bool check();
    ExitStatus statusWhenStopped() const;
    ExitStatus update();
    void answer(QWidget& window, WindowKind kind);
    void waitForRelaunch();
    void finish();

    HostOptions m_options;
    std::string m_pluginFolder;
    /// For a check alone; outlives the plug-in, which may print to its end.
    std::optional<AnswerOutput> m_answer;
    RunOutcome m_outcome;
    HostServices m_services;
    SetupPort m_port;
    MessageDesk m_desk;
    std::unique_ptr<WindowWatcher> m_watcher;
    bool m_finished = false; ///< the host itself ended its event loop
    bool m_stopped = false;
    bool m_stuck = false;
};
