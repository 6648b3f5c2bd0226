// Named ports: making them, ending them.
#include "Platform/CoreFoundation/CFMessagePort.h"

#include "Platform/CoreFoundation/CFMessagePortInternal.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/Assertion.h"

#include <utility>

__CFMessagePort::__CFMessagePort(std::string fileName)
    : CFObject(kCFRuntimeMessagePort)
    , m_fileName(std::move(fileName))
{
}

__CFMessagePort::~__CFMessagePort()
{
    CFMessagePortInvalidate(this);
}

CFMessagePortRef CFMessagePortCreateLocal(
    CFAllocatorRef, CFStringRef name, CFMessagePortCallBack callback, void* info)
{
    VELMORA_ASSERT(callback != nullptr);
    (void)CFRunLoopGetCurrent(); // which must exist, and be that of the calling thread
    const std::optional<std::string> fileName = portFileName(name);
    if (!fileName)
        return nullptr;
    auto port = adoptCF(new __CFMessagePort(*fileName));
    const CFMessagePortRef served = port;
    port.get()->m_server = PortServer::start(*fileName, [served, callback, info](SInt32 id, CFDataRef data) {
        const auto kept = retainCF(served); // the callback may give back the last reference
        return adoptCF(callback(served, id, data, info));
    });
    if (!port.get()->m_server)
        return nullptr;
    CFRetain(port.get());
    return port;
}

CFMessagePortRef CFMessagePortCreateRemote(CFAllocatorRef, CFStringRef name)
{
    const std::optional<std::string> fileName = portFileName(name);
    if (!fileName)
        return nullptr;
    Descriptor probe;
    const PortConnect state = connectToPort(*fileName, probe);
    const bool somebodyListens = state == PortConnect::connected || state == PortConnect::queueFull;
    if (!somebodyListens)
        return nullptr;
    auto* port = new __CFMessagePort(*fileName);
    port->m_sends = true;
    return port;
}

void CFMessagePortInvalidate(CFMessagePortRef port)
{
    port->m_sends = false;
    if (const std::shared_ptr<PortServer> server = std::exchange(port->m_server, nullptr))
        server->stop();
}
