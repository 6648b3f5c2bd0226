// Read streams.
#include "Platform/CFNetwork/CFReadStreamInternal.h"

#include "Platform/CFNetwork/CFHTTPMessageInternal.h"
#include "Platform/CFNetwork/FileSource.h"
#include "Platform/CFNetwork/HTTPSource.h"
#include "Platform/CFNetwork/StreamDispatcher.h"
#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/Unicode.h"

#include <utility>

namespace {

std::unique_ptr<BodySource> makeSource(CFURLRef url, bool followsRedirects)
{
    const std::u16string_view text = CFStringGetView(CFURLGetString(url));
    if (!equalIgnoringCase(text.substr(0, 5), u"file:"))
        return std::make_unique<HTTPSource>(utf8FromWide(text), followsRedirects);
    const CFRef path = adoptCF(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle));
    std::string bytes;
    if (path)
        (void)pathFromWide(CFStringGetView(path), bytes); // what is no path stays empty and cannot be opened
    return std::make_unique<FileSource>(std::move(bytes));
}

} // namespace

__CFReadStream::__CFReadStream(CFHTTPMessageRef message)
    : CFObject(kCFRuntimeReadStream)
    , request(retainCF(message))
{
}

__CFReadStream::~__CFReadStream()
{
    close();
}

bool __CFReadStream::open()
{
    if (phase != Phase::made)
        return false;
    source = makeSource(request.get()->url, followsRedirects);
    phase = Phase::open;
    if (source->open([this] { eventMayBeDue(); })) {
        eventMayBeDue();
        return true;
    }
    source.reset();
    phase = Phase::failedToOpen;
    return false;
}

void __CFReadStream::close()
{
    phase = Phase::closed;
    source.reset();
    setScheduled(false);
}

CFStreamStatus __CFReadStream::status() const
{
    if (phase == Phase::made)
        return kCFStreamStatusNotOpen;
    if (phase == Phase::closed)
        return kCFStreamStatusClosed;
    if (phase == Phase::failedToOpen)
        return kCFStreamStatusError;
    if (source->hasBytes() || source->state() == BodyState::running)
        return kCFStreamStatusOpen;
    return source->state() == BodyState::ended ? kCFStreamStatusAtEnd : kCFStreamStatusError;
}

bool __CFReadStream::hasBytesAvailable()
{
    if (phase != Phase::open)
        return false;
    if (!m_isScheduled && !source->hasBytes() && source->state() == BodyState::running)
        source->drive();
    return source->hasBytes();
}

CFIndex __CFReadStream::read(UInt8* buffer, CFIndex length)
{
    if (phase != Phase::open || length <= 0)
        return -1;
    m_toldBytes = false;
    const CFIndex count = source->read(buffer, length);
    eventMayBeDue();
    if (count > 0)
        return count;
    return source->state() == BodyState::ended ? 0 : -1;
}

void __CFReadStream::setScheduled(bool isScheduled)
{
    if (m_isScheduled == isScheduled)
        return;
    m_isScheduled = isScheduled;
    if (isScheduled)
        eventMayBeDue();
    else
        StreamDispatcher::instance().forget(this);
}

void __CFReadStream::setClient(CFStreamEventType events, CFReadStreamClientCallBack callback, void* info)
{
    m_clientEvents = events;
    m_callback = callback;
    m_clientInfo = info;
    eventMayBeDue();
}

CFStreamEventType __CFReadStream::nextEvent() const
{
    if (phase != Phase::open || !m_callback)
        return kCFStreamEventNone;
    if (!m_toldOpen)
        return kCFStreamEventOpenCompleted;
    if (source->hasBytes())
        return m_toldBytes ? kCFStreamEventNone : kCFStreamEventHasBytesAvailable;
    if (m_toldEnd || source->state() == BodyState::running)
        return kCFStreamEventNone;
    return source->state() == BodyState::ended ? kCFStreamEventEndEncountered : kCFStreamEventErrorOccurred;
}

CFStreamEventType __CFReadStream::takeEvent()
{
    while (true) { // ends: each event taken is not due again before the next read
        const CFStreamEventType event = nextEvent();
        if (event == kCFStreamEventOpenCompleted)
            m_toldOpen = true;
        else if (event == kCFStreamEventHasBytesAvailable)
            m_toldBytes = true;
        else if (event != kCFStreamEventNone)
            m_toldEnd = true;
        if (event == kCFStreamEventNone || (event & m_clientEvents) != 0)
            return event;
    }
}

void __CFReadStream::eventMayBeDue()
{
    if (m_isScheduled && !m_inCallback && nextEvent() != kCFStreamEventNone)
        StreamDispatcher::instance().queue(this);
}

void __CFReadStream::dispatchNextEvent()
{
    if (m_inCallback)
        return; // a nested event loop; the outer call asks again when it is over
    const CFStreamEventType event = takeEvent();
    if (event == kCFStreamEventNone)
        return;
    const CFRef<CFReadStreamRef> keptAlive = retainCF<CFReadStreamRef>(this);
    m_inCallback = true;
    m_callback(this, event, m_clientInfo);
    m_inCallback = false;
    eventMayBeDue();
}

CFReadStreamRef CFReadStreamCreateForHTTPRequest(CFAllocatorRef, CFHTTPMessageRef request)
{
    VELMORA_ASSERT(request != nullptr && request->url != nullptr);
    return new __CFReadStream(request);
}

bool CFReadStreamSetProperty(CFReadStreamRef stream, CFStreamProperty property, CFTypeRef value)
{
    VELMORA_ASSERT(property == kCFStreamPropertyHTTPShouldAutoredirect);
    VELMORA_ASSERT(CFGetTypeID(value) == CFBooleanGetTypeID());
    if (stream->phase != __CFReadStream::Phase::made)
        return false;
    stream->followsRedirects = CFBooleanGetValue(static_cast<CFBooleanRef>(value));
    return true;
}

CFTypeRef CFReadStreamCopyProperty(CFReadStreamRef stream, CFStreamProperty property)
{
    VELMORA_ASSERT(property == kCFStreamPropertyHTTPResponseHeader);
    const SInt32 status = stream->source ? stream->source->responseStatus() : 0;
    return status != 0 ? new __CFHTTPMessage(nullptr, status) : nullptr;
}

bool CFReadStreamSetClient(CFReadStreamRef stream, CFStreamEventType events,
    CFReadStreamClientCallBack callback, const CFStreamClientContext* context)
{
    VELMORA_ASSERT(!callback || context != nullptr);
    if (context)
        VELMORA_ASSERT(
            context->version == 0 && !context->retain && !context->release && !context->copyDescription);
    stream->setClient(events, callback, context ? context->info : nullptr);
    return true;
}

void CFReadStreamScheduleWithRunLoop(CFReadStreamRef stream, CFRunLoopRef runLoop, CFRunLoopMode)
{
    VELMORA_ASSERT(runLoop != nullptr);
    stream->setScheduled(true);
}

void CFReadStreamUnscheduleFromRunLoop(CFReadStreamRef stream, CFRunLoopRef runLoop, CFRunLoopMode)
{
    VELMORA_ASSERT(runLoop != nullptr);
    stream->setScheduled(false);
}

bool CFReadStreamOpen(CFReadStreamRef stream)
{
    return stream->open();
}

void CFReadStreamClose(CFReadStreamRef stream)
{
    stream->close();
}

CFStreamStatus CFReadStreamGetStatus(CFReadStreamRef stream)
{
    return stream->status();
}

bool CFReadStreamHasBytesAvailable(CFReadStreamRef stream)
{
    return stream->hasBytesAvailable();
}

CFIndex CFReadStreamRead(CFReadStreamRef stream, UInt8* buffer, CFIndex length)
{
    return stream->read(buffer, length);
}
