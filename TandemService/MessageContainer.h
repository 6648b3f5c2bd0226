// The host as the provider sees it.
#pragma once

#include "Update/MsgProvider.h"

#include <functional>

class MessageContainer final : public IMsgPluginContainer {
public:
    /// `isBusy` says whether something is in progress; `onEnd` is called each time that the provider says
    /// that it has finished.
    MessageContainer(std::function<bool()> isBusy, std::function<void()> onEnd);

    void EndMsgProcess(
        const UniChar* providerId, const UniChar* text, SInt32 first, SInt32 second, SInt32 third) override;
    void HostReserved() override;
    SInt32 CanGenerateMsg() override;
    /// From the bundle's resources; null for null arguments as well.
    CFURLRef CopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type) override;

private:
    std::function<bool()> m_isBusy;
    std::function<void()> m_onEnd;
};
