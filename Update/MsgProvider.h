// The interface between the host and its message providers. The order of the virtual operations is part of
// it: host and plug-in are built apart, so an operation may be added only at the end.
#pragma once

#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/Support/Types.h"

/// A message that a provider posted, owned by the host.
class IUserMsg {
public:
    /// The id of the provider that posted it, zero-terminated; valid as long as the message.
    virtual const UniChar* GetProviderName() = 0;

protected:
    ~IUserMsg() = default;
};

/// Where a provider posts its messages during a check, owned by the host.
class IUserMsgPool {
public:
    /// Posts a message; both texts are zero-terminated and copied. The numbers' use is the host's own: 0, 0,
    /// 1 are given.
    virtual void AddMsg(
        const UniChar* providerId, const UniChar* text, SInt32 first, SInt32 second, SInt32 third)
        = 0;

protected:
    ~IUserMsgPool() = default;
};

/// The host, as a provider sees it.
class IMsgPluginContainer {
public:
    /// The provider has finished with its message. `text` may be null. The numbers 1, 0, 0 are given. May
    /// come twice.
    virtual void EndMsgProcess(
        const UniChar* providerId, const UniChar* text, SInt32 first, SInt32 second, SInt32 third)
        = 0;
    /// The host's own; no provider calls it.
    virtual void HostReserved() = 0;
    /// 0 when no check may run now.
    virtual SInt32 CanGenerateMsg() = 0;
    /// The URL of a resource in `bundle`, owned by the caller; null when it does not exist.
    virtual CFURLRef CopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type) = 0;

protected:
    ~IMsgPluginContainer() = default;
};

/// A message provider, owned by its bundle: it lives from the first GetMsgProviderPlugin until the bundle is
/// unloaded.
class IMsgProviderPlugin {
public:
    /// Checks for something to tell and posts at most one message; a null pool posts nothing. 0 when the
    /// check ran, -1 when it could not.
    virtual SInt32 GenerateMsg(IUserMsgPool* pool) = 0;
    /// 0 when there is something to offer, otherwise -1.
    virtual SInt32 CanShowNow(IUserMsg* msg) = 0;
    /// The user opened the message. 0 when it was taken or is being processed already, -1 when it could not
    /// be shown.
    virtual SInt32 ProcessMsg(IUserMsg* msg) = 0;
    /// Abandons whatever is in progress, at once and without a word; always 0.
    virtual SInt32 CancelProcessMsg(IUserMsg* msg) = 0;

protected:
    ~IMsgProviderPlugin() = default;
};

extern "C" {
/// Exported by every provider bundle under these names. The object, or null when the provider cannot work.
using GetMsgProviderPluginProc = IMsgProviderPlugin* (*)(IMsgPluginContainer* container);
/// Called before the bundle is unloaded; returns its argument.
using ReleaseMsgProviderPluginProc = IMsgProviderPlugin* (*)(IMsgProviderPlugin* plugin);
}
