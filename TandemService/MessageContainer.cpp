#include "TandemService/MessageContainer.h"

#include <utility>

MessageContainer::MessageContainer(std::function<bool()> isBusy, std::function<void()> onEnd)
    : m_isBusy(std::move(isBusy))
    , m_onEnd(std::move(onEnd))
{
}

void MessageContainer::EndMsgProcess(const UniChar*, const UniChar*, SInt32, SInt32, SInt32)
{
    m_onEnd();
}

void MessageContainer::HostReserved() { }

SInt32 MessageContainer::CanGenerateMsg()
{
    return m_isBusy() ? 0 : 1;
}

CFURLRef MessageContainer::CopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type)
{
    return bundle && name ? CFBundleCopyResourceURL(bundle, name, type, nullptr) : nullptr;
}
