// Where ports lie and how their bytes are framed.
#include "Platform/CoreFoundation/CFMessagePortSocket.h"

#include "Platform/Support/Unicode.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr std::size_t kMaxNameBytes = 64;

} // namespace

std::optional<std::string> portFileName(CFStringRef name)
{
    std::string fileName;
    if (!pathFromWide(CFStringGetView(name), fileName, kMaxNameBytes))
        return std::nullopt;
    if (fileName == "." || fileName == ".." || fileName.find('/') != std::string::npos)
        return std::nullopt;
    return fileName;
}

Descriptor openPortFolder()
{
    const char* path = ::getenv("XDG_RUNTIME_DIR");
    if (!path || path[0] != '/')
        return Descriptor();
    Descriptor folder(::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status;
    if (!folder || ::fstat(folder.get(), &status) != 0)
        return Descriptor();
    const bool isPrivate = status.st_uid == ::geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    return isPrivate ? std::move(folder) : Descriptor();
}

sockaddr_un portAddress(const Descriptor& folder, const std::string& fileName)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(folder.get()) + '/' + fileName;
    static_assert(sizeof "/proc/self/fd/" + 10 + 1 + kMaxNameBytes <= sizeof address.sun_path);
    std::copy(path.begin(), path.end(), address.sun_path);
    return address;
}

Descriptor makePortSocket()
{
    return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

bool peerIsSameUser(const Descriptor& socket)
{
    ucred peer {};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}

PortConnect connectToPort(const std::string& fileName, Descriptor& socket)
{
    const Descriptor folder = openPortFolder();
    socket = makePortSocket();
    if (!folder || !socket)
        return PortConnect::failed;
    const sockaddr_un address = portAddress(folder, fileName);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return peerIsSameUser(socket) ? PortConnect::connected : PortConnect::failed;
    // A local connection is made at once or not at all; EAGAIN tells that the listener's queue is full.
    if (errno == EAGAIN || errno == EINTR)
        return PortConnect::queueFull;
    return errno == ENOENT || errno == ECONNREFUSED ? PortConnect::nobodyListens : PortConnect::failed;
}
