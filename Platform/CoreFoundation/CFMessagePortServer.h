// The listening end of a port. Private to this folder.
#pragma once

#include "Platform/CoreFoundation/CFMessagePortConnection.h"

#include <QSocketNotifier>
#include <QTimer>

#include <memory>
#include <string>
#include <vector>

/// Holds a port's name and its connections, of which there are at most kMaxConnections; further ones wait in
/// the socket's own queue. While it lives, it holds a lock on a file beside the socket: who has the lock owns
/// the name.
class PortServer : public std::enable_shared_from_this<PortServer> {
public:
    /// Null when the folder is not private, the name is taken by a living process or by something that is no
    /// socket, or listening fails.
    static std::shared_ptr<PortServer> start(const std::string& fileName, PortConnection::Serve serve);

    PortServer(Descriptor folder, Descriptor lock, Descriptor listener, std::string fileName,
        PortConnection::Serve serve);
    PortServer(const PortServer&) = delete;
    PortServer& operator=(const PortServer&) = delete;
    ~PortServer();

    /// Gives the name free and shuts every connection; allowed while one is being served.
    void stop();

private:
    void acceptSome();
    void add(Descriptor socket);
    void remove(const PortConnection& connection);

    Descriptor m_folder;
    Descriptor m_lock;
    Descriptor m_listener; ///< outlives the notifier that watches it
    std::string m_fileName;
    PortConnection::Serve m_serve;
    std::vector<std::shared_ptr<PortConnection>> m_connections;
    QSocketNotifier m_incoming;
    QTimer m_pause; ///< runs while connections cannot be taken for want of descriptors
};
