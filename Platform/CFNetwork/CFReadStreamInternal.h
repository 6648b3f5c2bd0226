// What a read stream holds. Private to this folder.
#pragma once

#include "Platform/CFNetwork/BodySource.h"
#include "Platform/CFNetwork/CFReadStream.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFRuntime.h"

#include <memory>

struct __CFReadStream final : CFObject {
    explicit __CFReadStream(CFHTTPMessageRef message);
    ~__CFReadStream() override;

    bool open();
    void close();
    CFStreamStatus status() const;
    bool hasBytesAvailable();
    CFIndex read(UInt8* buffer, CFIndex length);
    void setScheduled(bool isScheduled);
    void setClient(CFStreamEventType events, CFReadStreamClientCallBack callback, void* info);

    /// Calls the client with the next event, when there is one. The stream lives at least until that call
    /// returned.
    void dispatchNextEvent();

    enum class Phase { made, open, failedToOpen, closed };

    const CFRef<CFHTTPMessageRef> request;
    bool followsRedirects = false;
    Phase phase = Phase::made;
    std::unique_ptr<BodySource> source; ///< set while the phase is open

private:
    CFStreamEventType nextEvent() const;
    CFStreamEventType takeEvent();
    void eventMayBeDue();

    bool m_isScheduled = false;
    bool m_inCallback = false;
    bool m_toldOpen = false;
    bool m_toldBytes = false; ///< since the last read
    bool m_toldEnd = false;
    CFStreamEventType m_clientEvents = kCFStreamEventNone;
    CFReadStreamClientCallBack m_callback = nullptr;
    void* m_clientInfo = nullptr;
};
