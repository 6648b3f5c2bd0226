#include "TandemService/SetupPort.h"

namespace {

constexpr std::u16string_view kPortName = u"com.velmora.tandemservice.setup";
constexpr SInt32 kNotUnderstood = -1;

} // namespace

SetupPort::SetupPort(SetupHandler& handler)
    : m_handler(handler)
{
}

SetupPort::~SetupPort()
{
    close();
}

bool SetupPort::open()
{
    const CFRef name = adoptCF(CFStringCreateWithView(kPortName));
    m_port = adoptCF(CFMessagePortCreateLocal(kCFAllocatorDefault, name, &SetupPort::serve, this));
    return m_port.get() != nullptr;
}

const char* SetupPort::reasonOfFailure()
{
    const CFRef name = adoptCF(CFStringCreateWithView(kPortName));
    const CFRef other = adoptCF(CFMessagePortCreateRemote(kCFAllocatorDefault, name));
    return other ? "another Tandem Service is running" : "$XDG_RUNTIME_DIR is no private folder";
}

void SetupPort::close()
{
    if (m_port)
        CFMessagePortInvalidate(m_port);
    m_port = nullptr;
}

CFDataRef SetupPort::serve(CFMessagePortRef, SInt32 id, CFDataRef data, void* info)
{
    std::string payload;
    if (data)
        payload.assign(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
            static_cast<std::size_t>(CFDataGetLength(data)));
    const SInt32 reply = static_cast<SetupPort*>(info)->answer(parseSetupRequest(id, payload));
    return CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(&reply), sizeof reply);
}

SInt32 SetupPort::answer(const SetupRequest& request)
{
    if (const auto* install = std::get_if<InstallPackageRequest>(&request))
        return m_handler.installPackage(install->package, install->target);
    if (const auto* again = std::get_if<RelaunchRequest>(&request))
        return m_handler.relaunch(again->bundle);
    if (const auto* end = std::get_if<UpdateEndRequest>(&request))
        return m_handler.updateEnded(end->text);
    return kNotUnderstood;
}
