// Reads a stream in a test, polled or out of the event loop, and writes down what happened.
#pragma once

#include "Platform/CFNetwork/CFReadStream.h"
#include "Platform/CoreFoundation/CFRef.h"

#include <string>
#include <string_view>
#include <vector>

/// A stream for `url`, which follows redirects unless told otherwise.
CFRef<CFReadStreamRef> makeStream(std::string_view url, bool followsRedirects = true);
/// The status of the stream's answer, 0 when there is none.
CFIndex answerStatus(CFReadStreamRef stream);

/// What was read from a stream until it ended.
struct StreamResult {
    std::string body;
    CFStreamStatus status = kCFStreamStatusNotOpen;
    CFIndex answer = 0;
};

/// Opens the stream and polls it until its end, at most 10 seconds.
StreamResult pollToEnd(CFReadStreamRef stream);

/// A client that reads everything and keeps the events.
class StreamReader {
public:
    /// Registers for all events and schedules the stream, which it opens.
    explicit StreamReader(CFReadStreamRef stream, CFIndex chunkBytes = 16384);
    ~StreamReader();
    StreamReader(const StreamReader&) = delete;
    StreamReader& operator=(const StreamReader&) = delete;

    /// Processes events until the stream told of its end or of an error. False after 10 seconds without.
    bool run();

    const std::string& body() const { return m_body; }
    const std::vector<CFStreamEventType>& events() const { return m_events; }
    /// The last event, none when there was none.
    CFStreamEventType last() const { return m_events.empty() ? kCFStreamEventNone : m_events.back(); }
    bool isOver() const;

private:
    static void told(CFReadStreamRef stream, CFStreamEventType event, void* info);

    CFRef<CFReadStreamRef> m_stream;
    CFIndex m_chunkBytes;
    std::string m_body;
    std::vector<CFStreamEventType> m_events;
};

/// Processes events until `done` holds. False after 10 seconds without.
template <typename Done> bool waitUntil(Done done)
{
    for (int i = 0; i < 1000 && !done(); ++i)
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
    return done();
}
