// Where ports lie and how their bytes are framed: shared by both ends. Private to this folder.
#pragma once

#include "Platform/CoreFoundation/CFString.h"
#include "Platform/Support/Descriptor.h"
#include "Platform/Support/Types.h"

#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

/// What stands before the payload of a request and of its reply, in the machine's own byte order: both ends
/// are on it.
struct PortFrameHeader {
    SInt32 messageId; ///< a reply repeats that of its request
    UInt32 length;    ///< of the payload, in bytes
};
static_assert(sizeof(PortFrameHeader) == 8);

/// The port's name as a file name, or nothing when it is empty, no single path component or longer than 64
/// bytes of UTF-8.
std::optional<std::string> portFileName(CFStringRef name);

/// Opens $XDG_RUNTIME_DIR. No descriptor when it is not set, missing, of another user, or open to anybody
/// else.
Descriptor openPortFolder();

/// The address of a port in an open folder: reached through the descriptor, so that neither the length of the
/// folder's path nor a change above it matters.
sockaddr_un portAddress(const Descriptor& folder, const std::string& fileName);

/// A non-blocking socket, closed when another program is started.
Descriptor makePortSocket();

/// True when the process at the other end of a connected socket runs as this user.
bool peerIsSameUser(const Descriptor& socket);

enum class PortConnect { connected, nobodyListens, queueFull, failed };
/// Connects a new socket. `queueFull`: somebody listens and is busy; try again later.
PortConnect connectToPort(const std::string& fileName, Descriptor& socket);
