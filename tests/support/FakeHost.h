// A host for the plug-in object: its bundle and resources, container, message pool and setup port, all
// recorded.
#pragma once

#include "Platform/CoreFoundation/CFMessagePort.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Update/MsgProvider.h"
#include "tests/support/FakeHome.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

/// What the host was told at the end of a message.
struct MessageEnding {
    std::u16string provider;
    bool hasText = false;
    SInt32 numbers[3] = {};
};

/// What was posted into the pool.
struct PostedMessage {
    std::u16string provider;
    std::u16string text;
    SInt32 numbers[3] = {};
};

/// What arrived at the setup port.
struct PortRequest {
    SInt32 id = 0;
    std::string payload; ///< with its zero bytes
};

/// The texts that the fake host's resources hold.
struct HostTexts {
    std::string one = "One: %s";
    std::string several = "Several: %d";
    std::string success = "All done";
    std::string failure = "It failed";
};

class FakeHost final : public IMsgPluginContainer, public IUserMsgPool {
public:
    /// Lays out the host's bundle in `home`, makes it the main bundle, and writes its Info.plist with `info`
    /// (key to value) besides its identifier.
    FakeHost(
        const FakeHome& home, const std::map<std::string, std::string>& info, const HostTexts& texts = {});
    ~FakeHost();

    /// Writes the host's resource texts anew.
    void setTexts(const HostTexts& texts);
    /// Makes the host's bundle one that nobody has opened yet.
    void forgetBundle();
    /// Serves the setup port from now on.
    void openPort();
    void closePort();

    // Settings
    SInt32 canGenerate = 1;
    bool hasResources = true;
    /// The reply to a request; by default 0 for every one.
    std::function<SInt32(const PortRequest&)> answer;
    /// Called each time that a message is ended, after it was recorded.
    std::function<void()> onEnd;
    /// How many bytes of the reply are sent; behind the number's four there are four of 0xFF.
    CFIndex replyBytes = 4;

    // Records
    std::vector<MessageEnding> endings;
    std::vector<PostedMessage> messages;
    std::vector<PortRequest> requests;
    std::vector<std::u16string> resourcesAskedFor; ///< name, then type

    std::filesystem::path bundle() const { return m_bundle; }
    /// The requests with this id.
    std::vector<PortRequest> requestsOf(SInt32 id) const;

    void EndMsgProcess(
        const UniChar* providerId, const UniChar* text, SInt32 first, SInt32 second, SInt32 third) override;
    void HostReserved() override;
    SInt32 CanGenerateMsg() override { return canGenerate; }
    CFURLRef CopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type) override;
    void AddMsg(
        const UniChar* providerId, const UniChar* text, SInt32 first, SInt32 second, SInt32 third) override;

private:
    static CFDataRef serve(CFMessagePortRef port, SInt32 messageId, CFDataRef data, void* info);

    std::filesystem::path m_bundle;
    CFRef<CFBundleRef> m_registered;
    CFRef<CFMessagePortRef> m_port;
};

/// A message as the host hands it back.
class FakeMessage final : public IUserMsg {
public:
    explicit FakeMessage(std::u16string provider = u"Update.bundle")
        : m_provider(std::move(provider))
    {
    }
    const UniChar* GetProviderName() override { return m_provider.c_str(); }

private:
    std::u16string m_provider;
};
