// Runs the program `installer`, with the user's rights or an administrator's.
#pragma once

#include "Platform/Support/ToolRequests.h"
#include "Platform/Support/Types.h"

#include <string>
#include <vector>

class PackageRunner {
public:
    /// The programs, so that tests can put others in their places.
    struct Programs {
        std::string installer;                                   ///< started directly
        std::string privilegedInstaller = "/usr/sbin/installer"; ///< started through pkexec
        std::string pkexec = kPkexecTool;
        bool asksForRights = true; ///< not where there are no more, or nobody should be asked
    };

    explicit PackageRunner(Programs programs);

    /// Installs `package` into `target` and waits for the end, with events; the wait ends with the installer,
    /// whose work is bounded by its limits. Where this user may not change the target, the install is tried
    /// again through pkexec. 0, or an InstallError's number, or pkexec's 126 (dismissed) and 127 (not
    /// authorised), or 128 and more when a signal ended the program. Never nested: a call within a call gives
    /// InstallError::targetBusy.
    SInt32 install(const std::string& package, const std::string& target);
    /// The same for dealing with an interrupted install.
    SInt32 recover(const std::string& target);

    bool isRunning() const { return m_running; }
    /// Withdraws pkexec's question, if one is open: for a host that was told to end. An install that runs
    /// goes on.
    void endQuestion();

private:
    SInt32 run(const std::vector<std::string>& arguments);
    SInt32 startDirectly(const std::vector<std::string>& arguments);
    SInt32 startThroughPkexec(const std::vector<std::string>& arguments);
    SInt32 start(const ChildRequest& request, ChildProcess& child);

    Programs m_programs;
    bool m_running = false;
    ChildProcess* m_pkexec = nullptr; ///< while it runs
};

/// The programs of the main bundle; an administrator is not asked for more rights.
PackageRunner::Programs carriedPrograms();
