// What a port holds. Private to this folder.
#pragma once

#include "Platform/CoreFoundation/CFMessagePort.h"
#include "Platform/CoreFoundation/CFMessagePortServer.h"
#include "Platform/CoreFoundation/CFRuntime.h"

#include <memory>
#include <string>

/// A local port while it has a server, a remote one while it sends, otherwise an invalid one.
struct __CFMessagePort final : CFObject {
    explicit __CFMessagePort(std::string fileName);
    ~__CFMessagePort() override;

    const std::string m_fileName;
    std::shared_ptr<PortServer> m_server;
    bool m_sends = false;
};
