// The requests that the plug-in sends to its host over the local message port.
#include "Update/HostMessages.h"
#include "Update/UpdateInter.h"

#include "Platform/CoreFoundation/CFMessagePort.h"
#include "Platform/CoreFoundation/CFRef.h"

#include <cstring>
#include <string_view>

namespace {

constexpr std::u16string_view kSetupPortName = u"com.velmora.tandemservice.setup";
constexpr std::size_t kMaxPayloadBytes = 2048;
constexpr double kSendTimeoutSeconds = 3.0;
constexpr double kInstallReplyTimeoutSeconds = 7200.0;
constexpr double kUpdateEndReplyTimeoutSeconds = 2.0;

/// A request's bytes; empty when there is nothing to send.
struct Payload {
    UInt8 bytes[kMaxPayloadBytes] = {};
    std::size_t length = 0;

    /// Adds a text and its zero byte at the end; false when it does not fit.
    bool add(std::string_view text)
    {
        if (text.size() + 1 > kMaxPayloadBytes - length)
            return false;
        std::memcpy(bytes + length, text.data(), text.size());
        length += text.size() + 1;
        return true;
    }
};

/// Lays out the two texts of an install request: an empty first text takes no zero byte, a null second one is
/// left out.
bool fillInstallPayload(Payload& payload, const char* package, const char* target)
{
    const std::string_view first = package ? package : "";
    const std::string_view second = target ? target : "";
    if (first.empty() && second.empty())
        return false;
    return (first.empty() || payload.add(first)) && (!target || payload.add(second));
}

bool fillPayload(Payload& payload, SInt32 msgId, const char* first, const char* second)
{
    if (msgId == kInstallPackageMessage)
        return fillInstallPayload(payload, first, second);
    const bool known = msgId == kRelaunchMessage || msgId == kUpdateEndMessage;
    return known && first && *first && payload.add(first);
}

double replyTimeoutSeconds(SInt32 msgId)
{
    if (msgId == kRelaunchMessage)
        return 0;
    return msgId == kUpdateEndMessage ? kUpdateEndReplyTimeoutSeconds : kInstallReplyTimeoutSeconds;
}

} // namespace

bool CUpdateInter::CommunicationWithApp(SInt32 msgId, const char* first, const char* second)
{
    Payload payload;
    if (!fillPayload(payload, msgId, first, second))
        return false;
    const CFRef data
        = adoptCF(CFDataCreate(kCFAllocatorDefault, payload.bytes, static_cast<CFIndex>(payload.length)));
    const CFRef name = adoptCF(CFStringCreateWithView(kSetupPortName));
    const CFRef port = adoptCF(CFMessagePortCreateRemote(kCFAllocatorDefault, name));
    if (!data || !port)
        return false;

    CFDataRef answer = nullptr;
    (void)CFMessagePortSendRequest(port, msgId, data, kSendTimeoutSeconds, replyTimeoutSeconds(msgId),
        kCFRunLoopDefaultMode, &answer); // the answer's bytes say everything that matters
    const CFRef reply = adoptCF(answer);
    SInt32 value = -1;
    if (reply && CFDataGetLength(reply) >= static_cast<CFIndex>(sizeof value))
        std::memcpy(&value, CFDataGetBytePtr(reply), sizeof value);
    return value == 0;
}
