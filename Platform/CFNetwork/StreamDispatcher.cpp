// Delivers the events of scheduled streams out of the application's event loop.
#include "Platform/CFNetwork/StreamDispatcher.h"

#include "Platform/CFNetwork/CFReadStreamInternal.h"

#include <QCoreApplication>
#include <QEvent>

#include <algorithm>
#include <utility>

namespace {

// A bare pointer on purpose: see CurlMulti, whose transfers may still ask for events while it ends.
StreamDispatcher* theDispatcher = nullptr;

} // namespace

StreamDispatcher& StreamDispatcher::instance()
{
    if (!theDispatcher) {
        theDispatcher = new StreamDispatcher;
        qAddPostRoutine([] { delete std::exchange(theDispatcher, nullptr); });
    }
    return *theDispatcher;
}

void StreamDispatcher::queue(CFReadStreamRef stream)
{
    if (std::find(m_waiting.begin(), m_waiting.end(), stream) != m_waiting.end())
        return;
    m_waiting.push_back(stream);
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

void StreamDispatcher::forget(CFReadStreamRef stream)
{
    m_waiting.erase(std::remove(m_waiting.begin(), m_waiting.end(), stream), m_waiting.end());
}

void StreamDispatcher::customEvent(QEvent*)
{
    if (m_waiting.empty())
        return; // the stream that this was posted for is gone
    const CFReadStreamRef stream = m_waiting.front();
    m_waiting.pop_front();
    stream->dispatchNextEvent();
}
