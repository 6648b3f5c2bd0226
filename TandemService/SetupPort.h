// The port on which the plug-in asks its host for what only the host can do.
#pragma once

#include "TandemService/SetupRequest.h"
#include "Platform/CoreFoundation/CFMessagePort.h"
#include "Platform/CoreFoundation/CFRef.h"

#include <string>

/// Who does what the port is asked for. The results are the replies: 0 is success.
class SetupHandler {
public:
    /// May process events while it works.
    virtual SInt32 installPackage(const std::string& package, const std::string& target) = 0;
    virtual SInt32 relaunch(const std::string& bundle) = 0;
    virtual SInt32 updateEnded(const std::string& text) = 0;

protected:
    ~SetupHandler() = default;
};

/// Listens while it is open. Everything that is no proper request is answered with -1.
class SetupPort {
public:
    explicit SetupPort(SetupHandler& handler);
    ~SetupPort();
    SetupPort(const SetupPort&) = delete;
    SetupPort& operator=(const SetupPort&) = delete;

    /// False when another process of this user has the port, or the run-time folder cannot be used.
    bool open();
    void close();
    /// In words, why open() gave false.
    static const char* reasonOfFailure();

private:
    static CFDataRef serve(CFMessagePortRef port, SInt32 id, CFDataRef data, void* info);
    SInt32 answer(const SetupRequest& request);

    SetupHandler& m_handler;
    CFRef<CFMessagePortRef> m_port;
};
