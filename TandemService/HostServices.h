// What the host does for its plug-in over the setup port, and the repair of what an earlier run left half
// done.
#pragma once

#include "TandemService/InstallTargets.h"
#include "TandemService/PackageRunner.h"
#include "TandemService/SetupPort.h"

#include <functional>
#include <string>

class HostServices final : public SetupHandler {
public:
    struct Listener {
        std::function<void()> relaunchAsked;
        std::function<void()> updateEnded;
    };

    HostServices(PackageRunner::Programs programs, Listener listener);

    SInt32 installPackage(const std::string& package, const std::string& target) override;
    SInt32 relaunch(const std::string& bundle) override;
    SInt32 updateEnded(const std::string& text) override;

    /// Deals with interrupted installs into the listed targets, this host's own bundle and the folder above
    /// it.
    void recoverInstalls(const std::string& ownBundle);
    bool isInstalling() const { return m_runner.isRunning(); }
    /// Withdraws an install's question for an administrator's rights, if one is open.
    void endQuestion() { m_runner.endQuestion(); }
    /// The program to start when this one has ended; empty when nobody asked.
    const std::string& programToStart() const { return m_programToStart; }

private:
    void recover(const std::string& target);

    PackageRunner m_runner;
    InstallTargets m_targets;
    Listener m_listener;
    std::string m_programToStart;
};
