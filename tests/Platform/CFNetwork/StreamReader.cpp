// Reads a stream in a test.
#include "tests/Platform/CFNetwork/StreamReader.h"

#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/Support/Unicode.h"

#include <chrono>

namespace {

constexpr CFStreamEventType kAllEvents = kCFStreamEventOpenCompleted | kCFStreamEventHasBytesAvailable
    | kCFStreamEventErrorOccurred | kCFStreamEventEndEncountered;

} // namespace

CFRef<CFReadStreamRef> makeStream(std::string_view url, bool followsRedirects)
{
    const CFRef text = adoptCF(CFStringCreateWithView(wideFromUtf8(url)));
    const CFRef address = adoptCF(CFURLCreateWithString(kCFAllocatorDefault, text, nullptr));
    const CFRef method = adoptCF(CFStringCreateWithView(u"GET"));
    const CFRef request
        = adoptCF(CFHTTPMessageCreateRequest(kCFAllocatorDefault, method, address, kCFHTTPVersion1_1));
    const CFRef stream = adoptCF(CFReadStreamCreateForHTTPRequest(kCFAllocatorDefault, request));
    const CFRef follow = adoptCF(CFBooleanCreate(followsRedirects));
    CFReadStreamSetProperty(stream, kCFStreamPropertyHTTPShouldAutoredirect, follow);
    return stream;
}

CFIndex answerStatus(CFReadStreamRef stream)
{
    const CFRef answer = adoptCF(
        static_cast<CFHTTPMessageRef>(CFReadStreamCopyProperty(stream, kCFStreamPropertyHTTPResponseHeader)));
    return answer ? CFHTTPMessageGetResponseStatusCode(answer) : 0;
}

StreamResult pollToEnd(CFReadStreamRef stream)
{
    StreamResult result;
    if (!CFReadStreamOpen(stream)) {
        result.status = CFReadStreamGetStatus(stream);
        return result;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (CFReadStreamGetStatus(stream) == kCFStreamStatusOpen && std::chrono::steady_clock::now() < end) {
        UInt8 bytes[16384];
        if (!CFReadStreamHasBytesAvailable(stream))
            continue;
        const CFIndex count = CFReadStreamRead(stream, bytes, sizeof bytes);
        if (count > 0)
            result.body.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
    }
    result.status = CFReadStreamGetStatus(stream);
    result.answer = answerStatus(stream);
    return result;
}

StreamReader::StreamReader(CFReadStreamRef stream, CFIndex chunkBytes)
    : m_stream(retainCF(stream))
    , m_chunkBytes(chunkBytes)
{
    CFStreamClientContext context;
    context.info = this;
    CFReadStreamSetClient(stream, kAllEvents, &StreamReader::told, &context);
    CFReadStreamScheduleWithRunLoop(stream, CFRunLoopGetCurrent(), kCFRunLoopCommonModes);
    CFReadStreamOpen(stream);
}

StreamReader::~StreamReader()
{
    CFReadStreamSetClient(m_stream, kCFStreamEventNone, nullptr, nullptr);
    CFReadStreamClose(m_stream);
}

bool StreamReader::run()
{
    return waitUntil([this] { return isOver(); });
}

bool StreamReader::isOver() const
{
    return last() == kCFStreamEventEndEncountered || last() == kCFStreamEventErrorOccurred;
}

void StreamReader::told(CFReadStreamRef stream, CFStreamEventType event, void* info)
{
    StreamReader& reader = *static_cast<StreamReader*>(info);
    reader.m_events.push_back(event);
    if (event != kCFStreamEventHasBytesAvailable)
        return;
    std::string bytes(static_cast<std::size_t>(reader.m_chunkBytes), '\0');
    const CFIndex count
        = CFReadStreamRead(stream, reinterpret_cast<UInt8*>(bytes.data()), reader.m_chunkBytes);
    if (count > 0)
        reader.m_body.append(bytes, 0, static_cast<std::size_t>(count));
}
