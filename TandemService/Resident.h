// The resident host: checks now and then, keeps the message, opens it when the user asks.
#pragma once

#include "TandemService/CommandLine.h"
#include "TandemService/ExitStatus.h"
#include "TandemService/HostServices.h"
#include "TandemService/MessageDesk.h"
#include "TandemService/MessageSign.h"
#include "TandemService/SetupPort.h"

#include <QTimer>

#include <memory>

class WindowWatcher;

class Resident {
public:
    Resident(const HostOptions& options, const std::string& pluginFolder);
    ~Resident();

    /// Stays until it is stopped or asked to start again.
    ExitStatus run();
    void stop();
    /// Once run() has returned: the program to start instead of this one, or empty.
    const std::string& programToStart() const { return m_services.programToStart(); }

private:
    bool start();
    void makeSign();
    using Manner = MessageSign::Manner;

    void check(Manner manner);
    void open();
    void end();

    HostOptions m_options;
    std::string m_pluginFolder;
    HostServices m_services;
    SetupPort m_port;
    MessageDesk m_desk;
    QTimer m_timer;
    std::unique_ptr<MessageSign> m_sign;
    std::unique_ptr<WindowWatcher> m_watcher;
    bool m_stopped = false;
};
